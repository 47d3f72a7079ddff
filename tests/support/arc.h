#pragma once

// ARC entries built by the tests: the mark, the method, a 13-byte name, the
// stored size, a fixed DOS date and time, the CRC-16 of the expanded data and,
// but for method 1, the expanded size.

#include <cstdint>
#include <string>
#include <vector>

#include "support/bytes.h"

namespace test::arc {

inline std::string entry(int method, const std::string& name, const std::string& data, const std::string& stored,
                         uint32_t size) {
    std::string b = "\x1A";
    b += static_cast<char>(method);
    std::string field = name;
    field.resize(13, '\0');
    b += field;
    auto le = [&](uint32_t v, int n) {
        for (int i = 0; i < n; ++i) b += static_cast<char>(v >> (8 * i));
    };
    le(static_cast<uint32_t>(stored.size()), 4);
    le(0x5A21, 2);  // 2025-01-01
    le(0x6000, 2);  // 12:00
    le(test::crc16(data), 2);
    if (method != 1) le(size, 4);
    return b + stored;
}

inline std::string entry(int method, const std::string& name, const std::string& data, const std::string& stored) {
    return entry(method, name, data, stored, static_cast<uint32_t>(data.size()));
}

inline std::string archive(const std::vector<std::string>& entries) {
    std::string all;
    for (const std::string& e : entries) all += e;
    return all + std::string("\x1A\x00", 2);
}

}  // namespace test::arc
