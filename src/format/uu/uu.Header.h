#pragma once

#include <cstdint>
#include <string>

#include "format/format.Header.h"

namespace format::uu {

// The line that opens uuencoded data: "begin", the Unix mode in octal and the
// file's name, separated by single spaces.
class Header : public format::Header {
public:
    // Lines are read up to this length; a longer one is cut.
    static constexpr uint32_t maxLine = 1024;

    uint32_t mode = 0644;
    std::string name;

    // Reads one line. Throws format::Exception when `strict` and it is not a begin line.
    void read(stream::Input& in, bool strict) override;
    void write(stream::Output& out) const override;
    bool valid() const override { return valid_; }
    uint32_t size() const override;

private:
    bool valid_ = false;
};

}  // namespace format::uu
