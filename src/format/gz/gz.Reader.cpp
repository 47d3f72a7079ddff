#include "format/gz/gz.Reader.h"

namespace engine5::gz {

Reader::Reader(uint32_t position, tuckett5::Reader& reader) : StreamReader(position, reader) { method = "deflated"; }

void Reader::expand(stream::random::Input& archive, stream::Output& out) {
    decoder_.process(archive, out);
    // A stored name is a file name; any folders in it are not kept.
    storedName = decoder_.name.substr(decoder_.name.find_last_of('/') + 1);
    if (decoder_.time != 0) storedTime(decoder_.time);
    warning = decoder_.trailing;
}

std::string Reader::defaultName(const std::string& archiveName) const {
    static const char* const suffixes[] = {".gz", "-gz", ".z", "_z", nullptr};
    static const char* const tarSuffixes[] = {".tgz", ".taz", nullptr};
    return plainName(archiveName, suffixes, tarSuffixes);
}

}  // namespace engine5::gz
