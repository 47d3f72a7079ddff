#pragma once

#include <cstdint>
#include <memory>

#include "stream/stream.Transform.h"

namespace algorithm::deflate {

// One row of the level table: how long a match must be before the search is
// cut short (good), before a lazy match is no longer tried (lazy), the length
// that ends the search at once (nice), and how many chain links are followed.
struct Level {
    int good;
    int lazy;
    int nice;
    int chain;
};

// The levels 1 to 9; entry 0 is level 1.
struct Levels {
    static constexpr int lowest = 1;
    static constexpr int highest = 9;
    static const Level table[9];
    // The row of `level`, clamped to 1..9.
    static const Level& of(int level);
};

// Writes raw Deflate (RFC 1951), with no frame and no check, through zlib's
// deflate tuned to the row of the level table. One object compresses one
// stream per call of process(); the input is read to its end.
class Compressor : public stream::Transform {
public:
    explicit Compressor(int level = 6);
    ~Compressor() override;
    Compressor(const Compressor&) = delete;
    Compressor& operator=(const Compressor&) = delete;

    using stream::Transform::process;
    uint64_t process(stream::Input& in, stream::Output& out) override;

    int level() const { return level_; }

private:
    int level_;
    std::unique_ptr<char[]> input_;
    std::unique_ptr<char[]> output_;
};

}  // namespace algorithm::deflate
