#include "format/arj/arj.FileHeader.h"

#include "stream/stream.ByteOrder.h"

namespace format::arj {

void FileHeader::readFixed(stream::LittleEndianInput& in) {
    extendedPosition = accessed = created = 0;
    in >> version >> minVersion >> hostOS >> flags >> method >> fileType >> passwordModifier;
    in >> modified >> compressedSize >> originalSize >> fileCRC >> filespecPosition >> accessMode;
    in >> firstChapter >> lastChapter;
    if (firstSize >= 34) in >> extendedPosition;
    if (firstSize >= 42) in >> accessed >> created;
}

void FileHeader::writeFixed(stream::LittleEndianOutput& out) const {
    out << version << minVersion << hostOS << flags << method << fileType << passwordModifier;
    out << modified << compressedSize << originalSize << fileCRC << filespecPosition << accessMode;
    out << firstChapter << lastChapter;
    if (firstSize >= 34) out << extendedPosition;
    if (firstSize >= 42) out << accessed << created;
}

}  // namespace format::arj
