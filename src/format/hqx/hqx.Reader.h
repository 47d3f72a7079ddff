#pragma once

#include <cstdint>
#include <memory>

#include "algorithm/hqx/hqx.Codec.h"
#include "engine/engine5.MacFileReader.h"

namespace engine5::hqx {

// Expands BinHex 4.0 text: the header, the data fork and the resource fork,
// each followed by its check. Text before the data (a mail's header, the
// "(This file must be converted with BinHex" line) is passed over; line ends
// may be CR LF, CR or LF, and blank lines and trailing blanks are allowed.
// Further blocks that follow, each after its own "(This file must be
// converted with BinHex" line, are read in turn.
class Reader : public MacFileReader {
public:
    Reader(uint32_t position, tuckett5::Reader& reader);
    ~Reader() override;

protected:
    void rewind(stream::random::Input& archive) override;
    bool next(stream::random::Input& archive, Entry& entry) override;
    void forks(stream::random::Input& archive) override;

private:
    // Moves past the next opening colon; false when the text ends first.
    bool findColon(stream::random::Input& archive);
    // Moves past the next "(This file must be converted with BinHex" line.
    bool findMarker(stream::random::Input& archive);
    void fork(stream::Output& out, uint32_t length, const char* which);

    std::unique_ptr<algorithm::hqx::DecodingInput> data_;
    // Where the text of the block in hand starts.
    uint64_t blockStart_ = 0;
    uint32_t dataLength_ = 0;
    uint32_t resourceLength_ = 0;
    bool first_ = true;
};

}  // namespace engine5::hqx
