// ISP: cwcodec isp -c|-d IN OUT [--level 1-9] [--resource]. The input of -c
// is read whole first, so that its size is known, as the archive writers know
// it, and a small input can take a preset.
#include <stdexcept>

#include "algorithm/isp/isp.Compressor.h"
#include "algorithm/isp/isp.Decompressor.h"
#include "cwcodec.h"
#include "stream/stream.Vector.h"

namespace {

void compress(stream::Input& in, stream::Output& out, const std::vector<std::string>& options) {
    algorithm::isp::Preprocessor preprocessor;
    algorithm::isp::Coder coder;
    algorithm::isp::MemoryCompressor compressor(preprocessor, coder);
    compressor.level(algorithm::isp::Preprocessor::defaultCompressionLevel);
    for (size_t i = 0; i < options.size(); ++i) {
        if (options[i] == "--level" && i + 1 < options.size())
            compressor.level(std::stoi(options[++i]));
        else if (options[i] == "--resource")
            coder.resource(true);
        else
            throw std::invalid_argument("unknown option " + options[i]);
    }
    std::vector<char> data;
    stream::VectorOutput whole(data);
    char block[65536];
    while (uint32_t n = in.read(block, sizeof block)) whole.write(block, n);
    stream::VectorInput source(data);
    compressor.process(source, out);
}

void expand(stream::Input& in, stream::Output& out, const std::vector<std::string>&) {
    algorithm::isp::Decompressor().process(in, out);
}

const cwcodec::Registrar registrar({"isp", "isp -c|-d IN OUT [--level 1-9] [--resource]", compress, expand});

} // namespace
