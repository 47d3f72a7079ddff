#pragma once

#include <cstdint>

#include "algorithm/zipcrypt.Cipher.h"
#include "format/format.Header.h"
#include "un/un.property.h"

namespace format::zip {

// The 12 bytes in front of an encrypted entry's data: 11 random bytes and a
// check byte, all through the cipher. The check byte is the top byte of the
// CRC, or of the DOS time when the entry has a data descriptor; the reader
// and writer say which through `expect`.
class EncryptionHeader : public Header {
public:
    static constexpr uint32_t fixed_size = 12;

    explicit EncryptionHeader(algorithm::zipcrypt::Cipher& cipher);

    // True without an expected check byte, otherwise when byte 11 matches it.
    bool valid() const override;
    void read(stream::Input& in, bool check) override;
    void write(stream::Output& out) const override;
    uint32_t size() const override { return fixed_size; }

    const char* bytes() const { return bytes_; }

    un::opt_property<char> expect;

private:
    algorithm::zipcrypt::Cipher* cipher_;
    mutable char bytes_[fixed_size] = {};
};

} // namespace format::zip
