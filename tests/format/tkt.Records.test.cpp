#include <gtest/gtest.h>

#include "format/format.Exception.h"
#include "format/tkt/tkt.ArchiveHeader.h"
#include "format/tkt/tkt.ItemHeader.h"
#include "records.Bytes.h"

using namespace records_test;
namespace tkt = format::tkt;

namespace {

void fillItem(tkt::ItemHeader& item) {
    tkt::ForkInfo& rsrc = item.resourceFork();
    tkt::ForkInfo& data = item.dataFork();
    rsrc.method(0x0D);
    data.method(0x82);
    item.name("Read Me");
    item.itemFlags(0x8000);
    rsrc.forkValue(0x11121314);
    data.forkValue(0x21222324);
    data.forkByte(0x25);
    rsrc.forkByte(0x15);
    item.childCount(0x3132);
    item.previous(0x41424344);
    item.next(0x51525354);
    item.parent(0x61626364);
    item.firstChild(0x71727374);
    item.type(format::data::OSType("TEXT"));
    item.creator(format::data::OSType("ttxt"));
    item.finderFlags(0x4000);
    item.creationDate(0x81828384);
    item.modificationDate(0x91929394);
    rsrc.uncompressedSize(0xA1A2A3A4);
    data.uncompressedSize(0xB1B2B3B4);
    rsrc.compressedSize(0xC1C2C3C4);
    data.compressedSize(0xD1D2D3D4);
    rsrc.crc(0xE1E2);
    data.crc(0xF1F2);
    rsrc.extra1(0x01);
    data.extra1(0x02);
    data.extra2(0x03);
    data.extra3(0x04);
    rsrc.extra2(0x05);
    rsrc.extra3(0x06);
}

std::vector<char> itemBytes() {
    tkt::ItemHeader item;
    fillItem(item);
    return written(item);
}

} // namespace

TEST(TktArchiveHeader, LayoutAndRoundTrip) {
    tkt::ArchiveHeader header;
    EXPECT_EQ(header.firstItem(), 22u);
    header.itemCount(0x0102);
    header.archiveSize(0x03040506);
    header.version(1);
    header.firstItem(0x0708090A);

    Bytes expected(22);
    expected.text(0, "TKT!").u16(4, 0x0102).u32(6, 0x03040506).text(10, "rTuk").u8(14, 1).u32(16, 0x0708090A);
    std::vector<char> bytes = written(header);
    EXPECT_EQ(hex(bytes), hex(expected.data));

    bytes[15] = 0x7F;  // reserved bytes are skipped
    bytes[21] = 0x7F;
    tkt::ArchiveHeader back;
    EXPECT_EQ(readFrom(back, bytes), 22u);
    EXPECT_TRUE(back.valid());
    EXPECT_EQ(back.itemCount(), 0x0102);
    EXPECT_EQ(back.firstItem(), 0x0708090Au);
    EXPECT_EQ(written(back), written(header));
}

struct MagicCase {
    std::size_t at;
    uint8_t version;
    const char* strictMessage;
    bool valid;
};

class TktArchiveHeaderMagic : public ::testing::TestWithParam<MagicCase> {};

TEST_P(TktArchiveHeaderMagic, StrictRefusesLenientReportsThroughValid) {
    tkt::ArchiveHeader header;
    header.version(GetParam().version);
    std::vector<char> bytes = written(header);
    bytes[GetParam().at] ^= 0x20;
    tkt::ArchiveHeader back;
    EXPECT_EQ(messageOf([&] { readFrom(back, bytes, true); }), GetParam().strictMessage);
    readFrom(back, bytes, false);
    EXPECT_EQ(back.valid(), GetParam().valid);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, TktArchiveHeaderMagic,
    ::testing::Values(MagicCase{0, 2, "bad header artfact 1 in format::tkt::ArchiveHeader::read()", false},
                      MagicCase{3, 1, "bad header artfact 1 in format::tkt::ArchiveHeader::read()", false},
                      MagicCase{10, 2, "bad header artfact 2 in format::tkt::ArchiveHeader::read()", false},
                      MagicCase{13, 2, "bad header artfact 2 in format::tkt::ArchiveHeader::read()", false},
                      MagicCase{8, 1, "no exception", true},      // inside archiveSize
                      MagicCase{8, 0, "no exception", false},     // version 0
                      MagicCase{8, 3, "no exception", false}));  // version 3

TEST(TktItemHeader, LayoutAndRoundTrip) {
    tkt::ItemHeader item;
    fillItem(item);
    ASSERT_EQ(item.size(), 112u);
    Bytes expected(112);
    expected.u8(0, 0x0D)
        .u8(1, 0x82)
        .u8(2, 7)
        .text(3, "Read Me")
        .crc(34, 2, 34)
        .u16(36, 0x8000)
        .u32(38, 0x11121314)
        .u32(42, 0x21222324)
        .u8(46, 0x25)
        .u8(47, 0x15)
        .u16(48, 0x3132)
        .u32(50, 0x41424344)
        .u32(54, 0x51525354)
        .u32(58, 0x61626364)
        .u32(62, 0x71727374)
        .text(66, "TEXTttxt")
        .u16(74, 0x4000)
        .u32(76, 0x81828384)
        .u32(80, 0x91929394)
        .u32(84, 0xA1A2A3A4)
        .u32(88, 0xB1B2B3B4)
        .u32(92, 0xC1C2C3C4)
        .u32(96, 0xD1D2D3D4)
        .u16(100, 0xE1E2)
        .u16(102, 0xF1F2)
        .text(104, "\x01\x02\x03\x04\x05\x06")
        .crc(110, 0, 110);
    const std::vector<char> bytes = written(item);
    EXPECT_EQ(hex(bytes), hex(expected.data));

    tkt::ItemHeader back;
    EXPECT_EQ(readFrom(back, bytes), 112u);
    EXPECT_EQ(back.name(), "Read Me");
    EXPECT_EQ(back.type().stringValue(), "TEXT");
    EXPECT_EQ(back.resourceFork().forkByte(), 0x15);
    EXPECT_EQ(back.dataFork().extra3(), 0x04);
    EXPECT_TRUE(back.file());
    EXPECT_EQ(written(back), bytes);
}

