#pragma once

#include <cstdint>
#include <string_view>

#include "format/format.Header.h"
#include "un/un.property.h"

namespace format::tkt {

// The 22-byte header of a classic archive, between two four-byte magics. It
// has no CRC.
class ArchiveHeader : public Header {
public:
    static constexpr std::string_view artifact1Text = "TKT!";
    static constexpr std::string_view artifact2Text = "rTuk";
    static constexpr uint32_t artifact1Value = 0x544B5421u;
    static constexpr uint32_t artifact2Value = 0x7254756Bu;
    static constexpr uint32_t artifact1Offset = 0;
    static constexpr uint32_t artifact2Offset = 10;

    un::property<uint32_t> artifact1Pattern;
    un::property<uint16_t> itemCount;
    un::property<uint32_t> archiveSize;
    un::property<uint32_t> artifact2Pattern;
    un::property<uint8_t> version;
    un::property<uint32_t> firstItem;

    ArchiveHeader();

    static uint32_t fixed_size() { return 22; }
    bool valid() const override;
    void read(stream::Input& in, bool strict) override;
    void write(stream::Output& out) const override;
    uint32_t size() const override { return fixed_size(); }
};

} // namespace format::tkt
