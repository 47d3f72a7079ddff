#include "format/tkt5/tkt5.ItemHeader.h"

#include <functional>
#include <memory>

#include <gtest/gtest.h>

#include "format/format.Exception.h"
#include "records.Bytes.h"

using namespace format::tkt5;
using namespace records_test;

namespace {

// A file item with a key, a comment pair and a Mac record with a resource fork.
void fillFileItem(ItemHeader& item) {
    item.makeFile();
    item.makeMac();
    item.itemFlags(0x0108);
    item.creationDate(0xB1B2B3B4);
    item.modificationDate(0xC1C2C3C4);
    item.previous(0x00000064);
    item.next(0x00000200);
    item.parent(0x00000300);
    item.name("file.txt");
    item.comment("abc");
    ForkInfo& fork = item.forkInfo();
    fork.uncompressedSize(0x01020304);
    fork.compressedSize(0x05060708);
    fork.crc(0x090A);
    fork.method(ForkInfo::ispMethod);
    fork.keyIndicator(5);
    fork.key("KEY");

    MacHeader& mac = item.macHeader();
    mac.makeFile();
    mac.fileInfo().type("TEXT");
    mac.fileInfo().creator("ttxt");
    mac.fileInfo().flags(0x0100);
    mac.fileInfo().location().v(10);
    mac.fileInfo().location().h(-20);
    mac.extendedFileInfo().extendedFlags(0x8000);
    mac.extendedFileInfo().comment(7);
    mac.extendedFileInfo().putAway(0x12345678);
    mac.hasResourceFork(true);
    mac.resourceFork().uncompressedSize(100);
    mac.resourceFork().compressedSize(60);
    mac.resourceFork().crc(0xBEEF);
    mac.resourceFork().method(ForkInfo::arsenicMethod);
}

void fillFolderItem(ItemHeader& item) {
    item.makeFolder();
    item.makeWindows();
    item.itemFlags(0x0080);
    item.creationDate(1);
    item.modificationDate(2);
    item.previous(3);
    item.next(4);
    item.parent(5);
    item.name("dir");
    FolderInfo& info = item.folderInfo();
    info.firstChild(0x00001000);
    info.totalSize(0x00002000);
    info.totalCompressedSize(0x00003000);
    info.childCount(2);
    WindowsHeader& windows = item.windowsHeader();
    windows.attributes(0x10);
    windows.creationFraction(1234567);
    windows.modificationFraction(7654321);
    windows.accessDate(0xD0D1D2D3);
    windows.accessFraction(9999999);
}

std::vector<char> fileItemBytes() {
    ItemHeader item;
    fillFileItem(item);
    return written(item);
}

} // namespace

TEST(Tkt5ItemHeader, FileItemLayout) {
    ItemHeader item;
    fillFileItem(item);
    EXPECT_EQ(item.common_size(), 49u);
    ASSERT_EQ(item.size(), 116u);

    // Common part: 34 fixed, 17 ForkInfo with key, 8 name, 4 + 3 comment pair.
    Bytes expected(116);
    expected.u32(0, 0xA5A5A5A5)
        .u8(4, 1)
        .u8(5, 0)
        .u16(6, 66)
        .u16(8, 0x0108)
        .u32(10, 0xB1B2B3B4)
        .u32(14, 0xC1C2C3C4)
        .u32(18, 0x64)
        .u32(22, 0x200)
        .u32(26, 0x300)
        .u16(30, 8)
        .u32(34, 0x01020304)
        .u32(38, 0x05060708)
        .u16(42, 0x090A)
        .u8(44, 3)
        .u8(45, 0)
        .u8(46, 13)
        .u8(47, 5)
        .text(48, "KEY")
        .text(51, "file.txt")
        .u16(59, 3)
        .u16(61, 0)
        .text(63, "abc")
        .crc(32, 0, 66);
    // Mac record at 66: version, flags, CRC, FileInfo, ExtendedFileInfo, ForkInfo.
    expected.u8(66, 0)
        .u8(67, 0x01)
        .text(70, "TEXTttxt")
        .u16(78, 0x0100)
        .u16(80, 10)
        .u16(82, uint16_t(-20))
        .u16(94, 0x8000)
        .u16(96, 7)
        .u32(98, 0x12345678)
        .u32(102, 100)
        .u32(106, 60)
        .u16(110, 0xBEEF)
        .u8(114, 15)
        .crc(68, 66, 116);
    EXPECT_EQ(hex(written(item)), hex(expected.data));
}

