#include "format/tkt5/tkt5.Writer.h"

#include <random>

#include "algorithm/unicode.UTF8Coder.h"
#include "engine/engine5.WriterScanner.h"
#include "engine/t5.Exception.h"
#include "engine/t5.Writer.h"
#include "format/tkt5/tkt5.MethodWriter.h"
#include "io/io.File.h"
#include "io/io.Folder.h"
#include "io/io.Path.h"
#include "io/io.macdrive.Rsrc.h"
#include "io/io.ntfs.Rsrc.h"
#include "io/io.random.FileStreams.h"
#include "stream/check/md5.Digest.h"
#include "stream/stream.FilterOutput.h"
#include "stream/stream.Output.h"
#include "un/un.exception.h"

namespace engine5::tkt5 {

namespace {

// Seconds from the Macintosh epoch (1904) to the engine's (1970).
constexpr int64_t macEpochOffset = 2082844800;
constexpr uint64_t fractionUnits = 10000000;
constexpr uint8_t keyLength = 5;
constexpr char filler = static_cast<char>(0xBB);
constexpr uint64_t largest = 0xFFFFFFFFu;

uint32_t macDate(int64_t seconds) { return static_cast<uint32_t>(seconds + macEpochOffset); }

std::string md5(const std::string& data) {
    algorithm::md5::Digest digest;
    digest.update(data);
    digest.end();
    return std::string(digest.value().data(), digest.value().size());
}

std::unique_ptr<MethodWriter> makeMethodWriter(int32_t compression, uint64_t size, tuckett5::Writer& writer,
                                               const std::string& key) {
    const std::string& password = writer.password.value();
    if (compression == format::tkt5::ForkInfo::storedMethod || size < 3)
        return std::make_unique<StoredWriter>(writer, password, key);
    if (compression == format::tkt5::ForkInfo::ispMethod) return std::make_unique<ISPWriter>(writer, password, key);
    return std::make_unique<ArsenicWriter>(writer, password, key);
}

// A path given with separators at its end names the same item without them.
std::string trimmed(const std::string& path) {
    std::string text = path;
    while (text.size() > 1 && std::string(io::Path::separators).find(text.back()) != std::string::npos) text.pop_back();
    return text;
}

// Knows where in the archive the next byte goes. The buffered archive counts
// the bytes written through it, and a header written again over its place
// would count twice; the writer needs the true position.
class PositionOutput : public stream::random::FilterOutput {
public:
    explicit PositionOutput(stream::random::Output& under)
        : stream::random::FilterOutput(under), position_(under.tell()) {}

