#include "format/zip/zip.MethodReader.h"

#include "engine/engine5.ReaderProgressListener.h"
#include "stream/check/crc.CRC.h"
#include "stream/check/crc.Streams.h"
#include "stream/stream.BufferedInput.h"
#include "stream/stream.BufferedOutput.h"
#include "stream/stream.LimitedInput.h"
#include "stream/stream.progress.h"

namespace engine5::zip {

namespace {
constexpr uint32_t bufferSize = 65536;
}

void MethodReader::decode(stream::Input& in, stream::Output& out) {
    stream::LimitedInput limited(in, compressedLimit.isSet() ? compressedLimit() : stream::all);
    stream::BufferedInput buffered(limited, bufferSize);

    algorithm::crc::EthernetCRC crc(0xFFFFFFFFu);
    stream::BufferedOutput bufferedOut(out, bufferSize);
    algorithm::crc::CRC32Output checked(bufferedOut, crc);
    stream::progress::Output progress(checked);
    ReaderProgressListener listener(reader_, count);
    progress.addListener(listener);

    stream::Transform& method = transform();
    method.begin();
    uint64_t produced;
    if (bounded())
        produced = method.process(buffered, progress, uncompressedLimit.isSet() ? uncompressedLimit() : stream::all);
    else
        produced = method.process(buffered, progress);
    method.end();
    bufferedOut.flush();

    count += produced;
    crc_ = ~crc.value();
}

std::unique_ptr<MethodReader> MethodReader::make(int method, uint16_t flags, tuckett5::Reader& reader) {
    switch (method) {
        case 0:
            return std::make_unique<StoredReader>(reader);
        case 1:
            return std::make_unique<ShrinkReader>(reader);
        case 2:
        case 3:
        case 4:
        case 5:
            return std::make_unique<ReduceReader>(reader, method - 1);
        case 6:
            return std::make_unique<ImplodeReader>(reader, (flags & 4) != 0, (flags & 2) != 0);
        case 8:
            return std::make_unique<DeflateReader>(reader);
        default:
            return nullptr;
    }
}

}  // namespace engine5::zip
