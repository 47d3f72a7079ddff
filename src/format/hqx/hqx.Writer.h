#pragma once

#include "engine/engine5.MacFileWriter.h"

namespace engine5::hqx {

// Writes each file as BinHex 4.0 text: the line "(This file must be
// converted with BinHex 4.0)", then the header and both forks with their
// checks, run-length coded, in lines of 64 characters between colons. Line
// ends follow the writer's line-ending option (CR LF unless set).
class Writer : public MacFileWriter {
public:
    explicit Writer(tuckett5::Writer& writer) : MacFileWriter(writer) {}
    std::string ext() const override { return ".hqx"; }

protected:
    void encode(MacSource& source, stream::Output& archive) override;
};

}  // namespace engine5::hqx
