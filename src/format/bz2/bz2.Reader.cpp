#include "format/bz2/bz2.Reader.h"

namespace engine5::bz2 {

Reader::Reader(uint32_t position, tuckett5::Reader& reader) : StreamReader(position, reader) { method = "bzip2"; }

void Reader::expand(stream::random::Input& archive, stream::Output& out) {
    decoder_.process(archive, out);
    warning = decoder_.trailing;
}

std::string Reader::defaultName(const std::string& archiveName) const {
    static const char* const suffixes[] = {".bz2", ".bz", nullptr};
    static const char* const tarSuffixes[] = {".tbz2", ".tbz", ".tb2", nullptr};
    return plainName(archiveName, suffixes, tarSuffixes);
}

}  // namespace engine5::bz2
