#pragma once

#include "un/un.exception.h"

namespace stream {

class Exception : public un::exception {
public:
    explicit Exception(const std::string& message) : un::exception(message, "stream") {}
};

} // namespace stream
