// The identity method: a raw copy, as a baseline for the others.
#include "cwcodec.h"
#include "stream/stream.Copier.h"

namespace {
const cwcodec::Registrar registrar({"copy", "copy -c|-d IN OUT",
                                    [](stream::Input& in, stream::Output& out, const std::vector<std::string>&) {
                                        stream::Copier().process(in, out);
                                    },
                                    [](stream::Input& in, stream::Output& out, const std::vector<std::string>&) {
                                        stream::Copier().process(in, out);
                                    }});
}
