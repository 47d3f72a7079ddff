// Raw Deflate (RFC 1951) with no frame: expansion only.
#include "algorithm/deflate/deflate.Decompressor.h"
#include "cwcodec.h"

namespace {
const cwcodec::Registrar registrar({"inflate", "inflate -d IN OUT", nullptr,
                                    [](stream::Input& in, stream::Output& out, const std::vector<std::string>&) {
                                        algorithm::deflate::Decompressor().process(in, out);
                                    }});
}
