#pragma once

// Helpers for the record tests: expected layouts built byte by byte at the
// offsets of the on-disk tables, and records written to or read from memory.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "stream/check/crc.CRC.h"
#include "stream/stream.Array.h"
#include "stream/stream.Vector.h"
#include "un/un.structure.h"

namespace records_test {

class Bytes {
public:
    explicit Bytes(std::size_t size) : data(size, 0) {}
    std::vector<char> data;

    Bytes& u8(std::size_t at, uint8_t v) {
        data.at(at) = static_cast<char>(v);
        return *this;
    }
    Bytes& u16(std::size_t at, uint16_t v) { return u8(at, uint8_t(v >> 8)).u8(at + 1, uint8_t(v)); }
    Bytes& u32(std::size_t at, uint32_t v) { return u16(at, uint16_t(v >> 16)).u16(at + 2, uint16_t(v)); }
    Bytes& text(std::size_t at, std::string_view t) {
        for (std::size_t i = 0; i < t.size(); ++i) data.at(at + i) = t[i];
        return *this;
    }
    // Stores at `at` the header CRC of [from, to) taken with that field as it stands.
    Bytes& crc(std::size_t at, std::size_t from, std::size_t to) {
        algorithm::crc::BisyncCRC crc;
        crc.update(data.data() + from, static_cast<uint32_t>(to - from));
        return u16(at, crc.value());
    }
};

inline std::vector<char> written(const un::structure& record) {
    std::vector<char> bytes;
    stream::VectorOutput out(bytes);
    record.write(out);
    return bytes;
}

// Reads `record` from `bytes`; answers the number of bytes it consumed.
inline uint64_t readFrom(un::structure& record, const std::vector<char>& bytes, bool strict = true) {
    stream::ArrayInput in(bytes.data(), static_cast<uint32_t>(bytes.size()));
    record.read(in, strict);
    return in.tell();
}

inline std::string hex(const std::vector<char>& bytes) {
    static const char digits[] = "0123456789ABCDEF";
    std::string text;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (i != 0) text += (i % 16 == 0) ? '\n' : ' ';
        text += digits[(static_cast<unsigned char>(bytes[i]) >> 4) & 15];
        text += digits[static_cast<unsigned char>(bytes[i]) & 15];
    }
    return text;
}

} // namespace records_test
