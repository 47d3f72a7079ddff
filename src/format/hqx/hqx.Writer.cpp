#include "format/hqx/hqx.Writer.h"

#include "algorithm/hqx/hqx.Codec.h"
#include "engine/t5.Exception.h"
#include "engine/t5.Writer.h"
#include "format/hqx/hqx.Header.h"
#include "stream/stream.Output.h"

namespace engine5::hqx {

namespace {

constexpr char marker[] = "(This file must be converted with BinHex 4.0)";

std::string lineEnd(int32_t option) {
    switch (option) {
        case 1:
            return "\n";
        case 2:
            return "\r";
        default:
            return "\r\n";
    }
}

void check(algorithm::hqx::EncodingOutput& out) {
    const uint16_t value = out.check.value();
    out.write(static_cast<char>(value >> 8));
    out.write(static_cast<char>(value & 0xFF));
    out.check.reset();
}

}  // namespace

void Writer::encode(MacSource& source, stream::Output& archive) {
    if (source.dataSize > 0xFFFFFFFFu || source.resourceSize > 0xFFFFFFFFu)
        throw tuckett5::exception::BadArgument("a fork of 4 GB or more does not fit in BinHex: " + source.path);
    const std::string end = lineEnd(writer.textLineEnding());
    archive.write(marker, sizeof marker - 1);
    archive.write(end.data(), static_cast<uint32_t>(end.size()));

    format::hqx::Header header;
    header.name = source.macName;
    header.type = source.finder.type();
    header.creator = source.finder.creator();
    header.finderFlags = source.finder.flags();
    header.dataLength = static_cast<uint32_t>(source.dataSize);
    header.resourceLength = static_cast<uint32_t>(source.resourceSize);

    algorithm::hqx::EncodingOutput out(archive, end);
    // The header carries its own check.
    header.write(out);
    out.check.reset();
    copy(source.data, out, source.dataSize);
    check(out);
    if (source.resource) copy(*source.resource, out, source.resourceSize);
    check(out);
    out.finish();
}

}  // namespace engine5::hqx