    void write(char value) override {
        stream::random::FilterOutput::write(value);
        ++position_;
    }
    void write(const char* buffer, uint32_t count) override {
        stream::random::FilterOutput::write(buffer, count);
        position_ += count;
    }
    void fill(uint64_t count, char value) override {
        stream::random::FilterOutput::fill(count, value);
        position_ += count;
    }
    // Byte by byte through write(), so that every byte is counted.
    uint64_t copy(stream::Input& from, uint64_t count) override { return stream::Output::copy(from, count); }
    void seek(uint64_t position) override {
        stream::random::FilterOutput::seek(position);
        position_ = position;
    }
    uint64_t tell() const override { return position_; }

private:
    uint64_t position_;
};

}  // namespace

Writer::Writer(tuckett5::Writer& writer) : engine5::FormatWriter(writer) { writer.tuckedFlagD(true); }

Writer::~Writer() { deleteItems(); }

void Writer::deleteItems() {
    for (auto& entry : items) delete entry.second;
    items.clear();
}

void Writer::create(const std::list<std::string>& list, stream::random::Output& archive) {
    PositionOutput out(archive);
    encode(list, out);
}

void Writer::create(const std::list<std::string>& list, stream::random::Output& archive, io::random::File&) {
    PositionOutput out(archive);
    encode(list, out);
}

format::tkt5::ItemHeader& Writer::at(uint32_t offset) {
    format::tkt5::ItemHeader*& entry = items[offset];
    if (entry == nullptr) entry = new format::tkt5::ItemHeader;
    return *entry;
}

void Writer::followPosition(stream::random::Output& out) {
    const uint64_t position = out.tell();
    if (position > largest) throw tuckett5::exception::Output("archive larger than 4 GB in tkt5 writer");
    archiveHeader.archiveSize(static_cast<uint32_t>(position));
}

void Writer::setName(format::tkt5::ItemHeader& header, const std::string& name) {
    const tuckett5::UnicodeName unicode = algorithm::unicode::UTF8Coder::fromLocal(name);
    uint16_t flags = header.itemFlags();
    if (unicode.empty()) {
        header.name(name);
        flags |= format::tkt5::ItemHeader::localNameFlag;
    } else {
        header.name(algorithm::unicode::UTF8Coder::encode(unicode));
        flags &= static_cast<uint16_t>(~format::tkt5::ItemHeader::localNameFlag);
    }
    header.itemFlags(flags);
}

void Writer::encode(const std::list<std::string>& list, stream::random::Output& out) {
    WriterScanner scanner(writer, &macDrive);
    for (const std::string& path : list)
        if (!path.empty()) scanner.scan(trimmed(path));

    deleteItems();
    filesDone = 0;
    writer.fireProgressSizeBegin(static_cast<uint32_t>(scanner.dataSize() + scanner.resourceSize()));
    writer.fireProgressFilesBegin(scanner.fileCount());
    writer.fireProgressFilesMove(0);

    if (!writer.archiveNote().empty())
        archiveHeader.comment(writer.archiveNote());
    else
        archiveHeader.comment.reset();
    if (!writer.password.empty()) {
        const std::string d1 = md5(writer.password.value());
        const std::string d2 = md5(d1.substr(0, keyLength));
        archiveHeader.passwordHash(d2.substr(0, keyLength));
    }
    archiveHeader.archiveSize(archiveHeader.size());
    archiveHeader.firstItem(archiveHeader.size());
    out.seek(0);
    archiveHeader.write(out);

    rootCount = 0;
    lastRootItem = rootParent = lastEndFolder = previous = parent = 0;
    bytesDone = 0;

    for (const std::string& given : list) {
        if (given.empty()) continue;
        // Absolute first, so that the name is the last component whichever
        // separators the caller used.
        std::string path = trimmed(given);
        io::Path::makeAbsolute(path);
        io::PathSplitter split(path);
        const std::string name = split.name() + split.extension();
        if (io::Path::directory(path)) {
            tuckDirectoryTree(out, path, name);
        } else {
            previous = lastRootItem;
            tuckFile(out, path, name, false);
            lastRootItem = previous;
        }
    }

    out.seek(0);
    archiveHeader.write(out);
    for (auto& entry : items) {
        out.seek(entry.first);
        entry.second->write(out);
    }
    deleteItems();
    out.flush();
    writer.fireProgressSizeEnd();
    writer.fireProgressFilesEnd();
}

uint32_t Writer::tuckFile(stream::random::Output& out, const std::string& path, const std::string& name, bool last) {
    writer.fileInfo.reset();
    writer.fileInfo.name = path;
    const tuckett5::UnicodeName unicode = algorithm::unicode::UTF8Coder::fromLocal(name);
    if (!unicode.empty()) writer.fileInfo.unicodeName(unicode);
    writer.fireFileEncodeBegin();

    io::random::File file;
    file.open(path);
    std::unique_ptr<io::macdrive::Rsrc> macDriveFork;
    std::unique_ptr<io::ntfs::Rsrc> ntfsFork;
    if (macDrive.isFileOnMacDriveVolume(path.c_str()) != 0) {
        macDriveFork = std::make_unique<io::macdrive::Rsrc>();
        macDriveFork->open(path);
    }
    if (io::ntfs::Rsrc::hasInfo(path)) {
        ntfsFork = std::make_unique<io::ntfs::Rsrc>();
        ntfsFork->open(path);
    }
    const bool resource = macDriveFork || ntfsFork;

    const uint32_t position = archiveHeader.archiveSize();
    format::tkt5::ItemHeader& header = at(position);
    header.makeFile();
    if (resource) {
        header.makeMac();
        header.macHeader().makeFile();
    } else {
        header.makeWindows();
    }

    const uint64_t size = file.size();
    if (size > largest) throw tuckett5::exception::Output("file larger than 4 GB in tkt5 writer: " + path);
    header.forkInfo().uncompressedSize(static_cast<uint32_t>(size));
    if (resource) {
        header.macHeader().hasResourceFork(true);
        const uint64_t forkSize = macDriveFork ? macDriveFork->size() : ntfsFork->size();
        header.macHeader().resourceFork().uncompressedSize(static_cast<uint32_t>(std::min(forkSize, largest)));
    }

    header.itemFlags(0);
    if (writer.password.empty()) {
        header.forkInfo().keyIndicator(0);
    } else {
        if (writer.key.empty()) {
            std::random_device random;
            for (int i = 0; i < keyLength; ++i) writer.key.push_back(static_cast<char>(random() & 0xFF));
        }
        header.itemFlags(header.itemFlags() | format::tkt5::ItemHeader::passwordFlag);
        header.forkInfo().keyIndicator(keyLength);
        header.forkInfo().key(writer.key);
        // The resource fork's record gets no key, though its data is
        // enciphered under the same 10-byte key: a reader forms a 5-byte key
        // for it, so such a fork does not decode. That is how this engine's
        // archives have always been written, and it stays so.
    }

    header.creationDate(macDate(file.creationTime()));
    header.modificationDate(macDate(file.modificationTime()));
    if (!resource) {
        format::tkt5::WindowsHeader& windows = header.windowsHeader();
        windows.attributes(file.win32Attributes());
        windows.creationFraction(static_cast<uint32_t>(file.highResolutionCreationTime() % fractionUnits));
        windows.modificationFraction(static_cast<uint32_t>(file.highResolutionModificationTime() % fractionUnits));
        windows.accessDate(macDate(file.accessTime()));
        windows.accessFraction(static_cast<uint32_t>(file.highResolutionAccessTime() % fractionUnits));
    }
    setName(header, name);

    // The header's size is final here: every stored length has a fixed width.
    const uint32_t headerSize = header.size();
    out.seek(position);
    out.fill(headerSize, filler);
    followPosition(out);

    for (io::random::File* fork :
         {static_cast<io::random::File*>(macDriveFork.get()), static_cast<io::random::File*>(ntfsFork.get())}) {
        if (fork == nullptr) continue;
        const format::data::FileInfo info =
            fork == macDriveFork.get() ? macDriveFork->fileInfo() : ntfsFork->fileInfo();
        format::data::FileInfo& finder = header.macHeader().fileInfo();
        finder.type(info.type());
        finder.creator(info.creator());
        finder.flags(info.flags());
        finder.location(info.location());
        encodeFork(out, *fork, header.macHeader().resourceFork(), true, position + headerSize);
        fork->close();
    }

    format::tkt5::ForkInfo& data = header.forkInfo();
    if (data.uncompressedSize() == 0) {
        data.compressedSize(0);
        data.method(format::tkt5::ForkInfo::storedMethod);
        data.crc(0);
    } else {
        encodeFork(out, file, data, false, position + headerSize);
    }
    file.close();

    ++rootCount;
    header.previous(previous);
    header.next(0);
    header.parent(parent);
    out.seek(position);
    header.write(out);
    out.seek(archiveHeader.archiveSize());

    totalSize += data.uncompressedSize();
    totalStored += headerSize + data.compressedSize();
    updatePrevious(previous, position, position);

    if (parent == 0) {
        archiveHeader.rootItemCount(static_cast<uint16_t>(rootCount));
    } else {
        updateAllParents(data.uncompressedSize(), header.size() + data.compressedSize(), parent, rootCount);
        if (!last) updateEndFolder(lastEndFolder, position);
    }

    previous = position;
    writer.fireFileEncodeEnd();
    ++filesDone;
    writer.fireProgressFilesMove(filesDone);
    return data.uncompressedSize();
}

void Writer::encodeFork(stream::random::Output& out, io::random::File& source, format::tkt5::ForkInfo& fork,
                        bool resource, uint32_t dataStart) {
    const uint64_t measured = source.size();
    if (measured > largest) throw tuckett5::exception::Output("fork larger than 4 GB in tkt5 writer: " + source.path());
    fork.uncompressedSize(static_cast<uint32_t>(measured));
    if (resource && measured == 0) {
        fork.compressedSize(0);
        fork.crc(0);
        fork.method(format::tkt5::ForkInfo::storedMethod);
        fork.forkReserved(0);
        fork.keyIndicator(0);
        // The key stays: the header's place was measured with it.
        return;
    }

    std::unique_ptr<MethodWriter> method = makeMethodWriter(writer.compression(), measured, writer, writer.key);
    fork.method(method->method());
    if (auto* isp = dynamic_cast<ISPWriter*>(method.get())) {
        isp->resource = resource;
        // An ISP data fork always starts right behind its header, even where
        // a resource fork was stored there already: the format's writer has
        // always done so, and archives are read with that in mind.
        if (!resource) {
            out.flush();
            out.seek(dataStart);
        }
    }
    method->total = bytesDone;
    method->inputSize = measured;
    source.seek(0);
    io::random::FileInput in(source);
    method->encode(in, out);

    bytesDone = method->total;
    followPosition(out);
    fork.compressedSize(static_cast<uint32_t>(method->outputSize));
    fork.crc(method->crc);
    // A file that shrank while it was read keeps what could be read.
    if (method->inputCount < measured) fork.uncompressedSize(static_cast<uint32_t>(method->inputCount));
}

void Writer::tuckDirectory(stream::random::Output& out, const std::string& path, const std::string& name,
                           uint32_t parentArgument, uint32_t previousArgument, uint32_t& callerSize,
                           uint32_t& callerStored) {
    const uint32_t position = archiveHeader.archiveSize();
    format::tkt5::ItemHeader& header = at(position);
    header.makeFolder();
    header.makeWindows();
    writer.folderInfo.reset();
    writer.folderInfo.name = path;
    const tuckett5::UnicodeName unicode = algorithm::unicode::UTF8Coder::fromLocal(name);
    if (!unicode.empty()) writer.folderInfo.unicodeName(unicode);
    writer.fireFolderEncodeBegin();

    io::Folder folder(path);
    header.itemFlags(0);
    setName(header, name);
    header.creationDate(macDate(folder.creationTime()));
    header.modificationDate(macDate(folder.modificationTime()));
    header.previous(previousArgument);
    header.parent(parentArgument);
    header.next(0);
    header.folderInfo().firstChild(0);
    header.windowsHeader().attributes(folder.win32Attributes());

    // A first child's `previous` is its folder.
    parent = position;
    previous = position;
    if (!writer.password.empty()) header.itemFlags(header.itemFlags() | format::tkt5::ItemHeader::passwordFlag);

    out.seek(position);
    header.write(out);
    followPosition(out);
    const uint32_t firstChildPosition = archiveHeader.archiveSize();

    uint16_t childCount = 0;
    uint32_t localSize = 0;
    uint32_t localStored = 0;
    std::string prefix = path;
    if (!prefix.empty() && prefix.back() != io::Path::separator) prefix += io::Path::separator;
    for (const io::Folder::Entry& entry : io::Folder::list(path)) {
        const std::string child = prefix + entry.name;
        // Links to folders are not followed, so that the walk always ends.
        if (entry.directory && entry.link) continue;
        if (!entry.directory && !WriterScanner::stored(writer, child)) continue;
        ++childCount;
        const uint32_t childPosition = archiveHeader.archiveSize();
        if (entry.directory) {
            tuckDirectory(out, child, entry.name, position, previous, localSize, localStored);
            updatePrevious(previous, childPosition, childPosition);
            previous = childPosition;
        } else {
            localSize += tuckFile(out, child, entry.name, false);
            localStored += archiveHeader.archiveSize() - childPosition;
            rootCount = static_cast<int16_t>(savedRootCount);
        }
    }

    const uint32_t markerPosition = archiveHeader.archiveSize();
    format::tkt5::ItemHeader& marker = at(markerPosition);
    marker.makeEndFolder();
    marker.makeWindows();
    marker.previous(previous);
    marker.parent(position);
    updatePrevious(previous, markerPosition, markerPosition);
    out.seek(markerPosition);
    marker.write(out);
    followPosition(out);
    localStored += marker.size();

    header.folderInfo().firstChild(firstChildPosition);
    header.folderInfo().childCount(childCount);
    header.next(0);
    header.folderInfo().totalSize(localSize);
    header.folderInfo().totalCompressedSize(localStored);
    if (!writer.password.empty()) header.itemFlags(header.itemFlags() | format::tkt5::ItemHeader::passwordFlag);

    callerStored += header.size() + localStored;
    callerSize += localSize;

    parent = parentArgument;
    previous = previousArgument;
    writer.fireFolderEncodeEnd();
}

void Writer::tuckDirectoryTree(stream::random::Output& out, const std::string& path, const std::string& name) {
    savedRootCount = rootCount;
    std::string absolute = path;
    io::Path::makeAbsolute(absolute);
    const uint32_t position = archiveHeader.archiveSize();
    uint32_t size = 0;
    uint32_t stored = 0;
    tuckDirectory(out, absolute, name, rootParent, lastRootItem, size, stored);
    if (previous == 0)
        archiveHeader.firstItem(position);
    else
        updatePrevious(previous, position, position);
    lastRootItem = position;
    ++savedRootCount;
    rootCount = static_cast<int16_t>(savedRootCount);
    archiveHeader.rootItemCount(static_cast<uint16_t>(rootCount));
    totalSize += size;
    totalStored += stored;
}

void Writer::updatePrevious(uint32_t previousOffset, uint32_t position, uint32_t target) {
    format::tkt5::ItemHeader& item = at(position);
    if (item.previous() == 0) {
        archiveHeader.firstItem(target);
    } else if (previousOffset == item.parent()) {
        format::tkt5::ItemHeader& folder = at(previousOffset);
        if (!folder.folder())
            throw un::exception("item header not a folder header in engine5::tkt5::Writer::updatePrevious()", "un");
        folder.folderInfo().firstChild(target);
    } else {
        at(previousOffset).next(target);
    }
}

void Writer::updateParent(uint32_t size, uint32_t stored, uint32_t folder, int16_t count) {
    format::tkt5::ItemHeader& header = at(folder);
    if (!header.folder())
        throw un::exception("item header not a folder header in engine5::tkt5::Writer::updateParent()", "un");
    format::tkt5::FolderInfo& info = header.folderInfo();
    info.totalSize(info.totalSize() + size);
    info.totalCompressedSize(info.totalCompressedSize() + stored);
    info.childCount(static_cast<uint16_t>(count));
}

void Writer::updateAllParents(uint32_t size, uint32_t stored, uint32_t folder, int16_t count) {
    // The running figures are replaced by each folder's own sums when the
    // folder is finished; only those reach the archive.
    while (folder > 0) {
        updateParent(size, stored, folder, count);
        folder = at(folder).parent();
        if (folder > 0) {
            format::tkt5::ItemHeader& next = at(folder);
            if (!next.folder())
                throw un::exception("item header not a folder header in engine5::tkt5::Writer::updateAllParents()",
                                    "un");
            size = next.folderInfo().totalSize();
            stored = next.folderInfo().totalCompressedSize();
            count = static_cast<int16_t>(next.folderInfo().childCount());
        }
    }
}

void Writer::updateEndFolder(uint32_t marker, uint32_t position) {
    // lastEndFolder is always 0 in this engine, so nothing is relinked.
    if (marker == 0) return;
    at(marker).next(0);
    at(marker).previous(position);
    at(position).next(marker);
    at(position).previous(parent);
}

}  // namespace engine5::tkt5
