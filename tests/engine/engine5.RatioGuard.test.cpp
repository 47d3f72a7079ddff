// The guard against decompression bombs: an item that expands beyond the
// reader's ratio (and beyond the floor) is refused with its text, the option
// lifts it, and the native format's own methods are never held to it.
#include <bzlib.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>

#include "support/scratch.h"
#include "engine/engine5.FormatReader.h"
#include "engine/t5.Exception.h"
#include "engine/t5.Reader.h"
#include "support/tkt5.Builder.h"

namespace {

namespace fs = std::filesystem;
using test::Scratch;

const std::string refusal =
    "data expands to more than 1000 times its compressed size; refused as a possible decompression bomb";
const std::string kLegacy = std::string(CRATEWERK_TEST_DATA) + "/legacy/";

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

// A stream declares no size: it is refused before its data reaches the
// output folder.
TEST_F(RatioGuard, RefusesABombWithItsTextAndTheOptionSetsOrLiftsIt) {
    const std::string zeros(4 << 20, '\0');
    const std::string bz2 = bzip2Of(zeros);
    ASSERT_GT(zeros.size() / bz2.size(), 10000u);
    EXPECT_EQ(expand("zeros.bz2", bz2), refusal);
    EXPECT_TRUE(fs::is_empty(out));
    reader.maxRatio(10);
    EXPECT_EQ(expand("zeros.bz2", bz2),
              "data expands to more than 10 times its compressed size; refused as a possible decompression bomb");
    reader.maxRatio(0);
    EXPECT_EQ(expand("zeros.bz2", bz2), "");
    EXPECT_EQ(fs::file_size(fs::path(out) / "zeros"), zeros.size());
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

// libarchive gives no packed size; RAR keeps it in each file header. Text
// that packs at 1019:1 passes at 1020 (to fail in libarchive, which keeps its
// own words behind ours) and is refused at 1019 before anything of it is made.
TEST_F(RatioGuard, HoldsRarFilesToThePackedSizesOfTheirHeaders) {
    const std::string lzss = Scratch::read(kLegacy + "libarchive-rar_multi_lzss_blocks.rar");
    EXPECT_EQ(expand("lzss.rar", lzss), refusal);
    EXPECT_TRUE(fs::is_empty(out));
    reader.maxRatio(1020);
    EXPECT_EQ(expand("lzss.rar", lzss), "rar item is damaged or truncated: File CRC error");
    reader.maxRatio(1019);
    EXPECT_EQ(expand("lzss.rar", lzss),
              "data expands to more than 1019 times its compressed size; refused as a possible decompression bomb");
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

// A reader of items with or without declared sizes.
class Items : public engine5::FormatReader {
public:
    explicit Items(tuckett5::Reader& reader) : engine5::FormatReader(0, reader) {}
    bool expand(const std::string& name, uint64_t packed, uint64_t size, bool declared = false) {
        engine5::Entry entry;
        entry.name = name;
        entry.compressedSize(packed);
        if (declared) entry.dataSize(size);
        return expandFile(entry, [&] {
            for (uint64_t done = 0; done < size; done += 4096)
                dataFork().fill(std::min<uint64_t>(4096, size - done), 'x');
        });
    }
};

// Honest sizes that break the ratio are refused before the item is made;
// undeclared output is counted as it is written, and what was written of
// a refused item goes. Up to the floor, no ratio counts.
TEST_F(RatioGuard, HoldsItemsToTheRatioAboveTheFloor) {
    Items format(reader);
    reader.continueAfterItemFailure(true);
    EXPECT_TRUE(format.expand("small", 10, 20000));
    EXPECT_TRUE(format.expand("floor", 10, engine5::FormatReader::ratioFloor));
    EXPECT_TRUE(format.expand("ratio", 100, 100000));
    EXPECT_FALSE(format.expand("over", 100, 100001));
    EXPECT_FALSE(format.expand("past the floor", 10, engine5::FormatReader::ratioFloor + 1));
    EXPECT_FALSE(format.expand("declared", 100, 100001, true));
    ASSERT_EQ(reader.itemFailures.size(), 3u);
    for (const tuckett5::ItemFailure& failure : reader.itemFailures) EXPECT_EQ(failure.message, refusal);
    EXPECT_EQ(fs::file_size(fs::path(out) / "small"), 20000u);
    for (const char* refused : {"over", "past the floor", "declared"})
        EXPECT_FALSE(fs::exists(fs::path(out) / refused));

    reader.maxRatio(0);
    EXPECT_TRUE(format.expand("declared", 1, 1 << 20, true));
}

}  // namespace
