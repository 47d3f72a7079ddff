#pragma once

#include <cstdint>

#include "stream/stream.FilterInput.h"
#include "stream/stream.FilterOutput.h"

namespace stream {

// The byte-order vocabulary of record code. Integers are composed from single
// read() calls and written with single write(char) calls. The end of the stream
// is not noticed: a -1 from read() counts as the byte 0xFF. A record that must
// notice truncation reads through a stream::SafeInput.
//
//   stream::BigEndianInput in(input);
//   uint32_t offset = in.u32();
//   in >> flags >> count;

class BigEndianInput : public FilterInput {
public:
    explicit BigEndianInput(Input& under) : FilterInput(under) {}

    uint8_t u8() { return static_cast<uint8_t>(read()); }
    uint16_t u16() {
        uint16_t high = u8();
        return static_cast<uint16_t>(high * 256 + u8());
    }
    uint32_t u32() {
        uint32_t high = u16();
        return high * 65536u + u16();
    }
    int8_t s8() { return static_cast<int8_t>(u8()); }
    int16_t s16() { return static_cast<int16_t>(u16()); }
    int32_t s32() { return static_cast<int32_t>(u32()); }

    BigEndianInput& operator>>(uint8_t& v) { v = u8(); return *this; }
    BigEndianInput& operator>>(int8_t& v) { v = s8(); return *this; }
    BigEndianInput& operator>>(uint16_t& v) { v = u16(); return *this; }
    BigEndianInput& operator>>(int16_t& v) { v = s16(); return *this; }
    BigEndianInput& operator>>(uint32_t& v) { v = u32(); return *this; }
    BigEndianInput& operator>>(int32_t& v) { v = s32(); return *this; }
};

class LittleEndianInput : public FilterInput {
public:
    explicit LittleEndianInput(Input& under) : FilterInput(under) {}

    uint8_t u8() { return static_cast<uint8_t>(read()); }
    uint16_t u16() {
        uint16_t low = u8();
        return static_cast<uint16_t>(low + u8() * 256);
    }
    uint32_t u32() {
        uint32_t low = u16();
        return low + u16() * 65536u;
    }
    int8_t s8() { return static_cast<int8_t>(u8()); }
    int16_t s16() { return static_cast<int16_t>(u16()); }
    int32_t s32() { return static_cast<int32_t>(u32()); }

    LittleEndianInput& operator>>(uint8_t& v) { v = u8(); return *this; }
    LittleEndianInput& operator>>(int8_t& v) { v = s8(); return *this; }
    LittleEndianInput& operator>>(uint16_t& v) { v = u16(); return *this; }
    LittleEndianInput& operator>>(int16_t& v) { v = s16(); return *this; }
    LittleEndianInput& operator>>(uint32_t& v) { v = u32(); return *this; }
    LittleEndianInput& operator>>(int32_t& v) { v = s32(); return *this; }
};

class BigEndianOutput : public FilterOutput {
public:
    explicit BigEndianOutput(Output& under) : FilterOutput(under) {}

    void u8(uint8_t v) { write(static_cast<char>(v)); }
    void u16(uint16_t v) {
        u8(static_cast<uint8_t>(v >> 8));
        u8(static_cast<uint8_t>(v));
    }
    void u32(uint32_t v) {
        u16(static_cast<uint16_t>(v >> 16));
        u16(static_cast<uint16_t>(v));
    }

    BigEndianOutput& operator<<(uint8_t v) { u8(v); return *this; }
    BigEndianOutput& operator<<(int8_t v) { u8(static_cast<uint8_t>(v)); return *this; }
    BigEndianOutput& operator<<(uint16_t v) { u16(v); return *this; }
    BigEndianOutput& operator<<(int16_t v) { u16(static_cast<uint16_t>(v)); return *this; }
    BigEndianOutput& operator<<(uint32_t v) { u32(v); return *this; }
    BigEndianOutput& operator<<(int32_t v) { u32(static_cast<uint32_t>(v)); return *this; }
};

class LittleEndianOutput : public FilterOutput {
public:
    explicit LittleEndianOutput(Output& under) : FilterOutput(under) {}

    void u8(uint8_t v) { write(static_cast<char>(v)); }
    void u16(uint16_t v) {
        u8(static_cast<uint8_t>(v));
        u8(static_cast<uint8_t>(v >> 8));
    }
    void u32(uint32_t v) {
        u16(static_cast<uint16_t>(v));
        u16(static_cast<uint16_t>(v >> 16));
    }

    LittleEndianOutput& operator<<(uint8_t v) { u8(v); return *this; }
    LittleEndianOutput& operator<<(int8_t v) { u8(static_cast<uint8_t>(v)); return *this; }
    LittleEndianOutput& operator<<(uint16_t v) { u16(v); return *this; }
    LittleEndianOutput& operator<<(int16_t v) { u16(static_cast<uint16_t>(v)); return *this; }
    LittleEndianOutput& operator<<(uint32_t v) { u32(v); return *this; }
    LittleEndianOutput& operator<<(int32_t v) { u32(static_cast<uint32_t>(v)); return *this; }
};

} // namespace stream