TEST(Tkt5ItemHeader, FolderItemLayout) {
    ItemHeader item;
    fillFolderItem(item);
    ASSERT_EQ(item.size(), 34u + 14 + 3 + 32);

    Bytes expected(83);
    expected.u32(0, 0xA5A5A5A5)
        .u8(4, 3)
        .u16(6, 51)
        .u16(8, 0x00C0)
        .u32(10, 1)
        .u32(14, 2)
        .u32(18, 3)
        .u32(22, 4)
        .u32(26, 5)
        .u16(30, 3)
        .u32(34, 0x1000)
        .u32(38, 0x2000)
        .u32(42, 0x3000)
        .u16(46, 2)
        .text(48, "dir")
        .crc(32, 0, 51);
    expected.u32(55, 0x10)
        .u32(59, 1234567)
        .u32(63, 7654321)
        .u32(67, 0xD0D1D2D3)
        .u32(71, 9999999)
        .crc(53, 51, 83);
    EXPECT_EQ(hex(written(item)), hex(expected.data));
}

TEST(Tkt5ItemHeader, EndFolderMarkerLayout) {
    ItemHeader marker;
    marker.makeEndFolder();
    EXPECT_TRUE(marker.endFolder());
    EXPECT_TRUE(marker.mac());
    marker.makeWindows();
    marker.previous(0x40);
    marker.parent(0x20);
    ASSERT_EQ(marker.size(), 48u);

    Bytes expected(48);
    expected.u32(0, 0xA5A5A5A5).u8(4, 3).u16(6, 48).u16(8, 0x40).u32(18, 0x40).u32(26, 0x20).u32(34, 0xFFFFFFFF);
    expected.crc(32, 0, 48);
    std::vector<char> bytes = written(marker);
    EXPECT_EQ(hex(bytes), hex(expected.data));

    // Nothing after the marker is read.
    bytes.push_back('!');
    ItemHeader back;
    EXPECT_EQ(readFrom(back, bytes), 48u);
    EXPECT_TRUE(back.endFolder());
}

TEST(Tkt5PlatformHeader, DOSAndUnixLayouts) {
    DOSHeader dos;
    dos.dosValue(0x5A);
    Bytes dosExpected(4);
    dosExpected.u8(1, 0x5A).crc(2, 0, 4);
    EXPECT_EQ(hex(written(dos)), hex(dosExpected.data));

    UnixHeader unixHeader;
    unixHeader.unixValue1(0x01020304);
    unixHeader.unixValue2(0x05060708);
    unixHeader.unixValue3(0x090A);
    Bytes unixExpected(14);
    unixExpected.u32(4, 0x01020304).u32(8, 0x05060708).u16(12, 0x090A).crc(2, 0, 14);
    EXPECT_EQ(hex(written(unixHeader)), hex(unixExpected.data));

    PlatformHeader bare;
    EXPECT_TRUE(written(bare).empty());
    EXPECT_TRUE(bare.valid());
}

TEST(Tkt5ItemHeader, RoundTripOfEveryKind) {
    std::vector<std::function<void(ItemHeader&)>> fills = {
        fillFileItem,
        fillFolderItem,
        [](ItemHeader& item) {
            item.makeFile();
            item.makeDOS();
            item.dosHeader().dosValue(9);
        },
        [](ItemHeader& item) {
            item.makeFile();
            item.makeUnix();
            item.unixHeader().unixValue3(77);
            item.name("");  // an empty name is legal
        },
        [](ItemHeader& item) {
            item.makeFolder();
            item.makeMac();
            item.macHeader().makeFolder();
            item.macHeader().folderInfo().rect().right(640);
            item.macHeader().extendedFolderInfo().scroll().v(-3);
            item.itemFlags(0x0008);  // the pair, empty, is still written
        },
        [](ItemHeader& item) {
            item.makeFile();
            item.name("no platform");
        },
        [](ItemHeader& item) { item.makeEndFolder(); },
    };
    for (std::size_t i = 0; i < fills.size(); ++i) {
        ItemHeader item;
        fills[i](item);
        std::vector<char> bytes = written(item);
        EXPECT_EQ(bytes.size(), item.size()) << "kind " << i;
        ItemHeader back;
        EXPECT_EQ(readFrom(back, bytes), bytes.size()) << "kind " << i;
        EXPECT_TRUE(back.valid());
        EXPECT_EQ(back.platform(), item.platform());
        EXPECT_EQ(back.name(), item.name());
        EXPECT_EQ(written(back), bytes) << "kind " << i;
    }
}

