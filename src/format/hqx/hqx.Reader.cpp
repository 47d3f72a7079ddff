#include "format/hqx/hqx.Reader.h"

#include <algorithm>
#include <cstring>

#include "algorithm/algorithm.Exception.h"
#include "engine/t5.Exception.h"
#include "engine/t5.Reader.h"
#include "format/format.Exception.h"
#include "format/hqx/hqx.Header.h"
#include "stream/stream.Input.h"
#include "stream/stream.Output.h"

namespace engine5::hqx {

using tuckett5::exception::BadData;
using tuckett5::exception::BadFormat;

namespace {

constexpr char marker[] = "(This file must be converted with BinHex";
constexpr uint32_t copyBuffer = 65536;

}  // namespace

Reader::Reader(uint32_t position, tuckett5::Reader& reader) : MacFileReader(position, reader) {}

Reader::~Reader() = default;

void Reader::rewind(stream::random::Input& archive) {
    archive.seek(reader.archiveInfo.position);
    data_.reset();
    first_ = true;
}

bool Reader::findColon(stream::random::Input& archive) {
    for (;;) {
        const int c = archive.read();
        if (c < 0) return false;
        if (c == ':') return true;
    }
}

bool Reader::findMarker(stream::random::Input& archive) {
    const size_t length = std::strlen(marker);
    size_t matched = 0;
    for (;;) {
        const int c = archive.read();
        if (c < 0) return false;
        if (c == marker[matched]) {
            if (++matched == length) break;
        } else {
            matched = c == marker[0] ? 1 : 0;
        }
    }
    // The rest of the marker's line, then the data's colon.
    for (;;) {
        const int c = archive.read();
        if (c < 0) return false;
        if (c == '\r' || c == '\n') break;
    }
    return true;
}

bool Reader::next(stream::random::Input& archive, Entry& entry) {
    if (first_) {
        // Classification points at the colon, or at the marker's line.
        first_ = false;
        if (!findColon(archive)) throw BadFormat("BinHex data not found");
    } else {
        // The rest of a block that failed half way is of no use.
        if (data_) {
            data_->skipToEnd();
            archive.seek(blockStart_ + data_->consumed());
        }
        if (!findMarker(archive) || !findColon(archive)) return false;
    }
    blockStart_ = archive.tell();
    data_ = std::make_unique<algorithm::hqx::DecodingInput>(archive);
    format::hqx::Header header;
    try {
        header.read(*data_, false);
    } catch (const algorithm::Exception& failure) {
        throw BadFormat(failure.message());
    }
    if (!header.valid()) throw BadFormat("bad BinHex header");
    dataLength_ = header.dataLength;
    resourceLength_ = header.resourceLength;

    name(entry, header.name);
    entry.dataSize(dataLength_);
    entry.resourceSize(resourceLength_);
    format::data::FileInfo finder;
    finder.type(header.type);
    finder.creator(header.creator);
    finder.flags(header.finderFlags);
    if (meaningful(finder)) entry.finderInfo(finder);
    entry.text = header.type == format::data::OSType("TEXT");
    entry.method = "BinHex";
    entry.macBinaryDefault(false);
    return true;
}

void Reader::fork(stream::Output& out, uint32_t length, const char* which) {
    data_->check.reset();
    char buffer[copyBuffer];
    uint32_t left = length;
    while (left != 0) {
        const uint32_t got = data_->read(buffer, std::min<uint32_t>(left, sizeof buffer));
        if (got == 0) throw BadData(std::string("BinHex ") + which + " fork is cut short; data is invalid");
        out.write(buffer, got);
        left -= got;
    }
    const uint16_t computed = data_->check.value();
    const int high = data_->read();
    const int low = data_->read();
    if (high < 0 || low < 0) throw BadData(std::string("BinHex ") + which + " fork is cut short; data is invalid");
    if (static_cast<uint16_t>(high << 8 | low) != computed)
        throw BadData(std::string("BinHex ") + which + " fork fails its CRC; data is invalid");
}

void Reader::forks(stream::random::Input&) {
    // Forks that go nowhere are not decoded: the next block starts after the
    // closing colon, and their checks are the expansion's to make.
    if (!writing()) {
        data_->skipToEnd();
        return;
    }
    try {
        fork(forkOutput(false), dataLength_, "data");
        fork(forkOutput(true), resourceLength_, "resource");
    } catch (const algorithm::Exception& failure) {
        throw BadData(failure.message() + "; data is invalid");
    }
}

}  // namespace engine5::hqx
