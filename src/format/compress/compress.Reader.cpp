#include "format/compress/compress.Reader.h"

#include "algorithm/algorithm.Exception.h"
#include "engine/t5.Exception.h"
#include "engine/t5.Writer.h"
#include "io/io.File.h"
#include "io/io.Path.h"
#include "io/io.random.FileStreams.h"
#include "stream/stream.BufferedInput.h"

namespace engine5::compress {

using tuckett5::exception::BadArgument;
using tuckett5::exception::BadData;
using tuckett5::exception::UnsupportedFormat;

Reader::Reader(uint32_t position, tuckett5::Reader& reader) : StreamReader(position, reader) { method = "LZW"; }

void Reader::expand(stream::random::Input& archive, stream::Output& out) {
    try {
        decoder_.process(archive, out);
    } catch (const ::algorithm::Exception& failure) {
        throw BadData(failure.message() + "; data is invalid");
    }
}

std::string Reader::defaultName(const std::string& archiveName) const {
    static const char* const suffixes[] = {".Z", "-Z", "_Z", nullptr};
    static const char* const tarSuffixes[] = {".taz", nullptr};
    return plainName(archiveName, suffixes, tarSuffixes);
}

Writer::Writer(tuckett5::Writer& writer) : FormatWriter(writer) {}

void Writer::create(const std::list<std::string>& items, stream::random::Output& archive) {
    if (items.size() != 1 || io::Path::directory(items.front()))
        throw UnsupportedFormat("compress holds one file, not a folder or several items");
    const int32_t chosen = writer.compression();
    const int bits = chosen == tuckett5::Writer::defaultCompression ? ::algorithm::lzw::maxBits : chosen;
    if (bits < ::algorithm::lzw::minBits || bits > ::algorithm::lzw::maxBits)
        throw BadArgument("compress takes codes of 9 to 16 bits");
    io::random::File file;
    file.open(items.front());
    io::random::FileInput input(file);
    stream::BufferedInput buffered(input, 65536);
    ::algorithm::lzw::Compressor(bits).process(buffered, archive);
}

}  // namespace engine5::compress
