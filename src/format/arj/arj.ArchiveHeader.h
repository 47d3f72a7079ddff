#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "format/format.Header.h"

namespace format::arj {

// The main header that opens an ARJ archive: the 0x60 0xEA mark, the size of
// the basic header, the basic header with the archive's name and comment, its
// CRC-32, and any extended headers. All numbers are little-endian.
class ArchiveHeader : public Header {
public:
    static constexpr uint16_t headerId = 0xEA60;
    static constexpr uint16_t maxBasicSize = 2600;
    // The fixed part of the basic header in the oldest archives.
    static constexpr uint8_t minFirstSize = 30;
    static constexpr uint8_t mainHeaderType = 2;

    uint16_t id = 0;
    uint16_t basicSize = 0;
    uint8_t firstSize = 0;
    uint8_t version = 0;
    uint8_t minVersion = 0;
    uint8_t hostOS = 0;
    uint8_t flags = 0;
    uint8_t securityVersion = 0;
    uint8_t fileType = 0;
    uint32_t created = 0;   // DOS date and time
    uint32_t modified = 0;  // DOS date and time
    uint32_t archiveSize = 0;
    uint32_t securityPosition = 0;
    uint16_t filespecPosition = 0;
    uint16_t securityLength = 0;
    uint8_t encryptionVersion = 0;
    uint8_t lastChapter = 0;
    std::string name;
    std::string comment;
    uint32_t crc = 0;
    // The extended headers, each without its size and CRC.
    std::vector<std::vector<char>> extended;

    // Throws format::Exception when `strict` and the header is not valid.
    void read(stream::Input& in, bool strict) override;
    void write(stream::Output& out) const override;
    bool valid() const override { return valid_; }
    uint32_t size() const override;

private:
    std::vector<char> basic() const;
    bool valid_ = false;
};

}  // namespace format::arj
