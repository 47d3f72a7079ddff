#include "algorithm/deflate/flate.compressor.h"

#include <libdeflate.h>

#include <algorithm>
#include <memory>
#include <vector>

#include "algorithm/algorithm.Exception.h"
#include "algorithm/deflate/deflate.Compressor.h"

namespace flate {

namespace {
constexpr uint32_t blockSize = 65536;
constexpr int firstLevel = 10;
constexpr int lastLevel = 12;

struct Freer {
    void operator()(libdeflate_compressor* c) const { libdeflate_free_compressor(c); }
};

// Hands on the bytes already taken from `rest`, then the rest itself.
class Joined : public stream::Input {
public:
    Joined(const std::vector<char>& head, stream::Input& rest) : head_(head), rest_(rest) {}
    int read() override {
        char c;
        return read(&c, 1) == 1 ? static_cast<unsigned char>(c) : -1;
    }
    uint32_t read(char* buffer, uint32_t count) override {
        uint32_t n = 0;
        if (position_ < head_.size()) {
            n = static_cast<uint32_t>(std::min<uint64_t>(count, head_.size() - position_));
            std::copy_n(head_.data() + position_, n, buffer);
            position_ += n;
        }
        if (n < count) n += rest_.read(buffer + n, count - n);
        return n;
    }
    uint64_t tell() const override { return rest_.tell() - (head_.size() - position_); }

private:
    const std::vector<char>& head_;
    stream::Input& rest_;
    uint64_t position_ = 0;
};

}  // namespace

compressor::compressor(int setting) : setting_(std::clamp(setting + firstLevel - 1, firstLevel, lastLevel) - 9) {}

uint64_t compressor::process(stream::Input& in, stream::Output& out) {
    std::vector<char> data;
    for (;;) {
        const size_t had = data.size();
        data.resize(had + blockSize);
        const uint32_t got = in.read(data.data() + had, blockSize);
        data.resize(had + got);
        if (got == 0) break;
        if (data.size() > chunkLimit) {
            Joined whole(data, in);
            algorithm::deflate::Compressor strongest(algorithm::deflate::Levels::highest);
            return strongest.process(whole, out);
        }
    }

    std::unique_ptr<libdeflate_compressor, Freer> c(libdeflate_alloc_compressor(setting_ + 9));
    if (!c) throw algorithm::Exception("cannot start libdeflate in flate::compressor::process()", "algorithm");
    std::vector<char> packed(libdeflate_deflate_compress_bound(c.get(), data.size()));
    const size_t size = libdeflate_deflate_compress(c.get(), data.data(), data.size(), packed.data(), packed.size());
    if (size == 0) throw algorithm::Exception("libdeflate failed in flate::compressor::process()", "algorithm");
    out.write(packed.data(), static_cast<uint32_t>(size));
    return size;
}

}  // namespace flate
