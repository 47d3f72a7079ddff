#pragma once

#include <cstdint>

namespace un {

// The value with its bytes in reverse order.
template <typename T>
T invert(T value);

template <>
inline uint32_t invert<uint32_t>(uint32_t value) {
    return (value >> 24) | ((value >> 8) & 0x0000FF00u) | ((value << 8) & 0x00FF0000u) | (value << 24);
}

template <>
inline uint16_t invert<uint16_t>(uint16_t value) {
    return static_cast<uint16_t>((value >> 8) | (value << 8));
}

// Moves `count` 32-bit words into bytes, least significant byte first.
inline void to_lsb(unsigned char* out, const uint32_t* in, unsigned count) {
    for (unsigned i = 0; i < count; ++i) {
        out[4 * i] = static_cast<unsigned char>(in[i]);
        out[4 * i + 1] = static_cast<unsigned char>(in[i] >> 8);
        out[4 * i + 2] = static_cast<unsigned char>(in[i] >> 16);
        out[4 * i + 3] = static_cast<unsigned char>(in[i] >> 24);
    }
}

// Builds `count` 32-bit words from bytes, least significant byte first.
inline void from_lsb(uint32_t* out, const unsigned char* in, unsigned count) {
    for (unsigned i = 0; i < count; ++i) {
        out[i] = static_cast<uint32_t>(in[4 * i]) | (static_cast<uint32_t>(in[4 * i + 1]) << 8) |
                 (static_cast<uint32_t>(in[4 * i + 2]) << 16) | (static_cast<uint32_t>(in[4 * i + 3]) << 24);
    }
}

} // namespace un
