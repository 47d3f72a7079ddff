#pragma once

#include "engine/engine5.MacFileWriter.h"

namespace engine5::bin {

// Writes each file as MacBinary III: the header with the name, Finder
// information, dates and the "mBIN" signature under its CRC, then the data
// fork and the resource fork, each padded to 128 bytes. Several files follow
// one another.
class Writer : public MacFileWriter {
public:
    explicit Writer(tuckett5::Writer& writer) : MacFileWriter(writer) {}
    std::string ext() const override { return ".bin"; }

protected:
    void encode(MacSource& source, stream::Output& archive) override;
};

}  // namespace engine5::bin