TEST(Tkt5ItemHeader, CommentPairFollowsTheFlagOnly) {
    ItemHeader item;
    item.makeFile();
    item.name("n");
    item.comment("dropped");
    EXPECT_EQ(written(item).size(), 34u + 14 + 1);

    item.comment("");
    item.itemFlags(0x0008);
    std::vector<char> bytes = written(item);
    ASSERT_EQ(bytes.size(), 34u + 14 + 1 + 4);
    EXPECT_EQ(hex(std::vector<char>(bytes.end() - 4, bytes.end())), "00 00 00 00");
}

TEST(Tkt5ItemHeader, WriteDerivesTheFolderFlag) {
    ItemHeader item;
    item.makeFile();
    item.itemFlags(0xFFFF);
    EXPECT_EQ(item.assignedFlags(), 0xFFBF);
    item.makeFolder();
    item.itemFlags(0x0001);
    EXPECT_EQ(item.assignedFlags(), 0x0041);
    std::vector<char> bytes = written(item);
    EXPECT_EQ(bytes[9], 0x41);
}

TEST(Tkt5ItemHeader, FolderForcesItsMacRecordToTheFolderKind) {
    ItemHeader item;
    item.makeFolder();
    item.makeMac();
    item.macHeader().makeFile();
    item.macHeader().fileInfo().type("APPL");
    std::vector<char> bytes = written(item);
    EXPECT_EQ(bytes[48 + 1], 0x00);  // the Mac record says "file"

    ItemHeader back;
    readFrom(back, bytes);
    EXPECT_TRUE(back.macHeader().folder());
    EXPECT_EQ(back.macHeader().folderInfo().flags(), 0);
}

struct AccessorCase {
    const char* what;
    std::function<void(ItemHeader&)> call;
    const char* message;
};

TEST(Tkt5ItemHeader, AccessorsOfTheWrongKindRefuse) {
    std::vector<AccessorCase> cases = {
        {"folderInfo", [](ItemHeader& i) { i.folderInfo(); },
         "folder information not available in format::tkt5::ItemHeader::folderinfo()"},
        {"dosHeader", [](ItemHeader& i) { i.dosHeader(); },
         "DOS header not available in format::tkt5::ItemHeader::dosHeader()"},
        {"macHeader", [](ItemHeader& i) { i.macHeader(); },
         "Mac header not available in format::tkt5::ItemHeader::macHeader()"},
        {"unixHeader", [](ItemHeader& i) { i.unixHeader(); },
         "Unix header not available in format::tkt5::ItemHeader::unixHeader()"},
        {"windowsHeader", [](ItemHeader& i) { i.windowsHeader(); },
         "Windows header not available in format::tkt5::ItemHeader::windowsHeader()"},
    };
    for (const AccessorCase& c : cases) {
        ItemHeader item;
        item.makeFile();
        EXPECT_EQ(messageOf([&] { c.call(item); }), c.message) << c.what;
    }
    ItemHeader folder;
    folder.makeFolder();
    EXPECT_EQ(messageOf([&] { folder.forkInfo(); }),
              "fork information not available in format::tkt5::ItemHeader::forkinfo()");

    ItemHeader empty;
    const char* untyped = "must have a file or a folder in format::tkt5::ItemHeader::verifyType()";
    EXPECT_EQ(messageOf([&] { empty.file(); }), untyped);
    EXPECT_EQ(messageOf([&] { empty.folder(); }), untyped);
    EXPECT_EQ(messageOf([&] { written(empty); }), untyped);
    EXPECT_TRUE(empty.none());
    EXPECT_EQ(empty.platform(), 0);
}

TEST(Tkt5MacHeader, AccessorsOfTheWrongKindRefuse) {
    MacHeader mac;
    EXPECT_EQ(messageOf([&] { mac.file(); }), "must have a file or a folder in format::tkt5::MacHeader::verifyType()");
    mac.makeFile();
    EXPECT_EQ(messageOf([&] { mac.folderInfo(); }),
              "folder information not available in format::tkt5::MacHeader::folderinfo()");
    EXPECT_EQ(messageOf([&] { mac.extendedFolderInfo(); }),
              "extended folder information not available in format::tkt5::MacHeader::extendedFolderInfo()");
    mac.makeFolder();
    EXPECT_EQ(messageOf([&] { mac.fileInfo(); }),
              "file information not available in format::tkt5::MacHeader::fileInfo()");
    EXPECT_EQ(messageOf([&] { mac.extendedFileInfo(); }),
              "extended file information not available in format::tkt5::MacHeader::extendedFileInfo()");
    EXPECT_EQ(mac.size(), 36u);
    EXPECT_EQ(mac.min_size(), 36u);
}

