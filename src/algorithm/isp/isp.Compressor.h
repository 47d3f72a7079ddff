#pragma once

#include <vector>

#include "algorithm/isp/isp.Coder.h"
#include "algorithm/isp/isp.Preprocessor.h"
#include "stream/stream.Input.h"
#include "stream/stream.Output.h"
#include "stream/stream.Transform.h"
#include "un/un.property.h"

namespace algorithm::isp {

// The ISP compressor: the Preprocessor's token stream, then the Coder over
// it. The two passes need the tokens kept somewhere; the subclasses say
// where.
class Compressor : public stream::Transform {
public:
    Compressor(Preprocessor& preprocessor, Coder& coder) : preprocessor_(preprocessor), coder_(coder) {}

    // 1 to 9; how long each match is searched.
    un::property<int> level{Preprocessor::defaultCompressionLevel};

    using stream::Transform::process;

protected:
    Preprocessor& preprocessor_;
    Coder& coder_;
};

// Keeps the token stream in memory.
class MemoryCompressor : public Compressor {
public:
    MemoryCompressor(Preprocessor& preprocessor, Coder& coder) : Compressor(preprocessor, coder) {}

    using Compressor::process;
    uint64_t process(stream::Input& in, stream::Output& out) override;

private:
    std::vector<char> tokens_;
};

// Keeps the token stream in a temporary file, given as an output to write it
// and a random-access input to read it back from its start.
class FileCompressor : public Compressor {
public:
    FileCompressor(Preprocessor& preprocessor, Coder& coder) : Compressor(preprocessor, coder) {}

    un::opt_property<stream::Output*> temporaryOutput;
    un::opt_property<stream::random::Input*> temporaryInput;

    using Compressor::process;
    uint64_t process(stream::Input& in, stream::Output& out) override;
};

} // namespace algorithm::isp
