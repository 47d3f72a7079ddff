#pragma once

#include <memory>

#include "stream/stream.Transform.h"

namespace stream {

// Moves bytes unchanged, a buffer at a time. The buffer is allocated on first
// use and kept between runs.
class Copier : public Transform {
public:
    static constexpr uint32_t defaultSize = 65536;

    explicit Copier(uint32_t bufferSize = defaultSize) : bufferSize_(bufferSize) {}

    uint64_t process(Input& in, Output& out) override;
    uint64_t process(Input& in, Output& out, uint64_t count) override;

private:
    char* buffer();

    std::unique_ptr<char[]> buffer_;
    uint32_t bufferSize_;
};

} // namespace stream
