#include <sys/mman.h>

#include <cstdlib>
#include <cstring>
#include <new>

#include "algorithm/arsenic/arsenic.LargeBuffer.h"

namespace algorithm::arsenic {

namespace {
constexpr size_t largePage = size_t(2) << 20;
}

void* allocateLarge(size_t bytes) {
    if (bytes < largePage) {
        void* memory = std::calloc(bytes == 0 ? 1 : bytes, 1);
        if (memory == nullptr) throw std::bad_alloc();
        return memory;
    }
    size_t rounded = (bytes + largePage - 1) / largePage * largePage;
    void* memory = std::aligned_alloc(largePage, rounded);
    if (memory == nullptr) throw std::bad_alloc();
#ifdef MADV_HUGEPAGE
    madvise(memory, rounded, MADV_HUGEPAGE);
#endif
    std::memset(memory, 0, bytes);
    return memory;
}

void freeLarge(void* memory) { std::free(memory); }

} // namespace algorithm::arsenic
