#pragma once

#include <cstdint>

#include "format/arj/arj.BasicHeader.h"

namespace format::arj {

// The local header in front of each item of an ARJ archive, with the item's
// name and comment. A basic size of 0 is the end of the archive.
class FileHeader : public BasicHeader {
public:
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

    FileHeader() : BasicHeader("format::arj::FileHeader::read") {}

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

    // An end-of-archive header: its basic size is 0.
    bool end() const { return valid_ && basicSize == 0; }

protected:
    void readFixed(stream::LittleEndianInput& in) override;
    void writeFixed(stream::LittleEndianOutput& out) const override;
    bool mayEnd() const override { return true; }
};

}  // namespace format::arj
