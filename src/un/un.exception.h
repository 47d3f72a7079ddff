#pragma once

#include <exception>
#include <string>

namespace un {

// Root of every exception the engine throws: a message for people and a kind
// that says which layer failed ("stream", "format", "I/O", ...).
class exception : public std::exception {
public:
    exception(std::string message, std::string kind)
        : message_(std::move(message)), kind_(std::move(kind)) {}
    ~exception() override = default;

    const char* what() const noexcept override { return message_.c_str(); }
    const std::string& message() const noexcept { return message_; }
    const std::string& kind() const noexcept { return kind_; }

private:
    std::string message_;
    std::string kind_;
};

} // namespace un
