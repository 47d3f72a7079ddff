#pragma once

#include "un/un.exception.h"

namespace format {

class Exception : public un::exception {
public:
    explicit Exception(const std::string& message) : un::exception(message, "format") {}
};

} // namespace format
