#pragma once

#include <filesystem>
#include <string>

#include "support/scratch.h"

namespace enginetest {

// The shared scratch folder, as the engine's tests use it.
class Scratch : public test::Scratch {
public:
    Scratch() : test::Scratch("cratewerk-engine-") {}
    using test::Scratch::path;
    std::string path(const std::string& relative) const { return *this / relative; }
};

inline std::string join(std::initializer_list<std::string> parts) {
    std::filesystem::path path;
    for (const auto& part : parts) path /= part;
    return path.string();
}

}  // namespace enginetest
