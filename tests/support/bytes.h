#pragma once

// For tests that build or damage records by hand: the CRCs as the formats
// store them, and little-endian fields appended or overwritten in place.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "stream/check/crc.CRC.h"

namespace test {

// The CRC-32 of Zip, ARJ and LHA's level-2 headers.
inline uint32_t crc32(std::string_view data) {
    algorithm::crc::EthernetCRC crc;
    crc.update(data.data(), static_cast<uint32_t>(data.size()));
    return ~crc.value();
}

// The CRC-16 of ARC and LHA.
inline uint16_t crc16(std::string_view data) {
    algorithm::crc::BisyncCRC crc;
    crc.update(data.data(), static_cast<uint32_t>(data.size()));
    return crc.value();
}

inline void add16(std::string& s, uint16_t v) { s += static_cast<char>(v & 0xFF), s += static_cast<char>(v >> 8); }
inline void add32(std::string& s, uint32_t v) { add16(s, static_cast<uint16_t>(v)), add16(s, static_cast<uint16_t>(v >> 16)); }
inline void add64(std::string& s, uint64_t v) { add32(s, static_cast<uint32_t>(v)), add32(s, static_cast<uint32_t>(v >> 32)); }

inline void put16(std::string& s, size_t at, uint16_t v) {
    s.at(at) = static_cast<char>(v & 0xFF);
    s.at(at + 1) = static_cast<char>(v >> 8);
}
inline void put32(std::string& s, size_t at, uint32_t v) {
    put16(s, at, static_cast<uint16_t>(v & 0xFFFF));
    put16(s, at + 2, static_cast<uint16_t>(v >> 16));
}

}  // namespace test
