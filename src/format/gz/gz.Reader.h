#pragma once

#include "engine/engine5.StreamReader.h"
#include "format/gz/gz.Decoder.h"

namespace engine5::gz {

// Expands a gzip file to the file it holds, or to the items of the archive
// it holds (a .tar.gz). The file takes the name stored in the first member,
// else the archive's name without ".gz" (".tgz" becomes ".tar").
class Reader : public StreamReader {
public:
    Reader(uint32_t position, tuckett5::Reader& reader);

protected:
    void expand(stream::random::Input& archive, stream::Output& out) override;
    std::string defaultName(const std::string& archiveName) const override;

private:
    format::gz::Decoder decoder_;
};

}  // namespace engine5::gz