TEST(Tkt5ItemHeader, ValidLooksAtMarkerPlatformAndVersion) {
    std::vector<char> good = fileItemBytes();
    ItemHeader item;
    readFrom(item, good);
    EXPECT_TRUE(item.valid());

    std::vector<char> platform5 = good;
    platform5[4] = 5;
    readFrom(item, platform5, false);
    EXPECT_FALSE(item.valid());
    EXPECT_EQ(item.platform(), 5);
    EXPECT_TRUE(item.none());

    std::vector<char> version1 = good;
    version1[5] = 1;
    readFrom(item, version1, false);
    EXPECT_FALSE(item.valid());

    std::vector<char> marker = good;
    marker[3] = 0x5A;
    readFrom(item, marker, false);
    EXPECT_FALSE(item.valid());
}

TEST(Tkt5ForkInfo, KeyCutShortIsRefusedEvenWhenLenient) {
    ForkInfo fork;
    fork.key("0123456789");
    std::vector<char> bytes = written(fork);
    ASSERT_EQ(bytes.size(), 24u);
    bytes.pop_back();
    ForkInfo back;
    EXPECT_EQ(messageOf([&] { readFrom(back, bytes, false); }),
              "format::tkt5::ForkInfo::read(): input stream is too short");
}

TEST(Tkt5ItemHeader, ReadStringIsStrictOnlyWhenAsked) {
    std::vector<char> three = {'a', 'b', 'c'};
    stream::ArrayInput lenient(three.data(), 3);
    EXPECT_EQ(ItemHeader::readString(lenient, 5, false), std::string("abc\0\0", 5));
    stream::ArrayInput strict(three.data(), 3);
    EXPECT_EQ(messageOf([&] { ItemHeader::readString(strict, 5, true); }),
              "input stream is too short in format::tkt5::ItemHeader::readString()");
}

// The CRC rules, for the item header and each platform record.

struct CRCCase {
    const char* name;
    std::function<std::vector<char>()> make;
    std::function<std::unique_ptr<format::Header>()> fresh;
    std::size_t crcAt;     // offset of the stored CRC in the bytes
    std::size_t damageAt;  // a byte under that CRC
    std::size_t from, to;  // the bytes under that CRC
    const char* message;
    bool takesAlternate;
};

class Tkt5CRC : public ::testing::TestWithParam<CRCCase> {};

// A written record passes; a damaged byte under the CRC is refused only when
// strict, and never when the stored CRC is zero. The CRC of the record with
// its own CRC already in place passes for the Windows record alone.
TEST_P(Tkt5CRC, IsCheckedByItsRules) {
    const CRCCase& c = GetParam();
    const auto readStrict = [&](const std::vector<char>& b) {
        auto record = c.fresh();
        return messageOf([&] { readFrom(*record, b, true); });
    };
    const auto store = [&](std::vector<char>& b, uint16_t crc) {
        b[c.crcAt] = char(crc >> 8);
        b[c.crcAt + 1] = char(crc);
    };
    std::vector<char> bytes = c.make();
    EXPECT_EQ(readStrict(bytes), "no exception");

    std::vector<char> damaged = bytes;
    damaged[c.damageAt] ^= 0x01;
    EXPECT_EQ(readStrict(damaged), c.message);
    EXPECT_NO_THROW(readFrom(*c.fresh(), damaged, false));
    store(damaged, 0);
    EXPECT_EQ(readStrict(damaged), "no exception");

    algorithm::crc::BisyncCRC crc;
    crc.update(bytes.data() + c.from, static_cast<uint32_t>(c.to - c.from));
    store(bytes, crc.value());
    EXPECT_EQ(readStrict(bytes), c.takesAlternate ? "no exception" : c.message);
    store(bytes, uint16_t(crc.value() ^ 0x0100));
    EXPECT_EQ(readStrict(bytes), c.message);
}

namespace {

template <typename T>
std::function<std::unique_ptr<format::Header>()> freshOf() {
    return [] { return std::make_unique<T>(); };
}

std::vector<char> windowsBytes() {
    ItemHeader item;
    fillFolderItem(item);
    return written(item.windowsHeader());
}

} // namespace

