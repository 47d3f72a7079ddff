#pragma once

namespace un {

// Reports a broken invariant: throws an un::exception of kind
// "Assertion Failure" whose message is
// "Assertion (<condition>) failed in \"<file>\" on line <line>\n".
[[noreturn]] void assertion_failed(const char* condition, const char* file, int line);

} // namespace un

// Checks an invariant that the code itself guarantees; the condition's text
// goes into the report word for word.
#define un_assert(condition) ((condition) ? static_cast<void>(0) : ::un::assertion_failed(#condition, __FILE__, __LINE__))
