// The ARJ method decoders on the members of an archive that arj made, held
// to a count.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <memory>
#include <string>

#include "algorithm/arj/arj.FastDecompressor.h"
#include "algorithm/arj/arj.GoodDecompressor.h"
#include "format/arj/arj.ArchiveHeader.h"
#include "format/arj/arj.FileHeader.h"
#include "stream/check/crc.CRC.h"
#include "stream/stream.Array.h"
#include "stream/stream.Vector.h"

namespace {

std::unique_ptr<stream::Transform> decoder(int method) {
    if (method == 4) return std::make_unique<algorithm::arj::FastDecompressor>();
    return std::make_unique<algorithm::arj::GoodDecompressor>();
}

std::string decode(int method, const std::string& packed, uint64_t count) {
    std::vector<char> bytes;
    stream::VectorOutput out(bytes);
    stream::ArrayInput in(packed.data(), static_cast<uint32_t>(packed.size()));
    const uint64_t produced = decoder(method)->process(in, out, count);
    EXPECT_EQ(produced, bytes.size());
    return std::string(bytes.begin(), bytes.end());
}

TEST(ArjDecompressors, ExpandArjsMembersAndStopAtTheCount) {
    std::ifstream file(std::string(CRATEWERK_TEST_DATA) + "/arj/methods.arj", std::ios::binary);
    const std::string archive((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    stream::ArrayInput in(archive.data(), static_cast<uint32_t>(archive.size()));
    format::arj::ArchiveHeader main;
    main.read(in, true);
    int seen = 0;
    for (format::arj::FileHeader header; header.read(in, true), !header.end();) {
        std::string packed(header.compressedSize, '\0');
        in.read(packed.data(), header.compressedSize);
        if (header.flags & format::arj::FileHeader::garbled) continue;
        SCOPED_TRACE(header.name);
        const std::string whole = decode(header.method, packed, header.originalSize);
        algorithm::crc::EthernetCRC crc;
        crc.update(whole.data(), static_cast<uint32_t>(whole.size()));
        EXPECT_EQ(~crc.value(), header.fileCRC);
        EXPECT_EQ(whole.size(), header.originalSize);
        // Fewer bytes are the same bytes; more than the data holds are not made up.
        EXPECT_EQ(decode(header.method, packed, 1000), whole.substr(0, 1000));
        EXPECT_EQ(decode(header.method, packed, 0), "");
        EXPECT_LT(decode(header.method, packed, 1u << 30).size(), 1u << 20);
        ++seen;
    }
    EXPECT_EQ(seen, 2);
}

}  // namespace
