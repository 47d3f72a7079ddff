#include "format/zip/zip.Reader.h"

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

uint16_t le16(const std::string& s, size_t at) {
    return static_cast<uint16_t>(static_cast<unsigned char>(s[at]) | static_cast<unsigned char>(s[at + 1]) << 8);
}
uint32_t le32(const std::string& s, size_t at) { return le16(s, at) | static_cast<uint32_t>(le16(s, at + 2)) << 16; }

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

void Reader::locateLocalHeader(stream::random::Input& input, uint64_t offset, format::zip::LocalHeader& header,
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
            if (header.name() == name) return;
            if (found < 0) found = i;
        } catch (const un::exception&) {
        }
    }
    if (found < 0) throw BadFormat("cannot locate a local header in zip reader");
    input.seek(tries[found]);
    header.read(input, true);
}

void Reader::scan(stream::random::Input& input, io::random::File&) {
    tuckett5::ArchiveInfo& archive = reader.archiveInfo;
    archive.reset();

    const uint64_t located = endHeader_.locate(input);
    if (located == notFound) throw format::Exception("bad header artfact in format::zip::EndHeader::read()");
    endOffset = clamp(located);
    reader.fireProgressScanBegin();
    if (endOffset != 0) {
        input.seek(endOffset);
        endHeader_.read(input, true);
    }
    // An empty archive has no directory to find, with or without a prefix.
    if (endOffset == 0 || endHeader_.entries() == 0) {
        endHeader_.entries(0);
        reader.fireProgressScanEnd();
        reader.fireArchiveInfo();
        return;
    }

    directoryOffset = locateDirectory(input, endHeader_.directoryOffset());
    if (directoryOffset == notFound) {
        // The directory of a split archive may lie on another disk.
        if (endHeader_.thisDisk() != 0 || endHeader_.directoryDisk() != 0) throw UnsupportedFormat(multiPart);
        throw BadFormat("cannot locate the central directory in zip reader");
    }
    input.seek(directoryOffset);

    uint64_t expanded = 0;
    uint64_t compressed = 0;
    std::string root;
    bool sameRoot = true;
    bool fileAtRoot = false;
    for (uint32_t i = 0; i < endHeader_.entries(); ++i) {
        reader.fireProgressScanStep();
        centralHeader_.read(input, false);
        if (!centralHeader_.valid()) throw BadFormat("invalid central header in zip reader");
        const bool encrypted = (centralHeader_.flags() & encryptedFlag) != 0;
        if (encrypted) archive.encrypted = true;

        EntryName name =
            entryName(centralHeader_.name(), centralHeader_.extra(), (centralHeader_.flags() & utf8Flag) != 0);
        const bool folder = !centralHeader_.name().empty() && centralHeader_.name().back() == '/';
        if (folder) {
            name.local = folderName(name.local);
            while (!name.unicode.empty() && name.unicode.back() == '/') name.unicode.pop_back();
            reader.folderInfo.reset();
            reader.folderInfo.name = name.local;
            reader.folderInfo.unicodeName(name.unicode);
            reader.fireFolderInfo();
        } else {
            tuckett5::FileInfo& file = reader.fileInfo;
            file.reset();
            file.name = name.local;
            file.unicodeName(name.unicode);
            file.compressedSize(centralHeader_.compressedSize());
            file.expandedSize(centralHeader_.uncompressedSize());
            file.modificationTime(
                modificationTime(centralHeader_.date(), centralHeader_.time(), centralHeader_.extra()));
            file.encrypted = encrypted;
            file.method = methodName(centralHeader_.method());
            file.crc(centralHeader_.crc());
            if ((centralHeader_.versionMadeBy() >> 8) == unixHost && (centralHeader_.externalAttributes() >> 16) != 0)
                file.mode(centralHeader_.externalAttributes() >> 16);
            reader.fireFileInfo();
        }

        // The first component of the name as it will be written decides
        // whether the archive has a single root.
        const std::vector<std::string> components = io::safeComponents(name.local);
        const std::string first = components.empty() ? std::string() : components.front();
        if (i == 0)
            root = first;
        else if (first != root)
            sameRoot = false;
        if (components.size() <= 1 && !folder) fileAtRoot = true;

        ++archive.fileCount;
        expanded += centralHeader_.uncompressedSize();
        uint32_t packed = centralHeader_.compressedSize();
        if (encrypted) packed = packed >= encryptionHeaderSize ? packed - encryptionHeaderSize : 0;
        compressed += packed;
    }
    archive.expandedSize(clamp(expanded));
    archive.compressedSize(clamp(compressed));

    reader.fireProgressScanEnd();
    endHeader_.read(input, false);
    archive.comment = endHeader_.comment();
    if (!endHeader_.valid()) throw BadFormat("invalid signature at the end of the central directory in zip reader");

    // One file alone, or everything below one folder, needs no enclosing
    // folder; anything else gets one, which an empty root name asks for.
    const bool single = sameRoot && !root.empty() && (!fileAtRoot || archive.fileCount == 1);
    archive.rootName = single ? root : std::string();
    reader.fireArchiveInfo();
}

