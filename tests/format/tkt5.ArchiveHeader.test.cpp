#include "format/tkt5/tkt5.ArchiveHeader.h"

#include <gtest/gtest.h>

#include "format/format.Exception.h"
#include "records.Bytes.h"
#include "stream/stream.Exception.h"
#include "stream/stream.LimitedInput.h"

using format::tkt5::ArchiveHeader;
using format::tkt5::DeluxeInfo;
using format::tkt5::OpenFolderInfo;
using namespace records_test;

namespace {

OpenFolderInfo someOpenFolder() {
    OpenFolderInfo info;
    info.folderValue(0x11223344);
    info.bounds().top(-1);
    info.bounds().left(2);
    info.bounds().bottom(300);
    info.bounds().right(-400);
    info.open(true);
    info.mode(0x7E);
    info.value1(0xA1A2);
    info.value2(0xB1B2);
    info.value3(0xC1C2);
    return info;
}

DeluxeInfo someDeluxe() {
    DeluxeInfo info;
    info.bounds().top(1);
    info.bounds().left(2);
    info.bounds().bottom(3);
    info.bounds().right(4);
    info.deluxeFlags(0x5566);
    info.deluxeValue(0x778899AA);
    return info;
}

} // namespace

TEST(Tkt5Signature, MatchesWrittenHeadersAndNothingElse) {
    ArchiveHeader header;
    std::vector<char> bytes = written(header);
    EXPECT_TRUE(ArchiveHeader::matchesSignature(bytes.data(), bytes.size()));

    std::vector<char> otherYear = bytes;
    otherYear[17] = '8';
    EXPECT_TRUE(ArchiveHeader::matchesSignature(otherYear.data(), otherYear.size()));
    std::vector<char> noTerminator = bytes;
    noTerminator[81] = 'x';
    EXPECT_TRUE(ArchiveHeader::matchesSignature(noTerminator.data(), noTerminator.size()));

    for (std::size_t at : {0u, 15u, 16u, 19u, 20u, 44u, 77u, 80u}) {
        std::vector<char> damaged = bytes;
        damaged[at] = at >= 16 && at < 20 ? 'Y' : char(damaged[at] ^ 0x20);
        EXPECT_FALSE(ArchiveHeader::matchesSignature(damaged.data(), damaged.size())) << "byte " << at;
    }
    EXPECT_FALSE(ArchiveHeader::matchesSignature(bytes.data(), 80));
}

TEST(Tkt5DeluxeInfo, StartsFromTheUninitializedPattern) {
    DeluxeInfo info;
    EXPECT_EQ(hex(written(info)), "0D A5 A5 52 65 73 65 72 76 65 64 A5 A5 00");
    EXPECT_EQ(info.deluxeFlags(), 0x7665);
    EXPECT_EQ(info.deluxeValue(), 0x64A5A500u);
}

TEST(Tkt5OpenFolderInfo, WritesOneByteMoreThanItReads) {
    OpenFolderInfo info = someOpenFolder();
    std::vector<char> bytes = written(info);
    EXPECT_EQ(info.size(), 20u);
    EXPECT_EQ(hex(bytes), "11 22 33 44 FF FF 00 02 01 2C FE 70 01 00 7E A1\nA2 B1 B2 C1 C2");

    // read() takes 20 bytes: the zero high byte of the widened mode becomes
    // the mode, and every later field slips by one.
    OpenFolderInfo back;
    EXPECT_EQ(readFrom(back, bytes), 20u);
    EXPECT_TRUE(back.open());
    EXPECT_EQ(back.mode(), 0);
    EXPECT_EQ(back.value1(), 0x7EA1);

    std::vector<char> twenty = bytes;
    twenty.erase(twenty.begin() + 13);
    twenty[12] = 0x33;  // any non-zero byte is true
    readFrom(back, twenty);
    EXPECT_TRUE(back.open());
    EXPECT_EQ(back.mode(), 0x7E);
    EXPECT_EQ(back.value3(), 0xC1C2);
}

