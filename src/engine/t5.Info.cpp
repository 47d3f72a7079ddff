#include "engine/t5.Info.h"

namespace tuckett5 {

void ArchiveInfo::reset() {
    fileCount = 0;
    rootName.clear();
    compressedSize.reset(0);
    expandedSize.reset(0);
    segmentTotal.reset(0);
    segmentNumber.reset(0);
    encrypted = false;
    comment.clear();
}

void FileInfo::reset() {
    name.clear();
    unicodeName.reset();
    compressedSize.reset(0);
    expandedSize.reset(0);
    modificationTime.reset(0);
    type.reset(format::data::OSType("????"));
    creator.reset(format::data::OSType("????"));
    encrypted = false;
    macBinary = false;
    method.clear();
    crc.reset(0);
    mode.reset(0);
    linkTarget.clear();
    hardLink = false;
}

void FolderInfo::reset() {
    name.clear();
    unicodeName.reset();
}

} // namespace tuckett5