void Reader::decode(stream::random::Input& input, io::random::File&) {
    reader.fireArchiveDecodeBegin();
    reader.fireProgressSizeBegin(reader.archiveInfo.expandedSize());
    reader.fireProgressFilesBegin(reader.archiveInfo.fileCount);
    itemsDone = 0;
    reader.fireProgressFilesMove(0);

    decodeAll(input);

    reader.fireProgressSizeEnd();
    reader.fireProgressFilesEnd();
    reader.fireArchiveDecodeEnd();
    reader.nextPosition = clamp(uint64_t(endOffset) + endHeader_.size());
}

void Reader::decodeAll(stream::random::Input& input) {
    input.seek(endOffset);
    endHeader_.read(input, true);
    if (endHeader_.thisDisk() != 0 || endHeader_.directoryDisk() != 0) throw UnsupportedFormat(multiPart);
    if (endHeader_.directorySize() == 0 || endHeader_.entries() == 0) return;

    input.seek(directoryOffset);
    centralHeader_.read(input, false);
    if (!centralHeader_.valid()) throw BadFormat("invalid central directory entry in zip reader");
    input.seek(directoryOffset);
    unzipAll(input);
}

void Reader::unzipAll(stream::random::Input& input) {
    bytesDone = 0;
    files_.clear();
    for (uint32_t i = 0; i < endHeader_.entries(); ++i) {
        centralHeader_.read(input, false);
        if (!centralHeader_.valid()) throw BadFormat("invalid central header in zip reader");
        auto info = std::make_unique<FileInfo>();
        // An entry that needs a later version or another method is refused
        // when its turn comes, so that a client may go on past it.
        const uint16_t method = centralHeader_.method();
        info->unsupported = (centralHeader_.versionNeeded() & 0xFF) >= 21 || method >= 9 || method == 7;
        info->method = method;
        info->version = centralHeader_.versionNeeded() & 0xFF;
        info->name = centralHeader_.name();
        info->crc = centralHeader_.crc();
        info->compressedSize = centralHeader_.compressedSize();
        info->uncompressedSize = centralHeader_.uncompressedSize();
        info->offset = centralHeader_.localHeaderOffset();
        info->attributes = static_cast<uint16_t>((centralHeader_.externalAttributes() & 0xFF) | 0x20);
        info->flags = centralHeader_.flags();
        info->text = (centralHeader_.internalAttributes() & 1) != 0;
        if ((centralHeader_.versionMadeBy() >> 8) == unixHost) {
            const uint32_t mode = centralHeader_.externalAttributes() >> 16;
            info->permissions = mode & 0777;
            info->link = (mode & 0170000) == 0120000;
        }
        files_.push_back(std::move(info));
    }

    for (const auto& info : files_) {
        format::zip::LocalHeader header;
        locateLocalHeader(input, info->offset, header, info->name);
        // The header of an entry that cannot be read is only wanted for its name.
        if (!header.valid() && !info->unsupported) throw BadFormat("bad local header in zip reader");
        // With a data descriptor the local fields may be zero; the directory
        // has the real ones.
        if (header.flags() & descriptorFlag) {
            header.crc(info->crc);
            header.compressedSize(info->compressedSize);
            header.uncompressedSize(info->uncompressedSize);
        }
        if (header.folder())
            unzipFolder(*info, header);
        else
            unzipFile(input, *info, header);
    }
}

