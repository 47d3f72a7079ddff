#pragma once

#include <cstdint>

namespace algorithm::rng {

// Bytes that no one can predict from the archive: a 64-bit mixing generator
// seeded from the high-resolution clock, which stirs in the clock again at each
// call. Good for the random bytes of the Zip encryption header; not a source of
// key material.
class TimerRandomSource {
public:
    TimerRandomSource();

    unsigned char next();
    void fill(char* data, uint32_t size);

private:
    uint64_t state_;
};

} // namespace algorithm::rng
