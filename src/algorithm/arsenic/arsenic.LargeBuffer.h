#pragma once

#include <cstddef>
#include <memory>

namespace algorithm::arsenic {

// Memory for the large arrays of block sorting, which are read at random
// positions. Where the system offers large pages for such memory it is asked
// for them, since the walks through these arrays are bound by address
// translation as much as by the cache.
void* allocateLarge(size_t bytes);
void freeLarge(void* memory);

struct LargeDeleter {
    void operator()(void* memory) const { freeLarge(memory); }
};

template <typename T>
using LargeArray = std::unique_ptr<T[], LargeDeleter>;

// An array of `count` elements, zeroed.
template <typename T>
LargeArray<T> makeLarge(size_t count) {
    return LargeArray<T>(static_cast<T*>(allocateLarge(count * sizeof(T))));
}

} // namespace algorithm::arsenic
