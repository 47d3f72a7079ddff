#pragma once

namespace stream {
class Input;
class Output;
}  // namespace stream

namespace engine5 {

// Encodes one stream of a format into its stored form: the family of a
// format's compression methods, each behind the same call.
class MethodWriter {
public:
    virtual ~MethodWriter() = default;
    virtual void encode(stream::Input& in, stream::Output& out) = 0;
};

}  // namespace engine5
