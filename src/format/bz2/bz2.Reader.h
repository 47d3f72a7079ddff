#pragma once

#include "engine/engine5.StreamReader.h"
#include "format/bz2/bz2.Decoder.h"

namespace engine5::bz2 {

// Expands a bzip2 file to the file it holds, named after the archive without
// ".bz2" (".tbz" and ".tbz2" become ".tar"), or to the items of the archive
// it holds (a .tar.bz2).
class Reader : public StreamReader {
public:
    Reader(uint32_t position, tuckett5::Reader& reader);

protected:
    void expand(stream::random::Input& archive, stream::Output& out) override;
    std::string defaultName(const std::string& archiveName) const override;

private:
    format::bz2::Decoder decoder_;
};

}  // namespace engine5::bz2
