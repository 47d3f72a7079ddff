#pragma once

#include "algorithm/lzw/lzw.Decompressor.h"
#include "engine/engine5.FormatWriter.h"
#include "engine/engine5.StreamReader.h"

namespace engine5::compress {

// Expands a compress (.Z) file to the file it holds, named after the archive
// without ".Z" (".taz" becomes ".tar"), or to the items of the archive it
// holds (a .tar.Z).
class Reader : public StreamReader {
public:
    Reader(uint32_t position, tuckett5::Reader& reader);

protected:
    void expand(stream::random::Input& archive, stream::Output& out) override;
    std::string defaultName(const std::string& archiveName) const override;

private:
    ::algorithm::lzw::Decompressor decoder_;
};

// Compresses one file as compress does. The writer's compression option is
// the widest code, 9 to 16 bits; the format's choice is 16.
class Writer : public FormatWriter {
public:
    explicit Writer(tuckett5::Writer& writer);

    using FormatWriter::create;
    void create(const std::list<std::string>& items, stream::random::Output& archive) override;
    std::string ext() const override { return ".Z"; }
};

}  // namespace engine5::compress
