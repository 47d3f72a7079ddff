#pragma once

#include <cstdint>

#include "format/format.Header.h"

namespace format::sv {

// The header that opens a SealedVault archive, big-endian: the mark "CTKT",
// the version (1 or 2), the cipher of the contents (0 none, 13 RC4) and a
// reserved word that is 0.
class ArchiveHeader : public format::Header {
public:
    static constexpr uint32_t signatureValue = 0x43544B54;  // "CTKT"
    static constexpr uint32_t min_size = 12;
    static uint32_t fixed_size() { return 12; }

    uint32_t signature = signatureValue;
    uint16_t version = 2;
    uint16_t cipher = 0;
    uint32_t reserved = 0;

    void read(stream::Input& in, bool strict) override;
    void write(stream::Output& out) const override;
    // The mark is there and the whole header could be read.
    bool valid() const override { return complete_ && signature == signatureValue; }
    uint32_t size() const override { return fixed_size(); }

private:
    bool complete_ = true;
};

}  // namespace format::sv
