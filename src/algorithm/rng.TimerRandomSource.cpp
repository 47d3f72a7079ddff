#include "algorithm/rng.TimerRandomSource.h"

#include <chrono>

namespace algorithm::rng {

namespace {

uint64_t ticks() {
    return static_cast<uint64_t>(std::chrono::high_resolution_clock::now().time_since_epoch().count());
}

// SplitMix64's output function.
uint64_t mix(uint64_t z) {
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    return z ^ (z >> 31);
}

} // namespace

TimerRandomSource::TimerRandomSource()
    : state_(mix(ticks() ^ reinterpret_cast<uintptr_t>(this))) {}

unsigned char TimerRandomSource::next() {
    state_ += 0x9E3779B97F4A7C15ull ^ (ticks() << 17);
    return static_cast<unsigned char>(mix(state_) >> 56);
}

void TimerRandomSource::fill(char* data, uint32_t size) {
    for (uint32_t i = 0; i < size; ++i) data[i] = static_cast<char>(next());
}

} // namespace algorithm::rng
