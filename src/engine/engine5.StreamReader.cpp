#include "engine/engine5.StreamReader.h"

#include <cstring>

#include "engine/engine5.MultiClassifier.h"
#include "engine/engine5.Registry.h"
#include "engine/t5.Reader.h"
#include "io/io.File.h"
#include "io/io.Path.h"
#include "io/io.random.FileStreams.h"
#include "stream/stream.BufferedInput.h"
#include "stream/stream.BufferedOutput.h"

namespace engine5 {

namespace {

constexpr uint32_t bufferSize = 65536;
const char* const tooLarge = "expanded data is larger than its compressed size allows; data is invalid";

bool endsWith(const std::string& name, const char* suffix) {
    const size_t n = std::strlen(suffix);
    if (name.size() <= n) return false;
    for (size_t i = 0; i < n; ++i) {
        char a = name[name.size() - n + i], b = suffix[i];
        if (a >= 'A' && a <= 'Z') a = static_cast<char>(a - 'A' + 'a');
        if (b >= 'A' && b <= 'Z') b = static_cast<char>(b - 'A' + 'a');
        if (a != b) return false;
    }
    return true;
}

}  // namespace

uint64_t GuardedOutput::limitFor(uint64_t compressed) {
    if (compressed > (~uint64_t(0) - base) / ratio) return ~uint64_t(0);
    return base + compressed * ratio;
}

void GuardedOutput::count(uint64_t bytes) {
    if (bytes > limit_ - written_) throw tuckett5::exception::BadData(failure_);
    written_ += bytes;
}

void GuardedOutput::write(char value) {
    count(1);
    stream::FilterOutput::write(value);
}

void GuardedOutput::write(const char* buffer, uint32_t count) {
    this->count(count);
    stream::FilterOutput::write(buffer, count);
}

void GuardedOutput::fill(uint64_t count, char value) {
    this->count(count);
    stream::FilterOutput::fill(count, value);
}

StreamReader::StreamReader(uint32_t position, tuckett5::Reader& reader) : FormatReader(position, reader) {}

StreamReader::~StreamReader() {
    inner_.reset();
    removeTemporary();
}

std::string StreamReader::plainName(const std::string& archiveName, const char* const* suffixes,
                                    const char* const* tarSuffixes) {
    for (; *tarSuffixes; ++tarSuffixes)
        if (endsWith(archiveName, *tarSuffixes))
            return archiveName.substr(0, archiveName.size() - std::strlen(*tarSuffixes)) + ".tar";
    for (; *suffixes; ++suffixes)
        if (endsWith(archiveName, *suffixes)) return archiveName.substr(0, archiveName.size() - std::strlen(*suffixes));
    return archiveName;
}

void StreamReader::removeTemporary() {
    if (temporary_) {
        temporary_->unlink(false);
        temporary_.reset();
    }
}

void StreamReader::expandToTemporary(stream::random::Input& archive) {
    removeTemporary();
    std::string path = io::Path::tempDirectory();
    if (!path.empty() && path.back() != io::Path::separator) path += io::Path::separator;
    path += "$cwexpand$";
    io::Path::makeUnique(path, uniqueLimit);
    temporary_ = std::make_unique<io::random::File>();
    temporary_->create(path);
    temporaryPath_ = path;

    const uint64_t start = archive.tell();
    const uint64_t size = archive.size();
    compressed_ = size > start ? size - start : 0;
    io::random::FileOutput file(*temporary_);
    {
        stream::BufferedOutput buffered(file, bufferSize);
        // The stream is one item: the guard against decompression bombs
        // holds it before its data reaches the disk, where it is tighter
        // than the bound that every stream has.
        uint64_t limit = GuardedOutput::limitFor(compressed_);
        std::string failure = tooLarge;
        if (ratioLimit(compressed_) < limit) {
            limit = ratioLimit(compressed_);
            failure = ratioRefusal(reader.maxRatio());
        }
        GuardedOutput guarded(buffered, limit, failure);
        expand(archive, guarded);
        buffered.flush();
        expanded_ = guarded.written();
    }
}

Entry StreamReader::single() const {
    Entry entry;
    if (storedName.empty()) {
        io::PathSplitter parts(reader.archiveInfo.path);
        entry.name = defaultName(parts.name() + parts.extension());
    } else {
        entry.name = storedName;
    }
    entry.backslashSeparates = false;
    entry.dataSize(expanded_);
    entry.resourceSize(0);
    entry.compressedSize(compressed_);
    if (storedTime.isSet()) entry.modificationTime(storedTime());
    entry.method = method;
    return entry;
}

void StreamReader::scan(stream::random::Input& archive, io::random::File&) {
    tuckett5::ArchiveInfo& info = reader.archiveInfo;
    info.reset();
    inner_.reset();
    reader.fireProgressScanBegin();
    expandToTemporary(archive);

    // What the stream holds may be an archive of its own; its first block
    // names it as the first block of a file would.
    io::random::FileInput file(*temporary_);
    if (!reader.firstLayerOnly()) {
        const tuckett5::ArchiveInfo outer = info;
        MultiClassifier classifier;
        file.seek(0);
        classifier.classify(file, tuckett5::Reader::defaultSpan, reader);
        const FormatDescriptor* found = classifier.format ? findFormat(classifier.format) : nullptr;
        info = outer;
        if (found && found->container && found->makeReader) {
            innerPosition_ = classifier.offset;
            inner_ = found->makeReader(innerPosition_, reader);
        }
    }
    if (inner_) {
        // The inner archive reports its own items, root and counts.
        reader.fireProgressScanEnd();
        const uint32_t outerPosition = info.position;
        info.position = innerPosition_;
        try {
            stream::random::BufferedInput buffered(file, bufferSize);
            buffered.seek(innerPosition_);
            inner_->scan(buffered, *temporary_);
        } catch (...) {
            info.position = outerPosition;
            throw;
        }
        info.position = outerPosition;
        return;
    }

    const Entry entry = single();
    reader.fireProgressScanStep();
    describe(entry);
    reader.fireFileInfo();
    info.fileCount = 1;
    info.expandedSize(static_cast<uint32_t>(expanded_ > 0xFFFFFFFFu ? 0xFFFFFFFFu : expanded_));
    info.compressedSize(static_cast<uint32_t>(compressed_ > 0xFFFFFFFFu ? 0xFFFFFFFFu : compressed_));
    info.rootName = entry.name;
    reader.fireProgressScanEnd();
    reader.fireArchiveInfo();
}

void StreamReader::decode(stream::random::Input& archive, io::random::File& file) {
    if (!temporary_) scan(archive, file);
    io::random::FileInput input(*temporary_);
    stream::random::BufferedInput buffered(input, bufferSize);
    if (inner_) {
        tuckett5::ArchiveInfo& info = reader.archiveInfo;
        const uint32_t outerPosition = info.position;
        info.position = innerPosition_;
        try {
            buffered.seek(innerPosition_);
            inner_->decode(buffered, *temporary_);
        } catch (...) {
            info.position = outerPosition;
            throw;
        }
        info.position = outerPosition;
    } else {
        reader.fireArchiveDecodeBegin();
        reader.fireProgressSizeBegin(reader.archiveInfo.expandedSize());
        reader.fireProgressFilesBegin(1);
        reader.fireProgressFilesMove(0);
        const Entry entry = single();
        expandFile(entry, [&] {
            buffered.seek(0);
            dataFork().copy(buffered, expanded_);
            bytesDone += expanded_;
        });
        reader.fireProgressSizeEnd();
        reader.fireProgressFilesEnd();
        reader.fireArchiveDecodeEnd();
    }
    if (!warning.empty())
        reader.itemWarnings.push_back({io::PathSplitter(reader.archiveInfo.path).name(), "", "", warning});
    reader.nextPosition = static_cast<uint32_t>(archive.size() > 0xFFFFFFFFu ? 0xFFFFFFFFu : archive.size());
    inner_.reset();
    removeTemporary();
}

}  // namespace engine5
