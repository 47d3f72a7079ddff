#include "stream/check/crc.CRC.h"

namespace algorithm::crc {

void BinHexCRC::update(char byte) {
    unsigned b = static_cast<unsigned char>(byte);
    uint16_t v = value_;
    for (int i = 7; i >= 0; --i) {
        bool top = (v & 0x8000) != 0;
        v = static_cast<uint16_t>((v << 1) | ((b >> i) & 1));
        if (top) v ^= 0x1021;
    }
    value_ = v;
}

const MacBinaryTable MacBinaryTable::table;

MacBinaryTable::MacBinaryTable() {
    for (unsigned i = 0; i < 256; ++i) {
        uint16_t v = static_cast<uint16_t>(i << 8);
        for (int bit = 0; bit < 8; ++bit) v = (v & 0x8000) ? static_cast<uint16_t>((v << 1) ^ 0x1021) : static_cast<uint16_t>(v << 1);
        entries_[i] = v;
    }
}

void MacBinaryCRC::update(char byte) {
    uint16_t v = static_cast<uint16_t>(value_ ^ (static_cast<unsigned char>(byte) << 8));
    value_ = static_cast<uint16_t>((v << 8) ^ MacBinaryTable::table[(v >> 8) & 0xFF]);
}

} // namespace algorithm::crc
