#pragma once

#include "un/un.exception.h"

namespace io {

// A failure of the file system layer. Reading failures are InputExceptions,
// writing failures OutputExceptions; all share the kind "I/O".
class Exception : public un::exception {
public:
    explicit Exception(const std::string& message) : un::exception(message, "I/O") {}
};

class InputException : public Exception {
public:
    explicit InputException(const std::string& message) : Exception(message) {}
};

class OutputException : public Exception {
public:
    explicit OutputException(const std::string& message, bool diskFull = false)
        : Exception(message), diskFull_(diskFull) {}
    // The write failed because the volume had no room left.
    bool diskFull() const { return diskFull_; }

private:
    bool diskFull_;
};

} // namespace io
