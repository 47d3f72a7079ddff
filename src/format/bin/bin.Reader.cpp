#include "format/bin/bin.Reader.h"

#include <algorithm>

#include "engine/t5.Exception.h"
#include "engine/t5.Reader.h"
#include "format/bin/bin.Header.h"
#include "stream/stream.Input.h"
#include "stream/stream.Output.h"

namespace engine5::bin {

using tuckett5::exception::BadData;
using tuckett5::exception::BadFormat;

namespace {

constexpr uint64_t block = 128;
constexpr int64_t macEpochOffset = 2082844800;
constexpr uint32_t copyBuffer = 65536;

uint64_t padded(uint64_t length) { return (length + block - 1) / block * block; }

// Copies `length` bytes from the archive's current position.
void copy(stream::random::Input& archive, stream::Output& out, uint64_t length) {
    char buffer[copyBuffer];
    while (length != 0) {
        const uint32_t want = static_cast<uint32_t>(std::min<uint64_t>(length, sizeof buffer));
        const uint32_t got = archive.read(buffer, want);
        if (got == 0) throw BadData("MacBinary file is cut short; data is invalid");
        out.write(buffer, got);
        length -= got;
    }
}

}  // namespace

Reader::Reader(uint32_t position, tuckett5::Reader& reader) : MacFileReader(position, reader) {}

void Reader::rewind(stream::random::Input&) {
    at_ = reader.archiveInfo.position;
    first_ = true;
}

bool Reader::next(stream::random::Input& archive, Entry& entry) {
    const uint64_t size = archive.size();
    if (at_ + block > size) {
        if (first_) throw BadFormat("MacBinary header is cut short");
        return false;
    }
    archive.seek(at_);
    format::bin::Header header;
    header.read(archive, false);
    // What follows the first file is another only if it has a header of its own.
    if (!header.valid()) {
        if (first_) throw BadFormat("bad MacBinary header");
        return false;
    }
    first_ = false;

    dataStart_ = at_ + block + padded(header.secondaryLength);
    resourceStart_ = dataStart_ + padded(header.dataLength);
    dataLength_ = header.dataLength;
    resourceLength_ = header.resourceLength;
    // The last fork may end the file without its padding.
    const uint64_t end = resourceLength_ != 0 ? resourceStart_ + resourceLength_ : dataStart_ + dataLength_;
    if (end > size) throw BadFormat("MacBinary fork lengths run past the end of the file");
    at_ = resourceStart_ + padded(resourceLength_) + padded(header.commentLength);

    name(entry, header.name);
    entry.dataSize(dataLength_);
    entry.resourceSize(resourceLength_);
    entry.compressedSize(padded(dataLength_) + padded(resourceLength_) + block);
    format::data::FileInfo finder;
    finder.type(header.type);
    finder.creator(header.creator);
    finder.flags(header.finderFlags);
    format::data::Point location;
    location.v(header.vertical);
    location.h(header.horizontal);
    finder.location(location);
    if (meaningful(finder)) entry.finderInfo(finder);
    entry.text = header.type == format::data::OSType("TEXT");
    if (header.modified != 0) entry.modificationTime(int64_t(header.modified) - macEpochOffset);
    if (header.created != 0) entry.creationTime(int64_t(header.created) - macEpochOffset);
    entry.method = "MacBinary";
    entry.macBinaryDefault(false);
    return true;
}

void Reader::forks(stream::random::Input& archive) {
    // next() finds the next file by the lengths alone.
    if (!writing()) return;
    archive.seek(dataStart_);
    copy(archive, forkOutput(false), dataLength_);
    archive.seek(resourceStart_);
    copy(archive, forkOutput(true), resourceLength_);
}

}  // namespace engine5::bin
