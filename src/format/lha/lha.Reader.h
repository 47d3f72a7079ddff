#pragma once

#include "format/tar/tar.Reader.h"

namespace engine5::lha {

// Expands LHA archives with libarchive as the parser: header levels 0 to 3,
// methods lh0 to lh7, lzs and lz5, Unix and Unicode names, symbolic links.
class Reader : public tar::Reader {
public:
    Reader(uint32_t position, tuckett5::Reader& reader);
};

}  // namespace engine5::lha
