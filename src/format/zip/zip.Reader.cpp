#include "format/zip/zip.Reader.h"

#include <algorithm>
#include <ctime>

#include "algorithm/zipcrypt.Cipher.h"
#include "engine/t5.Reader.h"
#include "format/format.Exception.h"
#include "format/zip/zip.EncryptionHeader.h"
#include "format/zip/zip.MethodReader.h"
#include "format/zip/zip.Name.h"
#include "io/io.File.h"
#include "io/io.Path.h"
#include "io/io.SafePath.h"
#include "io/io.random.FileStreams.h"
#include "stream/stream.WindowedInput.h"

namespace engine5::zip {

using tuckett5::exception::BadData;
using tuckett5::exception::BadFormat;
using tuckett5::exception::UnsupportedFormat;
using tuckett5::exception::UnsupportedMethod;

namespace {

constexpr uint64_t notFound = format::zip::EndHeader::notFound;
constexpr uint16_t encryptedFlag = 0x0001;
constexpr uint16_t descriptorFlag = 0x0008;
constexpr uint16_t utf8Flag = 0x0800;
constexpr uint32_t encryptionHeaderSize = format::zip::EncryptionHeader::fixed_size;
constexpr int unixHost = 3;

const char* const invalidData = "CRC mismatch in zip reader; data is invalid";
const char* const localMismatch = "local header does not match the central directory in zip reader; data is invalid";
const char* const multiPart = "expansion of segmented multi-part archives not supported by zip reader";

// A DOS date and time, which count in the local time of the machine that
// wrote them, as seconds since 1970.
uint32_t dosSeconds(uint16_t date, uint16_t time) {
    std::tm parts{};
    parts.tm_year = ((date >> 9) & 0x7F) + 80;
    parts.tm_mon = ((date >> 5) & 0x0F) - 1;
    parts.tm_mday = date & 0x1F;
    parts.tm_hour = (time >> 11) & 0x1F;
    parts.tm_min = (time >> 5) & 0x3F;
    parts.tm_sec = (time & 0x1F) * 2;
    parts.tm_isdst = -1;
    const std::time_t seconds = std::mktime(&parts);
    return seconds < 0 ? 0 : static_cast<uint32_t>(seconds);
}

constexpr uint32_t zip64LocatorPattern = 0x07064B50;  // "PK\6\7"
constexpr uint32_t zip64EndPattern = 0x06064B50;      // "PK\6\6"
constexpr uint32_t zip64LocatorSize = 20;
constexpr uint32_t zip64EndSize = 56;
constexpr uint16_t zip64Tag = 0x0001;
constexpr uint32_t marked32 = 0xFFFFFFFFu;
// The highest version needed that this reader meets: 4.5, Zip64.
constexpr uint16_t versionMet = 45;

uint16_t le16(const std::string& s, size_t at) {
    return static_cast<uint16_t>(static_cast<unsigned char>(s[at]) | static_cast<unsigned char>(s[at + 1]) << 8);
}
uint32_t le32(const std::string& s, size_t at) { return le16(s, at) | static_cast<uint32_t>(le16(s, at + 2)) << 16; }
uint64_t le64(const std::string& s, size_t at) { return le32(s, at) | uint64_t(le32(s, at + 4)) << 32; }

// Up to `count` bytes from the input, fewer at its end.
std::string readBytes(stream::Input& input, uint32_t count) {
    std::string bytes(count, '\0');
    uint32_t done = 0;
    while (done < count) {
        const uint32_t n = input.read(&bytes[done], count - done);
        if (n == 0) break;
        done += n;
    }
    bytes.resize(done);
    return bytes;
}

// Finds the Zip64 extended information field in an extra field; answers
// where its values start and how many bytes they take.
bool findZip64(const std::string& extra, size_t& at, size_t& length) {
    for (size_t p = 0; p + 4 <= extra.size();) {
        const uint16_t tag = le16(extra, p);
        const size_t n = le16(extra, p + 2);
        p += 4;
        if (n > extra.size() - p) return false;
        if (tag == zip64Tag) {
            at = p;
            length = n;
            return true;
        }
        p += n;
    }
    return false;
}

// The exact modification time that Info-ZIP (extended timestamp, 0x5455) or
// Windows tools (NTFS times, 0x000A) keep in the extra field, where there is
// one; the DOS time counts in steps of two seconds.
bool extraTime(const std::string& extra, uint32_t& seconds) {
    for (size_t at = 0; at + 4 <= extra.size();) {
        const uint16_t tag = le16(extra, at);
        const size_t length = le16(extra, at + 2);
        at += 4;
        if (length > extra.size() - at) return false;
        if (tag == 0x5455 && length >= 5 && (extra[at] & 1)) {
            const int32_t value = static_cast<int32_t>(le32(extra, at + 1));
            if (value < 0) return false;
            seconds = static_cast<uint32_t>(value);
            return true;
        }
        if (tag == 0x000A && length >= 32 && le16(extra, at + 4) == 1 && le16(extra, at + 6) >= 24) {
            const uint64_t fileTime = le32(extra, at + 8) | uint64_t(le32(extra, at + 12)) << 32;
            const int64_t value = io::Item::seconds(fileTime);
            if (fileTime < io::Item::epoch1970 || value > 0xFFFFFFFFll) return false;
            seconds = static_cast<uint32_t>(value);
            return true;
        }
        at += length;
    }
    return false;
}

uint32_t modificationTime(uint16_t date, uint16_t time, const std::string& extra) {
    uint32_t seconds;
    return extraTime(extra, seconds) ? seconds : dosSeconds(date, time);
}

// What a user calls the method of an entry that cannot be read.
std::string methodName(uint16_t method) {
    switch (method) {
        case 0:
            return "stored";
        case 1:
            return "shrunk";
        case 2:
        case 3:
        case 4:
        case 5:
            return "reduced";
        case 6:
            return "imploded";
        case 7:
            return "tokenized";
        case 8:
            return "deflated";
        case 9:
            return "Deflate64-compressed";
        case 10:
            return "PKWARE DCL-imploded";
        case 16:
            return "IBM CMPSC-compressed";
        case 18:
            return "IBM TERSE-compressed";
        case 19:
            return "IBM LZ77-compressed";
        case 20:
            return "Zstandard-compressed";
        case 94:
            return "MP3-compressed";
        case 96:
            return "JPEG-compressed";
        case 97:
            return "WavPack-compressed";
        case 12:
            return "bzip2-compressed";
        case 14:
            return "LZMA-compressed";
        case 93:
            return "Zstandard-compressed";
        case 95:
            return "XZ-compressed";
        case 98:
            return "PPMd-compressed";
        case 99:
            return "AES-encrypted";
        default:
            return "method " + std::to_string(method);
    }
}

uint32_t clamp(uint64_t value) { return value > 0xFFFFFFFFu ? 0xFFFFFFFFu : static_cast<uint32_t>(value); }

// A folder's name without the slash or slashes that mark it.
std::string folderName(std::string name) {
    while (!name.empty() && (name.back() == '/' || name.back() == '\\')) name.pop_back();
    return name;
}

// The hosts whose names separate folders with a backslash: MS-DOS, OS/2,
// Windows NTFS, VFAT and OS/2 HPFS under Windows 95.
bool backslashHost(uint8_t host) { return host == 0 || host == 6 || host == 10 || host == 11 || host == 14; }

}  // namespace

Reader::Reader(uint32_t position, tuckett5::Reader& reader) : FormatReader(position, reader) { foldersAreItems = true; }

Reader::~Reader() = default;

uint64_t Reader::locateDirectory(stream::random::Input& input, uint64_t offset) {
    const uint64_t archiveOffset = reader.archiveInfo.position;
    const uint64_t tries[2] = {archiveOffset + offset, offset};
    for (int i = 0; i < (archiveOffset == 0 ? 1 : 2); ++i) {
        try {
            input.seek(tries[i]);
            centralHeader_.read(input, true);
            return tries[i];
        } catch (const un::exception&) {
        }
    }
    return notFound;
}

uint64_t Reader::locateLocalHeader(stream::random::Input& input, uint64_t offset, format::zip::LocalHeader& header,
                                   const std::string& name) {
    // Offsets may count from the archive's start or from the file's. The
    // archive's start is where classification found the first header it could
    // read, which may be a later entry's: the header that bears the entry's
    // own name is the one.
    const uint64_t archiveOffset = reader.archiveInfo.position;
    const uint64_t tries[2] = {archiveOffset + offset, offset};
    int found = -1;
    for (int i = 0; i < (archiveOffset == 0 ? 1 : 2); ++i) {
        try {
            input.seek(tries[i]);
            header.read(input, true);
            if (header.name() == name) return tries[i];
            if (found < 0) found = i;
        } catch (const un::exception&) {
        }
    }
    if (found < 0) throw BadFormat("cannot locate a local header in zip reader");
    input.seek(tries[found]);
    header.read(input, true);
    return tries[found];
}

void Reader::readEnd(stream::random::Input& input) {
    input.seek(endOffset);
    endHeader_.read(input, true);
    entries_ = endHeader_.entries();
    storedDirectoryOffset_ = endHeader_.directoryOffset();
    directoryEnd_ = endOffset;
    if (endOffset < zip64LocatorSize) return;
    input.seek(endOffset - zip64LocatorSize);
    const std::string locator = readBytes(input, zip64LocatorSize);
    if (locator.size() < zip64LocatorSize || le32(locator, 0) != zip64LocatorPattern) return;

    // The Zip64 end record holds the counts and the offset that the end
    // record marks with all ones; the locator says where it lies, counted
    // from the archive's start or from the file's.
    const uint64_t stored = le64(locator, 8);
    const uint64_t archiveOffset = reader.archiveInfo.position;
    const uint64_t tries[2] = {archiveOffset + stored, stored};
    const uint64_t locatorOffset = endOffset - zip64LocatorSize;
    for (int i = 0; i < (archiveOffset == 0 ? 1 : 2); ++i) {
        if (tries[i] > locatorOffset || locatorOffset - tries[i] < zip64EndSize) continue;
        input.seek(tries[i]);
        const std::string record = readBytes(input, zip64EndSize);
        if (record.size() < zip64EndSize || le32(record, 0) != zip64EndPattern) continue;
        if (le32(record, 16) != 0 || le32(record, 20) != 0 || le32(locator, 4) != 0 || le32(locator, 16) > 1)
            throw UnsupportedFormat(multiPart);
        entries_ = le64(record, 32);
        storedDirectoryOffset_ = le64(record, 48);
        directoryEnd_ = tries[i];
        return;
    }
    throw BadFormat("cannot locate the Zip64 end of central directory in zip reader");
}

void Reader::describeCentral(FileInfo& info) const {
    const format::zip::CentralHeader& c = centralHeader_;
    info.method = c.method();
    info.version = c.versionNeeded() & 0xFF;
    info.host = static_cast<uint8_t>(c.versionMadeBy() >> 8);
    info.flags = c.flags();
    info.name = c.name();
    info.crc = c.crc();
    info.dosTime = c.time();
    info.compressedSize = c.compressedSize();
    info.uncompressedSize = c.uncompressedSize();
    info.offset = c.localHeaderOffset();
    info.modificationTime = modificationTime(c.date(), c.time(), c.extra());
    info.attributes = static_cast<uint16_t>((c.externalAttributes() & 0xFF) | 0x20);
    info.text = (c.internalAttributes() & 1) != 0;
    if (info.host == unixHost) {
        const uint32_t mode = c.externalAttributes() >> 16;
        info.permissions = mode & 0777;
        info.mode = mode;
        info.link = (mode & 0170000) == 0120000;
    }
    // An entry that needs a later version or another method is refused when
    // its turn comes, so that a client may go on past it.
    info.unsupported = info.version > versionMet || info.method == 7 || info.method > 8;

    // Fields too small for their value hold all ones; the Zip64 extra field
    // then holds the value, in this order, and only those values.
    const bool wantUncompressed = c.uncompressedSize() == marked32;
    const bool wantCompressed = c.compressedSize() == marked32;
    const bool wantOffset = c.localHeaderOffset() == marked32;
    if (wantUncompressed || wantCompressed || wantOffset) {
        const std::string& extra = c.extra();
        size_t field = 0, length = 0;
        const size_t needed = 8 * (size_t(wantUncompressed) + wantCompressed + wantOffset);
        if (!findZip64(extra, field, length) || length < needed)
            throw BadFormat("invalid Zip64 extra field in zip reader");
        if (wantUncompressed) info.uncompressedSize = le64(extra, field), field += 8;
        if (wantCompressed) info.compressedSize = le64(extra, field), field += 8;
        if (wantOffset) info.offset = le64(extra, field);
    }

    EntryName name = entryName(c.name(), c.extra(), (c.flags() & utf8Flag) != 0, info.host);
    info.folder = !c.name().empty() && c.name().back() == '/';
    if (info.folder) {
        name.local = folderName(name.local);
        while (!name.unicode.empty() && name.unicode.back() == '/') name.unicode.pop_back();
    }
    info.local = std::move(name.local);
    info.unicode = std::move(name.unicode);
    info.separates = backslashHost(info.host);
    // A file whose name keeps nothing once the parts that could leave the
    // output folder are dropped ("", "../", "/") would have no place: it gets
    // a name of its own, which listing and expansion show alike.
    if (!info.folder) {
        if (io::safeComponents(info.local, info.separates).empty()) {
            info.renamed = true;
            info.local = "unnamed entry " + std::to_string(info.index + 1);
            info.unicode = decodeUTF8(info.local);
        }
    }
}

void Reader::scan(stream::random::Input& input, io::random::File&) {
    tuckett5::ArchiveInfo& archive = reader.archiveInfo;
    archive.reset();

    const uint64_t located = endHeader_.locate(input);
    if (located == notFound) throw format::Exception("bad header artfact in format::zip::EndHeader::read()");
    endOffset = located;
    reader.fireProgressScanBegin();
    entries_ = 0;
    if (endOffset != 0) readEnd(input);
    // An empty archive has no directory to find, with or without a prefix.
    if (endOffset == 0 || entries_ == 0) {
        entries_ = 0;
        reader.fireProgressScanEnd();
        reader.fireArchiveInfo();
        return;
    }
    findDirectory(input);
    pairMacMetadata(input, false);
    input.seek(directoryOffset);

    uint64_t expanded = 0;
    uint64_t compressed = 0;
    std::string root;
    bool rootSeen = false;
    bool sameRoot = true;
    bool fileAtRoot = false;
    FileInfo info;
    for (uint64_t i = 0; i < entries_; ++i) {
        reader.fireProgressScanStep();
        centralHeader_.read(input, false);
        if (!centralHeader_.valid()) throw BadFormat("invalid central header in zip reader");
        info = FileInfo();
        info.index = i;
        describeCentral(info);
        const bool encrypted = (info.flags & encryptedFlag) != 0;
        if (encrypted) archive.encrypted = true;
        // Metadata that goes into another item is listed as part of it.
        if (absorbedByMac(info)) continue;

        if (info.folder) {
            reader.folderInfo.reset();
            reader.folderInfo.name = info.local;
            reader.folderInfo.unicodeName(info.unicode);
            reader.fireFolderInfo();
        } else {
            tuckett5::FileInfo& file = reader.fileInfo;
            file.reset();
            file.name = info.local;
            file.unicodeName(info.unicode);
            file.compressedSize(clamp(info.compressedSize));
            file.expandedSize(clamp(info.uncompressedSize));
            file.modificationTime(info.modificationTime);
            file.encrypted = encrypted;
            file.method = methodName(info.method);
            file.crc(info.crc);
            if (info.mode != 0) file.mode(info.mode);
            reader.fireFileInfo();
        }

        // The first component of the name as it will be written decides
        // whether the archive has a single root.
        const std::vector<std::string> components = io::safeComponents(info.local, info.separates);
        const std::string first = components.empty() ? std::string() : components.front();
        if (!rootSeen)
            root = first, rootSeen = true;
        else if (first != root)
            sameRoot = false;
        if (components.size() <= 1 && !info.folder) fileAtRoot = true;

        ++archive.fileCount;
        expanded += info.uncompressedSize;
        uint64_t packed = info.compressedSize;
        if (encrypted) packed = packed >= encryptionHeaderSize ? packed - encryptionHeaderSize : 0;
        compressed += packed;
    }
    archive.expandedSize(clamp(expanded));
    archive.compressedSize(clamp(compressed));

    reader.fireProgressScanEnd();
    // The directory ends where the records behind it begin.
    const bool closed = input.tell() == directoryEnd_;
    input.seek(endOffset);
    endHeader_.read(input, true);
    archive.comment = endHeader_.comment();
    if (!closed) throw BadFormat("invalid signature at the end of the central directory in zip reader");

    // One file alone, or everything below one folder, needs no enclosing
    // folder; anything else gets one, which an empty root name asks for.
    const bool single = sameRoot && !root.empty() && (!fileAtRoot || archive.fileCount == 1);
    archive.rootName = single ? root : std::string();
    reader.fireArchiveInfo();
}

void Reader::findDirectory(stream::random::Input& input) {
    directoryOffset = locateDirectory(input, storedDirectoryOffset_);
    if (directoryOffset == notFound) {
        // The directory of a split archive may lie on another disk.
        if (endHeader_.thisDisk() != 0 || endHeader_.directoryDisk() != 0) throw UnsupportedFormat(multiPart);
        throw BadFormat("cannot locate the central directory in zip reader");
    }
    // Every central header takes 46 bytes at least: a count that the
    // directory cannot hold is refused before anything is read.
    if (directoryOffset > directoryEnd_ ||
        entries_ > (directoryEnd_ - directoryOffset) / format::zip::CentralHeader::fixed_size)
        throw BadFormat("invalid central header in zip reader");
    input.seek(directoryOffset);
}

void Reader::decode(stream::random::Input& input, io::random::File&) {
    beginDecode();

    // Each entry's central header, local header and data are read through
    // two windows, so that small entries cost no read of their own.
    stream::random::WindowedInput windows(input);
    decodeAll(windows);

    reader.fireProgressSizeEnd();
    reader.fireProgressFilesEnd();
    reader.fireArchiveDecodeEnd();
    reader.nextPosition = clamp(endOffset + endHeader_.size());
}

void Reader::decodeAll(stream::random::Input& input) {
    readEnd(input);
    if (endHeader_.thisDisk() != 0 || endHeader_.directoryDisk() != 0) throw UnsupportedFormat(multiPart);
    if (entries_ == 0) return;

    findDirectory(input);
    centralHeader_.read(input, false);
    if (!centralHeader_.valid()) throw BadFormat("invalid central directory entry in zip reader");
    input.seek(directoryOffset);
    unzipAll(input);
}

void Reader::findLocal(stream::random::Input& input, FileInfo& info) {
    format::zip::LocalHeader header;
    info.offset = locateLocalHeader(input, info.offset, header, info.name);
    info.dataOffset = info.offset + header.size();
    // The local header only repeats what the directory says; one that says
    // otherwise about how the data is stored is damaged.
    if (!header.valid() || header.method() != info.method ||
        (header.flags() & encryptedFlag) != (info.flags & encryptedFlag))
        throw BadFormat("bad local header in zip reader");
    info.localNameDiffers = header.name() != info.name;
    // Its CRC and sizes must agree too, unless a data descriptor behind the
    // data holds them. Sizes marked with all ones are in its Zip64 field,
    // which holds both when it holds sixteen bytes.
    info.localDisagrees = false;
    if (header.flags() & descriptorFlag) return;
    uint64_t uncompressed = header.uncompressedSize();
    uint64_t compressed = header.compressedSize();
    bool comparable = true;
    if (uncompressed == marked32 || compressed == marked32) {
        const std::string& extra = header.extra();
        size_t field = 0, length = 0;
        const bool found = findZip64(extra, field, length);
        if (found && length >= 16) {
            uncompressed = le64(extra, field);
            compressed = le64(extra, field + 8);
        } else if (found && length >= 8) {
            (uncompressed == marked32 ? uncompressed : compressed) = le64(extra, field);
        }
        comparable = found && uncompressed != marked32 && compressed != marked32;
    }
    info.localDisagrees = header.crc() != info.crc ||
                          (comparable && (uncompressed != info.uncompressedSize || compressed != info.compressedSize));
}

void Reader::checkLayout(stream::random::Input& input) {
    // Each entry's place: where its local header starts and where its data
    // ends. Sixteen bytes an entry is all that the whole directory keeps.
    struct Span {
        uint64_t start;
        uint64_t end;
    };
    std::vector<Span> spans;
    spans.reserve(static_cast<size_t>(std::min<uint64_t>(entries_, 1u << 20)));
    uint64_t at = directoryOffset;
    FileInfo info;
    for (uint64_t i = 0; i < entries_; ++i) {
        input.seek(at);
        centralHeader_.read(input, false);
        if (!centralHeader_.valid()) throw BadFormat("invalid central header in zip reader");
        at = input.tell();
        info = FileInfo();
        info.index = i;
        describeCentral(info);
        findLocal(input, info);
        // A size that reaches past all the input ends at once.
        const uint64_t end =
            info.compressedSize > ~uint64_t(0) - info.dataOffset ? ~uint64_t(0) : info.dataOffset + info.compressedSize;
        spans.push_back({info.offset, end});
    }
    // In the order of their place in the archive, each entry's header and
    // data must end before the next entry's header, and the last before the
    // central directory. Entries that share data (a few kilobytes that
    // expand to gigabytes once for every entry) are refused as a whole.
    std::sort(spans.begin(), spans.end(), [](const Span& a, const Span& b) { return a.start < b.start; });
    for (size_t k = 0; k < spans.size(); ++k) {
        const bool last = k + 1 == spans.size();
        if (spans[k].end <= (last ? directoryOffset : spans[k + 1].start)) continue;
        if (last) throw BadFormat("entry data runs into the central directory in zip reader");
        throw BadFormat("overlapping entries in zip reader");
    }
}

namespace {

const std::string macFolder = "__MACOSX";

}  // namespace

void Reader::pairMacMetadata(stream::random::Input& input, bool read) {
    mac_ = MacMetadata();
    if (reader.keepAppleDoubleEntries()) return;
    // First the AppleDouble entries, then the items they belong to, so that
    // the order of the directory does not matter. An archive without any
    // costs one look at each name.
    FileInfo info;
    for (int pass = 0; pass < 2; ++pass) {
        input.seek(directoryOffset);
        for (uint64_t i = 0; i < entries_; ++i) {
            const uint64_t at = input.tell();
            centralHeader_.read(input, false);
            if (!centralHeader_.valid()) throw BadFormat("invalid central header in zip reader");
            if (pass == 0 && centralHeader_.name().find(macFolder) == std::string::npos) continue;
            info = FileInfo();
            info.index = i;
            const uint64_t next = input.tell();
            describeCentral(info);
            input.seek(next);
            const std::string key = MacMetadata::key(info.local, info.separates);
            const std::string owner = info.folder ? std::string() : MacMetadata::ownerKey(key);
            if (pass == 0 && !owner.empty())
                mac_.addAppleDouble(owner, i, at);
            else if (pass == 1 && !MacMetadata::inMacFolder(key))
                mac_.addItem(key, info.folder);
        }
        if (mac_.empty()) return;
    }
    if (!read) return;

    // Each file's metadata is read once before anything is written, so that
    // what cannot be read stays a file of its own wherever it lies.
    const uint64_t done = bytesDone;
    for (MacMetadata::Partner* partner : mac_.filePartners()) {
        input.seek(partner->central);
        centralHeader_.read(input, false);
        info = FileInfo();
        info.index = partner->index;
        describeCentral(info);
        AppleDoubleProbe probe(info.uncompressedSize);
        try {
            findLocal(input, info);
            if (info.unsupported || info.localDisagrees) throw BadData(invalidData);
            unzipFileData(input, probe, info);
        } catch (const tuckett5::exception::Evacuation&) {
            throw;
        } catch (const un::exception&) {
            partner->read = true;
            continue;
        }
        probe.finish(*partner);
    }
    bytesDone = done;
}

bool Reader::absorbedByMac(const FileInfo& info, std::string* warning) const {
    if (reader.keepAppleDoubleEntries() || info.local.find(macFolder) == std::string::npos) return false;
    const std::string key = MacMetadata::key(info.local, info.separates);
    if (!MacMetadata::inMacFolder(key)) return false;
    // The folder itself is never made.
    if (info.folder) return true;
    const std::string owner = MacMetadata::ownerKey(key);
    if (owner.empty()) return false;
    if (mac_.absorbed(owner, info.index)) return true;
    if (warning)
        *warning = mac_.unreadable(owner, info.index) ? "Macintosh metadata that cannot be read is kept as a file"
                                                      : "Macintosh metadata without its file is kept as a file";
    return false;
}

void Reader::unzipAll(stream::random::Input& input) {
    bytesDone = 0;
    checkLayout(input);
    pairMacMetadata(input, true);
    // The directory is read once more, entry by entry, so that memory stays
    // the same however many entries it holds.
    uint64_t at = directoryOffset;
    FileInfo info;
    for (uint64_t i = 0; i < entries_; ++i) {
        input.seek(at);
        centralHeader_.read(input, false);
        at = input.tell();
        info = FileInfo();
        info.index = i;
        describeCentral(info);
        findLocal(input, info);
        std::string warning;
        if (absorbedByMac(info, &warning)) continue;
        if (!warning.empty()) reader.itemWarnings.push_back({info.local, "", "", warning});
        if (info.localNameDiffers)
            reader.itemWarnings.push_back(
                {info.local, "", "", "the local header names this entry otherwise; the directory's name is used"});
        if (info.folder) {
            unzipFolder(info);
        } else {
            // A link has no fork to take.
            MacMetadata::Partner* mac =
                mac_.empty() || info.link ? nullptr : mac_.partnerOf(MacMetadata::key(info.local, info.separates));
            unzipFile(input, info, mac);
        }
    }
}

void Reader::unzipFork(stream::random::Input& input, const MacMetadata::Partner& mac) {
    const uint64_t done = bytesDone;
    input.seek(mac.central);
    centralHeader_.read(input, false);
    FileInfo info;
    info.index = mac.index;
    describeCentral(info);
    findLocal(input, info);
    ForkWindow window(resourceFork(), mac.forkOffset, mac.forkLength);
    unzipFileData(input, window, info);
    bytesDone = done;
}

void Reader::unzipFile(stream::random::Input& input, const FileInfo& info, const MacMetadata::Partner* mac) {
    Entry entry;
    // A link made on Unix holds its target as its data.
    if (info.link) entry.kind = Entry::Kind::link;
    entry.name = info.local;
    entry.unicodeName = info.unicode;
    entry.backslashSeparates = info.separates;
    entry.compressedSize(info.compressedSize);
    entry.dataSize(info.uncompressedSize);
    entry.resourceSize(0);
    entry.modificationTime(info.modificationTime);
    entry.encrypted = (info.flags & encryptedFlag) != 0;
    entry.attributes(info.attributes);
    if (info.permissions != 0) entry.permissions(info.permissions);
    entry.text = info.text;
    entry.method = methodName(info.method);
    entry.crc(info.crc);
    entry.invalidData = invalidData;
    if (mac) {
        // The file keeps its own name: its fork goes where the options place
        // forks, and into MacBinary only when they ask for it.
        entry.resourceSize(mac->forkLength);
        if (mac->hasFinderInfo) entry.finderInfo(mac->finderInfo);
        entry.macBinaryDefault(false);
    }
    if (info.renamed)
        reader.itemWarnings.push_back({info.local, "", "", "an entry whose stored name has no place is written as"});
    expandFile(entry, [&] {
        if (info.unsupported) {
            const bool knownMethod = info.method < 9 && info.method != 7;
            if (!knownMethod)
                explain(methodName(info.method) + " Zip entries are not supported");
            else
                explain("Zip entries that need version " + std::to_string(info.version / 10) + "." +
                        std::to_string(info.version % 10) + " are not supported");
            throw UnsupportedMethod("unsupported compression method in zip reader");
        }
        if (info.localDisagrees) {
            explain("the local header disagrees with the directory about its size or CRC");
            throw BadData(localMismatch);
        }
        unzipFileData(input, dataFork(), info);
        if (mac && mac->forkLength != 0) unzipFork(input, *mac);
    });
}

void Reader::unzipFolder(const FileInfo& info) {
    Entry entry;
    entry.kind = Entry::Kind::folder;
    entry.name = info.local;
    entry.unicodeName = info.unicode;
    entry.backslashSeparates = info.separates;
    expandFolder(entry);
}

void Reader::unzipFileData(stream::random::Input& input, stream::Output& output, const FileInfo& info) {
    // A stored or deflated entry takes the reader that the last entry of its
    // method left, with its buffers and window, instead of making them anew.
    std::unique_ptr<MethodReader>* spare = info.method < spareMethods_.size() ? &spareMethods_[info.method] : nullptr;
    std::unique_ptr<MethodReader> method =
        spare && *spare ? std::move(*spare) : MethodReader::make(info.method, info.flags, reader);
    if (!method) throw UnsupportedMethod("zip reader encountered a file with an unsupported compression method");
    const uint64_t before = bytesDone;
    method->count = bytesDone;
    method->compressedLimit(info.compressedSize);
    method->uncompressedLimit(info.uncompressedSize);
    input.seek(info.dataOffset);

    if (!(info.flags & encryptedFlag)) {
        method->decode(input, output);
    } else {
        const uint64_t packed = info.compressedSize;
        method->compressedLimit(packed >= encryptionHeaderSize ? packed - encryptionHeaderSize : 0);
        algorithm::zipcrypt::Cipher cipher(reader.password);
        format::zip::EncryptionHeader encryption(cipher);
        // With a data descriptor the CRC was not known when the header was
        // written, so the check byte comes from the time instead.
        const uint32_t check = (info.flags & descriptorFlag) ? uint32_t(info.dosTime) >> 8 : info.crc >> 24;
        encryption.expect(static_cast<char>(check & 0xFF));
        try {
            encryption.read(input, true);
        } catch (const format::Exception&) {
            explain("wrong password");
            throw;
        }
        algorithm::zipcrypt::Input decrypted(input, cipher);
        method->decode(decrypted, output);
    }
    bytesDone = method->count;
    const uint32_t crc = method->crc();
    if (spare && method->reusable()) *spare = std::move(method);
    // Output beyond the declared size is stopped as it is written; output
    // that falls short of it is as wrong.
    if (bytesDone - before != info.uncompressedSize || crc != info.crc) throw BadData(invalidData);
}

}  // namespace engine5::zip
