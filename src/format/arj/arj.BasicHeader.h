#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "format/format.Header.h"

namespace stream {
class LittleEndianInput;
class LittleEndianOutput;
}  // namespace stream

namespace format::arj {

// What the main header and the local headers of an ARJ archive share: the
// 0x60 0xEA mark, the size of the basic header, the basic header (a fixed
// part of `firstSize` bytes, then the name and the comment, each ended by a
// zero byte), its CRC-32, and any extended headers, each a size, the bytes
// and their CRC-32, until a size of 0. All numbers are little-endian. The
// kinds of header differ in their fixed part alone.
class BasicHeader : public Header {
public:
    static constexpr uint16_t headerId = 0xEA60;
    static constexpr uint16_t maxBasicSize = 2600;
    // The fixed part of the basic header in the oldest archives.
    static constexpr uint8_t minFirstSize = 30;

    uint16_t basicSize = 0;
    uint8_t firstSize = 0;
    std::string name;
    std::string comment;
    // The extended headers, each without its size and CRC.
    std::vector<std::vector<char>> extended;

    // Throws format::Exception when `strict` and the header is not valid.
    void read(stream::Input& in, bool strict) override;
    void write(stream::Output& out) const override;
    bool valid() const override { return valid_; }
    uint32_t size() const override;

protected:
    // `where` names the reading operation in messages.
    explicit BasicHeader(const char* where) : where_(where) {}

    // The fixed part after `firstSize`, as far as `firstSize` holds it.
    virtual void readFixed(stream::LittleEndianInput& in) = 0;
    virtual void writeFixed(stream::LittleEndianOutput& out) const = 0;
    // Why a fixed part that was read makes no header of this kind; null
    // where it does.
    virtual const char* refusal() const { return nullptr; }
    // Whether a basic size of 0, the end of the archive, is a header of this
    // kind.
    virtual bool mayEnd() const { return false; }
    // Whether this is the end header, which is written as the mark and a
    // size of 0.
    bool writesEnd() const { return mayEnd() && basicSize == 0 && firstSize == 0; }

    bool valid_ = false;

private:
    std::vector<char> basic() const;
    const char* where_;
};

}  // namespace format::arj
