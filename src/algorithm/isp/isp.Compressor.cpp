#include "algorithm/isp/isp.Compressor.h"

#include "algorithm/algorithm.Exception.h"
#include "stream/stream.Array.h"
#include "stream/stream.BufferedInput.h"
#include "stream/stream.BufferedOutput.h"
#include "stream/stream.Vector.h"

namespace algorithm::isp {

uint64_t MemoryCompressor::process(stream::Input& in, stream::Output& out) {
    preprocessor_.level(level());
    tokens_.clear();
    stream::VectorOutput tokenOutput(tokens_);
    preprocessor_.process(in, tokenOutput);
    coder_.init(preprocessor_);
    stream::ArrayInput tokenInput(tokens_.data(), static_cast<uint32_t>(tokens_.size()));
    const uint64_t written = coder_.process(tokenInput, out);
    out.flush();
    return written;
}

uint64_t FileCompressor::process(stream::Input& in, stream::Output& out) {
    if (!temporaryOutput.isSet() || !temporaryInput.isSet() || !temporaryOutput() || !temporaryInput())
        throw Exception("Need output and input streams of a temporary file object", "algorithm::isp::Compressor");
    preprocessor_.level(level());
    {
        stream::BufferedOutput buffered(*temporaryOutput(), 65536);
        preprocessor_.process(in, buffered);
        buffered.flush();
    }
    temporaryInput()->seek(0);
    stream::BufferedInput buffered(*temporaryInput(), 65536);
    coder_.init(preprocessor_);
    return coder_.process(buffered, out);
}

} // namespace algorithm::isp
