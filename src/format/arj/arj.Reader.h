#pragma once

#include <cstdint>
#include <functional>

#include "engine/engine5.FormatReader.h"
#include "format/arj/arj.FileHeader.h"

namespace engine5::arj {

// Expands an ARJ archive: the main header, then a local header and the data
// of each item, up to the header that ends the archive. Data in front of the
// archive (a self-extractor) is allowed. Items may be stored or compressed
// by methods 1 to 4; each is checked against its CRC-32. Garbled (encrypted)
// items are refused one by one; archives that span several volumes are
// refused as a whole.
class Reader : public FormatReader {
public:
    Reader(uint32_t position, tuckett5::Reader& reader);
    ~Reader() override;

    using FormatReader::decode;
    using FormatReader::scan;
    void scan(stream::random::Input& archive, io::random::File& file) override;
    void decode(stream::random::Input& archive, io::random::File& file) override;

private:
    // Reads the main header and calls `visit` with each local header and the
    // offset of its data; answers the offset behind the end header.
    uint64_t walk(stream::random::Input& archive,
                  const std::function<void(const format::arj::FileHeader&, uint64_t)>& visit);
    Entry describeItem(const format::arj::FileHeader& header) const;
    // A link that a Unix build stored, which describeItem made; other special
    // files are passed over with a warning.
    void expandSpecial(Entry& entry, const format::arj::FileHeader& header);
    void expandData(stream::random::Input& archive, const format::arj::FileHeader& header, uint64_t offset);

    std::string comment_;
};

}  // namespace engine5::arj
