#pragma once

// The bodies of the fuzz harnesses, one function per decoder, reader, record
// family and the classifier. The libFuzzer programs call them, and the unit
// tests run every input that once failed through the same functions.
//
// A target answers 0 for every input. A clean failure is an un::exception
// of the engine, which the target swallows; anything else escapes (and
// libFuzzer reports it): another exception, a crash, a sanitizer report,
// output beyond Limits::output, or a file written outside the output folder.

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace fuzz {

struct Limits {
    // More output than any input of the fuzzers' size may honestly make.
    static constexpr uint64_t output = uint64_t(256) << 20;
};

// What a target found that is no clean failure.
class Finding : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

using Target = int (*)(const uint8_t* data, size_t size);

struct Entry {
    const char* name;
    Target run;
    // The longest input the fuzzer makes for the target unless told
    // otherwise: enough to reach all of its code. Without it libFuzzer takes
    // the longest file of the corpus, and long inputs only make runs slow.
    size_t maxLength;
};

// Every target by its name: inflate, isp, arsenic, shrink, reduce, implode,
// tkt5, zip, tkt5records, ziprecords, classify, arcmethods, arc, lha, rar,
// arj, arjmethods, bin, hqx, lzw, gz, bz2, compress, tar, uu, btoa, mime.
const std::vector<Entry>& targets();
Target find(const std::string& name);

}  // namespace fuzz
