#pragma once

#include "un/un.exception.h"

namespace algorithm {

// A failure inside a compression method or a check. The kind names the source:
// "algorithm" or the class that failed.
class Exception : public un::exception {
public:
    explicit Exception(const std::string& message, const std::string& source = "algorithm")
        : un::exception(message, source) {}
};

} // namespace algorithm
