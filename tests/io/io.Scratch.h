#pragma once

#include <functional>
#include <string>

#include "io/io.Exception.h"
#include "io/io.Path.h"
#include "support/scratch.h"

namespace iotest {

// The shared scratch folder, with the names the I/O tests use.
class Scratch : public test::Scratch {
public:
    Scratch() : test::Scratch("cratewerk-io-") {}
    std::string root() const { return str(); }
    // The root joined with a relative name written with "/", in the platform's form.
    std::string at(const std::string& relative) const { return relative.empty() ? str() : *this / relative; }
    void write(const std::string& relative, const std::string& bytes) const { test::Scratch::write(relative, bytes); }
};

// A path written with "/" in the platform's form.
inline std::string native(std::string path) {
    for (char& c : path)
        if (c == '/') c = io::Path::separator;
    return path;
}

// The message of the exception of class E that `action` throws, or a text
// that says what happened instead. Every failure of this layer is of the kind "I/O".
template <class E>
std::string failure(const std::function<void()>& action) {
    try {
        action();
    } catch (const E& e) {
        if (e.kind() != "I/O") return "kind " + e.kind() + ": " + e.what();
        return e.what();
    } catch (const std::exception& e) {
        return std::string("another exception: ") + e.what();
    }
    return "(nothing thrown)";
}

} // namespace iotest
