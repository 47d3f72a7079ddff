#pragma once

#include <array>
#include <cstdint>
#include <memory>

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
// table is the CRC of the single byte i from a zero value. Seven derived tables
// let a block update take eight bytes a step (slicing by eight) with the same
// result. The tables of the two polynomials the formats use everywhere (0xA001
// and 0xEDB88320) are built once per process and shared, so that a check made
// per item or per header costs no table building; any other polynomial gets
// its own tables from the constructor. The CRC-32 of 0xEDB88320 takes long
// blocks by carry-less multiplication where the processor has it.
template <typename T>
class ReflectedCRC : public CRC<T> {
    static constexpr int slices = 8;
    using Tables = std::array<std::array<T, 256>, slices>;

public:
    ReflectedCRC(T polynomial, T seed) : CRC<T>(polynomial, seed) {
        if (polynomial == common()) {
            static const Tables shared = build(common());
            table_ = &shared;
        } else {
            own_ = std::make_shared<const Tables>(build(polynomial));
            table_ = own_.get();
        }
    }

    using CRC<T>::update;
    void update(char byte) override {
        const Tables& table = *table_;
        this->value_ =
            static_cast<T>((this->value_ >> 8) ^ table[0][(this->value_ ^ static_cast<unsigned char>(byte)) & 0xFF]);
    }
    void update(const char* data, uint32_t size) override {
        const Tables& table = *table_;
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
            uint32_t low =
                uint32_t(v) ^ (uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 | uint32_t(p[3]) << 24);
            v = static_cast<T>(table[7][low & 0xFF] ^ table[6][(low >> 8) & 0xFF] ^ table[5][(low >> 16) & 0xFF] ^
                               table[4][low >> 24] ^ table[3][p[4]] ^ table[2][p[5]] ^ table[1][p[6]] ^ table[0][p[7]]);
            p += 8;
            size -= 8;
        }
        for (uint32_t i = 0; i < size; ++i) v = static_cast<T>((v >> 8) ^ table[0][(v ^ p[i]) & 0xFF]);
        this->value_ = v;
    }

private:
    static constexpr T common() {
        if constexpr (sizeof(T) == 4)
            return static_cast<T>(0xEDB88320u);
        else
            return static_cast<T>(0xA001u);
    }

    static Tables build(T polynomial) {
        Tables table;
        for (uint32_t i = 0; i < 256; ++i) {
            T v = static_cast<T>(i);
            for (int bit = 0; bit < 8; ++bit)
                v = (v & 1) ? static_cast<T>((v >> 1) ^ polynomial) : static_cast<T>(v >> 1);
            table[0][i] = v;
        }
        for (int k = 1; k < slices; ++k)
            for (uint32_t i = 0; i < 256; ++i)
                table[k][i] = static_cast<T>((table[k - 1][i] >> 8) ^ table[0][table[k - 1][i] & 0xFF]);
        return table;
    }

    const Tables* table_;
    std::shared_ptr<const Tables> own_;
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
