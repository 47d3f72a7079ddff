#include "format/bz2/bz2.Decoder.h"

#include <bzlib.h>

#include <memory>

#include "engine/t5.Exception.h"
#include "stream/stream.Input.h"
#include "stream/stream.Output.h"

namespace format::bz2 {

using tuckett5::exception::BadData;
using tuckett5::exception::BadFormat;

namespace {

constexpr uint32_t blockSize = 65536;

struct Stream {
    bz_stream z{};
    bool open = false;
    ~Stream() {
        if (open) BZ2_bzDecompressEnd(&z);
    }
    void start() {
        z = bz_stream{};
        if (BZ2_bzDecompressInit(&z, 0, 0) != BZ_OK) throw BadFormat("cannot start the bzip2 decoder");
        open = true;
    }
    void finish() {
        if (open) BZ2_bzDecompressEnd(&z);
        open = false;
    }
};

}  // namespace

uint64_t Decoder::process(stream::Input& in, stream::Output& out) {
    auto input = std::make_unique<char[]>(blockSize);
    auto output = std::make_unique<char[]>(blockSize);
    streams = 0;
    trailing.clear();
    uint64_t total = 0;
    uint64_t consumed = 0;
    uint32_t held = 0;  // input bytes read and not yet taken
    const char* next = input.get();
    bool ended = false;
    Stream bz;
    for (;;) {
        if (held == 0 && !ended) {
            held = in.read(input.get(), blockSize);
            next = input.get();
            if (held == 0) ended = true;
        }
        if (!bz.open) {
            // Between streams: the end, zero padding, another stream or garbage.
            while (held != 0 && streams != 0 && *next == 0) {
                ++next;
                --held;
                ++consumed;
                if (held == 0 && !ended) {
                    held = in.read(input.get(), blockSize);
                    next = input.get();
                    if (held == 0) ended = true;
                }
            }
            if (held == 0 && ended) {
                if (streams == 0) throw BadFormat("bzip2 file is truncated");
                break;
            }
            if (streams != 0 && *next != 'B') {
                trailing = "data after the last bzip2 stream at offset " + std::to_string(consumed) + " is ignored";
                break;
            }
            bz.start();
        }
        bz.z.next_in = const_cast<char*>(next);
        bz.z.avail_in = held;
        bz.z.next_out = output.get();
        bz.z.avail_out = blockSize;
        const int result = BZ2_bzDecompress(&bz.z);
        const uint32_t taken = held - bz.z.avail_in;
        next += taken;
        held -= taken;
        consumed += taken;
        const uint32_t produced = blockSize - bz.z.avail_out;
        if (produced) out.write(output.get(), produced);
        total += produced;
        if (result == BZ_STREAM_END) {
            bz.finish();
            ++streams;
            continue;
        }
        if (result != BZ_OK) {
            // A later stream that does not even start right is trailing data.
            if (streams != 0 && result == BZ_DATA_ERROR_MAGIC) {
                trailing = "data after the last bzip2 stream is ignored";
                break;
            }
            if (result == BZ_DATA_ERROR || result == BZ_DATA_ERROR_MAGIC)
                throw BadData("CRC mismatch in bzip2 reader; data is invalid");
            throw BadData("bzip2 decoder failed; data is invalid");
        }
        if (ended && held == 0 && produced == 0) throw BadFormat("bzip2 file is truncated");
    }
    out.flush();
    return total;
}

}  // namespace format::bz2
