#pragma once

#include <cstdint>

#include "engine/engine5.MacFileReader.h"

namespace engine5::bin {

// Expands MacBinary files (I, II and III): the 128-byte header with its
// name, Finder information and dates, an optional secondary header, the data
// fork and the resource fork, each padded to 128 bytes, and the comment,
// which is passed over. Files written one after another are read in turn.
class Reader : public MacFileReader {
public:
    Reader(uint32_t position, tuckett5::Reader& reader);

protected:
    void rewind(stream::random::Input& archive) override;
    bool next(stream::random::Input& archive, Entry& entry) override;
    void forks(stream::random::Input& archive) override;

private:
    uint64_t at_ = 0;
    uint64_t dataStart_ = 0;
    uint64_t resourceStart_ = 0;
    uint32_t dataLength_ = 0;
    uint32_t resourceLength_ = 0;
    bool first_ = true;
};

}  // namespace engine5::bin
