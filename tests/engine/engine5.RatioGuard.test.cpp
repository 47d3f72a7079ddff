// The guard against decompression bombs: an item that expands beyond the
// reader's ratio (and beyond the floor) is refused with its text, the option
// lifts it, and the native format's own methods are never held to it.
#include <bzlib.h>
#include <gtest/gtest.h>
#include <zlib.h>

#include <filesystem>
#include <functional>
#include <string>

#include "engine/engine.Scratch.h"
#include "engine/engine5.FormatReader.h"
#include "engine/t5.Exception.h"
#include "engine/t5.Reader.h"
#include "stream/check/crc.CRC.h"
#include "support/tkt5.Builder.h"

namespace {

namespace fs = std::filesystem;
using enginetest::Scratch;

const std::string refusal =
    "data expands to more than 1000 times its compressed size; refused as a possible decompression bomb";

void le(std::string& out, uint32_t value, int bytes) {
    for (int i = 0; i < bytes; ++i) out += static_cast<char>(value >> (8 * i));
}

// A Zip archive of one Deflate entry, made with zlib at its strongest.
std::string zipOf(const std::string& name, const std::string& plain) {
    uLongf bound = compressBound(uLong(plain.size()));
    std::string packed(bound, '\0');
    z_stream z{};
    deflateInit2(&z, 9, Z_DEFLATED, -15, 9, Z_DEFAULT_STRATEGY);
    z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(plain.data()));
    z.avail_in = uInt(plain.size());
    z.next_out = reinterpret_cast<Bytef*>(packed.data());
    z.avail_out = uInt(packed.size());
    deflate(&z, Z_FINISH);
    packed.resize(z.total_out);
    deflateEnd(&z);
    algorithm::crc::EthernetCRC crc;
    crc.update(plain.data(), uint32_t(plain.size()));
    const uint32_t check = ~crc.value();

    std::string local = "PK\x03\x04";
    le(local, 20, 2), le(local, 0, 2), le(local, 8, 2), le(local, 0, 4), le(local, check, 4);
    le(local, uint32_t(packed.size()), 4), le(local, uint32_t(plain.size()), 4), le(local, uint32_t(name.size()), 2);
    le(local, 0, 2);
    local += name + packed;
    std::string central = "PK\x01\x02";
    le(central, 20, 2), le(central, 20, 2), le(central, 0, 2), le(central, 8, 2), le(central, 0, 4);
    le(central, check, 4), le(central, uint32_t(packed.size()), 4), le(central, uint32_t(plain.size()), 4);
    le(central, uint32_t(name.size()), 2), le(central, 0, 2), le(central, 0, 2), le(central, 0, 2), le(central, 0, 2);
    le(central, 0, 4), le(central, 0, 4);
    central += name;
    std::string end = "PK\x05\x06";
    le(end, 0, 4), le(end, 1, 2), le(end, 1, 2), le(end, uint32_t(central.size()), 4);
    le(end, uint32_t(local.size()), 4), le(end, 0, 2);
    return local + central + end;
}

std::string bzip2Of(const std::string& plain) {
    std::string packed(plain.size() / 100 + 1000, '\0');
    unsigned int length = unsigned(packed.size());
    BZ2_bzBuffToBuffCompress(packed.data(), &length, const_cast<char*>(plain.data()), unsigned(plain.size()), 9, 0, 0);
    packed.resize(length);
    return packed;
}

void octal(char* field, int width, uint64_t value) {
    for (int i = width - 2; i >= 0; --i, value >>= 3) field[i] = static_cast<char>('0' + (value & 7));
}

// A GNU tar of one sparse member of `size` bytes, of which it keeps the last
// three: a header of 512 bytes that claims any size it likes.
std::string sparseTar(uint64_t size) {
    std::string block(512, '\0');
    block.replace(0, 5, "holes");
    octal(&block[100], 8, 0644), octal(&block[108], 8, 0), octal(&block[116], 8, 0);
    octal(&block[124], 12, 3), octal(&block[136], 12, 1200000000);
    block[156] = 'S';
    block.replace(257, 8, std::string("ustar  \0", 8));
    octal(&block[386], 12, size - 3), octal(&block[398], 12, 3);
    octal(&block[483], 12, size);
    uint32_t sum = 8 * ' ';
    for (int i = 0; i < 512; ++i) sum += i >= 148 && i < 156 ? 0 : static_cast<unsigned char>(block[i]);
    octal(&block[148], 7, sum);
    block[155] = ' ';
    return block + "end" + std::string(509 + 1024, '\0');
}

class RatioGuard : public ::testing::Test {
protected:
    Scratch scratch;
    std::string out = scratch.path("out");
    tuckett5::Reader reader;

    void SetUp() override {
        fs::create_directories(out);
        reader.outputFolder(out);
    }

