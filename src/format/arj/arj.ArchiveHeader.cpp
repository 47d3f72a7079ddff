#include "format/arj/arj.ArchiveHeader.h"

#include "stream/stream.ByteOrder.h"

namespace format::arj {

void ArchiveHeader::readFixed(stream::LittleEndianInput& in) {
    in >> version >> minVersion >> hostOS >> flags >> securityVersion >> fileType;
    in.u8();
    in >> created >> modified >> archiveSize >> securityPosition >> filespecPosition >> securityLength;
    in >> encryptionVersion >> lastChapter;
}

void ArchiveHeader::writeFixed(stream::LittleEndianOutput& out) const {
    out << version << minVersion << hostOS << flags << securityVersion << fileType << uint8_t(0);
    out << created << modified << archiveSize << securityPosition << filespecPosition << securityLength;
    out << encryptionVersion << lastChapter;
}

const char* ArchiveHeader::refusal() const { return fileType == mainHeaderType ? nullptr : "bad header type"; }

}  // namespace format::arj
