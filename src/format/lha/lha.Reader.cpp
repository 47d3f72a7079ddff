#include "format/lha/lha.Reader.h"

#include <archive.h>

#include <string>
#include <vector>

#include "engine/t5.Exception.h"
#include "stream/stream.Input.h"

namespace engine5::lha {

namespace {

uint64_t le32(const unsigned char* p) {
    return uint64_t(p[0]) | uint64_t(p[1]) << 8 | uint64_t(p[2]) << 16 | uint64_t(p[3]) << 24;
}

void supportLha(struct archive* parser) { archive_read_support_format_lha(parser); }

// Walks the headers (each followed by its packed data) and refuses the archive
// at a header of level 3 or more: those give their header sizes in 32 bits,
// and libarchive allocates what such a size claims before it reads a byte of
// it. Each header's original and packed sizes are listed for the guard
// against decompression bombs (a level 1 header counts its extended headers
// as packed data, which errs on the side of the item). The walk stops quietly
// at the end mark or at anything that is not a header, and leaves the rest to
// libarchive.
void vetLha(stream::random::Input& archive, uint64_t position, std::vector<tar::Reader::Sizes>& items) {
    const uint64_t end = archive.size();
    unsigned char h[22];
    while (position + sizeof h <= end) {
        archive.seek(position);
        if (archive.read(reinterpret_cast<char*>(h), sizeof h) != sizeof h) return;
        if (h[0] == 0 || h[2] != '-' || h[3] != 'l' || h[6] != '-') return;
        const int level = h[20];
        if (level >= 3)
            throw tuckett5::exception::BadFormat("invalid lha archive: header level " + std::to_string(level) +
                                                 " is not supported");
        const uint64_t header = level == 2 ? uint64_t(h[0]) | uint64_t(h[1]) << 8 : uint64_t(h[0]) + 2;
        const uint64_t packed = le32(h + 7);
        items.push_back({le32(h + 11), packed});
        position += header + packed;
    }
}

const tar::Reader::Dialect lhaDialect{"lha", supportLha, "encrypted LHA archives not supported by lha reader", vetLha};

}  // namespace

Reader::Reader(uint32_t position, tuckett5::Reader& reader) : tar::Reader(position, reader, lhaDialect) {}

}  // namespace engine5::lha
