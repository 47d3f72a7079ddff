#include "algorithm/deflate/deflate.Compressor.h"

#include <zlib.h>

#include <algorithm>

#include "algorithm/algorithm.Exception.h"

namespace algorithm::deflate {

namespace {
constexpr uint32_t bufferSize = 65536;
// A 32 KiB window, no zlib header and no Adler-32: the raw stream of Zip.
constexpr int rawWindowBits = -15;
constexpr int memoryLevel = 8;
}  // namespace

const Level Levels::table[9] = {
    {4, 4, 8, 4},      {4, 5, 16, 8},     {4, 6, 32, 32},       {4, 4, 16, 16},       {8, 16, 32, 32},
    {8, 16, 128, 128}, {8, 32, 128, 256}, {32, 128, 258, 1024}, {32, 258, 258, 4096},
};

const Level& Levels::of(int level) { return table[std::clamp(level, lowest, highest) - lowest]; }

Compressor::Compressor(int level)
    : level_(std::clamp(level, Levels::lowest, Levels::highest)),
      input_(new char[bufferSize]),
      output_(new char[bufferSize]) {}

Compressor::~Compressor() = default;

uint64_t Compressor::process(stream::Input& in, stream::Output& out) {
    z_stream z{};
    if (deflateInit2(&z, level_, Z_DEFLATED, rawWindowBits, memoryLevel, Z_DEFAULT_STRATEGY) != Z_OK)
        throw algorithm::Exception("cannot start zlib in algorithm::deflate::Compressor::process()", "algorithm");
    const Level& row = Levels::of(level_);
    deflateTune(&z, row.good, row.lazy, row.nice, row.chain);

    uint64_t written = 0;
    int flush = Z_NO_FLUSH;
    int status = Z_OK;
    try {
        do {
            const uint32_t got = in.read(input_.get(), bufferSize);
            if (got == 0) flush = Z_FINISH;
            z.next_in = reinterpret_cast<Bytef*>(input_.get());
            z.avail_in = got;
            do {
                z.next_out = reinterpret_cast<Bytef*>(output_.get());
                z.avail_out = bufferSize;
                status = ::deflate(&z, flush);
                if (status == Z_STREAM_ERROR)
                    throw algorithm::Exception("zlib failed in algorithm::deflate::Compressor::process()", "algorithm");
                const uint32_t produced = bufferSize - z.avail_out;
                if (produced > 0) out.write(output_.get(), produced);
                written += produced;
            } while (z.avail_out == 0);
        } while (status != Z_STREAM_END);
    } catch (...) {
        deflateEnd(&z);
        throw;
    }
    deflateEnd(&z);
    return written;
}

}  // namespace algorithm::deflate
