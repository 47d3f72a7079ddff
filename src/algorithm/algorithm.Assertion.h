#pragma once

#include <cstdio>
#include <string>

#include "algorithm/algorithm.Exception.h"

namespace algorithm {

// A broken internal invariant: an algorithm::Exception whose kind is the
// title "Assertion Failure" and whose message carries the condition's text.
[[noreturn]] inline void assertionFailed(const char* condition, const char* file, int line) {
    char text[512];
    std::snprintf(text, sizeof text, "Assertion (%s) failed in \"%s\" on line %d\n", condition, file, line);
    throw Exception(text, "Assertion Failure");
}

} // namespace algorithm

#define ALGORITHM_ASSERT(condition, text) \
    do { \
        if (!(condition)) ::algorithm::assertionFailed(text, __FILE__, __LINE__); \
    } while (false)
