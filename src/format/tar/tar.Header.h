#pragma once

#include <cstdint>
#include <string>

#include "format/format.Header.h"

namespace format::tar {

// One 512-byte tar header block in the v7, ustar, GNU or pax dialect. Numbers
// are octal text; a size or time whose first byte has the high bit set is a
// big-endian binary number (the GNU form for large values).
class Header : public format::Header {
public:
    static constexpr uint32_t min_size = 512;
    static uint32_t fixed_size() { return 512; }

    std::string name;
    uint32_t mode = 0;
    uint32_t uid = 0;
    uint32_t gid = 0;
    uint64_t dataSize = 0;
    uint64_t modified = 0;  // seconds since 1970
    uint32_t checksum = 0;
    char type = 0;  // '0' or NUL file, '5' folder, 'L' GNU long name, 'x' pax record, ...
    std::string linkName;
    std::string magic;  // "ustar" for ustar, GNU and pax
    std::string version;
    std::string userName;
    std::string groupName;
    uint32_t deviceMajor = 0;
    uint32_t deviceMinor = 0;
    std::string prefix;  // ustar: the folder part of a long name

    // The name with the ustar prefix in front of it.
    std::string path() const;
    // Every byte of the block is zero: one of the two blocks that end an archive.
    bool endOfArchive() const { return zero_; }

    // Throws format::Exception when `strict` and the header is not valid.
    void read(stream::Input& in, bool strict) override;
    // Writes a ustar header with its checksum.
    void write(stream::Output& out) const override;
    bool valid() const override { return valid_; }
    uint32_t size() const override { return fixed_size(); }

    // The unsigned sum of the block with the checksum field taken as spaces,
    // and the same with signed bytes, as some old programs wrote it.
    static uint32_t unsignedSum(const char* block);
    static int32_t signedSum(const char* block);

private:
    bool valid_ = false;
    bool zero_ = false;
};

}  // namespace format::tar
