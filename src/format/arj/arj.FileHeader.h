#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "format/format.Header.h"

namespace format::arj {

// The local header in front of each item of an ARJ archive: the 0x60 0xEA
// mark, the size of the basic header, the basic header with the item's name
// and comment, its CRC-32, and any extended headers. A basic size of 0 is the
// end of the archive. All numbers are little-endian.
class FileHeader : public Header {
public:
    static constexpr uint16_t headerId = 0xEA60;
    static constexpr uint16_t maxBasicSize = 2600;
    static constexpr uint8_t minFirstSize = 30;

    // Flags.
    static constexpr uint8_t garbled = 0x01;
    static constexpr uint8_t volume = 0x04;      // goes on in the next volume
    static constexpr uint8_t extFile = 0x08;     // began in the previous volume
    static constexpr uint8_t pathSymbol = 0x10;  // "\" was stored as "/"
    // File types.
    static constexpr uint8_t binaryType = 0;
    static constexpr uint8_t textType = 1;
    static constexpr uint8_t folderType = 3;
    // A link, pipe or device of a Unix build, described by an extended header.
    static constexpr uint8_t specialType = 6;

    uint16_t basicSize = 0;
    uint8_t firstSize = 0;
    uint8_t version = 0;
    uint8_t minVersion = 0;
    uint8_t hostOS = 0;
    uint8_t flags = 0;
    uint8_t method = 0;
    uint8_t fileType = 0;
    uint8_t passwordModifier = 0;
    uint32_t modified = 0;  // DOS date and time, or Unix time on Unix hosts
    uint32_t compressedSize = 0;
    uint32_t originalSize = 0;
    uint32_t fileCRC = 0;
    uint16_t filespecPosition = 0;
    uint16_t accessMode = 0;
    uint8_t firstChapter = 0;
    uint8_t lastChapter = 0;
    // In longer headers only (0 where absent).
    uint32_t extendedPosition = 0;
    uint32_t accessed = 0;
    uint32_t created = 0;
    std::string name;
    std::string comment;
    // The extended headers, each without its size and CRC.
    std::vector<std::vector<char>> extended;

    // An end-of-archive header: its basic size is 0.
    bool end() const { return valid_ && basicSize == 0; }

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