TEST(Tkt5ArchiveHeader, ByteLayoutOfEveryPart) {
    ArchiveHeader header;
    header.flags(0x03);
    header.archiveSize(0x01020304);
    header.firstItem(0x0A0B0C0D);
    header.rootItemCount(0x1234);
    header.deluxe(someDeluxe());
    header.comment("abc");
    header.comment2("XY");
    header.passwordHash("hhhhh");
    header.openFolders({someOpenFolder()});

    // 100 fixed, 14 deluxe, 4 lengths, 1 + 5 hash, 2 + 20 list (write gives 21), 3 + 2 texts.
    ASSERT_EQ(header.size(), 151u);
    Bytes expected(152);
    expected.text(0, "Tuckett (c)1997-2001")
        .text(20, ArchiveHeader::artifact2Text)
        .u8(82, 5)
        .u8(83, 0xF3)
        .u32(84, 0x01020304)
        .u32(88, 0x0A0B0C0D)
        .u16(92, 0x1234)
        .u32(94, 151)
        .text(100, std::string_view("\x00\x01\x00\x02\x00\x03\x00\x04\x55\x66\x77\x88\x99\xAA", 14))
        .u16(114, 3)
        .u16(116, 2)
        .u8(118, 5)
        .text(119, "hhhhh")
        .u16(124, 1)
        .text(126, std::string_view("\x11\x22\x33\x44\xFF\xFF\x00\x02\x01\x2C\xFE\x70\x01\x00\x7E\xA1\xA2\xB1\xB2\xC1\xC2", 21))
        .text(147, "abcXY")
        .crc(98, 0, 152);
    EXPECT_EQ(hex(written(header)), hex(expected.data));
}

TEST(Tkt5ArchiveHeader, RoundTrip) {
    ArchiveHeader header;
    header.year("1999");
    header.archiveSize(5000);
    header.firstItem(200);
    header.rootItemCount(3);
    header.flags(0x05);
    header.deluxe(someDeluxe());
    header.comment("a comment");
    header.comment2("second");
    header.passwordHash(std::string("\x01\x02\x00\x04\x05", 5));
    std::vector<char> bytes = written(header);

    ArchiveHeader back;
    EXPECT_EQ(readFrom(back, bytes), bytes.size());
    EXPECT_TRUE(back.valid());
    EXPECT_EQ(back.year(), "1999");
    EXPECT_EQ(back.artifact1Pattern(), ArchiveHeader::artifact1Text);
    EXPECT_EQ(back.artifact2Pattern(), ArchiveHeader::artifact2Text);
    EXPECT_EQ(back.flags(), 0x05 | 0x10 | 0x20 | 0x80);
    EXPECT_EQ(back.headerSize(), bytes.size());
    EXPECT_EQ(back.headerCRC(), uint16_t((uint8_t(bytes[98]) << 8) | uint8_t(bytes[99])));
    EXPECT_EQ(back.deluxe().deluxeValue(), 0x778899AAu);
    EXPECT_EQ(back.comment(), "a comment");
    EXPECT_EQ(back.comment2(), "second");
    EXPECT_EQ(back.passwordHash(), std::string("\x01\x02\x00\x04\x05", 5));
    EXPECT_FALSE(back.openFolders.isSet());
    EXPECT_EQ(written(back), bytes);

    // A second read forgets the optional parts of the first.
    ArchiveHeader plain;
    plain.archiveSize(300);
    readFrom(back, written(plain));
    EXPECT_FALSE(back.deluxe.isSet());
    EXPECT_FALSE(back.comment.isSet());
    EXPECT_FALSE(back.passwordHash.isSet());
    EXPECT_EQ(written(back), written(plain));
}

// A second comment without a first is lost, an empty comment counts as none,
// and an empty list of open folders sets its flag but writes no count.
TEST(Tkt5ArchiveHeader, EmptyPartsAreNotWritten) {
    ArchiveHeader header;
    header.comment2("orphan");
    EXPECT_EQ(header.size(), 100u);
    std::vector<char> bytes = written(header);
    ASSERT_EQ(bytes.size(), 100u);
    EXPECT_EQ(bytes[83], 0);
    header.comment("");
    EXPECT_EQ(written(header).size(), 100u);

    ArchiveHeader folders;
    folders.openFolders({});
    bytes = written(folders);
    ASSERT_EQ(bytes.size(), 100u);
    EXPECT_EQ(uint8_t(bytes[83]), 0x40);
    EXPECT_EQ(folders.size(), 100u);
}

