#pragma once

#include <map>
#include <string>

namespace format::mime {

// A structured header field such as Content-Type or Content-Disposition: its
// value in lower case ("multipart/mixed", "attachment") and its parameters
// by lower-case name. Parameters split by RFC 2231 ("name*0*", "name*1")
// are joined, and those in a charset ("name*=utf-8''...") are given in UTF-8,
// as are RFC 2047 encoded words, which some mailers put inside quotes.
struct ContentField {
    std::string value;
    std::map<std::string, std::string> parameters;

    std::string parameter(const std::string& name) const {
        auto found = parameters.find(name);
        return found == parameters.end() ? std::string() : found->second;
    }
};

ContentField parseContentField(const std::string& text);

// Decodes the RFC 2047 encoded words of a header text to UTF-8; the space
// between two encoded words goes.
std::string decodeWords(const std::string& text);

// Text in a charset to UTF-8. UTF-8 and US-ASCII stay as they are; ISO 8859-1
// and Windows-1252 are converted; other charsets keep their bytes.
std::string toUTF8(const std::string& bytes, const std::string& charset);

}  // namespace format::mime
