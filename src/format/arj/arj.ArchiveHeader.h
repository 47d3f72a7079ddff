#pragma once

#include <cstdint>

#include "format/arj/arj.BasicHeader.h"

namespace format::arj {

// The main header that opens an ARJ archive, with the archive's name and
// comment; its file type is always the main header's.
class ArchiveHeader : public BasicHeader {
public:
    static constexpr uint8_t mainHeaderType = 2;

    ArchiveHeader() : BasicHeader("format::arj::ArchiveHeader::read") {}

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

protected:
    void readFixed(stream::LittleEndianInput& in) override;
    void writeFixed(stream::LittleEndianOutput& out) const override;
    const char* refusal() const override;
};

}  // namespace format::arj
