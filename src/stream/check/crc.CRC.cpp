#include "stream/check/crc.CRC.h"

#include "stream/check/crc.EthernetTable.h"

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

#if defined(__x86_64__) || defined(__i386__)
#include <cpuid.h>
#include <immintrin.h>

namespace algorithm::crc {

bool carrylessCRC32Available() {
    static const bool available = [] {
        unsigned a = 0, b = 0, c = 0, d = 0;
        if (__get_cpuid(1, &a, &b, &c, &d) == 0) return false;
        return (c & bit_PCLMUL) != 0 && (c & bit_SSE4_1) != 0;
    }();
    return available;
}

namespace {

#define CRATEWERK_CARRYLESS __attribute__((target("pclmul,sse4.1")))

CRATEWERK_CARRYLESS inline __m128i load(const unsigned char* p) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}

// Multiplies both halves of x by the two constants in k, and adds them and next.
CRATEWERK_CARRYLESS inline __m128i fold(__m128i x, __m128i k, __m128i next) {
    const __m128i lo = _mm_clmulepi64_si128(x, k, 0x00);
    const __m128i hi = _mm_clmulepi64_si128(x, k, 0x11);
    return _mm_xor_si128(_mm_xor_si128(lo, hi), next);
}

} // namespace

// Folds four 128-bit lanes over 64 bytes a step, then the lanes into one, then
// 16 bytes a step, and reduces the last 128 bits to 32 (Barrett reduction).
// The constants are powers of x modulo the polynomial, bit-reflected, as the
// reflected CRC needs them.
// A 32-bit Windows host may call in with its stack aligned to 4 bytes only;
// the vectors that this function keeps on the stack want 16.
#if defined(__i386__)
__attribute__((force_align_arg_pointer))
#endif
CRATEWERK_CARRYLESS uint32_t
carrylessCRC32(uint32_t value, const unsigned char* data, uint32_t size) {
    const __m128i k1k2 = _mm_set_epi64x(0x01c6e41596, 0x0154442bd4);
    const __m128i k3k4 = _mm_set_epi64x(0x00ccaa009e, 0x01751997d0);
    const __m128i k5 = _mm_set_epi64x(0, 0x0163cd6124);
    const __m128i poly = _mm_set_epi64x(0x01f7011641, 0x01db710641);
    const __m128i low32 = _mm_setr_epi32(~0, 0, ~0, 0);

    __m128i x1 = _mm_xor_si128(load(data), _mm_cvtsi32_si128(static_cast<int>(value)));
    __m128i x2 = load(data + 16);
    __m128i x3 = load(data + 32);
    __m128i x4 = load(data + 48);
    data += 64;
    size -= 64;
    while (size >= 64) {
        x1 = fold(x1, k1k2, load(data));
        x2 = fold(x2, k1k2, load(data + 16));
        x3 = fold(x3, k1k2, load(data + 32));
        x4 = fold(x4, k1k2, load(data + 48));
        data += 64;
        size -= 64;
    }
    x1 = fold(x1, k3k4, x2);
    x1 = fold(x1, k3k4, x3);
    x1 = fold(x1, k3k4, x4);
    while (size >= 16) {
        x1 = fold(x1, k3k4, load(data));
        data += 16;
        size -= 16;
    }

    // 128 bits to 64, then to 32.
    __m128i x2r = _mm_clmulepi64_si128(x1, k3k4, 0x10);
    x1 = _mm_xor_si128(_mm_srli_si128(x1, 8), x2r);
    x2r = _mm_srli_si128(x1, 4);
    x1 = _mm_and_si128(x1, low32);
    x1 = _mm_clmulepi64_si128(x1, k5, 0x00);
    x1 = _mm_xor_si128(x1, x2r);

    __m128i t = _mm_and_si128(x1, low32);
    t = _mm_clmulepi64_si128(t, poly, 0x10);
    t = _mm_and_si128(t, low32);
    t = _mm_clmulepi64_si128(t, poly, 0x00);
    x1 = _mm_xor_si128(x1, t);
    return static_cast<uint32_t>(_mm_extract_epi32(x1, 1));
}

#undef CRATEWERK_CARRYLESS

} // namespace algorithm::crc

#else

namespace algorithm::crc {

bool carrylessCRC32Available() { return false; }

uint32_t carrylessCRC32(uint32_t value, const unsigned char* data, uint32_t size) {
    for (uint32_t i = 0; i < size; ++i) value = (value >> 8) ^ EthernetTable::table[(value ^ data[i]) & 0xFF];
    return value;
}

} // namespace algorithm::crc

#endif
