#include <cstdlib>
#include <new>

#include "algorithm/arsenic/arsenic.LargeBuffer.h"

namespace algorithm::arsenic {

void* allocateLarge(size_t bytes) {
    void* memory = std::calloc(bytes == 0 ? 1 : bytes, 1);
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
}

void freeLarge(void* memory) { std::free(memory); }

} // namespace algorithm::arsenic
