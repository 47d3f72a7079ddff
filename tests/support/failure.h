#pragma once

// What an action throws, as one text that a test compares whole.

#include <string>

#include "un/un.exception.h"

namespace test {

// "kind: message" of the engine exception that `action` throws, or "no exception".
template <typename F>
std::string failureOf(F&& action) {
    try {
        action();
    } catch (const un::exception& e) {
        return e.kind() + ": " + e.what();
    }
    return "no exception";
}

}  // namespace test
