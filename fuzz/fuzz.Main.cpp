// One libFuzzer program: the target named by CRATEWERK_FUZZ_TARGET.
#include <cstdio>
#include <cstdlib>

#include "fuzz/fuzz.Targets.h"

#define CRATEWERK_STRING2(x) #x
#define CRATEWERK_STRING(x) CRATEWERK_STRING2(x)

namespace {
fuzz::Target target = nullptr;
}

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    target = fuzz::find(CRATEWERK_STRING(CRATEWERK_FUZZ_TARGET));
    if (target == nullptr) {
        std::fprintf(stderr, "no fuzz target %s\n", CRATEWERK_STRING(CRATEWERK_FUZZ_TARGET));
        std::abort();
    }
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) { return target(data, size); }