TEST(TktItemHeader, NameFieldHoldsThirtyOneBytes) {
    tkt::ItemHeader item;
    item.name(std::string(31, 'n'));
    std::vector<char> bytes = written(item);
    ASSERT_EQ(bytes.size(), 112u);
    EXPECT_EQ(bytes[2], 31);
    tkt::ItemHeader back;
    readFrom(back, bytes);
    EXPECT_EQ(back.name(), std::string(31, 'n'));

    item.name(std::string(32, 'n'));
    EXPECT_EQ(messageOf([&] { written(item); }),
              "file name is too long in format::tkt::ItemHeader::writeName()");
}

TEST(TktItemHeader, CRCRules) {
    const std::vector<char> good = itemBytes();
    tkt::ItemHeader back;

    std::vector<char> body = good;
    body[80] ^= 0x10;
    EXPECT_EQ(messageOf([&] { readFrom(back, body, true); }), "bad header CRC in format::tkt::ItemHeader::read()");
    EXPECT_EQ(messageOf([&] { readFrom(back, body, false); }), "no exception");
    body[110] = body[111] = 0;  // a stored zero is not checked
    EXPECT_EQ(messageOf([&] { readFrom(back, body, true); }), "no exception");
    EXPECT_EQ(back.modificationDate(), 0x81929394u);

    // The name has its own CRC, stored zero or not; the rest of the field counts too.
    for (std::size_t at : {2u, 5u, 33u, 34u}) {
        std::vector<char> name = good;
        name[at] ^= 0x01;
        name[110] = name[111] = 0;
        EXPECT_EQ(messageOf([&] { readFrom(back, name, true); }),
                  "bad name CRC in format::tkt::ItemHeader::readName()")
            << "byte " << at;
        EXPECT_EQ(messageOf([&] { readFrom(back, name, false); }), "no exception");
    }
}

TEST(TktItemHeader, ShortInput) {
    std::vector<char> bytes = itemBytes();
    bytes.resize(111);
    tkt::ItemHeader back;
    EXPECT_EQ(messageOf([&] { readFrom(back, bytes, true); }),
              "input stream is too short in format::tkt::ItemHeader::read()");
}

struct KindCase {
    uint8_t resourceMethod;
    bool file, folder, endFolder;
};

class TktItemKind : public ::testing::TestWithParam<KindCase> {};

TEST_P(TktItemKind, ToldByTheResourceMethodByte) {
    tkt::ItemHeader item;
    item.resourceFork().method(GetParam().resourceMethod);
    item.dataFork().method(0x21);  // the data byte plays no part
    tkt::ItemHeader back;
    readFrom(back, written(item));
    EXPECT_EQ(back.file(), GetParam().file);
    EXPECT_EQ(back.folder(), GetParam().folder);
    EXPECT_EQ(back.endFolder(), GetParam().endFolder);
}

INSTANTIATE_TEST_SUITE_P(Methods, TktItemKind,
                         ::testing::Values(KindCase{0x00, true, false, false}, KindCase{0x0D, true, false, false},
                                           KindCase{0x20, false, true, false}, KindCase{0x30, false, true, false},
                                           KindCase{0x21, false, false, true}, KindCase{0x31, false, false, true},
                                           KindCase{0x22, true, false, false}, KindCase{0xA0, true, false, false}));

TEST(TktItemHeader, MakeOperationsSetBothMethodBytes) {
    tkt::ItemHeader item;
    item.makeFolder();
    std::vector<char> bytes = written(item);
    EXPECT_EQ(hex({bytes[0], bytes[1]}), "20 20");
    item.makeEndFolder();
    bytes = written(item);
    EXPECT_EQ(hex({bytes[0], bytes[1]}), "21 21");
    item.makeFile();
    bytes = written(item);
    EXPECT_EQ(hex({bytes[0], bytes[1]}), "00 00");

    item.resourceFork().method(0x0D);
    item.dataFork().method(0x02);
    item.makeFile();  // already a file: its methods stay
    EXPECT_EQ(item.resourceFork().method(), 0x0D);
}

TEST(TktForkInfo, RefusesToSerialiseItself) {
    tkt::ForkInfo fork;
    EXPECT_EQ(fork.size(), 19u);
    std::vector<char> bytes(19, 0);
    EXPECT_EQ(messageOf([&] { readFrom(fork, bytes, false); }),
              "format::tkt::ForkInfo::read(): fork information cannot be read");
    EXPECT_EQ(messageOf([&] { written(fork); }), "format::tkt::ForkInfo::write(): fork information cannot be read");
}