// The count of open folders is taken only as far as their bytes go: a short
// input claiming 65535 of them yields what is there, or fails when strict.
TEST(Tkt5ArchiveHeader, OpenFolderCountIsNoMoreThanAPromise) {
    ArchiveHeader header;
    header.archiveSize(1000);
    header.openFolders({someOpenFolder(), someOpenFolder()});
    std::vector<char> bytes = written(header);
    ArchiveHeader back;
    readFrom(back, bytes);
    EXPECT_EQ(back.openFolders().size(), 2u);

    bytes[100] = char(0xFF), bytes[101] = char(0xFF);
    bytes.resize(102 + 21 + 5);
    readFrom(back, bytes, false);
    ASSERT_EQ(back.openFolders().size(), 2u);
    EXPECT_EQ(back.openFolders()[1].value3(), 0xFFFFu);
    EXPECT_EQ(messageOf([&] { readFrom(back, bytes); }),
              "input stream is too short in format::tkt5::ArchiveHeader::read()");
}

TEST(Tkt5ArchiveHeader, CRCCoversTheVariablePartButIsNotChecked) {
    ArchiveHeader header;
    header.archiveSize(1000);
    header.comment("x");
    std::vector<char> bytes = written(header);
    std::vector<char> other = bytes;
    other.at(other.size() - 1) = 'y';
    header.comment("y");
    std::vector<char> rewritten = written(header);
    EXPECT_NE(std::string(rewritten.begin() + 98, rewritten.begin() + 100),
              std::string(bytes.begin() + 98, bytes.begin() + 100));

    ArchiveHeader back;
    readFrom(back, other, true);
    EXPECT_EQ(back.comment(), "y");
    EXPECT_TRUE(back.valid());
}

struct ValidCase {
    uint8_t version;
    uint32_t firstItem;
    uint32_t archiveSize;
    bool valid;
};

class Tkt5ArchiveHeaderValid : public ::testing::TestWithParam<ValidCase> {};

TEST_P(Tkt5ArchiveHeaderValid, LooksAtVersionAndFirstItemOnly) {
    ArchiveHeader header;
    header.version(GetParam().version);
    header.firstItem(GetParam().firstItem);
    header.archiveSize(GetParam().archiveSize);
    header.artifact1Pattern("not the signature");
    ArchiveHeader back;
    readFrom(back, written(header));
    EXPECT_EQ(back.valid(), GetParam().valid);
}

INSTANTIATE_TEST_SUITE_P(Cases, Tkt5ArchiveHeaderValid,
                         ::testing::Values(ValidCase{5, 100, 101, true}, ValidCase{6, 0, 1, true},
                                           ValidCase{4, 100, 200, false}, ValidCase{0, 100, 200, false},
                                           ValidCase{5, 200, 200, false}, ValidCase{5, 201, 200, false},
                                           ValidCase{255, 0xFFFFFFFE, 0xFFFFFFFF, true}));

TEST(Tkt5ArchiveHeader, ShortInputInStrictReadThrows) {
    ArchiveHeader header;
    header.archiveSize(1000);
    header.comment("comment");
    std::vector<char> bytes = written(header);
    bytes.resize(bytes.size() - 3);
    ArchiveHeader back;
    EXPECT_EQ(messageOf([&] { readFrom(back, bytes, true); }),
              "input stream is too short in format::tkt5::ItemHeader::readString()");
    readFrom(back, bytes, false);
    EXPECT_EQ(back.comment(), std::string("comm\0\0\0", 7));
}

TEST(Tkt5ArchiveHeader, ReadsAListOfTwentyByteRecords) {
    ArchiveHeader header;
    header.archiveSize(1000);
    header.flags(0x40);
    std::vector<char> bytes = written(header);
    const char entry[20] = {0, 0, 0, 9, 0, 1, 0, 2, 0, 3, 0, 4, 1, 7, 0, 5, 0, 6, 0, 8};
    bytes.push_back(0);
    bytes.push_back(2);
    bytes.insert(bytes.end(), entry, entry + 20);
    bytes.insert(bytes.end(), entry, entry + 20);
    bytes.push_back('!');

    ArchiveHeader back;
    EXPECT_EQ(readFrom(back, bytes), 142u);
    ASSERT_TRUE(back.openFolders.isSet());
    ASSERT_EQ(back.openFolders().size(), 2u);
    EXPECT_EQ(back.openFolders()[1].folderValue(), 9u);
    EXPECT_EQ(back.openFolders()[1].mode(), 7);
    EXPECT_EQ(back.openFolders()[1].value3(), 8);
    EXPECT_EQ(back.size(), 142u);
}
