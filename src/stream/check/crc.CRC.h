#pragma once

#include <array>
#include <cstdint>

#include "stream/check/algorithm.Digest.h"

namespace algorithm::crc {

// The CRC-32 of polynomial 0xEDB88320 by carry-less multiplication, for
// processors that have it (PCLMULQDQ and SSE4.1 on x86, found at run time).
// carrylessCRC32 takes the running value, not complemented, and a size of at
// least 64 that is a multiple of 16; it is called only when carrylessCRC32Available().
bool carrylessCRC32Available();
uint32_t carrylessCRC32(uint32_t value, const unsigned char* data, uint32_t size);

template <typename T>
class CRC : public Digest<T> {
public:
    CRC(T polynomial, T seed) : Digest<T>(seed), polynomial_(polynomial) {}
    T polynomial() const { return polynomial_; }

protected:
    T polynomial_;
};

using CRC16 = CRC<uint16_t>;
using CRC32 = CRC<uint32_t>;

// The reflected (least significant bit first) table-driven CRC. Entry i of the
// table is the CRC of the single byte i from a zero value; each object builds
// its tables once. Seven derived tables let a block update take eight bytes a
// step (slicing by eight) with the same result. The CRC-32 of 0xEDB88320 takes
// long blocks by carry-less multiplication where the processor has it.
template <typename T>
class ReflectedCRC : public CRC<T> {
    static constexpr int slices = 8;

public:
    ReflectedCRC(T polynomial, T seed) : CRC<T>(polynomial, seed) {
        for (uint32_t i = 0; i < 256; ++i) {
            T v = static_cast<T>(i);
            for (int bit = 0; bit < 8; ++bit) v = (v & 1) ? static_cast<T>((v >> 1) ^ polynomial) : static_cast<T>(v >> 1);
            table_[0][i] = v;
        }
        for (int k = 1; k < slices; ++k)
            for (uint32_t i = 0; i < 256; ++i)
                table_[k][i] = static_cast<T>((table_[k - 1][i] >> 8) ^ table_[0][table_[k - 1][i] & 0xFF]);
    }

    using CRC<T>::update;
    void update(char byte) override {
        this->value_ = static_cast<T>((this->value_ >> 8) ^ table_[0][(this->value_ ^ static_cast<unsigned char>(byte)) & 0xFF]);
    }
    void update(const char* data, uint32_t size) override {
        T v = this->value_;
        const unsigned char* p = reinterpret_cast<const unsigned char*>(data);
        if constexpr (sizeof(T) == 4) {
            if (size >= 64 && this->polynomial_ == 0xEDB88320u && carrylessCRC32Available()) {
                const uint32_t whole = size & ~uint32_t(15);
                v = carrylessCRC32(v, p, whole);
                p += whole;
                size -= whole;
            }
        }
        // The value meets the first bytes of each step; the other bytes go
        // through the tables as they are.
        while (size >= 8) {
            uint32_t low = uint32_t(v) ^ (uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 | uint32_t(p[3]) << 24);
            v = static_cast<T>(table_[7][low & 0xFF] ^ table_[6][(low >> 8) & 0xFF] ^ table_[5][(low >> 16) & 0xFF] ^
                               table_[4][low >> 24] ^ table_[3][p[4]] ^ table_[2][p[5]] ^ table_[1][p[6]] ^
                               table_[0][p[7]]);
            p += 8;
            size -= 8;
        }
        for (uint32_t i = 0; i < size; ++i) v = static_cast<T>((v >> 8) ^ table_[0][(v ^ p[i]) & 0xFF]);
        this->value_ = v;
    }

private:
    std::array<std::array<T, 256>, slices> table_;
};

class GenericCRC16 : public ReflectedCRC<uint16_t> {
public:
    GenericCRC16(uint16_t polynomial, uint16_t seed) : ReflectedCRC<uint16_t>(polynomial, seed) {}
};

// The header and name check of the native formats, with polynomial 0xA001 and seed 0.
class BisyncCRC : public ReflectedCRC<uint16_t> {
public:
    BisyncCRC(uint16_t polynomial = 0xA001, uint16_t seed = 0) : ReflectedCRC<uint16_t>(polynomial, seed) {}
};

class GenericCRC32 : public ReflectedCRC<uint32_t> {
public:
    GenericCRC32(uint32_t polynomial, uint32_t seed) : ReflectedCRC<uint32_t>(polynomial, seed) {}
};

// The CRC-32 of Ethernet, Zip and gzip, without its final complement.
class EthernetCRC : public ReflectedCRC<uint32_t> {
public:
    explicit EthernetCRC(uint32_t seed = 0xFFFFFFFFu) : ReflectedCRC<uint32_t>(0xEDB88320u, seed) {}
};

// The forward CRC of BinHex, bit by bit with polynomial 0x1021. A BinHex check
// feeds two zero bytes after the data.
class BinHexCRC : public CRC<uint16_t> {
public:
    explicit BinHexCRC(uint16_t seed = 0) : CRC<uint16_t>(0x1021, seed) {}

    using CRC<uint16_t>::update;
    void update(char byte) override;
};

// The standard forward table of polynomial 0x1021.
class MacBinaryTable {
public:
    static const MacBinaryTable table;
    uint16_t operator[](unsigned index) const { return entries_[index & 0xFF]; }

private:
    MacBinaryTable();
    std::array<uint16_t, 256> entries_;
};

// The forward CRC of polynomial 0x1021 through MacBinaryTable.
class MacBinaryCRC : public CRC<uint16_t> {
public:
    explicit MacBinaryCRC(uint16_t seed = 0) : CRC<uint16_t>(0x1021, seed) {}

    using CRC<uint16_t>::update;
    void update(char byte) override;
};

} // namespace algorithm::crc