void Reader::unzipFile(stream::random::Input& input, const FileInfo& info, format::zip::LocalHeader& header) {
    const EntryName name = entryName(header.name(), header.extra(), (header.flags() & utf8Flag) != 0);
    Entry entry;
    // A link made on Unix holds its target as its data.
    if (info.link) entry.kind = Entry::Kind::link;
    entry.name = name.local;
    entry.unicodeName = name.unicode;
    entry.compressedSize(header.compressedSize());
    entry.dataSize(header.uncompressedSize());
    entry.resourceSize(0);
    entry.modificationTime(modificationTime(header.date(), header.time(), header.extra()));
    entry.encrypted = (info.flags & encryptedFlag) != 0;
    entry.attributes(info.attributes);
    if (info.permissions != 0) entry.permissions(info.permissions);
    entry.text = info.text;
    entry.invalidData = invalidData;
    expandFile(entry, [&] {
        if (info.unsupported) {
            const bool knownMethod = info.method < 9 && info.method != 7;
            if (!knownMethod)
                explain(methodName(info.method) + " Zip entries are not supported");
            else if (info.version == 45)
                explain("Zip64 entries are not supported");
            else
                explain("Zip entries that need version " + std::to_string(info.version / 10) + "." +
                        std::to_string(info.version % 10) + " are not supported");
            throw UnsupportedMethod("unsupported compression method in zip reader");
        }
        unzipFileData(input, dataFork(), header, info);
    });
}

void Reader::unzipFolder(const FileInfo&, format::zip::LocalHeader& header) {
    const EntryName name = entryName(header.name(), header.extra(), (header.flags() & utf8Flag) != 0);
    Entry entry;
    entry.kind = Entry::Kind::folder;
    entry.name = folderName(name.local);
    entry.unicodeName = name.unicode;
    while (!entry.unicodeName.empty() && entry.unicodeName.back() == '/') entry.unicodeName.pop_back();
    expandFolder(entry);
}

void Reader::unzipFileData(stream::random::Input& input, stream::Output& output, format::zip::LocalHeader& header,
                           const FileInfo& info) {
    std::unique_ptr<MethodReader> method = MethodReader::make(header.method(), header.flags(), reader);
    if (!method) throw UnsupportedMethod("zip reader encountered a file with an unsupported compression method");
    method->count = bytesDone;
    method->compressedLimit(header.compressedSize());
    method->uncompressedLimit(header.uncompressedSize());

    if (!(info.flags & encryptedFlag)) {
        method->decode(input, output);
    } else {
        const uint32_t packed = header.compressedSize();
        method->compressedLimit(packed >= encryptionHeaderSize ? packed - encryptionHeaderSize : 0);
        algorithm::zipcrypt::Cipher cipher(reader.password);
        format::zip::EncryptionHeader encryption(cipher);
        // With a data descriptor the CRC was not known when the header was
        // written, so the check byte comes from the time instead.
        const uint32_t check = (header.flags() & descriptorFlag) ? header.time() >> 8 : header.crc() >> 24;
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
    if (method->crc() != header.crc()) throw BadData(invalidData);
}

}  // namespace engine5::zip
