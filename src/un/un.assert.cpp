#include "un/un.assert.h"

#include <cstdio>
#include <string>

#include "un/un.exception.h"

namespace un {

void assertion_failed(const char* condition, const char* file, int line) {
    const char* format = "Assertion (%s) failed in \"%s\" on line %d\n";
    int length = std::snprintf(nullptr, 0, format, condition, file, line);
    std::string text(length > 0 ? static_cast<size_t>(length) : 0, '\0');
    std::snprintf(text.data(), text.size() + 1, format, condition, file, line);
    throw exception(text, "Assertion Failure");
}

} // namespace un
