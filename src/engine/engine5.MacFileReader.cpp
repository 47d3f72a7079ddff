#include "engine/engine5.MacFileReader.h"

#include <algorithm>

#include "algorithm/unicode.MacRoman.h"
#include "engine/t5.Exception.h"
#include "engine/t5.Reader.h"
#include "io/io.Path.h"
#include "io/io.SafePath.h"
#include "stream/stream.Input.h"
#include "stream/stream.Output.h"

namespace engine5 {

namespace {

// Takes a fork that is passed over.
class Discard : public stream::Output {
public:
    void write(char) override { ++count_; }
    void write(const char*, uint32_t count) override { count_ += count; }
    void fill(uint64_t count, char) override { count_ += count; }
    uint64_t tell() const override { return count_; }

private:
    uint64_t count_ = 0;
};

uint32_t clamp32(uint64_t value) { return value > 0xFFFFFFFFu ? 0xFFFFFFFFu : static_cast<uint32_t>(value); }

}  // namespace

MacFileReader::MacFileReader(uint32_t position, tuckett5::Reader& reader)
    : FormatReader(position, reader), nowhere_(std::make_unique<Discard>()) {}

MacFileReader::~MacFileReader() = default;

void MacFileReader::name(Entry& entry, std::string stored) const {
    stored = stored.substr(0, stored.find('\0'));
    std::replace(stored.begin(), stored.end(), '/', ':');
    entry.backslashSeparates = false;
    entry.unicodeName = algorithm::unicode::MacRoman::decode(stored);
    entry.name = algorithm::unicode::MacRoman::toLocal(stored);
    if (io::safeComponents(entry.name).empty()) {
        entry.unicodeName = tuckett5::UnicodeName();
        entry.name = io::PathSplitter(reader.archiveInfo.path).name();
        if (io::safeComponents(entry.name).empty()) entry.name = "Untitled";
    }
}

bool MacFileReader::meaningful(const format::data::FileInfo& finder) {
    const format::data::OSType unknown;
    const auto known = [&](const format::data::OSType& type) { return type != unknown && type.value() != 0; };
    return known(finder.type()) || known(finder.creator()) || finder.flags() != 0 || finder.location().v() != 0 ||
           finder.location().h() != 0;
}

stream::Output& MacFileReader::forkOutput(bool resource) {
    if (!writing_) return *nowhere_;
    return resource ? resourceFork() : dataFork();
}

void MacFileReader::scan(stream::random::Input& archive, io::random::File&) {
    tuckett5::ArchiveInfo& info = reader.archiveInfo;
    info.reset();
    reader.fireProgressScanBegin();
    rewind(archive);
    uint64_t total = 0;
    Entry entry;
    writing_ = false;
    while (next(archive, entry)) {
        reader.fireProgressScanStep();
        describe(entry);
        reader.fireFileInfo();
        // A damaged fork is the expansion's to report, for that file alone.
        try {
            forks(archive);
        } catch (const tuckett5::exception::BadData&) {
        }
        total += entry.dataSize() + entry.resourceSize();
        info.rootName = info.fileCount == 0 ? entry.name : std::string();
        ++info.fileCount;
        entry = Entry();
    }
    info.expandedSize(clamp32(total));
    info.compressedSize(clamp32(archive.size() - info.position));
    reader.fireProgressScanEnd();
    reader.fireArchiveInfo();
}

void MacFileReader::decode(stream::random::Input& archive, io::random::File&) {
    beginDecode();
    rewind(archive);
    Entry entry;
    while (next(archive, entry)) {
        bool started = false;
        const uint64_t start = bytesDone;
        expandFile(entry, [&] {
            writing_ = true;
            started = true;
            forks(archive);
            writing_ = false;
            bytesDone = start + entry.dataSize() + entry.resourceSize();
            reader.fireProgressSizeMove(static_cast<uint32_t>(bytesDone));
        });
        writing_ = false;
        // A file passed over still has its forks in the way of the next; one
        // that failed half way is left to next().
        if (!started) forks(archive);
        entry = Entry();
    }
    reader.fireProgressSizeEnd();
    reader.fireProgressFilesEnd();
    reader.fireArchiveDecodeEnd();
    reader.nextPosition = clamp32(archive.size());
}

}  // namespace engine5
