#pragma once

#include <cstdint>

#include "stream/stream.Transform.h"

namespace algorithm::zip {

// Zip methods 2 to 5, reducing with compression factor 1 to 4 (method - 1):
// bytes coded against follower sets of the byte before them, then expanded
// from runs marked by the byte 144. The data has no end mark: the partial form
// stops after `count` bytes, the full form at the end of the input.
class ReduceDecompressor : public stream::Transform {
public:
    explicit ReduceDecompressor(int factor);

    uint64_t process(stream::Input& in, stream::Output& out) override;
    uint64_t process(stream::Input& in, stream::Output& out, uint64_t count) override;

    int factor() const { return factor_; }

private:
    int factor_;
};

} // namespace algorithm::zip
