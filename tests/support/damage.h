#pragma once

// Damaged copies of good input for the hostile-input tests, and how many of
// them a test makes.

#include <algorithm>
#include <random>

namespace test {

// How many rounds of random damage a test runs of the `full` count: all of
// them but under the address sanitizer, which runs every round several times
// slower and finds the same faults in a quarter of them.
inline int damageRounds(int full) {
#if defined(__SANITIZE_ADDRESS__)
    return full / 4;
#else
    return full;
#endif
}

// The same for rounds that each make files, which are slow under the
// emulator (Wine): 300 at the most there.
inline int fileDamageRounds(int full) {
#if defined(_WIN32)
    return std::min(full, 300);
#else
    return damageRounds(full);
#endif
}

// `bytes` with 1 to `most` bytes changed at random places to other values.
template <typename Bytes>
Bytes flipped(Bytes bytes, std::mt19937& random, int most) {
    const int flips = 1 + static_cast<int>(random() % static_cast<unsigned>(most));
    for (int i = 0; i < flips; ++i) bytes[random() % bytes.size()] ^= static_cast<char>(1 + random() % 255);
    return bytes;
}

}  // namespace test
