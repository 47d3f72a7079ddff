#pragma once

#include <cstdint>

#include "format/format.Header.h"

namespace format::rar {

// The marker that opens a RAR archive: the block "Rar!" 0x1A 0x07 0x00 of the
// versions 1.5 to 4 (read as a block it has the CRC 0x6152, type 0x72, flags
// 0x1A21 and size 7), or "RE~^" of the versions before 1.5.
class MarkerHeader : public format::Header {
public:
    static constexpr uint32_t markerSize = 7;
    static constexpr uint32_t oldMarkerSize = 4;

    // The marker of before version 1.5.
    bool old() const { return old_; }

    // Reads 7 bytes, or only 4 of the old form.
    void read(stream::Input& in, bool strict) override;
    void write(stream::Output& out) const override;
    bool valid() const override { return valid_; }
    uint32_t size() const override { return old_ ? oldMarkerSize : markerSize; }

private:
    bool valid_ = false;
    bool old_ = false;
};

}  // namespace format::rar
