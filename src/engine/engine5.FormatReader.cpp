#include "engine/engine5.FormatReader.h"

#include <algorithm>
#include <filesystem>
#include <string_view>
#include <vector>

#include "algorithm/algorithm.Exception.h"
#include "engine/t5.Reader.h"
#include "format/bin/bin.Header.h"
#include "io/io.File.h"
#include "io/io.Folder.h"
#include "io/io.Path.h"
#include "io/io.SafePath.h"
#include "io/io.macdrive.Rsrc.h"
#include "io/io.ntfs.Rsrc.h"
#include "io/io.random.FileStreams.h"
#include "stream/stream.BufferedOutput.h"
#include "stream/stream.TextOutput.h"
#include "stream/stream.Vector.h"

namespace engine5 {

FormatReader::FormatReader(uint32_t position, tuckett5::Reader& reader) : reader(reader) {
    reader.archiveInfo.position = position;
    reader.nextPosition = position + 1;
}

namespace {

constexpr uint32_t bufferSize = 65536;
// Seconds from the Macintosh epoch (1904) to the engine's (1970).
constexpr int64_t macEpochOffset = 2082844800;
constexpr uint32_t macBinaryBlock = 128;

// What the forks of one item may write together before the guard against
// decompression bombs refuses it.
struct RatioBudget {
    uint64_t limit = ~uint64_t(0);
    uint64_t used = 0;
    uint32_t ratio = 0;
};

// Refuses bytes beyond a fork's declared size, so that damaged data cannot
// expand without bound, and beyond the item's ratio budget.
class LimitedOutput : public stream::FilterOutput {
public:
    LimitedOutput(stream::Output& under, uint64_t limit, const char* failure, RatioBudget& budget)
        : stream::FilterOutput(under), limit_(limit), failure_(failure), budget_(budget) {}
    void write(char value) override {
        admit(1);
        stream::FilterOutput::write(value);
    }
    void write(const char* buffer, uint32_t count) override {
        admit(count);
        stream::FilterOutput::write(buffer, count);
    }
    void fill(uint64_t count, char value) override {
        admit(count);
        stream::FilterOutput::fill(count, value);
    }
    uint64_t copy(stream::Input& from, uint64_t count) override { return stream::Output::copy(from, count); }
    uint64_t written() const { return written_; }

private:
    void admit(uint64_t count) {
        if (count > limit_ - written_) throw tuckett5::exception::BadData(failure_);
        if (count > budget_.limit - budget_.used) throw tuckett5::exception::BadData(ratioRefusal(budget_.ratio));
        written_ += count;
        budget_.used += count;
    }
    uint64_t limit_;
    uint64_t written_ = 0;
    const char* failure_;
    RatioBudget& budget_;
};

// Writes the same bytes to two outputs: a resource fork on a MacDrive volume
// goes through the volume's driver and to the named stream as well.
class TeeOutput : public stream::Output {
public:
    TeeOutput(stream::Output& first, stream::Output* second) : first_(first), second_(second) {}
    void write(char value) override {
        first_.write(value);
        if (second_) second_->write(value);
    }
    void write(const char* buffer, uint32_t count) override {
        first_.write(buffer, count);
        if (second_) second_->write(buffer, count);
    }
    uint64_t tell() const override { return first_.tell(); }
    void flush() override {
        first_.flush();
        if (second_) second_->flush();
    }

private:
    stream::Output& first_;
    stream::Output* second_;
};

void pad(stream::Output& out, uint64_t written) {
    const uint64_t rest = written % macBinaryBlock;
    if (rest != 0) out.fill(macBinaryBlock - rest, '\0');
}

uint32_t clamp32(uint64_t value) { return value > 0xFFFFFFFFu ? 0xFFFFFFFFu : static_cast<uint32_t>(value); }

uint32_t macTime(int64_t seconds) { return static_cast<uint32_t>(seconds + macEpochOffset); }

// A stored name as hard links name it: its components without the empty
// ones and ".", joined by "/", so that "./a//b" and "a/b" are one name. A
// ".." stays, so a target that climbs names nothing that was made.
std::string storedKey(const std::string& name, bool backslashSeparates) {
    const char* separators = backslashSeparates ? "/\\" : "/";
    std::string key;
    std::string::size_type start = 0;
    while (start <= name.size()) {
        std::string::size_type stop = name.find_first_of(separators, start);
        if (stop == std::string::npos) stop = name.size();
        const std::string_view part(name.data() + start, stop - start);
        if (!part.empty() && part != ".") {
            if (!key.empty()) key += '/';
            key += part;
        }
        start = stop + 1;
    }
    return key;
}

// Failures of one item that leave the archive readable: the rest can go on.
// A method's decoder that meets codes it cannot decode has found damage in
// this item's data, as a failed check has; reading and writing failures, and
// records of the archive that make no sense, end the run.
bool itemFailure(const un::exception& failure) {
    return dynamic_cast<const tuckett5::exception::UnsupportedMethod*>(&failure) != nullptr ||
           dynamic_cast<const tuckett5::exception::BadPassword*>(&failure) != nullptr ||
           dynamic_cast<const tuckett5::exception::BadData*>(&failure) != nullptr ||
           dynamic_cast<const algorithm::Exception*>(&failure) != nullptr || failure.kind() == "format";
}

}  // namespace

std::string ratioRefusal(uint32_t ratio) {
    return "data expands to more than " + std::to_string(ratio) +
           " times its compressed size; refused as a possible decompression bomb";
}

// The outputs of the file in hand, from the disk inwards.
struct FormatReader::OpenFile {
    std::string path;
    // The stored name that hard links know the file by, where they may.
    std::string name;
    bool macBinary = false;
    RatioBudget budget;
    io::random::File file;
    std::unique_ptr<io::random::FileOutput> fileOutput;
    std::unique_ptr<stream::BufferedOutput> buffered;
    std::unique_ptr<stream::TextOutput> text;
    std::unique_ptr<LimitedOutput> data;
    // The resource fork: the named stream (AppleDouble file on POSIX), and
    // the MacDrive stream where the volume has one.
    std::unique_ptr<io::ntfs::Rsrc> rsrc;
    std::unique_ptr<io::ntfs::RsrcOutput> rsrcOutput;
    std::unique_ptr<io::macdrive::Rsrc> driveRsrc;
    std::unique_ptr<io::macdrive::RsrcOutput> driveOutput;
    std::unique_ptr<TeeOutput> tee;
    std::unique_ptr<stream::BufferedOutput> rsrcBuffered;
    std::unique_ptr<LimitedOutput> resource;
};

FormatReader::~FormatReader() = default;

void FormatReader::scan(stream::random::Input&, io::random::File&) {
    throw tuckett5::exception::UnsupportedFormat("attempt to call generic engine5::FormatReader::scan()");
}

void FormatReader::scan(stream::random::Input&) {
    throw tuckett5::exception::UnsupportedFormat("attempt to call generic engine5::FormatReader::scan()");
}

void FormatReader::decode(stream::random::Input&, io::random::File&) {
    throw tuckett5::exception::UnsupportedFormat("attempt to call generic engine5::FormatReader::decode()");
}

void FormatReader::decode(stream::random::Input&) {
    throw tuckett5::exception::UnsupportedFormat("attempt to call generic engine5::FormatReader::decode()");
}

void FormatReader::describe(const Entry& entry) {
    if (entry.kind == Entry::Kind::folder) {
        tuckett5::FolderInfo& info = reader.folderInfo;
        info.reset();
        info.name = entry.name;
        if (!entry.unicodeName.empty()) info.unicodeName(entry.unicodeName);
        return;
    }
    tuckett5::FileInfo& info = reader.fileInfo;
    info.reset();
    info.name = entry.name;
    if (!entry.unicodeName.empty()) info.unicodeName(entry.unicodeName);
    if (entry.modificationTime.isSet())
        info.modificationTime(static_cast<uint32_t>(std::clamp<int64_t>(entry.modificationTime(), 0, 0xFFFFFFFFll)));
    if (entry.compressedSize.isSet()) info.compressedSize(clamp32(entry.compressedSize()));
    if (entry.dataSize.isSet())
        info.expandedSize(
            clamp32(entry.dataSize() + (entry.resourceSize.isSet() ? entry.resourceSize() : uint64_t(0))));
    if (entry.finderInfo.isSet()) {
        info.type(entry.finderInfo().type());
        info.creator(entry.finderInfo().creator());
    }
    info.encrypted = entry.encrypted;
    info.method = entry.method;
    if (entry.crc.isSet()) info.crc(entry.crc());
    if (entry.permissions.isSet())
        info.mode(entry.permissions() | (entry.kind == Entry::Kind::link ? 0120000u : 0100000u));
    info.linkTarget = entry.linkTarget;
    info.hardLink = entry.kind == Entry::Kind::hardLink;
}

uint64_t FormatReader::ratioLimit(uint64_t compressed) const {
    const uint64_t ratio = reader.maxRatio();
    if (ratio == 0) return ~uint64_t(0);
    const uint64_t limit = compressed > ~uint64_t(0) / ratio ? ~uint64_t(0) : compressed * ratio;
    return limit < ratioFloor ? ratioFloor : limit;
}

void FormatReader::beginDecode() {
    reader.fireArchiveDecodeBegin();
    reader.fireProgressSizeBegin(reader.archiveInfo.expandedSize());
    reader.fireProgressFilesBegin(reader.archiveInfo.fileCount);
    itemsDone = 0;
    bytesDone = 0;
    reader.fireProgressFilesMove(0);
}

void FormatReader::passOver(uint64_t bytes) {
    bytesDone += bytes;
    reader.fireProgressSizeMove(static_cast<uint32_t>(bytesDone));
}

std::string FormatReader::outputName(const Entry& entry) {
    std::string name = entry.placeName.empty() ? entry.name : entry.placeName;
#ifdef _WIN32
    // A "\" that is part of a name cannot be one here, where it separates.
    if (!entry.backslashSeparates) std::replace(name.begin(), name.end(), '\\', '_');
#endif
    return name;
}

bool FormatReader::expandFile(const Entry& entry, const std::function<void()>& write) {
    describe(entry);
    const uint64_t resourceSize = entry.resourceSize.isSet() ? entry.resourceSize() : 0;
    const uint64_t size = (entry.dataSize.isSet() ? entry.dataSize() : 0) + resourceSize;
    makeMacBinaryOutputDecision(entry.macBinaryDefault.isSet() ? entry.macBinaryDefault() : resourceSize != 0);
    // MacBinary states both fork lengths in its header, so it needs them first.
    if (!entry.dataSize.isSet() || !entry.resourceSize.isSet()) macBinaryOutput = false;
    reader.fileInfo.macBinary = macBinaryOutput;

    // A name with nothing left once the parts that could leave the output
    // folder are dropped has no place to go: it is passed over like a skip.
    const std::string name = outputName(entry);
    if (!reader.fireFileDecodeBegin(clamp32(size)) || io::safeComponents(name, entry.backslashSeparates).empty()) {
        passOver(size);
        reader.fireProgressFilesMove(++itemsDone);
        return false;
    }

    const uint64_t start = bytesDone;
    reason_.clear();
    try {
        std::string path = preprocessName(name, false, entry.backslashSeparates);
        if (entry.kind == Entry::Kind::link) {
            expandLink(entry, path, write);
            bytesDone = start + size;
        } else if (entry.kind == Entry::Kind::hardLink) {
            expandHardLink(entry, path);
            bytesDone = start + size;
        } else {
            if (macBinaryOutput) path += ".bin";
            openOutputs(entry, path);
            write();
        }
        finishFile(entry);
    } catch (const un::exception& failure) {
        if (!reader.continueAfterItemFailure() || !itemFailure(failure)) throw;
        abandonFile();
        reader.itemFailures.push_back(
            {reader.fileInfo.name, failure.what(), failure.kind(), reason_.empty() ? failure.message() : reason_});
        reason_.clear();
        bytesDone = start + size;
        reader.fireProgressSizeMove(static_cast<uint32_t>(bytesDone));
        reader.fireProgressFilesMove(++itemsDone);
        reader.fireFileDecodeEnd();
        return false;
    }
    return true;
}

void FormatReader::openOutputs(const Entry& entry, const std::string& planned) {
    RatioBudget budget;
    if (!entry.ownMethod && entry.compressedSize.isSet()) {
        budget.limit = ratioLimit(entry.compressedSize());
        budget.ratio = reader.maxRatio();
    }
    // An item whose declared sizes already break the ratio is refused before
    // anything of it is created; one that lies about them, as it writes.
    const uint64_t declared =
        (entry.dataSize.isSet() ? entry.dataSize() : 0) + (entry.resourceSize.isSet() ? entry.resourceSize() : 0);
    if (declared > budget.limit) throw tuckett5::exception::BadData(ratioRefusal(budget.ratio));

    open_ = std::make_unique<OpenFile>();
    OpenFile& out = *open_;
    out.path = planned;
    out.macBinary = macBinaryOutput;
    out.budget = budget;
    createOutputFile(out.file, out.path, defaultTries);
    noteTop(out.path);
    if (hardLinks) {
        out.name = storedKey(entry.placeName.empty() ? entry.name : entry.placeName, entry.backslashSeparates);
        madeFiles_[out.name] = {out.path, out.macBinary};
    }
    out.fileOutput = std::make_unique<io::random::FileOutput>(out.file);
    out.buffered = std::make_unique<stream::BufferedOutput>(*out.fileOutput, bufferSize);
    const uint64_t dataSize = entry.dataSize.isSet() ? entry.dataSize() : stream::all;

    if (out.macBinary) {
        format::bin::Header header;
        std::string::size_type slash = entry.name.find_last_of(entry.backslashSeparates ? "/\\" : "/");
        header.name = slash == std::string::npos ? entry.name : entry.name.substr(slash + 1);
        if (header.name.size() > 63) header.name.resize(63);
        if (entry.finderInfo.isSet()) {
            header.type = entry.finderInfo().type();
            header.creator = entry.finderInfo().creator();
            header.finderFlags = entry.finderInfo().flags();
        }
        header.dataLength = clamp32(entry.dataSize());
        header.resourceLength = clamp32(entry.resourceSize());
        const int64_t modified = entry.modificationTime.isSet() ? entry.modificationTime() : 0;
        header.created = macTime(entry.creationTime.isSet() ? entry.creationTime() : modified);
        header.modified = macTime(modified);
        // MacBinary II.
        header.writerVersion = 129;
        header.readerVersion = 129;
        header.write(*out.buffered);
        out.data = std::make_unique<LimitedOutput>(*out.buffered, dataSize, entry.invalidData, out.budget);
        return;
    }

    const int32_t conversion = reader.textConversion();
    const bool text =
        conversion == tuckett5::Reader::textAll || (conversion == tuckett5::Reader::textOnlyText && entry.text);
    stream::Output* inner = out.buffered.get();
    if (text) {
        out.text = std::make_unique<stream::TextOutput>(*out.buffered, reader.textLineEnding());
        inner = out.text.get();
    }
    out.data = std::make_unique<LimitedOutput>(*inner, dataSize, entry.invalidData, out.budget);

    // The resource fork and the Finder information go beside the file.
    const bool resource = entry.resourceSize.isSet() && entry.resourceSize() != 0;
    if (resource || entry.finderInfo.isSet()) {
        try {
            if (macDrive.isFileOnMacDriveVolume(out.path.c_str()) == 1) {
                out.driveRsrc = std::make_unique<io::macdrive::Rsrc>();
                out.driveRsrc->create(out.path);
                out.driveOutput = std::make_unique<io::macdrive::RsrcOutput>(*out.driveRsrc);
            }
            out.rsrc = std::make_unique<io::ntfs::Rsrc>();
            out.rsrc->create(out.path);
        } catch (const un::exception&) {
            throw tuckett5::exception::Output(
                "cannot create an output file in engine5::FormatReader::createOutputFile");
        }
        out.rsrcOutput = std::make_unique<io::ntfs::RsrcOutput>(*out.rsrc);
        out.tee = std::make_unique<TeeOutput>(*out.rsrcOutput, out.driveOutput.get());
        out.rsrcBuffered = std::make_unique<stream::BufferedOutput>(*out.tee, bufferSize);
    }
}

stream::Output& FormatReader::dataFork() { return *open_->data; }

stream::Output& FormatReader::resourceFork() {
    OpenFile& out = *open_;
    if (!out.resource) {
        const char* failure = "data is invalid";
        if (out.macBinary) {
            // The forks follow each other, each padded to a whole block.
            pad(*out.buffered, out.data->written());
            out.resource = std::make_unique<LimitedOutput>(*out.buffered, stream::all, failure, out.budget);
        } else if (out.rsrcBuffered) {
            out.resource = std::make_unique<LimitedOutput>(*out.rsrcBuffered, stream::all, failure, out.budget);
        } else {
            // A fork the entry declared empty takes nothing.
            out.resource = std::make_unique<LimitedOutput>(*out.buffered, 0, failure, out.budget);
        }
    }
    return *out.resource;
}

void FormatReader::finishFile(const Entry& entry) {
    if (open_) {
        OpenFile& out = *open_;
        if (out.macBinary) {
            if (!out.resource)
                pad(*out.buffered, out.data->written());
            else
                pad(*out.buffered, out.resource->written());
        }
        if (out.rsrcBuffered) {
            out.rsrcBuffered->flush();
            if (entry.finderInfo.isSet()) {
                if (out.driveRsrc) out.driveRsrc->fileInfo(entry.finderInfo());
                out.rsrc->fileInfo(entry.finderInfo());
            }
            if (out.driveRsrc) out.driveRsrc->close();
            out.rsrc->close();
        }
        out.buffered->flush();
    }
    reader.fireProgressFilesMove(++itemsDone);
    reader.fireFileDecodeEnd();
    if (!open_) return;
    std::unique_ptr<OpenFile> done = std::move(open_);
    done->file.close();
    try {
        if (entry.modificationTime.isSet()) done->file.modificationTime(entry.modificationTime());
#ifndef _WIN32
        // The mode bits say all that the attributes could here.
        if (entry.attributes.isSet() && !entry.permissions.isSet()) done->file.win32Attributes(entry.attributes());
#else
        if (entry.attributes.isSet()) done->file.win32Attributes(entry.attributes());
#endif
        if (entry.permissions.isSet()) done->file.permissions(entry.permissions());
        if (entry.locked) done->file.readOnly(true);
    } catch (const un::exception&) {
        throw tuckett5::exception::Output("cannot set the attributes of an output file in engine5::FormatReader");
    }
}

void FormatReader::abandonFile() {
    if (!open_) return;
    std::unique_ptr<OpenFile> failed = std::move(open_);
    // What was half written of this item goes: nothing stays under its name.
    try {
        if (failed->rsrc) failed->rsrc->close();
        if (failed->driveRsrc) failed->driveRsrc->close();
        failed->file.close();
        io::File(failed->path).unlink(false);
        if (!failed->name.empty()) madeFiles_.erase(failed->name);
        if (reader.topPath == failed->path) reader.topPath.clear();
        if (failed->rsrc) std::remove(io::ntfs::Rsrc::sidecar(failed->path).c_str());
    } catch (const un::exception&) {
    }
}

namespace {

constexpr uint64_t longestLinkTarget = 4096;

#ifndef _WIN32
// Whether a link at `path` whose target is `target` leads to a place inside
// `folder`, judged from the link's own place and by the names alone.
bool staysInside(const std::string& folder, const std::string& path, const std::string& target) {
    namespace fs = std::filesystem;
    if (target.empty() || target.find('\0') != std::string::npos) return false;
    const fs::path to(target);
    if (to.is_absolute() || to.has_root_name() || to.has_root_directory()) return false;
    const fs::path resolved = (fs::path(path).parent_path() / to).lexically_normal();
    const fs::path inside = resolved.lexically_relative(fs::path(folder).lexically_normal());
    return !inside.empty() && *inside.begin() != ".." && inside != ".";
}
#endif

}  // namespace

void FormatReader::expandLink(const Entry& entry, const std::string& planned, const std::function<void()>& write) {
    // The target is stored as the entry's data where the entry has no other
    // place for it; a short one is all a link may hold.
    std::string target = entry.linkTarget;
    if (target.empty()) {
        std::vector<char> bytes;
        stream::VectorOutput collected(bytes);
        const uint64_t declared = entry.dataSize.isSet() ? entry.dataSize() : longestLinkTarget;
        open_ = std::make_unique<OpenFile>();
        open_->data = std::make_unique<LimitedOutput>(collected, std::min(declared, longestLinkTarget),
                                                      entry.invalidData, open_->budget);
        write();
        open_.reset();
        target.assign(bytes.begin(), bytes.end());
    }
    std::string folder = reader.outputFolder();
    io::Path::makeAbsolute(folder);
#ifndef _WIN32
    if (staysInside(folder, planned, target)) {
        std::string path = planned;
        postprocessName(path);
        std::error_code error;
        std::filesystem::create_symlink(target, path, error);
        if (!error) {
            noteTop(path);
            return;
        }
    }
#endif
    // A link that leaves the folder (or that this system cannot make) comes
    // out as a small file that holds its target, and the client is told.
    // Windows makes symbolic links only for privileged users, so there every
    // one is kept so.
#ifdef _WIN32
    const char* why = "a symbolic link is kept as a file that holds its target";
#else
    const char* why = "a link whose target leaves the folder is kept as a file";
#endif
    reader.itemWarnings.push_back({reader.fileInfo.name, "", "", why});
    Entry file = entry;
    file.kind = Entry::Kind::file;
    file.dataSize(target.size());
    file.permissions.reset();
    openOutputs(file, planned);
    dataFork().write(target.data(), static_cast<uint32_t>(target.size()));
}

void FormatReader::expandHardLink(const Entry& entry, const std::string& planned) {
    // Only a plain file that this run made is linked: a hard link can then
    // reach nothing outside the output folder, nor anything that was there
    // before, nor a folder or a symbolic link.
    const auto found = madeFiles_.find(storedKey(entry.linkTarget, entry.backslashSeparates));
    bool exists = false;
    if (found == madeFiles_.end() || io::Path::link(found->second.path, exists) || !exists ||
        io::Path::directory(found->second.path))
        throw tuckett5::exception::BadData("cannot hard link to " + entry.linkTarget +
                                           ", which is no file expanded before it");
    const MadeFile target = found->second;
    // The link takes the file's form, and a free name as a file would.
    const std::string original = target.macBinary ? planned + ".bin" : planned;
    std::string path;
    for (int i = 0;; ++i) {
        path = original;
        postprocessName(path);
        try {
            io::Path::hardLink(target.path, path);
            break;
        } catch (const un::exception&) {
            // Only a name taken meanwhile is worth another try; a volume
            // that holds no hard links refuses every one.
            if (i + 1 >= defaultTries || !io::Path::exists(path))
                throw tuckett5::exception::Output("cannot create a hard link in engine5::FormatReader");
        }
    }
    noteTop(path);
    madeFiles_[storedKey(entry.placeName.empty() ? entry.name : entry.placeName, entry.backslashSeparates)] = {
        path, target.macBinary};
}

std::string FormatReader::expandFolder(const Entry& entry) {
    describe(entry);
    reader.fireFolderDecodeBegin(0);
    std::string path;
    const std::string name = outputName(entry);
    if (!io::safeComponents(name, entry.backslashSeparates).empty()) {
        path = preprocessName(name, true, entry.backslashSeparates);
        // A folder that is there already was made by this run, for an earlier
        // entry of the same name or for a file inside it (a top folder that
        // was there before opens a fresh one): it is used as it is.
        if (knownFolders_.count(path) == 0 && !io::Path::directory(path)) createOutputFolder(path, defaultTries);
        trustFolder(path);
        noteTop(path);
    }
    if (foldersAreItems) reader.fireProgressFilesMove(++itemsDone);
    reader.fireFolderDecodeEnd();
    return path;
}

void FormatReader::finishFolder(const std::string& path, const Entry& entry) {
    if (path.empty()) return;
    io::Folder made(path);
    try {
        if (entry.modificationTime.isSet()) made.modificationTime(entry.modificationTime());
        if (entry.attributes.isSet()) made.win32Attributes(entry.attributes());
        if (entry.permissions.isSet()) made.permissions(entry.permissions());
        if (entry.locked) made.readOnly(true);
    } catch (const un::exception&) {
        throw tuckett5::exception::Output("cannot set the attributes of a folder in engine5::FormatReader");
    }
}

void FormatReader::makeMacBinaryOutputDecision(bool formatDefault) {
    int32_t option = reader.macBinaryOutput();
    if (option == 1)
        macBinaryOutput = true;
    else if (option == 0)
        macBinaryOutput = false;
    else
        macBinaryOutput = formatDefault;
}

std::string FormatReader::preprocessName(const std::string& name) { return preprocessName(name, false); }

std::string FormatReader::preprocessName(const std::string& name, bool isFolder, bool backslashSeparates) {
    std::string folder = reader.outputFolder();
    io::Path::makeAbsolute(folder);
    while (folder.size() > 1 && folder.back() == io::Path::separator) folder.pop_back();

    // The safe path drops ".", "..", drive letters and leading separators, and
    // steps around links planted in the folder, so the result stays inside it.
    bool free = false;
    std::string path = io::safePath(folder, name, knownFolders_, free, backslashSeparates);
    freePath_.clear();
    std::string prefix = folder;
    if (prefix.back() != io::Path::separator) prefix += io::Path::separator;
    if (path.size() <= prefix.size() || path.compare(0, prefix.size(), prefix) != 0) return path;

    std::string::size_type end = path.find(io::Path::separator, prefix.size());
    std::string top = path.substr(0, end);
    std::string rest = end == std::string::npos ? std::string() : path.substr(end);

    auto entry = topLevelNames.find(top);
    // A top-level name met before in this run goes where it went then; only
    // a new one is looked up on disk.
    if (entry != topLevelNames.end() &&
        (knownFolders_.count(entry->second) != 0 || io::Path::directory(entry->second))) {
        if (free && entry->second == top) freePath_ = path;
        return entry->second + rest;
    }
    // Something that was there before this run and is not a folder (the
    // archive itself, say) is never written into: items below it open a
    // fresh folder too.
    const bool exists = !(free && rest.empty()) && (io::Path::exists(top) || io::Path::link(top));
    if (exists && (io::Path::directory(top) || isFolder || !rest.empty() || entry != topLevelNames.end())) {
        if (entry == topLevelNames.end()) {
            // The first item that falls into a folder that was there before
            // this run opens a fresh folder beside it; its siblings follow.
            std::string original = top;
            io::Path::makeUnique(top, uniqueLimit);
            topLevelNames[original] = top;
        } else {
            top = entry->second;
        }
    } else if (entry == topLevelNames.end()) {
        topLevelNames[top] = top;
    }
    if (free && top + rest == path) freePath_ = path;
    return top + rest;
}

void FormatReader::noteTop(const std::string& path) {
    if (!reader.topPath.empty() || path.empty()) return;
    std::string folder = reader.outputFolder();
    io::Path::makeAbsolute(folder);
    while (folder.size() > 1 && folder.back() == io::Path::separator) folder.pop_back();
    if (folder.back() != io::Path::separator) folder += io::Path::separator;
    if (path.size() <= folder.size() || path.compare(0, folder.size(), folder) != 0) return;
    reader.topPath = path.substr(0, path.find(io::Path::separator, folder.size()));
}

void FormatReader::tellChangedName(const std::string& path) { reader.fireFileChangedName(path.c_str()); }

void FormatReader::postprocessName(std::string& path) {
    // A path that the name's own look-up found free needs no second look;
    // a later try (after a failed creation) looks again.
    const bool free = !freePath_.empty() && path == freePath_;
    freePath_.clear();
    bool changed = io::Path::normalize(path) || (!free && io::Path::makeUnique(path, uniqueLimit)) ||
                   io::Path::truncate(path, io::Path::maxSize);
    if (changed) tellChangedName(path);
    // A folder that this run has made sure of once is there: it is not
    // looked up again for every file in it.
    const std::string folder = io::Path::getDirectoryFor(path);
    if (knownFolders_.count(folder) != 0) return;
    io::Path::createDirectoryFor(path);
    trustFolder(folder);
}

void FormatReader::trustFolder(std::string folder) {
    // Every folder above one that is made is there as well.
    while (!folder.empty() && knownFolders_.insert(folder).second) {
        const std::string::size_type cut = folder.rfind(io::Path::separator);
        if (cut == std::string::npos || cut == 0) break;
        folder.resize(cut);
    }
}

void FormatReader::postprocessFolderName(std::string& path) {
    bool known = topLevelNames.find(path) != topLevelNames.end();
    bool changed = io::Path::normalize(path);
    // A folder the map knows is an accepted top-level folder, not a conflict.
    if (!changed && !known) changed = io::Path::makeUnique(path, uniqueLimit);
    if (!changed) changed = io::Path::truncate(path, io::Path::maxSize);
    if (changed) tellChangedName(path);
}

namespace {

// Only a failure of the creation itself starts another try: a name that cannot
// be made legal fails at once.
template <typename F, typename Postprocess>
void createFile(F& file, std::string& path, int tries, Postprocess postprocess) {
    std::string original = path;
    for (int i = 0; i < tries; ++i) {
        path = original;
        postprocess(path);
        try {
            file.create(path);
            return;
        } catch (const un::exception&) {
        }
    }
    throw tuckett5::exception::Output("cannot create an output file in engine5::FormatReader::createOutputFile");
}

}  // namespace

void FormatReader::createOutputFile(io::File& file, std::string& path, int tries) {
    createFile(file, path, tries, [this](std::string& p) { postprocessName(p); });
}

void FormatReader::createOutputFile(io::random::File& file, std::string& path, int tries) {
    createFile(file, path, tries, [this](std::string& p) { postprocessName(p); });
}

void FormatReader::createOutputFolder(std::string& path, int tries) {
    std::string original = path;
    for (int i = 0; i < tries; ++i) {
        path = original;
        postprocessFolderName(path);
        try {
            io::Path::createDirectory(path);
            return;
        } catch (const un::exception&) {
        }
    }
    throw tuckett5::exception::Output("cannot create an output file in engine5::FormatReader::createOutputFolder");
}

}  // namespace engine5
