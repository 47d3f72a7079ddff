// One libFuzzer program: the target named by CRATEWERK_FUZZ_TARGET.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "fuzz/fuzz.Targets.h"

#define CRATEWERK_STRING2(x) #x
#define CRATEWERK_STRING(x) CRATEWERK_STRING2(x)

namespace {
fuzz::Target target = nullptr;
}

// libFuzzer reads its flags after this call, so the target's longest input
// goes in as a flag of its own, before the caller's: a -max_len given on the
// command line still wins.
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    const char* name = CRATEWERK_STRING(CRATEWERK_FUZZ_TARGET);
    const fuzz::Entry* found = nullptr;
    for (const fuzz::Entry& entry : fuzz::targets())
        if (std::strcmp(entry.name, name) == 0) found = &entry;
    if (found == nullptr) {
        std::fprintf(stderr, "no fuzz target %s\n", name);
        std::abort();
    }
    target = found->run;

    static std::string maxLength = "-max_len=" + std::to_string(found->maxLength);
    static std::vector<char*> arguments;
    arguments.assign(*argv, *argv + *argc);
    arguments.insert(arguments.begin() + (*argc > 0 ? 1 : 0), &maxLength[0]);
    arguments.push_back(nullptr);
    *argc = int(arguments.size() - 1);
    *argv = arguments.data();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) { return target(data, size); }
