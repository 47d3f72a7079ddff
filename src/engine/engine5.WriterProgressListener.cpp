#include "engine/engine5.WriterProgressListener.h"

#include "engine/t5.Writer.h"

namespace engine5 {

void WriterProgressListener::progress(const stream::progress::Event<uint64_t>& event) {
    writer_.fireProgressSizeMove(static_cast<uint32_t>(base_ + event.position));
}

}  // namespace engine5
