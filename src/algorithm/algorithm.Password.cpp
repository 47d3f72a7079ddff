#include "algorithm/algorithm.Password.h"

namespace algorithm {

namespace {

// Overwrites through a volatile pointer so the stores are not dropped as dead.
void wipe(std::string& text) {
    volatile char* p = text.data();
    for (std::string::size_type i = 0; i < text.size(); ++i) p[i] = 0;
}

} // namespace

Password& Password::operator=(const Password& other) {
    if (this != &other) *this = other.text_;
    return *this;
}

Password& Password::operator=(const std::string& text) {
    erase();
    text_ = text;
    return *this;
}

Password::~Password() { Password::erase(); }

void Password::erase() {
    wipe(text_);
    text_.clear();
}

} // namespace algorithm
