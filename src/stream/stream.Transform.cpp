#include "stream/stream.Transform.h"

#include "stream/stream.Exception.h"

namespace stream {

uint64_t Transform::process(Input&, Output&) {
    throw Exception("stream transform does not implement full stream processing");
}

uint64_t Transform::process(Input&, Output&, uint64_t) {
    throw Exception("stream transform does not implement partial stream processing");
}

} // namespace stream
