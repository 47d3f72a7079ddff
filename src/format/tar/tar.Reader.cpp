#include "format/tar/tar.Reader.h"

#include <archive.h>
#include <archive_entry.h>

#include <vector>

#ifndef _WIN32
#include <locale.h>
#endif

#include "engine/t5.Reader.h"
#include "format/zip/zip.Name.h"
#include "io/io.SafePath.h"
#include "stream/stream.Input.h"
#include "stream/stream.Output.h"

namespace engine5::tar {

using tuckett5::exception::BadData;
using tuckett5::exception::BadFormat;
using tuckett5::exception::UnsupportedMethod;

namespace {

la_ssize_t readBlock(struct archive*, void* data, const void** block) {
    auto* source = static_cast<Reader::Source*>(data);
    *block = source->buffer;
    try {
        return static_cast<la_ssize_t>(source->input->read(source->buffer, sizeof source->buffer));
    } catch (...) {
        source->failure = std::current_exception();
        return -1;
    }
}

// The bytes that a member keeps in the archive: a sparse file keeps only its
// data regions, and its holes expand from nothing.
uint64_t storedSize(struct archive_entry* item, uint64_t size) {
    if (archive_entry_sparse_reset(item) <= 0) return size;
    uint64_t stored = 0;
    la_int64_t offset = 0, length = 0;
    while (archive_entry_sparse_next(item, &offset, &length) == ARCHIVE_OK)
        if (length > 0) stored += uint64_t(length);
    return stored < size ? stored : size;
}

uint32_t clamp32(uint64_t value) { return value > 0xFFFFFFFFu ? 0xFFFFFFFFu : static_cast<uint32_t>(value); }

// A stored name without the slashes that end a folder's.
std::string trimmed(std::string name) {
    while (name.size() > 1 && name.back() == '/') name.pop_back();
    return name;
}

// Wide characters (UTF-16 on Windows, UTF-32 elsewhere) as UTF-8.
std::string wideToUTF8(const wchar_t* wide) {
    std::string out;
    for (; *wide; ++wide) {
        uint32_t c = static_cast<uint32_t>(*wide);
        if (sizeof(wchar_t) == 2 && c >= 0xD800 && c < 0xDC00 && wide[1] >= 0xDC00 && wide[1] < 0xE000)
            c = 0x10000 + ((c - 0xD800) << 10) + (static_cast<uint32_t>(*++wide) - 0xDC00);
        if (c < 0x80) {
            out += static_cast<char>(c);
        } else if (c < 0x800) {
            out += static_cast<char>(0xC0 | c >> 6);
            out += static_cast<char>(0x80 | (c & 0x3F));
        } else if (c < 0x10000) {
            out += static_cast<char>(0xE0 | c >> 12);
            out += static_cast<char>(0x80 | (c >> 6 & 0x3F));
            out += static_cast<char>(0x80 | (c & 0x3F));
        } else {
            out += static_cast<char>(0xF0 | c >> 18);
            out += static_cast<char>(0x80 | (c >> 12 & 0x3F));
            out += static_cast<char>(0x80 | (c >> 6 & 0x3F));
            out += static_cast<char>(0x80 | (c & 0x3F));
        }
    }
    return out;
}

// The name, in the engine's 8-bit form and in UTF-16. pax keeps names in
// UTF-8; older headers keep bytes that are taken as UTF-8 where they are.
// A name stored in UTF-16 (RAR, LHA) that the code page cannot hold comes
// through libarchive's wide form.
void names(struct archive_entry* item, Entry& entry, bool folder) {
    const char* utf8 = archive_entry_pathname_utf8(item);
    const wchar_t* wide = utf8 ? nullptr : archive_entry_pathname_w(item);
    const char* raw = archive_entry_pathname(item);
    std::string name = utf8 ? utf8 : wide ? wideToUTF8(wide) : raw ? raw : "";
    if (folder) name = trimmed(name);
    entry.unicodeName = zip::decodeUTF8(name);
    entry.name = zip::localName(entry.unicodeName);
    entry.backslashSeparates = false;
}

// The stored name of the item that a hard link is a second name of, in the
// form of the entry's own name; empty for an item that is no hard link.
std::string hardLinkTarget(struct archive_entry* item) {
    const char* target = archive_entry_hardlink_utf8(item);
    if (!target) target = archive_entry_hardlink(item);
    return target ? zip::localName(zip::decodeUTF8(target)) : std::string();
}

const char* kindName(mode_t type) {
    switch (type) {
        case AE_IFCHR:
            return "a character device is not expanded";
        case AE_IFBLK:
            return "a block device is not expanded";
        case AE_IFIFO:
            return "a named pipe is not expanded";
        case AE_IFSOCK:
            return "a socket is not expanded";
        default:
            return "an item of unknown type is not expanded";
    }
}

// libarchive converts names through the C library's character set, which is
// plain ASCII until a program sets its locale. The engine's 8-bit names are
// UTF-8 on POSIX, so the parser runs in a UTF-8 locale on this thread alone.
// Windows converts through its own code pages and needs nothing here.
class UTF8Locale {
public:
    UTF8Locale();
    ~UTF8Locale();
    UTF8Locale(const UTF8Locale&) = delete;
    UTF8Locale& operator=(const UTF8Locale&) = delete;

#ifndef _WIN32
private:
    locale_t utf8_;
    locale_t before_ = locale_t(0);
#endif
};

#ifdef _WIN32
UTF8Locale::UTF8Locale() {}
UTF8Locale::~UTF8Locale() {}
#else
UTF8Locale::UTF8Locale() : utf8_(newlocale(LC_CTYPE_MASK, "C.UTF-8", locale_t(0))) {
    if (utf8_) before_ = uselocale(utf8_);
}
UTF8Locale::~UTF8Locale() {
    if (!utf8_) return;
    uselocale(before_);
    freelocale(utf8_);
}
#endif

void supportTar(struct archive* parser) {
    archive_read_support_format_tar(parser);
    archive_read_support_format_gnutar(parser);
}

const Reader::Dialect tarDialect{"tar", supportTar, ""};

}  // namespace

Reader::Reader(uint32_t position, tuckett5::Reader& reader) : Reader(position, reader, tarDialect) {}

Reader::Reader(uint32_t position, tuckett5::Reader& reader, const Dialect& dialect)
    : FormatReader(position, reader), dialect_(dialect) {
    foldersAreItems = true;
    hardLinks = true;
}

Reader::~Reader() { close(); }

void Reader::open(stream::random::Input& archive) {
    close();
    const uint64_t position = reader.archiveInfo.position;
    sizes_.clear();
    headers_ = 0;
    archiveBytes_ = archive.size() > position ? archive.size() - position : 0;
    if (dialect_.vet) dialect_.vet(archive, position, sizes_);
    archive.seek(position);
    source_.input = static_cast<stream::Input*>(&archive);
    source_.failure = nullptr;
    archive_ = archive_read_new();
    if (!archive_) throw BadFormat(std::string("cannot start the ") + dialect_.name + " parser");
    archive_read_support_filter_none(archive_);
    dialect_.support(archive_);
    if (archive_read_open(archive_, &source_, nullptr, readBlock, nullptr) != ARCHIVE_OK)
        fail((std::string("not a ") + dialect_.name + " archive").c_str());
}

void Reader::close() {
    if (archive_) archive_read_free(archive_);
    archive_ = nullptr;
}

void Reader::fail(const char* fallback) {
    if (source_.failure) std::rethrow_exception(source_.failure);
    const char* why = archive_ ? archive_error_string(archive_) : nullptr;
    throw BadFormat(std::string("invalid ") + dialect_.name + " archive: " + (why ? why : fallback));
}

bool Reader::next(struct archive_entry*& item) {
    const int result = archive_read_next_header(archive_, &item);
    if (result == ARCHIVE_EOF) return false;
    if (result < ARCHIVE_WARN) fail("bad header");
    ++headers_;
    return true;
}

uint64_t Reader::packedSize(struct archive_entry* item, uint64_t size) const {
    if (!dialect_.vet) return storedSize(item, size);
    // Where the walk of the headers and libarchive agree on the item, its
    // header tells; otherwise no item keeps more than the whole archive.
    const size_t index = headers_ - 1;
    if (index < sizes_.size() && sizes_[index].expanded == size) return sizes_[index].packed;
    return archiveBytes_;
}

void Reader::scan(stream::random::Input& archive, io::random::File&) {
    const UTF8Locale utf8;
    tuckett5::ArchiveInfo& info = reader.archiveInfo;
    info.reset();
    open(archive);
    reader.fireProgressScanBegin();
    uint64_t total = 0;
    std::string root;
    bool sameRoot = true;
    bool fileAtRoot = false;
    struct archive_entry* item = nullptr;
    while (next(item)) {
        reader.fireProgressScanStep();
        const mode_t type = archive_entry_filetype(item);
        const bool folder = type == AE_IFDIR;
        Entry entry;
        names(item, entry, folder);
        if (folder) {
            entry.kind = Entry::Kind::folder;
            describe(entry);
            reader.fireFolderInfo();
        } else {
            const uint64_t size = archive_entry_size_is_set(item) ? uint64_t(archive_entry_size(item)) : 0;
            entry.linkTarget = hardLinkTarget(item);
            if (!entry.linkTarget.empty()) entry.kind = Entry::Kind::hardLink;
            entry.dataSize(type == AE_IFREG && entry.linkTarget.empty() ? size : 0);
            entry.compressedSize(entry.dataSize() == 0 ? 0 : packedSize(item, entry.dataSize()));
            entry.modificationTime(archive_entry_mtime(item));
            entry.permissions(archive_entry_perm(item) & 0777);
            entry.encrypted = archive_entry_is_data_encrypted(item) != 0;
            if (type == AE_IFLNK) {
                entry.kind = Entry::Kind::link;
                const char* target = archive_entry_symlink(item);
                entry.linkTarget = target ? target : "";
            }
            describe(entry);
            reader.fireFileInfo();
            total += entry.dataSize();
        }
        const std::vector<std::string> components = io::safeComponents(entry.name);
        const std::string first = components.empty() ? std::string() : components.front();
        if (info.fileCount == 0)
            root = first;
        else if (first != root)
            sameRoot = false;
        if (components.size() <= 1 && !folder) fileAtRoot = true;
        ++info.fileCount;
    }
    info.expandedSize(clamp32(total));
    info.compressedSize(clamp32(total));
    const bool single = sameRoot && !root.empty() && (!fileAtRoot || info.fileCount == 1);
    info.rootName = single ? root : std::string();
    close();
    reader.fireProgressScanEnd();
    reader.fireArchiveInfo();
}

void Reader::writeData(uint64_t size) {
    stream::Output& out = dataFork();
    uint64_t at = 0;
    for (;;) {
        const void* block = nullptr;
        size_t length = 0;
        la_int64_t offset = 0;
        const int result = archive_read_data_block(archive_, &block, &length, &offset);
        if (result == ARCHIVE_EOF) break;
        if (result < ARCHIVE_WARN) {
            if (source_.failure) std::rethrow_exception(source_.failure);
            const char* why = archive_error_string(archive_);
            throw BadData(std::string(dialect_.name) +
                          " item is damaged or truncated: " + (why ? why : "data is invalid"));
        }
        // A sparse file's holes come as gaps between the blocks.
        if (offset < 0 || uint64_t(offset) < at || uint64_t(offset) > size || length > size - uint64_t(offset))
            throw BadData(std::string(dialect_.name) + " item is damaged: data is invalid");
        if (uint64_t(offset) > at) out.fill(uint64_t(offset) - at, 0);
        out.write(static_cast<const char*>(block), static_cast<uint32_t>(length));
        at = uint64_t(offset) + length;
        bytesDone += length;
    }
    if (at < size) out.fill(size - at, 0);
}

void Reader::decode(stream::random::Input& archive, io::random::File&) {
    const UTF8Locale utf8;
    beginDecode();
    open(archive);

    std::vector<std::pair<std::string, Entry>> folders;
    struct archive_entry* item = nullptr;
    while (next(item)) {
        const mode_t type = archive_entry_filetype(item);
        Entry entry;
        names(item, entry, type == AE_IFDIR);
        entry.modificationTime(archive_entry_mtime(item));
        // Only the permission bits: setuid, setgid and sticky never come out.
        entry.permissions(archive_entry_perm(item) & 0777);
        if (type == AE_IFDIR) {
            entry.kind = Entry::Kind::folder;
            const std::string path = expandFolder(entry);
            if (!path.empty()) folders.emplace_back(path, entry);
            continue;
        }
        entry.linkTarget = hardLinkTarget(item);
        if (!entry.linkTarget.empty()) {
            entry.kind = Entry::Kind::hardLink;
            entry.dataSize(0);
            expandFile(entry, [] {});
            continue;
        }
        if (type == AE_IFLNK) {
            entry.kind = Entry::Kind::link;
            const char* target = archive_entry_symlink_utf8(item);
            if (!target) target = archive_entry_symlink(item);
            entry.linkTarget = target ? zip::localName(zip::decodeUTF8(target)) : "";
            entry.dataSize(0);
            expandFile(entry, [] {});
            continue;
        }
        if (type != AE_IFREG) {
            reader.itemWarnings.push_back({entry.name, "", "", kindName(type)});
            continue;
        }
        const uint64_t size = archive_entry_size_is_set(item) ? uint64_t(archive_entry_size(item)) : 0;
        entry.dataSize(size);
        entry.resourceSize(0);
        entry.compressedSize(packedSize(item, size));
        entry.encrypted = archive_entry_is_data_encrypted(item) != 0;
        expandFile(entry, [&] {
            // libarchive cannot decipher these formats' encryption.
            if (entry.encrypted) {
                explain("the item is encrypted");
                throw UnsupportedMethod(dialect_.encrypted);
            }
            writeData(size);
        });
    }
    for (auto it = folders.rbegin(); it != folders.rend(); ++it) finishFolder(it->first, it->second);
    close();

    reader.fireProgressSizeEnd();
    reader.fireProgressFilesEnd();
    reader.fireArchiveDecodeEnd();
    reader.nextPosition = clamp32(archive.size());
}

}  // namespace engine5::tar
