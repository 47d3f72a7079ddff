#pragma once

#include <string>

namespace algorithm {

// A password held in a string. The buffer is overwritten with zero bytes by
// erase() and when the object is destroyed.
class Password {
public:
    Password() = default;
    explicit Password(const std::string& text) : text_(text) {}
    Password(const Password& other) : text_(other.text_) {}
    Password& operator=(const Password& other);
    Password& operator=(const std::string& text);
    virtual ~Password();

    virtual void erase();

    const std::string& value() const { return text_; }
    bool empty() const { return text_.empty(); }

private:
    std::string text_;
};

} // namespace algorithm
