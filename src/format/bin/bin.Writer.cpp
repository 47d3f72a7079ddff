#include "format/bin/bin.Writer.h"

#include "engine/t5.Exception.h"
#include "format/bin/bin.Header.h"
#include "stream/stream.Output.h"

namespace engine5::bin {

namespace {

constexpr uint64_t block = 128;
constexpr int64_t macEpochOffset = 2082844800;
constexpr uint32_t signatureIII = 0x6D42494E;  // "mBIN"
constexpr uint8_t writtenByIII = 130;
constexpr uint8_t readableByII = 129;

uint32_t macTime(int64_t seconds) {
    const int64_t mac = seconds + macEpochOffset;
    return mac < 0 ? 0 : mac > 0xFFFFFFFFll ? 0xFFFFFFFFu : static_cast<uint32_t>(mac);
}

void pad(stream::Output& out, uint64_t length) {
    if (length % block != 0) out.fill(block - length % block, '\0');
}

}  // namespace

void Writer::encode(MacSource& source, stream::Output& archive) {
    if (source.dataSize > format::bin::Header::maxCheckedForkLength ||
        source.resourceSize > format::bin::Header::maxCheckedForkLength)
        throw tuckett5::exception::BadArgument("a fork of 2 GB or more does not fit in MacBinary: " + source.path);
    format::bin::Header header;
    header.name = source.macName;
    header.type = source.finder.type();
    header.creator = source.finder.creator();
    header.finderFlags = source.finder.flags();
    header.vertical = source.finder.location().v();
    header.horizontal = source.finder.location().h();
    header.dataLength = static_cast<uint32_t>(source.dataSize);
    header.resourceLength = static_cast<uint32_t>(source.resourceSize);
    header.created = macTime(source.created);
    header.modified = macTime(source.modified);
    header.signature = signatureIII;
    header.writerVersion = writtenByIII;
    header.readerVersion = readableByII;
    header.write(archive);
    copy(source.data, archive, source.dataSize);
    pad(archive, source.dataSize);
    if (source.resource) {
        copy(*source.resource, archive, source.resourceSize);
        pad(archive, source.resourceSize);
    }
}

}  // namespace engine5::bin
