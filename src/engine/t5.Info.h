#pragma once

#include <cstdint>
#include <string>

#include "format/format.data.h"
#include "un/un.property.h"

namespace tuckett5 {

using UnicodeName = std::basic_string<unsigned short>;

// What the engine tells its client about an archive, whatever its format.
class ArchiveInfo {
public:
    ArchiveInfo() { reset(); }

    // Clears everything but path, position and format.
    void reset();

    std::string path;
    uint32_t position = 0;
    int format = 0;
    uint32_t fileCount = 0;
    std::string rootName;
    un::opt_property<uint32_t> compressedSize;
    un::opt_property<uint32_t> expandedSize;
    un::opt_property<uint32_t> segmentTotal;
    un::opt_property<uint32_t> segmentNumber;
    bool encrypted = false;
    // The archive's comment, where the format keeps one.
    std::string comment;
};

// What the engine tells its client about one file. The sizes add up all forks.
class FileInfo {
public:
    FileInfo() { reset(); }

    void reset();

    std::string name;
    un::opt_property<UnicodeName> unicodeName;
    un::opt_property<uint32_t> compressedSize;
    un::opt_property<uint32_t> expandedSize;
    un::opt_property<uint32_t> modificationTime;  // seconds since 1 January 1970
    un::opt_property<format::data::OSType> type;
    un::opt_property<format::data::OSType> creator;
    bool encrypted = false;
    bool macBinary = false;
    // What a listing shows beside the sizes, where the format says it: the
    // method's name, the check value of the data, the POSIX mode (with its
    // type bits) and the target of a link.
    std::string method;
    un::opt_property<uint32_t> crc;
    un::opt_property<uint32_t> mode;
    std::string linkTarget;
    // The link is a hard link: linkTarget names the item it is a second name of.
    bool hardLink = false;
};

// An item that could not be expanded while the run went on past it.
struct ItemFailure {
    std::string name;
    std::string message;
    std::string kind;
    // Why, in a user's words where the format says more than its message.
    std::string reason;
};

class FolderInfo {
public:
    FolderInfo() { reset(); }

    void reset();

    std::string name;
    un::opt_property<UnicodeName> unicodeName;
};

} // namespace tuckett5
