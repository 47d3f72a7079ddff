#include "format/arj/arj.Reader.h"

#include <ctime>
#include <memory>
#include <vector>

#include "algorithm/arj/arj.FastDecompressor.h"
#include "algorithm/arj/arj.GoodDecompressor.h"
#include "algorithm/unicode.CP437.h"
#include "engine/t5.Reader.h"
#include "format/arj/arj.ArchiveHeader.h"
#include "format/zip/zip.MethodReader.h"
#include "format/zip/zip.Name.h"
#include "io/io.SafePath.h"

namespace engine5::arj {

using format::arj::FileHeader;
using tuckett5::exception::BadData;
using tuckett5::exception::BadFormat;
using tuckett5::exception::UnsupportedFormat;
using tuckett5::exception::UnsupportedMethod;

namespace {

const char* const invalidData = "CRC mismatch in arj reader; data is invalid";
const char* const multiVolume = "expansion of multi-volume archives not supported by arj reader";
const char* const truncated = "truncated archive in arj reader";

// The main header says that the archive goes on in another volume.
constexpr uint8_t volumeArchive = 0x04;

// ARJ hosts: 0 MS-DOS, 1 PRIMOS, 2 Unix, 3 Amiga, 4 Mac OS, 5 OS/2, 6 Apple
// GS, 7 Atari ST, 8 NeXT, 9 VAX VMS, 10 Windows 95, 11 Windows NT.
bool unixHost(uint8_t host) { return host == 2 || host == 8; }
bool backslashHost(uint8_t host) { return host == 0 || host == 5 || host == 7 || host == 10 || host == 11; }

// A DOS date and time, which count in the local time of the machine that
// wrote them, as seconds since 1970; 0 where the fields make no date.
int64_t dosSeconds(uint32_t stamp) {
    const uint32_t date = stamp >> 16, time = stamp & 0xFFFF;
    std::tm parts{};
    parts.tm_year = static_cast<int>((date >> 9) & 0x7F) + 80;
    parts.tm_mon = static_cast<int>((date >> 5) & 0x0F) - 1;
    parts.tm_mday = static_cast<int>(date & 0x1F);
    parts.tm_hour = static_cast<int>((time >> 11) & 0x1F);
    parts.tm_min = static_cast<int>((time >> 5) & 0x3F);
    parts.tm_sec = static_cast<int>(time & 0x1F) * 2;
    parts.tm_isdst = -1;
    if (parts.tm_mon < 0 || parts.tm_mday == 0) return 0;
    const std::time_t seconds = std::mktime(&parts);
    return seconds < 0 ? 0 : static_cast<int64_t>(seconds);
}

// Unix hosts keep Unix time; the others a DOS date and time.
int64_t seconds(uint8_t host, uint32_t stamp) { return unixHost(host) ? int64_t(stamp) : dosSeconds(stamp); }

// What a Unix build stores for an item that is no plain file or folder: an
// extended header of "U", a flag byte, then the kind in the top 3 bits of a
// byte and the length of its data in the low 5, where 31 says that a 16-bit
// length follows. The data of a link is its target.
struct Special {
    enum Kind { pipe = 0, hardLink = 1, symbolicLink = 2, none = 0xFF };
    unsigned kind = none;
    std::string data;
};

Special special(const FileHeader& header) {
    Special found;
    for (const std::vector<char>& block : header.extended) {
        if (block.size() < 3 || block[0] != 'U') continue;
        const auto byte = [&](size_t at) { return static_cast<unsigned char>(block[at]); };
        size_t at = 3;
        size_t length = byte(2) & 0x1F;
        if (length == 0x1F) {
            if (block.size() < 5) continue;
            length = byte(3) | size_t(byte(4)) << 8;
            at = 5;
        }
        if (length > block.size() - at) continue;
        found.kind = byte(2) >> 5;
        found.data.assign(block.data() + at, length);
        break;
    }
    return found;
}

std::string methodName(uint8_t method) { return method == 0 ? "stored" : "method " + std::to_string(method); }

// A name as the engine's 8-bit text: Unix builds store the bytes of their
// names, mostly UTF-8; the others a DOS code page.
tuckett5::UnicodeName decodeName(const std::string& stored, uint8_t host) {
    return unixHost(host) && zip::validUTF8(stored) ? zip::decodeUTF8(stored)
                                                    : algorithm::unicode::CP437::decode(stored);
}

uint32_t clamp32(uint64_t value) { return value > 0xFFFFFFFFu ? 0xFFFFFFFFu : static_cast<uint32_t>(value); }

// Methods 1 to 3 share one decoder; they differ only in how hard the
// compressor looked for matches.
class GoodReader : public zip::MethodReader {
public:
    using MethodReader::MethodReader;

protected:
    stream::Transform& transform() override { return decompressor_; }

private:
    algorithm::arj::GoodDecompressor decompressor_;
};

class FastReader : public zip::MethodReader {
public:
    using MethodReader::MethodReader;

protected:
    stream::Transform& transform() override { return decompressor_; }

private:
    algorithm::arj::FastDecompressor decompressor_;
};

std::unique_ptr<zip::MethodReader> methodReader(uint8_t method, tuckett5::Reader& reader) {
    if (method == 0) return std::make_unique<zip::StoredReader>(reader);
    if (method >= 1 && method <= 3) return std::make_unique<GoodReader>(reader);
    if (method == 4) return std::make_unique<FastReader>(reader);
    return nullptr;
}

}  // namespace

Reader::Reader(uint32_t position, tuckett5::Reader& reader) : FormatReader(position, reader) {
    foldersAreItems = true;
    hardLinks = true;
}

Reader::~Reader() = default;

uint64_t Reader::walk(stream::random::Input& archive, const std::function<void(const FileHeader&, uint64_t)>& visit) {
    archive.seek(reader.archiveInfo.position);
    format::arj::ArchiveHeader main;
    main.read(archive, true);
    if (main.flags & volumeArchive) throw UnsupportedFormat(multiVolume);
    comment_ = main.comment;
    const uint64_t size = archive.size();
    FileHeader header;
    for (;;) {
        if (archive.tell() >= size) throw BadFormat(truncated);
        header.read(archive, true);
        if (header.end()) return archive.tell();
        const uint64_t offset = archive.tell();
        if (header.compressedSize > size - offset) throw BadFormat(truncated);
        if (header.flags & (FileHeader::volume | FileHeader::extFile)) throw UnsupportedFormat(multiVolume);
        visit(header, offset);
        archive.seek(offset + header.compressedSize);
    }
}

Entry Reader::describeItem(const FileHeader& header) const {
    Entry entry;
    const uint8_t host = header.hostOS;
    std::string stored = header.name;
    const bool folder = header.fileType == FileHeader::folderType;
    if (folder) {
        while (!stored.empty() && (stored.back() == '/' || (backslashHost(host) && stored.back() == '\\')))
            stored.pop_back();
        entry.kind = Entry::Kind::folder;
    }
    entry.unicodeName = decodeName(stored, host);
    entry.name = zip::localName(entry.unicodeName);
    entry.backslashSeparates = backslashHost(host);
    // A time of 0, or fields that make no date, leave the time unset.
    if (const int64_t modified = seconds(host, header.modified); modified > 0) entry.modificationTime(modified);
    if (const int64_t created = seconds(host, header.created); created > 0) entry.creationTime(created);
    if (unixHost(host))
        entry.permissions(header.accessMode & 0777);
    else
        entry.attributes(header.accessMode & 0x27);
    if (folder) return entry;
    if (header.fileType == FileHeader::specialType) {
        const Special found = special(header);
        if (found.kind == Special::symbolicLink) {
            entry.kind = Entry::Kind::link;
            // A link kept as a file where its target leaves the folder is
            // no program: the link's own mode bits are not applied.
            entry.permissions.reset();
            entry.linkTarget = zip::localName(decodeName(found.data, host));
        } else if (found.kind == Special::hardLink) {
            // The target is the stored name of an earlier item.
            entry.kind = Entry::Kind::hardLink;
            entry.linkTarget = zip::localName(decodeName(found.data, host));
        }
    }
    entry.dataSize(header.originalSize);
    entry.resourceSize(0);
    entry.compressedSize(header.compressedSize);
    entry.text = header.fileType == FileHeader::textType;
    entry.method = methodName(header.method);
    entry.crc(header.fileCRC);
    // Listed as encrypted; the archive is not marked so, as no password
    // would open a garbled item here.
    entry.encrypted = (header.flags & FileHeader::garbled) != 0;
    entry.invalidData = invalidData;
    return entry;
}

void Reader::scan(stream::random::Input& archive, io::random::File&) {
    tuckett5::ArchiveInfo& info = reader.archiveInfo;
    info.reset();
    reader.fireProgressScanBegin();
    uint64_t expanded = 0, compressed = 0;
    std::string root;
    bool sameRoot = true;
    bool fileAtRoot = false;
    walk(archive, [&](const FileHeader& header, uint64_t) {
        if (header.fileType > FileHeader::textType && header.fileType != FileHeader::folderType &&
            header.fileType != FileHeader::specialType)
            return;
        reader.fireProgressScanStep();
        const Entry entry = describeItem(header);
        const bool folder = entry.kind == Entry::Kind::folder;
        describe(entry);
        if (folder) {
            reader.fireFolderInfo();
        } else {
            reader.fireFileInfo();
            expanded += header.originalSize;
            compressed += header.compressedSize;
        }
        std::string name = entry.name;
        if (entry.backslashSeparates)
            for (char& c : name)
                if (c == '\\') c = '/';
        const std::vector<std::string> components = io::safeComponents(name);
        const std::string first = components.empty() ? std::string() : components.front();
        if (info.fileCount == 0)
            root = first;
        else if (first != root)
            sameRoot = false;
        if (components.size() <= 1 && !folder) fileAtRoot = true;
        ++info.fileCount;
    });
    info.comment = comment_;
    info.expandedSize(clamp32(expanded));
    info.compressedSize(clamp32(compressed));
    const bool single = sameRoot && !root.empty() && (!fileAtRoot || info.fileCount == 1);
    info.rootName = single ? root : std::string();
    reader.fireProgressScanEnd();
    reader.fireArchiveInfo();
}

void Reader::expandData(stream::random::Input& archive, const FileHeader& header, uint64_t offset) {
    if (header.flags & FileHeader::garbled) {
        explain("garbled (encrypted) ARJ items are not supported");
        throw UnsupportedMethod("encrypted files not supported by arj reader");
    }
    std::unique_ptr<zip::MethodReader> method = methodReader(header.method, reader);
    if (!method) {
        explain("ARJ method " + std::to_string(header.method) + " is not supported");
        throw UnsupportedMethod("unsupported compression method in arj reader");
    }
    const uint64_t before = bytesDone;
    method->count = bytesDone;
    method->compressedLimit(header.compressedSize);
    method->uncompressedLimit(header.originalSize);
    archive.seek(offset);
    method->decode(archive, dataFork());
    bytesDone = method->count;
    // Output beyond the declared size is stopped as it is written; output
    // that falls short of it is as wrong.
    if (method->count - before != header.originalSize || method->crc() != header.fileCRC) throw BadData(invalidData);
}

void Reader::expandSpecial(Entry& entry, const FileHeader& header) {
    if (entry.kind == Entry::Kind::link || entry.kind == Entry::Kind::hardLink) {
        expandFile(entry, [] {});
        return;
    }
    const char* what = special(header).kind == Special::pipe ? "a named pipe is not expanded"
                                                             : "an item of unknown type is not expanded";
    reader.itemWarnings.push_back({entry.name, "", "", what});
}

void Reader::decode(stream::random::Input& archive, io::random::File&) {
    beginDecode();

    std::vector<std::pair<std::string, Entry>> folders;
    const uint64_t end = walk(archive, [&](const FileHeader& header, uint64_t offset) {
        // Volume and chapter labels name no item.
        if (header.fileType == 4 || header.fileType == 5) return;
        Entry entry = describeItem(header);
        if (header.fileType == FileHeader::folderType) {
            const std::string path = expandFolder(entry);
            if (!path.empty()) folders.emplace_back(path, entry);
            return;
        }
        if (header.fileType == FileHeader::specialType) {
            expandSpecial(entry, header);
            return;
        }
        if (header.fileType > FileHeader::textType) {
            reader.itemWarnings.push_back({entry.name, "", "", "an item of unknown type is not expanded"});
            return;
        }
        expandFile(entry, [&] { expandData(archive, header, offset); });
    });
    for (auto it = folders.rbegin(); it != folders.rend(); ++it) finishFolder(it->first, it->second);

    reader.fireProgressSizeEnd();
    reader.fireProgressFilesEnd();
    reader.fireArchiveDecodeEnd();
    reader.nextPosition = clamp32(end);
}

}  // namespace engine5::arj
