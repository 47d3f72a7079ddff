#pragma once

#include <string>

#include "un/un.exception.h"

namespace tuckett5::exception {

// The failures that the archive reader and writer report to their client.
// The kind says which; the message says what happened.
class Exception : public un::exception {
protected:
    Exception(const std::string& message, const std::string& kind) : un::exception(message, kind) {}
};

// The client called out of order.
class BadArgument : public Exception {
public:
    explicit BadArgument(const std::string& message) : Exception(message, "Bad argument") {}
};

// A stream failed a check while decoding.
class BadData : public Exception {
public:
    explicit BadData(const std::string& message) : Exception(message, "Bad data") {}
};

// A record of the archive is invalid.
class BadFormat : public Exception {
public:
    explicit BadFormat(const std::string& message) : Exception(message, "Bad format") {}
};

class BadPassword : public Exception {
public:
    explicit BadPassword(const std::string& message) : Exception(message, "Bad password") {}
};

// No failure: unwinds a run on a listener's "no", or on the client's own wish.
class Evacuation : public Exception {
public:
    Evacuation() : Exception(std::string(), "Evacuation") {}
};

class Input : public Exception {
public:
    explicit Input(const std::string& message) : Exception(message, "Input") {}
};

class Output : public Exception {
public:
    explicit Output(const std::string& message) : Exception(message, "Output") {}
};

// No reader or writer for this format, or a base operation a format does not serve.
class UnsupportedFormat : public Exception {
public:
    explicit UnsupportedFormat(const std::string& message) : Exception(message, "Unsupported format") {}
};

// An item's compression method is unknown.
class UnsupportedMethod : public Exception {
public:
    explicit UnsupportedMethod(const std::string& message) : Exception(message, "Unsupported method") {}
};

}  // namespace tuckett5::exception