INSTANTIATE_TEST_SUITE_P(
    Records, Tkt5CRC,
    ::testing::Values(
        CRCCase{"ItemHeader",
                [] {
                    ItemHeader item;
                    fillFolderItem(item);
                    return written(item);
                },
                freshOf<ItemHeader>(), 32, 49, 0, 51, "bad header CRC in format::tkt5::ItemHeader::read()", false},
        // Damage inside the resource fork's ForkInfo: the Mac record's CRC covers it.
        CRCCase{"MacHeaderInItem", fileItemBytes, freshOf<ItemHeader>(), 68, 106, 66, 116,
                "bad header CRC in format::tkt5::MacHeader::read()", false},
        CRCCase{"DOSHeader",
                [] {
                    DOSHeader dos;
                    dos.dosValue(3);
                    return written(dos);
                },
                freshOf<DOSHeader>(), 2, 1, 0, 4, "bad header CRC in format::tkt5::DOSHeader::read()", false},
        CRCCase{"UnixHeader",
                [] {
                    UnixHeader header;
                    header.unixValue2(0xABCDEF);
                    return written(header);
                },
                freshOf<UnixHeader>(), 2, 9, 0, 14, "bad header CRC in format::tkt5::UnixHeader::read()", false},
        CRCCase{"WindowsHeader", windowsBytes, freshOf<WindowsHeader>(), 2, 30, 0, 32,
                "bad header CRC in format::tkt5::WindowsHeader::read()", true}),
    [](const ::testing::TestParamInfo<CRCCase>& info) { return std::string(info.param.name); });

TEST(Tkt5WindowsHeader, AlternateCRCIsTheCRCOfTheRecordWithItsCRCInPlace) {
    std::vector<char> bytes = windowsBytes();
    WindowsHeader header;
    readFrom(header, bytes);
    algorithm::crc::BisyncCRC crc;
    crc.update(bytes.data(), static_cast<uint32_t>(bytes.size()));
    uint16_t stored = uint16_t((uint8_t(bytes[2]) << 8) | uint8_t(bytes[3]));
    EXPECT_EQ(header.alternateCRC(stored), crc.value());

    // The alternate form lays the record out anew, with zeros in the reserved
    // bytes whatever they held.
    bytes[1] = 0x77;
    bytes[28] = 0x66;
    readFrom(header, bytes, false);
    EXPECT_EQ(header.alternateCRC(stored), crc.value());
}

TEST(Tkt5MacHeader, RecordsWithoutAResourceFork) {
    MacHeader mac;
    mac.makeFile();
    mac.macFlags(0xEE);  // other bits are kept, the two of the record are derived
    mac.hasResourceFork(false);
    mac.resourceFork().method(ForkInfo::arsenicMethod);
    std::vector<char> bytes = written(mac);
    ASSERT_EQ(bytes.size(), 36u);
    EXPECT_EQ(uint8_t(bytes[1]), 0xEE & ~0x11);

    MacHeader back;
    back.hasResourceFork(true);
    back.resourceFork().uncompressedSize(5);
    readFrom(back, bytes);
    EXPECT_FALSE(back.hasResourceFork());
    EXPECT_EQ(back.resourceFork().method(), 0);
    EXPECT_EQ(back.resourceFork().uncompressedSize(), 0u);
    EXPECT_TRUE(back.file());
    EXPECT_EQ(written(back), bytes);
}

TEST(Tkt5MacHeader, FolderPairRoundTrip) {
    MacHeader mac;
    mac.makeFolder();
    mac.folderInfo().rect().top(-5);
    mac.folderInfo().flags(0x0400);
    mac.extendedFolderInfo().scroll().h(33);
    mac.extendedFolderInfo().putAway(-1);
    std::vector<char> bytes = written(mac);
    EXPECT_EQ(uint8_t(bytes[1]), 0x10);
    MacHeader back;
    readFrom(back, bytes);
    EXPECT_TRUE(back.folder());
    EXPECT_EQ(back.folderInfo().rect().top(), -5);
    EXPECT_EQ(back.extendedFolderInfo().putAway(), -1);
    EXPECT_EQ(written(back), bytes);

    // A file record with a key in its resource fork.
    mac.makeFile();
    mac.hasResourceFork(true);
    mac.resourceFork().key("abcde");
    EXPECT_EQ(mac.size(), 36u + 14 + 5);
    bytes = written(mac);
    readFrom(back, bytes);
    EXPECT_TRUE(back.file());
    EXPECT_EQ(back.resourceFork().key(), "abcde");
    EXPECT_EQ(written(back), bytes);
}
