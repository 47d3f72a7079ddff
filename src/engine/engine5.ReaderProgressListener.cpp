#include "engine/engine5.ReaderProgressListener.h"

#include "engine/t5.Reader.h"

namespace engine5 {

void ReaderProgressListener::progress(const stream::progress::Event<uint64_t>& event) {
    reader_.fireProgressSizeMove(static_cast<uint32_t>(base_ + event.position));
}

}  // namespace engine5
