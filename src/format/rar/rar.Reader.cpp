#include "format/rar/rar.Reader.h"

#include <archive.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "stream/stream.Input.h"

namespace engine5::rar {

namespace {

void supportRar(struct archive* parser) {
    archive_read_support_format_rar(parser);
    archive_read_support_format_rar5(parser);
}

uint64_t le16(const unsigned char* p) { return uint64_t(p[0]) | uint64_t(p[1]) << 8; }
uint64_t le32(const unsigned char* p) { return le16(p) | le16(p + 2) << 16; }

// The blocks of a RAR archive of versions 1.5 to 4 that matter here.
constexpr unsigned char mainBlock = 0x73;
constexpr unsigned char fileBlock = 0x74;
constexpr unsigned char serviceBlock = 0x7A;
constexpr unsigned char endBlock = 0x7B;
constexpr uint64_t volumeArchive = 0x0001;  // main header
constexpr uint64_t solidArchive = 0x0008;   // main header
constexpr uint64_t splitFile = 0x0003;      // file header: continued from or in another volume
constexpr uint64_t solidFile = 0x0010;      // file header: goes on from the files before it
constexpr uint64_t largeFile = 0x0100;      // file header: sizes have 32 more bits
constexpr uint64_t addedSize = 0x8000;      // other blocks: data follows the header

// Walks the blocks from the marker and lists the original and packed sizes
// of each file header, which libarchive reports in the same order. A file of
// a solid archive decodes from all the packed data since the last file that
// starts afresh, and is held to all of it. Volumes, whose split files
// libarchive joins, are left to the bound of the whole archive, and the walk
// stops quietly at anything it does not know; libarchive judges the rest.
void vetRar(stream::random::Input& archive, uint64_t position, std::vector<tar::Reader::Sizes>& items) {
    static const char marker[] = {'R', 'a', 'r', '!', 0x1A, 0x07, 0x00};
    const uint64_t end = archive.size();
    unsigned char h[40];
    archive.seek(position);
    if (archive.read(reinterpret_cast<char*>(h), sizeof marker) != sizeof marker ||
        std::memcmp(h, marker, sizeof marker) != 0)
        return;
    position += sizeof marker;
    bool solid = false;
    uint64_t run = 0;
    while (position + 7 <= end) {
        archive.seek(position);
        const uint32_t got = archive.read(reinterpret_cast<char*>(h), sizeof h);
        const unsigned char type = h[2];
        const uint64_t flags = le16(h + 3);
        const uint64_t size = le16(h + 5);
        if (size < 7 || size > end - position || type == endBlock) return;
        if (type == mainBlock && (flags & volumeArchive)) {
            items.clear();
            return;
        }
        if (type == mainBlock) solid = (flags & solidArchive) != 0;
        uint64_t data = 0;
        if (type == fileBlock || type == serviceBlock) {
            const uint32_t fixed = flags & largeFile ? 40 : 32;
            if (got < fixed || size < fixed) return;
            data = le32(h + 7);
            if (flags & largeFile) data |= le32(h + 32) << 32;
        } else if (flags & addedSize) {
            if (got < 11) return;
            data = le32(h + 7);
        }
        if (data > end - position - size) return;
        if (type == fileBlock) {
            if (flags & splitFile) {
                items.clear();
                return;
            }
            const uint64_t expanded = le32(h + 11) | (flags & largeFile ? le32(h + 36) << 32 : 0);
            run = (flags & solidFile) || (solid && !items.empty()) ? run + data : data;
            items.push_back({expanded, run});
        }
        position += size + data;
    }
}

const tar::Reader::Dialect rarDialect{"rar", supportRar, "encrypted RAR archives not supported by rar reader", vetRar};

}  // namespace

Reader::Reader(uint32_t position, tuckett5::Reader& reader) : tar::Reader(position, reader, rarDialect) {}

}  // namespace engine5::rar
