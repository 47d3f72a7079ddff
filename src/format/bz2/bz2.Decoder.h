#pragma once

#include <cstdint>
#include <string>

#include "stream/stream.Transform.h"

namespace format::bz2 {

// Expands a bzip2 file through libbz2: stream after stream, as bzip2 itself
// writes them when files are joined. Zeros after the last stream are
// padding; anything else there is noted in `trailing`, and the streams before
// it stand. libbz2 checks each block's and each stream's CRC.
class Decoder : public stream::Transform {
public:
    using stream::Transform::process;
    uint64_t process(stream::Input& in, stream::Output& out) override;

    uint32_t streams = 0;
    std::string trailing;
};

}  // namespace format::bz2
