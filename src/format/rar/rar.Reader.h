#pragma once

#include "format/tar/tar.Reader.h"

namespace engine5::rar {

// Expands RAR archives (1.5 to 4.x, and RAR 5) with libarchive as the parser:
// stored, LZSS, PPMd and filtered data, solid archives, Unicode names,
// symbolic and hard links. Encrypted items are refused, as libarchive cannot
// decipher them.
class Reader : public tar::Reader {
public:
    Reader(uint32_t position, tuckett5::Reader& reader);
};

}  // namespace engine5::rar