    // Expands the archive and answers the text of the failure, empty for none.
    std::string expand(const std::string& name, const std::string& bytes) {
        const std::string path = scratch.write(name, bytes);
        try {
            reader.open(path);
            reader.scan();
            reader.decode();
        } catch (const un::exception& failure) {
            reader.close();
            return failure.what();
        }
        reader.close();
        return "";
    }
};

// Honest sizes that break the ratio are refused before the item is created;
// a stream, which declares none, before its data reaches the output folder.
TEST_F(RatioGuard, RefusesBombsWithItsTextAndZeroLiftsIt) {
    const std::string zeros(4 << 20, '\0');
    const std::string zip = zipOf("zeros", zeros);
    const std::string bz2 = bzip2Of(zeros);
    ASSERT_GT(zeros.size() / zip.size(), 1000u);

    EXPECT_EQ(expand("bomb.zip", zip), refusal);
    EXPECT_FALSE(fs::exists(fs::path(out) / "zeros"));
    EXPECT_EQ(expand("zeros.bz2", bz2), refusal);
    EXPECT_TRUE(fs::is_empty(out));

    reader.maxRatio(0);
    EXPECT_EQ(expand("bomb.zip", zip), "");
    EXPECT_EQ(fs::file_size(fs::path(out) / "zeros"), zeros.size());
    EXPECT_EQ(expand("zeros.bz2", bz2), "");
    EXPECT_EQ(fs::file_size(fs::path(out) / "zeros"), zeros.size());

    // A ratio of one's own choosing holds as the default does.
    reader.maxRatio(2000);
    EXPECT_EQ(expand("bomb.zip", zip), "");
    reader.maxRatio(10);
    EXPECT_EQ(expand("bomb.zip", zip),
              "data expands to more than 10 times its compressed size; refused as a possible decompression bomb");

    // Going on past failing items, the bomb is one of them.
    reader.maxRatio(tuckett5::Reader::defaultMaxRatio);
    reader.continueAfterItemFailure(true);
    EXPECT_EQ(expand("bomb.zip", zip), "");
    ASSERT_EQ(reader.itemFailures.size(), 1u);
    EXPECT_EQ(reader.itemFailures[0].message, refusal);
}

// A sparse member's holes expand from nothing: only its data regions count
// as what it packs.
TEST_F(RatioGuard, HoldsSparseTarMembersToWhatTheyStore) {
    const std::string tar = sparseTar(16 << 20);
    EXPECT_EQ(expand("holes.tar", tar), refusal);
    EXPECT_FALSE(fs::exists(fs::path(out) / "holes"));
    reader.maxRatio(0);
    EXPECT_EQ(expand("holes.tar", tar), "");
    EXPECT_EQ(fs::file_size(fs::path(out) / "holes"), uint64_t(16 << 20));
}

TEST_F(RatioGuard, LeavesTheNativeFormatsOwnMethodsAlone) {
    const std::string zeros(2 << 20, '\0');
    test::tkt5::Builder builder;
    const std::string archive = builder.build({test::tkt5::Item::file("zeros", zeros, test::tkt5::arsenic)});
    ASSERT_GT(zeros.size() / archive.size(), 1000u);
    reader.maxRatio(2);
    EXPECT_EQ(expand("zeros.tkt", archive), "");
    EXPECT_EQ(fs::file_size(fs::path(out) / "zeros"), zeros.size());
}

// A reader of a format that declares no expanded size: the guard counts as
// the item is written, and allows anything up to the floor.
class Undeclared : public engine5::FormatReader {
public:
    explicit Undeclared(tuckett5::Reader& reader) : engine5::FormatReader(0, reader) {}
    bool expand(const std::string& name, uint64_t packed, uint64_t size) {
        engine5::Entry entry;
        entry.name = name;
        entry.compressedSize(packed);
        return expandFile(entry, [&] { dataFork().fill(size, 'x'); });
    }
};

TEST_F(RatioGuard, CountsUndeclaredOutputAndKeepsTheFloor) {
    Undeclared format(reader);
    reader.continueAfterItemFailure(true);
    // Ten bytes that become 20 KB, or all of the floor, are no bomb.
    EXPECT_TRUE(format.expand("small", 10, 20000));
    EXPECT_TRUE(format.expand("floor", 10, engine5::FormatReader::ratioFloor));
    EXPECT_TRUE(format.expand("ratio", 100, 100000));
    EXPECT_FALSE(format.expand("over", 100, 100001));
    EXPECT_FALSE(format.expand("past the floor", 10, engine5::FormatReader::ratioFloor + 1));
    ASSERT_EQ(reader.itemFailures.size(), 2u);
    EXPECT_EQ(reader.itemFailures[1].message, refusal);
    // What was written of a refused item goes.
    EXPECT_FALSE(fs::exists(fs::path(out) / "over"));
    EXPECT_EQ(fs::file_size(fs::path(out) / "small"), 20000u);
}

}  // namespace
