#pragma once

#include <cstdint>

namespace stream {
class Input;
class Output;
} // namespace stream

namespace engine5 {

// Decodes one stored stream of a format into its output: the family of a
// format's compression methods, each behind the same call.
class MethodReader {
public:
    virtual ~MethodReader() = default;
    virtual void decode(stream::Input& in, stream::Output& out) = 0;
};

} // namespace engine5
