// The libraries that the engine links (zlib, libbz2, libdeflate, libarchive),
// called the way the readers and writers call them, on every target: a header
// that disagrees with its library, a libarchive built without zlib or libbz2,
// or a 32-bit width mistake shows up here first.
#include <archive.h>
#include <archive_entry.h>
#include <bzlib.h>
#include <gtest/gtest.h>
#include <libdeflate.h>
#include <zlib.h>

#include <cstring>
#include <string>
#include <vector>

#include "algorithm/deflate/deflate.Decompressor.h"
#include "stream/stream.Array.h"
#include "stream/stream.Vector.h"

namespace {

const std::string text = "Cratewerk packs crates; crates of crates pack well.\n";

std::string repeated(int times) {
    std::string s;
    for (int i = 0; i < times; ++i) s += text;
    return s;
}

TEST(Libraries, HeadersMatchTheLinkedLibraries) {
    EXPECT_STREQ(zlibVersion(), ZLIB_VERSION);
    EXPECT_EQ(std::string(BZ2_bzlibVersion()).substr(0, 6), "1.0.8,");
    EXPECT_EQ(archive_version_number(), ARCHIVE_VERSION_NUMBER);
    EXPECT_STREQ(archive_version_string(), ARCHIVE_VERSION_STRING);
    // libarchive reads gzip and bzip2 data through the libraries, not a program.
    ASSERT_NE(archive_zlib_version(), nullptr);
    EXPECT_STREQ(archive_zlib_version(), ZLIB_VERSION);
    ASSERT_NE(archive_bzlib_version(), nullptr);
    EXPECT_EQ(LIBDEFLATE_VERSION_MAJOR, 1);
}

TEST(Libraries, Bzip2RoundTripThroughTheStreamInterface) {
    std::string data = repeated(40);
    std::vector<char> packed(data.size() + data.size() / 100 + 600);
    unsigned packedSize = static_cast<unsigned>(packed.size());
    ASSERT_EQ(
        BZ2_bzBuffToBuffCompress(packed.data(), &packedSize, data.data(), static_cast<unsigned>(data.size()), 1, 0, 0),
        BZ_OK);
    EXPECT_LT(packedSize, data.size() / 4);

    bz_stream z{};
    ASSERT_EQ(BZ2_bzDecompressInit(&z, 0, 0), BZ_OK);
    std::string back(data.size() + 1, '\0');
    z.next_in = packed.data();
    z.avail_in = packedSize;
    z.next_out = back.data();
    z.avail_out = static_cast<unsigned>(back.size());
    EXPECT_EQ(BZ2_bzDecompress(&z), BZ_STREAM_END);
    back.resize(back.size() - z.avail_out);
    EXPECT_EQ(BZ2_bzDecompressEnd(&z), BZ_OK);
    EXPECT_EQ(back, data);

    // A damaged stream is refused, not expanded.
    packed[packedSize / 2] = static_cast<char>(packed[packedSize / 2] ^ 0x55);
    unsigned size = static_cast<unsigned>(back.size());
    EXPECT_NE(BZ2_bzBuffToBuffDecompress(back.data(), &size, packed.data(), packedSize, 0, 0), BZ_OK);
}

TEST(Libraries, LibdeflateOutputExpandsThroughOurInflate) {
    std::string data = repeated(200);
    for (int level : {1, 6, 12}) {
        libdeflate_compressor* c = libdeflate_alloc_compressor(level);
        ASSERT_NE(c, nullptr);
        std::vector<char> packed(libdeflate_deflate_compress_bound(c, data.size()));
        size_t size = libdeflate_deflate_compress(c, data.data(), data.size(), packed.data(), packed.size());
        libdeflate_free_compressor(c);
        ASSERT_GT(size, 0u);
        packed.resize(size);

        std::vector<char> back;
        stream::ArrayInput in(packed.data(), static_cast<uint32_t>(packed.size()));
        stream::VectorOutput out(back);
        algorithm::deflate::Decompressor inflate;
        inflate.process(in, out);
        EXPECT_EQ(std::string(back.begin(), back.end()), data) << "level " << level;

        libdeflate_decompressor* d = libdeflate_alloc_decompressor();
        std::string again(data.size(), '\0');
        size_t actual = 0;
        EXPECT_EQ(libdeflate_deflate_decompress(d, packed.data(), packed.size(), again.data(), again.size(), &actual),
                  LIBDEFLATE_SUCCESS);
        libdeflate_free_decompressor(d);
        EXPECT_EQ(again, data);
    }
    // The gzip CRC-32 agrees with zlib's.
    EXPECT_EQ(libdeflate_crc32(0, data.data(), data.size()),
              crc32(0, reinterpret_cast<const Bytef*>(data.data()), static_cast<uInt>(data.size())));
}

struct Member {
    std::string name;
    std::string data;
};

// A tar archive in memory, compressed by the given libarchive filter.
std::vector<char> makeTar(int filter, const std::vector<Member>& members) {
    std::vector<char> buffer(64 * 1024);
    size_t used = 0;
    archive* a = archive_write_new();
    EXPECT_EQ(archive_write_set_format_pax_restricted(a), ARCHIVE_OK);
    if (filter == ARCHIVE_FILTER_GZIP) {
        EXPECT_EQ(archive_write_add_filter_gzip(a), ARCHIVE_OK);
    } else if (filter == ARCHIVE_FILTER_BZIP2) {
        EXPECT_EQ(archive_write_add_filter_bzip2(a), ARCHIVE_OK);
    }
    EXPECT_EQ(archive_write_open_memory(a, buffer.data(), buffer.size(), &used), ARCHIVE_OK);
    for (const Member& m : members) {
        archive_entry* e = archive_entry_new();
        archive_entry_set_pathname(e, m.name.c_str());
        archive_entry_set_filetype(e, AE_IFREG);
        archive_entry_set_perm(e, 0644);
        archive_entry_set_size(e, static_cast<la_int64_t>(m.data.size()));
        archive_entry_set_mtime(e, 1700000000, 0);
        EXPECT_EQ(archive_write_header(a, e), ARCHIVE_OK);
        EXPECT_EQ(archive_write_data(a, m.data.data(), m.data.size()), static_cast<la_ssize_t>(m.data.size()));
        archive_entry_free(e);
    }
    EXPECT_EQ(archive_write_close(a), ARCHIVE_OK);
    archive_write_free(a);
    buffer.resize(used);
    return buffer;
}

class LibarchiveTar : public testing::TestWithParam<int> {};

TEST_P(LibarchiveTar, ReadsBackWhatItWrote) {
    const std::vector<Member> members = {{"crate/first.txt", repeated(3)},
                                         {"crate/empty", ""},
                                         {"crate/" + std::string(120, 'n') + ".bin", repeated(90)}};
    std::vector<char> tar = makeTar(GetParam(), members);

    archive* a = archive_read_new();
    ASSERT_EQ(archive_read_support_filter_all(a), ARCHIVE_OK);
    ASSERT_EQ(archive_read_support_format_tar(a), ARCHIVE_OK);
    ASSERT_EQ(archive_read_open_memory(a, tar.data(), tar.size()), ARCHIVE_OK);
    archive_entry* e = nullptr;
    size_t index = 0;
    while (archive_read_next_header(a, &e) == ARCHIVE_OK) {
        ASSERT_LT(index, members.size());
        EXPECT_EQ(archive_filter_code(a, 0), GetParam());
        EXPECT_EQ(archive_entry_pathname(e), members[index].name);
        EXPECT_EQ(archive_entry_mtime(e), 1700000000);
        std::string data(static_cast<size_t>(archive_entry_size(e)), '\0');
        EXPECT_EQ(archive_read_data(a, data.data(), data.size()), static_cast<la_ssize_t>(data.size()));
        EXPECT_EQ(data, members[index].data);
        ++index;
    }
    EXPECT_EQ(index, members.size());
    EXPECT_EQ(archive_read_free(a), ARCHIVE_OK);
}

INSTANTIATE_TEST_SUITE_P(Filters, LibarchiveTar,
                         testing::Values(ARCHIVE_FILTER_NONE, ARCHIVE_FILTER_GZIP, ARCHIVE_FILTER_BZIP2));

}  // namespace
