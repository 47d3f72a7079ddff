#pragma once

#include <cstdint>
#include <string>

#include "engine/engine5.FormatReader.h"

namespace stream {
class Input;
}

namespace engine5::arc {

// One entry's header: the mark 0x1A, the method, a DOS name of up to 12
// characters, the stored size, the DOS date and time, the CRC-16 of the
// expanded data and, except for method 1, the expanded size.
struct ItemHeader {
    static constexpr unsigned char mark = 0x1A;
    int method = 0;
    std::string name;
    uint32_t compressedSize = 0;
    uint16_t date = 0;
    uint16_t time = 0;
    uint16_t crc = 0;
    uint32_t size = 0;
    // Where the data begins.
    uint64_t dataOffset = 0;

    // Reads the header at the stream's position: false at the end of the
    // archive (its end mark, or no more bytes).
    bool read(stream::Input& in);
};

// Expands ARC archives: methods 1 and 2 (stored), 3 (packed), 4 (squeezed),
// 5 to 7 (the first crunching), 8 (crunched) and 9 (squashed), each entry
// checked against its CRC-16. Entries are files at the archive's root.
class Reader : public FormatReader {
public:
    Reader(uint32_t position, tuckett5::Reader& reader);

    using FormatReader::decode;
    using FormatReader::scan;
    void scan(stream::random::Input& archive, io::random::File& file) override;
    void decode(stream::random::Input& archive, io::random::File& file) override;

private:
    Entry describeItem(const ItemHeader& header) const;
    void expandData(stream::random::Input& archive, const ItemHeader& header);
};

}  // namespace engine5::arc
