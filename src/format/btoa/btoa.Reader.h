#pragma once

#include "engine/engine5.StreamReader.h"

namespace engine5::btoa {

// Expands a btoa file: four bytes to five characters of base 85 between the
// "xbtoa Begin" and "xbtoa End" lines, "z" for four zero bytes (and "y" for
// four spaces after an "xbtoa5" header, which also names the file). The end
// line's byte count, given twice, and its three checks must match the data;
// only the bytes it counts come out.
class Reader : public StreamReader {
public:
    Reader(uint32_t position, tuckett5::Reader& reader);

protected:
    void expand(stream::random::Input& archive, stream::Output& out) override;
    std::string defaultName(const std::string& archiveName) const override;
};

}  // namespace engine5::btoa
