#pragma once

#include <cstdint>
#include <string>

#include "algorithm/deflate/deflate.Decompressor.h"
#include "stream/stream.Transform.h"

namespace format::gz {

// Expands a gzip file (RFC 1952): member after member, each with its header
// fields, Deflate data and its CRC-32 and size check. Zeros after the last
// member are padding; anything else there ends the file with a note in
// `trailing`, and the members before it stand. The input must allow seeking,
// since the Deflate decoder reads ahead past the end of a member.
class Decoder : public stream::Transform {
public:
    using stream::Transform::process;
    uint64_t process(stream::Input& in, stream::Output& out) override;

    // Of the first member: its stored name (ISO 8859-1) and its time, 0 when
    // it keeps none.
    std::string name;
    uint32_t time = 0;
    uint32_t members = 0;
    // Why the file went on after its last member, or empty.
    std::string trailing;

private:
    // Reads one member header; false at the end of the file or of its data.
    bool header(stream::random::Input& in, bool first);
    algorithm::deflate::Decompressor inflate_;
};

}  // namespace format::gz
