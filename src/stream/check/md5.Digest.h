#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "stream/check/algorithm.Digest.h"

namespace algorithm::md5 {

// MD5 of RFC 1321. value() holds the 16-byte digest after end().
class Digest : public algorithm::Digest<std::vector<char>> {
public:
    static constexpr unsigned digestSize = 16;

    Digest();
    Digest(const char* data, uint32_t size);

    void begin() override;
    void update(char byte) override;
    void update(const char* data, uint32_t size) override;
    void update(const std::string& text) { update(text.data(), static_cast<uint32_t>(text.size())); }
    void end() override;

protected:
    void transform(const unsigned char block[64]);

    static uint32_t functionF(uint32_t x, uint32_t y, uint32_t z) { return (x & y) | (~x & z); }
    static uint32_t functionG(uint32_t x, uint32_t y, uint32_t z) { return (x & z) | (y & ~z); }
    static uint32_t functionH(uint32_t x, uint32_t y, uint32_t z) { return x ^ y ^ z; }
    static uint32_t functionI(uint32_t x, uint32_t y, uint32_t z) { return y ^ (x | ~z); }

private:
    uint32_t state_[4];
    uint64_t length_;
    unsigned char block_[64];
};

} // namespace algorithm::md5
