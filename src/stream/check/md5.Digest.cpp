#include "stream/check/md5.Digest.h"

#include <cstring>

#include "un/un.invert.h"

namespace algorithm::md5 {

namespace {

constexpr uint32_t rotate(uint32_t x, int n) { return (x << n) | (x >> (32 - n)); }

// Per-round shift amounts and sine-derived constants of RFC 1321.
constexpr int shifts[64] = {7, 12, 17, 22, 7, 12, 17, 22, 7, 12, 17, 22, 7, 12, 17, 22,
                            5, 9,  14, 20, 5, 9,  14, 20, 5, 9,  14, 20, 5, 9,  14, 20,
                            4, 11, 16, 23, 4, 11, 16, 23, 4, 11, 16, 23, 4, 11, 16, 23,
                            6, 10, 15, 21, 6, 10, 15, 21, 6, 10, 15, 21, 6, 10, 15, 21};

constexpr uint32_t constants[64] = {
    0xd76aa478, 0xe8c7b756, 0x242070db, 0xc1bdceee, 0xf57c0faf, 0x4787c62a, 0xa8304613, 0xfd469501,
    0x698098d8, 0x8b44f7af, 0xffff5bb1, 0x895cd7be, 0x6b901122, 0xfd987193, 0xa679438e, 0x49b40821,
    0xf61e2562, 0xc040b340, 0x265e5a51, 0xe9b6c7aa, 0xd62f105d, 0x02441453, 0xd8a1e681, 0xe7d3fbc8,
    0x21e1cde6, 0xc33707d6, 0xf4d50d87, 0x455a14ed, 0xa9e3e905, 0xfcefa3f8, 0x676f02d9, 0x8d2a4c8a,
    0xfffa3942, 0x8771f681, 0x6d9d6122, 0xfde5380c, 0xa4beea44, 0x4bdecfa9, 0xf6bb4b60, 0xbebfbc70,
    0x289b7ec6, 0xeaa127fa, 0xd4ef3085, 0x04881d05, 0xd9d4d039, 0xe6db99e5, 0x1fa27cf8, 0xc4ac5665,
    0xf4292244, 0x432aff97, 0xab9423a7, 0xfc93a039, 0x655b59c3, 0x8f0ccc92, 0xffeff47d, 0x85845dd1,
    0x6fa87e4f, 0xfe2ce6e0, 0xa3014314, 0x4e0811a1, 0xf7537e82, 0xbd3af235, 0x2ad7d2bb, 0xeb86d391};

} // namespace

Digest::Digest() : algorithm::Digest<std::vector<char>>(std::vector<char>()) { Digest::begin(); }

Digest::Digest(const char* data, uint32_t size) : Digest() {
    update(data, size);
    end();
}

void Digest::begin() {
    value_.clear();
    state_[0] = 0x67452301;
    state_[1] = 0xefcdab89;
    state_[2] = 0x98badcfe;
    state_[3] = 0x10325476;
    length_ = 0;
}

void Digest::update(char byte) { update(&byte, 1); }

void Digest::update(const char* data, uint32_t size) {
    if (data == nullptr) return;
    unsigned used = static_cast<unsigned>(length_ & 63);
    length_ += size;
    const unsigned char* in = reinterpret_cast<const unsigned char*>(data);
    if (used != 0) {
        unsigned take = 64 - used < size ? 64 - used : size;
        std::memcpy(block_ + used, in, take);
        in += take;
        size -= take;
        if (used + take < 64) return;
        transform(block_);
    }
    while (size >= 64) {
        transform(in);
        in += 64;
        size -= 64;
    }
    if (size != 0) std::memcpy(block_, in, size);
}

void Digest::end() {
    uint64_t bits = length_ * 8;
    unsigned char padding[72] = {0x80};
    unsigned used = static_cast<unsigned>(length_ & 63);
    unsigned padLength = used < 56 ? 56 - used : 120 - used;
    uint32_t lengthWords[2] = {static_cast<uint32_t>(bits), static_cast<uint32_t>(bits >> 32)};
    unsigned char lengthBytes[8];
    un::to_lsb(lengthBytes, lengthWords, 2);
    update(reinterpret_cast<const char*>(padding), padLength);
    update(reinterpret_cast<const char*>(lengthBytes), 8);
    unsigned char result[digestSize];
    un::to_lsb(result, state_, 4);
    value_.assign(reinterpret_cast<char*>(result), reinterpret_cast<char*>(result) + digestSize);
}

void Digest::transform(const unsigned char block[64]) {
    uint32_t x[16];
    un::from_lsb(x, block, 16);
    uint32_t a = state_[0], b = state_[1], c = state_[2], d = state_[3];
    for (int i = 0; i < 64; ++i) {
        uint32_t f;
        int g;
        if (i < 16) {
            f = functionF(b, c, d);
            g = i;
        } else if (i < 32) {
            f = functionG(b, c, d);
            g = (5 * i + 1) & 15;
        } else if (i < 48) {
            f = functionH(b, c, d);
            g = (3 * i + 5) & 15;
        } else {
            f = functionI(b, c, d);
            g = (7 * i) & 15;
        }
        uint32_t next = b + rotate(a + f + constants[i] + x[g], shifts[i]);
        a = d;
        d = c;
        c = b;
        b = next;
    }
    state_[0] += a;
    state_[1] += b;
    state_[2] += c;
    state_[3] += d;
}

} // namespace algorithm::md5
