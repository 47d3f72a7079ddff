#pragma once

#include <cstdint>

#include "stream/stream.Transform.h"

namespace flate {

// The strongest raw Deflate (RFC 1951) that the engine makes, through
// libdeflate's levels 10 to 12 (setting 1 to 3). libdeflate compresses a
// whole buffer at once, so an input is held in memory up to `chunkLimit`
// bytes; a longer input goes through zlib at its strongest level instead,
// in a stream, so that the memory used stays bounded.
class compressor : public stream::Transform {
public:
    static constexpr uint32_t chunkLimit = 64u << 20;

    explicit compressor(int setting = 1);

    using stream::Transform::process;
    uint64_t process(stream::Input& in, stream::Output& out) override;

    int setting() const { return setting_; }

private:
    int setting_;
};

}  // namespace flate
