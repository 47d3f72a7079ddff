#pragma once

#include <array>
#include <cstdint>

namespace algorithm::crc {

// The reflected table of polynomial 0xEDB88320, shared by code that needs the
// CRC-32 step without a digest object (the Zip cipher's key schedule). It is
// built at compile time, so it is ready before any static constructor runs.
class EthernetTable {
public:
    static const EthernetTable table;

    constexpr EthernetTable() : entries_() {
        for (uint32_t i = 0; i < 256; ++i) {
            uint32_t v = i;
            for (int bit = 0; bit < 8; ++bit) v = (v & 1) ? (v >> 1) ^ 0xEDB88320u : v >> 1;
            entries_[i] = v;
        }
    }
    constexpr uint32_t operator[](unsigned index) const { return entries_[index & 0xFF]; }

private:
    std::array<uint32_t, 256> entries_;
};

inline constexpr EthernetTable EthernetTable::table{};

} // namespace algorithm::crc
