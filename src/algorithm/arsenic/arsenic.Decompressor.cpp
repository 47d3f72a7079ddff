#include "algorithm/arsenic/arsenic.Decompressor.h"

#include <cstring>

#include "algorithm/algorithm.Exception.h"
#include "algorithm/arsenic/arsenic.Randomizer.h"
#include "stream/check/crc.CRC.h"
#include "stream/check/crc.Streams.h"

namespace algorithm::arsenic {

namespace {

// The interleaved walk of the inverse transform: blocks from this length up,
// cut into one stretch per 4096 bytes up to this many, followed this many at
// a time, written in chunks of this many bytes (a divisor of every such
// block's capacity).
constexpr uint32_t interleaveMinimum = 65536;
constexpr uint32_t interleaveStretches = 256;
constexpr unsigned interleaveWays = 16;
constexpr uint32_t interleaveChunk = 1024;

// The least that the block buffers grow to: a small block costs no more than
// a few pages, and a large one doubles from here as its data arrives.
constexpr uint32_t minimumRoom = 65536;

void checkEnd(const arith::DCC95Decoder& decoder) {
    if (decoder.exhausted()) throw Exception(endOfStream, Decompressor::source);
}

} // namespace

Decompressor::Decompressor() : counts(new uint32_t[256]), starts(new uint32_t[256]) {}

Decompressor::~Decompressor() = default;

// The header's block size is only a promise: memory for a block is taken as
// its symbols arrive, so that three bytes of header cannot claim 96 MB.
void Decompressor::init(int n) {
    if (n < 9 || n > 24) throw Exception("invalid block size", source);
    if (blockBits != 0 && (blockBits < 9 || blockBits > 24)) throw Exception("invalid existing block size", source);
}

void Decompressor::grow(uint32_t needed) {
    const uint32_t capacity = uint32_t(1) << blockBits;
    if (needed <= room) return;
    uint32_t size = room < minimumRoom ? minimumRoom : room;
    while (size < needed) size *= 2;
    if (size > capacity) size = capacity;
    LargeArray<unsigned char> bigger = makeLarge<unsigned char>(size);
    if (mtfBlock) std::memcpy(bigger.get(), mtfBlock.get(), room);
    mtfBlock = std::move(bigger);
    block.reset();
    block = makeLarge<unsigned char>(size);
    room = size;
    grown();
}

void FastDecompressor::init(int n) {
    Decompressor::init(n);
    if (blockBits < n) blockBits = n;
}

void FastDecompressor::grown() {
    transform.reset();
    transform = makeLarge<uint32_t>(room);
}

uint64_t Decompressor::process(stream::Input& in, stream::Output& out) {
    uint64_t start = out.tell();
    bit::MSBInput<int32_t> bits(in);
    crc::EthernetCRC crc(0xFFFFFFFFu);
    crc::CRC32Output crcOutput(out, crc);

    arith::DCC95Decoder decoder(bits);
    DecompressorBitModel bitModel(decoder);

    uint32_t first = bitModel.get(8);
    uint32_t second = bitModel.get(8);
    int size = static_cast<int>(bitModel.get(4)) + 9;
    if (first != 0x41 || second != 0x73 || size < 9 || size > 24) throw Exception("not a compressed stream", source);
    init(size);

    while (bitModel.get() == 0) {
        checkEnd(decoder);
        randomized = bitModel.get() != 0;
        uint32_t length = 0;
        int32_t primary = decodeMTF(length, bitModel, decoder);
        uint32_t n = reverseBWT(length, static_cast<uint32_t>(primary));
        decode(n, crcOutput);
    }
    crcOutput.flush();
    out.flush();

    uint32_t check = bitModel.get(32);
    if (check != ~crc.value()) throw Exception("CRC checksum mismatch; output data is invalid", source);
    return out.tell() - start;
}

int32_t Decompressor::decodeMTF(uint32_t& count, DecompressorBitModel& bitModel, arith::DCC95Decoder& decoder) {
    DecompressorMTFModel model(decoder);
    const uint32_t capacity = uint32_t(1) << blockBits;
    int32_t primary = static_cast<int32_t>(bitModel.get(blockBits));

    unsigned char list[256];
    for (int i = 0; i < 256; ++i) list[i] = static_cast<unsigned char>(i);
    count = 0;
    model.next();
    unsigned char* output = mtfBlock.get();
    while (!model.end()) {
        if (count >= room) {
            if (count >= capacity) throw Exception("block overrun", source);
            grow(count + 1);
            output = mtfBlock.get();
        }
        if (model.isRun()) {
            // A run may fill the block exactly but never pass its end.
            uint32_t n = static_cast<uint32_t>(model.get());
            if (n > capacity - count) throw Exception("block overrun", source);
            if (n > room - count) {
                grow(count + n);
                output = mtfBlock.get();
            }
            std::memset(output + count, list[0], n);
            count += n;
        } else {
            int i = model.get();
            unsigned char c = list[i];
            std::memmove(list + 1, list, static_cast<size_t>(i));
            list[0] = c;
            output[count++] = c;
            if ((count & 0xFFFF) == 0) checkEnd(decoder);
            model.next();
        }
    }
    return primary;
}

uint32_t FastDecompressor::reverseBWT(uint32_t length, uint32_t primary) {
    grow(length == 0 ? 1 : length);
    uint32_t* const t = transform.get();
    const unsigned char* const mtf = mtfBlock.get();
    unsigned char* const out = block.get();
    std::memset(counts.get(), 0, 256 * sizeof(uint32_t));
    for (uint32_t i = 0; i < length; ++i) ++counts[mtf[i]];
    starts[0] = 0;
    for (int i = 1; i < 256; ++i) starts[i] = starts[i - 1] + counts[i - 1];
    // Each entry holds the next position above its own byte of mtfBlock, so
    // that following the chain reads one word per output byte.
    for (uint32_t i = 0; i < length; ++i) {
        const uint32_t slot = starts[mtf[i]]++;
        t[slot] = i << 8 | mtf[slot];
    }

    // The primary index is not checked against the length: a bad one reads a
    // stale entry, still inside the vector, and the check value catches it.
    // One beyond what the vector holds so far reads as an untouched entry.
    uint32_t p = primary < room ? t[primary] >> 8 : 0;
    if (length >= interleaveMinimum && primary < length) {
        followChains(length, p);
        return length;
    }
    const uint32_t interval = static_cast<uint32_t>(achtungInterval);
    for (uint32_t i = 0; i < length;) {
        achtung.dispatch();
        uint32_t stop = length - i < interval ? length : i + interval;
        for (; i < stop; ++i) {
            uint32_t entry = t[p];
            out[i] = static_cast<unsigned char>(entry);
            p = entry >> 8;
        }
    }
    return length;
}

// The chain is one walk through a permutation of [0, length), and each read
// waits for the one before it: a walk through a large block is bound by the
// memory's latency. So the walk is cut at marked positions (the first, and
// others spread over the block) into stretches, and several stretches are
// followed at once, each read independent of the others'. A stretch runs from
// its mark to the next mark on its way; its bytes go into chunks of mtfBlock,
// which the entries of the vector have made free, and then, stretch after
// stretch in the order of the walk, into block. If the walk returns to its
// start before `length` bytes, as it does when the permutation has more than
// one cycle, the bytes repeat, as a plain walk would repeat them.
void FastDecompressor::followChains(uint32_t length, uint32_t first) {
    const uint32_t* const t = transform.get();
    unsigned char* const out = block.get();

    struct Stretch {
        uint32_t start;
        uint32_t next = 0;
        uint32_t size = 0;
        std::vector<uint32_t> chunks;
    };
    std::vector<uint64_t> marked((length + 63) / 64, 0);
    auto isMarked = [&](uint32_t x) { return ((marked[x >> 6] >> (x & 63)) & 1) != 0; };
    std::vector<Stretch> stretches;
    const uint32_t wanted = length / 4096 < interleaveStretches ? length / 4096 : interleaveStretches;
    stretches.reserve(wanted);
    auto mark = [&](uint32_t x) {
        if (isMarked(x)) return;
        marked[x >> 6] |= uint64_t(1) << (x & 63);
        stretches.push_back(Stretch{x, 0, 0, {}});
    };
    mark(first);
    for (uint32_t k = 1; k < wanted; ++k) mark(static_cast<uint32_t>(uint64_t(length) * k / wanted));

    // Chunks below mainChunks lie in mtfBlock; the few that a stretch's last
    // partial chunk costs lie in `spare`.
    const uint32_t mainChunks = room / interleaveChunk;
    std::vector<unsigned char> spare(size_t(stretches.size() + 1) * interleaveChunk);
    uint32_t chunksUsed = 0;
    auto chunkAt = [&](uint32_t c) {
        return c < mainChunks ? mtfBlock.get() + size_t(c) * interleaveChunk
                              : spare.data() + size_t(c - mainChunks) * interleaveChunk;
    };

    struct Walker {
        uint32_t p;
        uint32_t stretch;
        unsigned char* to;
        unsigned char* limit;
    };
    Walker walkers[interleaveWays];
    uint32_t started = 0;
    auto newChunk = [&](Walker& w) {
        const uint32_t c = chunksUsed++;
        stretches[w.stretch].chunks.push_back(c);
        w.to = chunkAt(c);
        w.limit = w.to + interleaveChunk;
    };
    auto startNext = [&](Walker& w) {
        if (started == stretches.size()) return false;
        w.stretch = started++;
        w.p = stretches[w.stretch].start;
        newChunk(w);
        return true;
    };
    unsigned active = 0;
    while (active < interleaveWays && startNext(walkers[active])) ++active;

    const uint64_t interval = static_cast<uint64_t>(achtungInterval);
    uint64_t steps = 0;
    uint64_t nextCall = 0;
    while (active > 0) {
        if (steps >= nextCall) {
            achtung.dispatch();
            nextCall += interval;
        }
        steps += active;
        for (unsigned k = 0; k < active;) {
            Walker& w = walkers[k];
            const uint32_t entry = t[w.p];
            *w.to++ = static_cast<unsigned char>(entry);
            w.p = entry >> 8;
            if (isMarked(w.p)) {
                Stretch& s = stretches[w.stretch];
                s.next = w.p;
                s.size = static_cast<uint32_t>((s.chunks.size() - 1) * interleaveChunk) +
                         static_cast<uint32_t>(w.to - (w.limit - interleaveChunk));
                if (!startNext(w)) {
                    w = walkers[--active];
                    continue;
                }
            } else if (w.to == w.limit) {
                newChunk(w);
            }
            ++k;
        }
    }

    // The stretches in the order of the walk, from the first mark.
    uint32_t written = 0;
    size_t s = 0;
    do {
        const Stretch& stretch = stretches[s];
        uint32_t left = stretch.size;
        for (uint32_t c : stretch.chunks) {
            uint32_t n = left < interleaveChunk ? left : interleaveChunk;
            if (n > length - written) n = length - written;
            std::memcpy(out + written, chunkAt(c), n);
            written += n;
            left -= n;
            if (written == length) break;
        }
        s = 0;
        while (stretches[s].start != stretch.next) ++s;
    } while (written < length && s != 0);
    for (uint32_t i = written; i < length; ++i) out[i] = out[i - written];
}

void Decompressor::decode(uint32_t length, stream::Output& out) {
    unsigned char* const data = block.get();
    if (randomized) Randomizer::randomize(reinterpret_cast<char*>(data), length);

    constexpr uint32_t bufferSize = 65536;
    char buffer[bufferSize];
    uint32_t held = 0;
    int previous = 0;
    int repeats = 0;
    uint32_t position = 0;
    while (position < length) {
        if (held > bufferSize - 256) {
            out.write(buffer, held);
            held = 0;
        }
        int b = data[position++];
        buffer[held++] = static_cast<char>(b);
        if (b == previous) {
            if (++repeats > 3) {
                // The count byte; a block that ends on four equal bytes has
                // none, which well-formed streams never do.
                uint32_t n = position < length ? data[position++] : 0;
                std::memset(buffer + held, b, n);
                held += n;
                repeats = 0;
            }
        } else {
            repeats = 1;
        }
        previous = b;
    }
    if (held != 0) out.write(buffer, held);
}

} // namespace algorithm::arsenic
