#pragma once

#include <cstdint>

#include "stream/stream.progress.h"

namespace tuckett5 {
class Reader;
}

namespace engine5 {

// Passes a format reader's stream progress on to the reader's
// progressSizeMoveEvent, as the stream's count plus a base offset. A "no"
// from a listener throws tuckett5::exception::Evacuation.
class ReaderProgressListener : public stream::progress::Listener<uint64_t> {
public:
    ReaderProgressListener(tuckett5::Reader& reader, uint64_t base) : reader_(reader), base_(base) {}

    void progress(const stream::progress::Event<uint64_t>& event) override;

private:
    tuckett5::Reader& reader_;
    uint64_t base_;
};

}  // namespace engine5
