#include "format/tkt5/tkt5.Reader.h"

#include <algorithm>

#include "algorithm/unicode.MacRoman.h"
#include "algorithm/unicode.UTF8Coder.h"
#include "engine/t5.Exception.h"
#include "engine/t5.Reader.h"
#include "stream/check/md5.Digest.h"
#include "stream/stream.LimitedInput.h"
#include "stream/stream.WindowedInput.h"
#include "un/un.exception.h"

namespace engine5::tkt5 {

namespace {

// Seconds from the Macintosh epoch (1904) to the engine's (1970).
constexpr int64_t macEpochOffset = 2082844800;
// What tuckett5::Reader::error holds after a fork of a method without reader.
constexpr int32_t unknownMethodError = -4;

constexpr const char* badLink = "bad item link in tkt5 reader";
// Deeper than any path the file system takes: each level adds at least a
// separator and one byte.
constexpr size_t maxDepth = io::Path::maxSize / 2;

std::string md5Prefix(const std::string& data, size_t length) {
    algorithm::md5::Digest digest;
    digest.update(data);
    digest.end();
    return std::string(digest.value().data(), length);
}

// A component of an output path: a name made only of dots, or none at all,
// would name the folder itself or its parent.
std::string safeComponent(const std::string& name) {
    if (name.find_first_not_of('.') == std::string::npos) return "_" + name;
    return name;
}

std::unique_ptr<MethodReader> makeMethodReader(uint8_t method, tuckett5::Reader& reader, const std::string& password,
                                               const std::string& key) {
    switch (method) {
    case format::tkt5::ForkInfo::storedMethod:
        return std::make_unique<StoredReader>(reader, password, key);
    case format::tkt5::ForkInfo::ispMethod:
        return std::make_unique<ISPReader>(reader, password, key);
    case format::tkt5::ForkInfo::arsenicMethod:
        return std::make_unique<ArsenicReader>(reader, password, key);
    default:
        return nullptr;
    }
}

bool knownMethod(uint8_t method) {
    return method == format::tkt5::ForkInfo::storedMethod || method == format::tkt5::ForkInfo::ispMethod ||
           method == format::tkt5::ForkInfo::arsenicMethod;
}

const char* const invalidData = "CRC mismatch in tkt5 reader; data is invalid";

uint32_t clampOffset(uint64_t offset) { return offset > 0xFFFFFFFFu ? 0xFFFFFFFFu : static_cast<uint32_t>(offset); }

} // namespace

Reader::Reader(uint32_t position, tuckett5::Reader& reader) : engine5::FormatReader(position, reader) {}

Reader::~Reader() { delete_items(); }

uint64_t Reader::start() const { return reader.archiveInfo.position; }

void Reader::delete_items() {
    for (ItemRecord* record : items) delete record;
    items.clear();
    item = nullptr;
}

void Reader::readArchiveHeader(stream::random::Input& in) {
    try {
        in.seek(start());
        // The record reads what it finds; a header cut short is no header.
        const uint64_t size = in.size();
        if (size < start() + archiveHeader.fixed_size()) throw un::exception("short header", "un");
        // Reads past the end answer at once, however many a damaged count asks for.
        stream::LimitedInput header(in, size - start());
        archiveHeader.read(header, true);
    } catch (const un::exception&) {
        delete_items();
        throw tuckett5::exception::Input("cannot read the archive header in tkt5 reader");
    }
    if (!archiveHeader.valid()) {
        delete_items();
        throw tuckett5::exception::BadFormat("bad archive header in tkt5 reader");
    }
    firstItem = archiveHeader.firstItem();
    lastPosition_ = 0;
    item = nullptr;
    pathNames.clear();
    if (archiveHeader.size() < archiveHeader.archiveSize()) {
        auto* record = new ItemRecord;
        items.push_back(record);
        pathNames.removeLast();
        readItemHeader(in, firstItem, *record, false);
        item = record;
    }
}

void Reader::readItemHeader(stream::random::Input& in, uint32_t position, ItemRecord& record, bool uniquify) {
    if (position == 0 || position >= archiveHeader.archiveSize()) {
        record.position = 0;
        return;
    }
    // Items lie in the order of a depth-first walk, so every link that the
    // walk follows leads forward; one that doesn't would let it go round.
    if (position <= lastPosition_) {
        delete_items();
        throw tuckett5::exception::BadFormat(badLink);
    }
    lastPosition_ = position;

    if (record.named && !pathNames.empty()) pathNames.removeLast();
    record.named = false;
    try {
        in.seek(start() + position);
        record.read(in, true);
    } catch (const un::exception&) {
        delete_items();
        throw tuckett5::exception::Input("cannot read an item header in tkt5 reader");
    }
    if (!record.valid()) {
        delete_items();
        throw tuckett5::exception::Input("cannot read an item header in tkt5 reader");
    }
    const uint32_t headerSize = record.size();
    record.position = position;

    // The spaces at the end of a name are never kept.
    std::string name = record.name();
    while (!name.empty() && name.back() == ' ') name.pop_back();
    record.name(name);

    if (record.endFolder()) {
        record.name(std::string());
        record.next(record.parentRecord != nullptr ? record.parentRecord->next() : 0);
    }

    const bool local = (record.itemFlags() & format::tkt5::ItemHeader::localNameFlag) != 0;
    if (local)
        record.unicodeName.clear();
    else
        record.unicodeName = algorithm::unicode::UTF8Coder::decode(record.name());

    if (record.endFolder()) return;

    // The name as the engine writes it, with no separator inside.
    std::string shown = local ? algorithm::unicode::MacRoman::toLocal(record.name())
                              : algorithm::unicode::UTF8Coder::toLocal(record.name());
    std::replace(shown.begin(), shown.end(), '/', separatorReplacement);
    std::replace(shown.begin(), shown.end(), '\\', separatorReplacement);

    if (record.file()) {
        pathNames.add(shown);
        record.named = true;
        ForkRecord empty;
        record.resourceFork = empty;
        if (record.mac() && record.macHeader().hasResourceFork()) {
            const format::tkt5::ForkInfo& fork = record.macHeader().resourceFork();
            record.resourceFork.uncompressedSize(fork.uncompressedSize());
            record.resourceFork.compressedSize(fork.compressedSize());
            record.resourceFork.crc(fork.crc());
            record.resourceFork.method(fork.method());
        }
        const format::tkt5::ForkInfo& data = record.forkInfo();
        record.dataFork = empty;
        record.dataFork.uncompressedSize(data.uncompressedSize());
        record.dataFork.compressedSize(data.compressedSize());
        record.dataFork.crc(data.crc());
        record.dataFork.method(data.method());
        const uint64_t resourceAt = uint64_t(position) + headerSize;
        record.resourceFork.position = clampOffset(resourceAt);
        record.dataFork.position = clampOffset(resourceAt + record.resourceFork.compressedSize());
    } else if (record.folder()) {
        std::string path = reader.outputFolder();
        io::Path::makeAbsolute(path);
        path += io::Path::separator;
        std::string open = pathNames.str();
        std::replace(open.begin(), open.end(), '/', io::Path::separator);
        path += open;
        path += io::Path::separator;
        std::replace(shown.begin(), shown.end(), '/', separatorReplacement);
        path += shown;
        if (uniquify && io::Path::makeUnique(path, uniqueLimit) && !record.unicodeName.empty()) {
            const std::string::size_type mark = path.rfind('_');
            if (mark != std::string::npos)
                for (size_t k = mark; k < path.size(); ++k)
                    record.unicodeName.push_back(static_cast<unsigned char>(path[k]));
        }
        const std::string::size_type last = path.rfind(io::Path::separator);
        pathNames.add(last == std::string::npos ? path : path.substr(last + 1));
        record.named = true;
    }
}

template <typename OnFile, typename OnFolder, typename OnEnd>
void Reader::walk(stream::random::Input& in, ItemRecord* first, bool uniquify, OnFile onFile, OnFolder onFolder,
                  OnEnd onEnd, const char* strangeItem) {
    item = first;
    while (item != nullptr && item->position != 0) {
        if (item->endFolder()) {
            onEnd();
            ItemRecord* parent = item->parentRecord;
            const uint32_t next = item->next();
            // The marker's record is done with: the walk climbs to the parent,
            // which takes the next item of its own level.
            if (parent != nullptr && !items.empty() && items.back() == item) {
                delete item;
                items.pop_back();
            }
            item = parent;
            if (item != nullptr) readItemHeader(in, next, *item, uniquify);
        } else if (item->folder()) {
            onFolder();
            if (items.size() >= maxDepth) {
                delete_items();
                throw tuckett5::exception::BadFormat("folders nested too deeply in tkt5 reader");
            }
            auto* child = new ItemRecord;
            items.push_back(child);
            child->parentRecord = item;
            readItemHeader(in, item->folderInfo().firstChild(), *child, uniquify);
            item = child;
        } else if (item->file()) {
            onFile();
            readItemHeader(in, item->next(), *item, uniquify);
        } else {
            delete_items();
            throw un::exception(strangeItem, "un");
        }
    }
}

std::string Reader::outputPath() const {
    std::string joined;
    for (const std::string& part : pathNames.parts()) {
        if (!joined.empty()) joined += '/';
        joined += safeComponent(part);
    }
    return joined;
}

Entry Reader::entryOf(const ItemRecord& record) const {
    Entry entry;
    entry.kind = record.folder() ? Entry::Kind::folder : Entry::Kind::file;
    entry.name = pathNames.str();
    entry.placeName = outputPath();
    entry.backslashSeparates = false;
    entry.unicodeName = record.unicodeName;
    entry.modificationTime(int64_t(record.modificationDate()) - macEpochOffset);
    entry.creationTime(int64_t(record.creationDate()) - macEpochOffset);
    if (record.windows()) entry.attributes(record.windowsHeader().attributes());
    entry.locked = (record.itemFlags() & format::tkt5::ItemHeader::lockedFlag) != 0;
    entry.encrypted = (record.itemFlags() & format::tkt5::ItemHeader::passwordFlag) != 0;
    if (entry.kind == Entry::Kind::folder) return entry;
    entry.dataSize(record.dataFork.uncompressedSize());
    entry.resourceSize(record.resourceFork.uncompressedSize());
    entry.compressedSize(uint64_t(record.dataFork.compressedSize()) + record.resourceFork.compressedSize());
    if (record.mac() && record.macHeader().file()) {
        entry.finderInfo(record.macHeader().fileInfo());
        entry.text = record.macHeader().fileInfo().type() == format::data::OSType("TEXT");
    }
    entry.invalidData = invalidData;
    const uint8_t method = record.dataFork.method();
    entry.method = method == format::tkt5::ForkInfo::storedMethod    ? "stored"
                   : method == format::tkt5::ForkInfo::ispMethod     ? "ISP"
                   : method == format::tkt5::ForkInfo::arsenicMethod ? "Arsenic"
                                                                     : "method " + std::to_string(method);
    if (record.dataFork.crc() != 0) entry.crc(record.dataFork.crc());
    entry.ownMethod = knownMethod(method) && knownMethod(record.resourceFork.method());
    return entry;
}

void Reader::scan(stream::random::Input& in, io::random::File&) {
    try {
        in.seek(start());
        reader.archiveInfo.reset();
        readArchiveHeader(in);
        reader.archiveInfo.encrypted = archiveHeader.passwordHash.isSet();
        manyRoots_ = archiveHeader.rootItemCount() > 1;
        fileCount = 0;
        uint32_t compressed = 0, expanded = 0;
        reader.fireProgressScanBegin();

        stream::random::WindowedInput windows(in);
        walk(
            windows, item, true,
            [&] {
                reader.fireProgressScanStep();
                if (reader.archiveInfo.rootName.empty()) reader.archiveInfo.rootName = pathNames.str();
                describe(entryOf(*item));
                reader.fireFileInfo();
                ++reader.archiveInfo.fileCount;
                ++fileCount;
                compressed += item->dataFork.compressedSize() + item->resourceFork.compressedSize();
                expanded += item->dataFork.uncompressedSize() + item->resourceFork.uncompressedSize();
            },
            [&] {
                reader.fireProgressScanStep();
                if (reader.archiveInfo.rootName.empty()) reader.archiveInfo.rootName = pathNames.str();
                describe(entryOf(*item));
                reader.fireFolderInfo();
            },
            [&] { reader.fireProgressScanStep(); }, "non-file and non-folder in tkt5 reader");

        reader.archiveInfo.compressedSize(compressed);
        reader.archiveInfo.expandedSize(expanded);
        reader.fireProgressScanEnd();
        if (manyRoots_) reader.archiveInfo.rootName.clear();
        delete_items();
        reader.fireArchiveInfo();
    } catch (...) {
        delete_items();
        throw;
    }
}

void Reader::decode(stream::random::Input& in, io::random::File&) {
    try {
        reader.fireArchiveDecodeBegin();
        reader.fireProgressSizeBegin(reader.archiveInfo.expandedSize());
        reader.fireProgressFilesBegin(fileCount);
        // Each item's header and forks are read through two windows, so that
        // small items cost no read of their own.
        stream::random::WindowedInput windows(in);
        decodeAll(windows);
        reader.fireProgressFilesEnd();
        reader.fireProgressSizeEnd();
        reader.fireArchiveDecodeEnd();
    } catch (...) {
        delete_items();
        throw;
    }
}

void Reader::checkPassword() {
    const std::string& password = reader.password.value();
    if (password.empty())
        throw tuckett5::exception::BadPassword("password required for an encrypted file in tkt5 reader");
    std::string stored = archiveHeader.passwordHash();
    stored.resize(5, '\0');
    const std::string hash = md5Prefix(md5Prefix(password, 5), 5);
    if (stored != hash) throw tuckett5::exception::BadPassword("password mismatch in tkt5 reader");
}

void Reader::decodeAll(stream::random::Input& in) {
    delete_items();
    itemsDone = 0;
    reader.fireProgressFilesMove(0);
    ItemRecord root;
    if (archiveHeader.passwordHash.isSet()) checkPassword();
    pathNames.clear();
    bytesDone = 0;
    lastPosition_ = 0;
    readItemHeader(in, firstItem, root, false);

    walk(
        in, &root, false, [&] { decodeItem(in); }, [&] { decodeFolder(); },
        [&] {
            reader.fireFolderDecodeEnd();
            // A folder is dated and locked once its contents are in place:
            // writing them would change its time, and a locked folder could
            // not take them.
            ItemRecord* folder = item->parentRecord;
            if (folder == nullptr || folder->folderPath.empty()) return;
            finishFolder(folder->folderPath, entryOf(*folder));
            folder->folderPath.clear();
        },
        "non-file and non-folder in engine5::tkt5::Reader::decodeAll()");

    reader.nextPosition = static_cast<uint32_t>(start() + archiveHeader.archiveSize());
    delete_items();
}

void Reader::decodeItem(stream::random::Input& in) {
    expandFile(entryOf(*item), [&] {
        const uint8_t method = item->dataFork.method();
        if (method > 127)
            throw tuckett5::exception::UnsupportedMethod("encrypted Tuckett archives not supported by tkt5 reader");
        if (!knownMethod(method) || (item->mac() && !knownMethod(item->resourceFork.method())))
            throw tuckett5::exception::UnsupportedMethod("unsupported compression method in tkt5 reader");
        const std::string& password = reader.password.value();
        decodeFork(in, dataFork(), item->dataFork, password, item->forkInfo().key());
        if (item->resourceFork.uncompressedSize() != 0) {
            const std::string key = item->macHeader().hasResourceFork() ? item->macHeader().resourceFork().key() : "";
            decodeFork(in, resourceFork(), item->resourceFork, password, key);
        }
    });
}

void Reader::decodeFolder() {
    const std::string planned = preprocessName(outputPath(), true);
    const std::string path = expandFolder(entryOf(*item));
    if (path != planned) {
        // The folder took another name: what lies inside follows it.
        const std::string::size_type last = path.rfind(io::Path::separator);
        pathNames.removeLast();
        pathNames.add(last == std::string::npos ? path : path.substr(last + 1));
    }
    item->folderPath = path;
}

void Reader::decodeFork(stream::random::Input& in, stream::Output& out, ForkRecord& fork,
                        const std::string& password, const std::string& key) {
    if (fork.uncompressedSize() == 0) return;
    in.seek(start() + fork.position);
    if (!methodReader || lastMethod != fork.method()) {
        lastMethod = fork.method();
        methodReader.reset();
        methodReader = makeMethodReader(fork.method(), reader, password, key);
    } else {
        methodReader->key = key;
    }
    if (!methodReader) {
        reader.error = unknownMethodError;
        return;
    }
    methodReader->total = bytesDone;
    methodReader->count(fork.uncompressedSize());
    stream::LimitedInput stored(in, fork.compressedSize());
    methodReader->decode(stored, out);
    bytesDone = methodReader->total;
    if (fork.crc() != 0 && methodReader->crc != 0 && fork.crc() != methodReader->crc)
        throw tuckett5::exception::BadData(invalidData);
}

} // namespace engine5::tkt5
