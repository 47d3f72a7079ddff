#pragma once

#include <cstdint>

#include "stream/stream.progress.h"

namespace tuckett5 {
class Writer;
}

namespace engine5 {

// Passes a format writer's stream progress on to the writer's
// progressSizeMoveEvent, as the stream's count plus a base offset. A "no"
// from a listener throws tuckett5::exception::Evacuation.
class WriterProgressListener : public stream::progress::Listener<uint64_t> {
public:
    WriterProgressListener(tuckett5::Writer& writer, uint64_t base) : writer_(writer), base_(base) {}

    void progress(const stream::progress::Event<uint64_t>& event) override;

private:
    tuckett5::Writer& writer_;
    uint64_t base_;
};

}  // namespace engine5
