// Arsenic: block sorting with arithmetic coding. "--block-bits N" (9 to 24)
// sets the block size of the compressor; expansion takes it from the stream.
#include <stdexcept>
#include <string>

#include "algorithm/arsenic/arsenic.Compressor.h"
#include "algorithm/arsenic/arsenic.Decompressor.h"
#include "cwcodec.h"

namespace {

int blockBits(const std::vector<std::string>& options) {
    int bits = algorithm::arsenic::defaultBlockBits;
    for (size_t i = 0; i < options.size(); ++i) {
        if (options[i] != "--block-bits" || i + 1 == options.size())
            throw std::invalid_argument("unknown option " + options[i] + "; arsenic takes --block-bits N");
        const std::string& value = options[++i];
        size_t used = 0;
        try {
            bits = std::stoi(value, &used);
        } catch (const std::exception&) {
            used = 0;
        }
        if (used != value.size() || bits < 9 || bits > 24)
            throw std::invalid_argument("--block-bits takes a number from 9 to 24, not " + value);
    }
    return bits;
}

const cwcodec::Registrar registrar({"arsenic", "arsenic -c IN OUT [--block-bits N] | arsenic -d IN OUT",
                                    [](stream::Input& in, stream::Output& out, const std::vector<std::string>& options) {
                                        algorithm::arsenic::Compressor(blockBits(options)).process(in, out);
                                    },
                                    [](stream::Input& in, stream::Output& out, const std::vector<std::string>&) {
                                        algorithm::arsenic::FastDecompressor().process(in, out);
                                    }});

} // namespace
