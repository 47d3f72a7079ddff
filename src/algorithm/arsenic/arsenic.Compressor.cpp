#include "algorithm/arsenic/arsenic.Compressor.h"

#include <bit>
#include <cstring>
#include <utility>

#include "algorithm/algorithm.Assertion.h"
#include "algorithm/algorithm.Exception.h"
#include "algorithm/arsenic/arsenic.Randomizer.h"
#include "algorithm/bit.MSB.h"
#include "stream/check/crc.CRC.h"
#include "stream/check/crc.Streams.h"

namespace algorithm::arsenic {

namespace {

// A bucket of the radix pass that is fully sorted. Blocks stop at 2^24 bytes,
// so the flag must lie above any position: bit 30. (Bit 21 would fall inside
// the positions of blocks of 22 to 24 bits and wreck their sort; for smaller
// blocks the mark is the same either way, and so is the stream.)
constexpr uint32_t sortedFlag = 0x40000000;
constexpr uint32_t clearMask = ~sortedFlag;

// Blocks end with 32 bytes that repeat their start, so that a comparison can
// run that far past the end before it tests for the wrap.
constexpr int overshoot = 32;

constexpr int32_t shellIncrements[] = {1,     4,     13,     40,     121,    364,     1093,
                                       3280,  9841,  29524,  88573,  265720, 797161, 2391484};

// How far ahead a pass in sorted order asks for the bytes it will need.
constexpr int32_t prefetchDistance = 16;

constexpr int quickSortStack = 1024;
constexpr int quickSortSmall = 20;
constexpr int quickSortDepth = 10;

inline uint64_t loadBigEndian64(const unsigned char* p) {
    uint64_t v;
    std::memcpy(&v, p, 8);
    if constexpr (std::endian::native == std::endian::little) v = __builtin_bswap64(v);
    return v;
}

inline int median3(int a, int b, int c) {
    if (a > b) std::swap(a, b);
    if (b > c) {
        b = c;
        if (a > b) b = a;
    }
    return b;
}

} // namespace

Compressor::Compressor(int blockBits)
    : blockBits(blockBits),
      capacity(1 << blockBits),
      blockStorage(makeLarge<unsigned char>((size_t(1) << blockBits) + overshoot + 1)),
      block(blockStorage.get() + 1),
      quadrant(makeLarge<uint16_t>((size_t(1) << blockBits) + overshoot)),
      pointers(makeLarge<int32_t>(size_t(1) << blockBits)),
      buckets(new uint32_t[65537]()) {}

Compressor::~Compressor() = default;

uint64_t Compressor::process(stream::Input& in, stream::Output& out) {
    uint64_t start = out.tell();
    crc::EthernetCRC crc(0xFFFFFFFFu);
    crc::CRC32Input crcInput(in, crc);
    RLEInput rle(crcInput);

    bit::MSBOutput<int32_t> bits(out);
    arith::DCC95Coder coder(bits);
    CompressorBitModel bitModel(coder);

    bitModel.put(0x41, 8);
    bitModel.put(0x73, 8);
    bitModel.put(blockBits - 9, 4);

    while (loadBlock(rle)) {
        achtung.dispatch();
        BWT(bitModel);
        encodeMTF(coder);
    }
    bitModel.put(1);
    bitModel.put(~crc.value(), 32);
    coder.finish();
    bits.flush();
    out.flush();
    return out.tell() - start;
}

bool Compressor::loadBlock(RLEInput& in) {
    last = -1;
    int symbol = 0;
    while (last < capacity - overshoot && symbol != RLEInput::endOfInput) {
        int runLen = in.read();
        symbol = in.read();
        ALGORITHM_ASSERT(runLen >= 1 && runLen <= 255, "runLen >= 1 && runLen <= 255");
        if (symbol == RLEInput::endOfInput) break;
        unsigned char c = static_cast<unsigned char>(symbol);
        if (runLen <= 3) {
            for (int i = 0; i < runLen; ++i) block[++last] = c;
        } else {
            for (int i = 0; i < 4; ++i) block[++last] = c;
            block[++last] = static_cast<unsigned char>(runLen - 4);
        }
    }
    return last != -1;
}

void Compressor::BWT(CompressorBitModel& bitModel) {
    workLimit = last * workFactor;
    workDone = 0;
    randomized = false;
    firstAttempt = true;
    sort();
    if (workDone > workLimit && firstAttempt) {
        Randomizer::randomize(reinterpret_cast<char*>(block), static_cast<uint32_t>(last + 1));
        workDone = workLimit = 0;
        randomized = true;
        firstAttempt = false;
        sort();
    }

    int32_t origin = -1;
    for (int32_t i = 0; i <= last; ++i)
        if (pointers[i] == 0) {
            origin = i;
            break;
        }
    if (origin == -1) throw Exception("invalid original string position", source);

    bitModel.put(0);
    bitModel.put(randomized ? 1 : 0);
    bitModel.put(static_cast<uint32_t>(origin), blockBits);
}

void Compressor::sort() {
    for (int i = 0; i < overshoot; ++i) block[last + 1 + i] = block[i % (last + 1)];
    std::memset(quadrant.get(), 0, sizeof(uint16_t) * static_cast<size_t>(last + overshoot + 1));
    block[-1] = block[last];

    if (last < 4096) {
        for (int32_t i = 0; i <= last; ++i) pointers[i] = i;
        firstAttempt = false;
        workDone = workLimit = 0;
        shellSort(0, last, 0);
    } else {
        radixSort();
    }
}

// Whether the rotation at i1 sorts after the one at i2. The first six bytes
// are compared plainly; after that the quadrant keys of rotations already
// placed decide as soon as they differ, and the wrap test runs once per four
// bytes, which the overshoot makes safe.
inline bool Compressor::greater(int32_t i1, int32_t i2) {
    ALGORITHM_ASSERT(i1 != i2, "i != j");
    const unsigned char* const b = block;
    const uint16_t* const q = quadrant.get();
    // The six bytes as one big-endian number: the first difference decides.
    uint64_t w1 = loadBigEndian64(b + i1) >> 16;
    uint64_t w2 = loadBigEndian64(b + i2) >> 16;
    if (w1 != w2) return w1 > w2;
    i1 += 6;
    i2 += 6;
    int32_t k = last + 1;
    do {
        // Four positions at a time while bytes and keys are all equal; at the
        // first group with a difference, position by position.
        uint32_t c1, c2;
        uint64_t s1, s2;
        std::memcpy(&c1, b + i1, 4);
        std::memcpy(&c2, b + i2, 4);
        std::memcpy(&s1, q + i1, 8);
        std::memcpy(&s2, q + i2, 8);
        if (c1 != c2 || s1 != s2) {
            for (int n = 0; n < 4; ++n) {
                if (b[i1 + n] != b[i2 + n]) return b[i1 + n] > b[i2 + n];
                if (q[i1 + n] != q[i2 + n]) return q[i1 + n] > q[i2 + n];
            }
        }
        i1 += 4;
        i2 += 4;
        if (i1 > last) i1 -= last + 1;
        if (i2 > last) i2 -= last + 1;
        k -= 4;
        ++workDone;
    } while (k >= 0);
    return false;
}

void Compressor::shellSort(int32_t lo, int32_t hi, int32_t depth) {
    int32_t count = hi - lo + 1;
    if (count < 2) return;
    int step = 0;
    while (shellIncrements[step] < count) ++step;
    int32_t* const ptr = pointers.get();
    for (--step; step >= 0; --step) {
        const int32_t h = shellIncrements[step];
        int32_t i = lo + h;
        // Three insertions per turn; the budget is tested after the third.
        auto insert = [&] {
            int32_t v = ptr[i];
            int32_t j = i;
            while (greater(ptr[j - h] + depth, v + depth)) {
                ptr[j] = ptr[j - h];
                j -= h;
                if (j <= lo + h - 1) break;
            }
            ptr[j] = v;
            ++i;
        };
        for (;;) {
            if (i > hi) break;
            insert();
            if (i > hi) break;
            insert();
            if (i > hi) break;
            insert();
            if (workDone > workLimit && firstAttempt) return;
        }
    }
}

void Compressor::quickSort3(int32_t loStart, int32_t hiStart, int32_t depthStart) {
    struct Range {
        int32_t lo, hi, depth;
    };
    Range stack[quickSortStack];
    int sp = 0;
    achtung.dispatch();
    stack[sp++] = {loStart, hiStart, depthStart};
    int32_t* const ptr = pointers.get();
    const unsigned char* const b = block;

    while (sp > 0) {
        if (sp > quickSortStack - 1) throw Exception("stack overflow in quicksort", source);
        Range r = stack[--sp];
        const int32_t lo = r.lo, hi = r.hi, d = r.depth;

        if (hi - lo < quickSortSmall || d > quickSortDepth) {
            shellSort(lo, hi, d);
            if (workDone > workLimit && firstAttempt) return;
            continue;
        }

        const int pivot = median3(b[ptr[lo] + d], b[ptr[hi] + d], b[ptr[(lo + hi) >> 1] + d]);
        int32_t unLo = lo, ltLo = lo, unHi = hi, gtHi = hi;
        for (;;) {
            while (unLo <= unHi) {
                if (unLo + prefetchDistance <= unHi) __builtin_prefetch(b + ptr[unLo + prefetchDistance] + d);
                int n = static_cast<int>(b[ptr[unLo] + d]) - pivot;
                if (n == 0) {
                    std::swap(ptr[unLo], ptr[ltLo]);
                    ++ltLo;
                    ++unLo;
                    continue;
                }
                if (n > 0) break;
                ++unLo;
            }
            while (unLo <= unHi) {
                if (unHi - prefetchDistance >= unLo) __builtin_prefetch(b + ptr[unHi - prefetchDistance] + d);
                int n = static_cast<int>(b[ptr[unHi] + d]) - pivot;
                if (n == 0) {
                    std::swap(ptr[unHi], ptr[gtHi]);
                    --gtHi;
                    --unHi;
                    continue;
                }
                if (n < 0) break;
                --unHi;
            }
            if (unLo > unHi) break;
            std::swap(ptr[unLo], ptr[unHi]);
            ++unLo;
            --unHi;
        }
        ALGORITHM_ASSERT(unHi == unLo - 1, "unHi == unLo - 1");

        if (gtHi < ltLo) {
            stack[sp++] = {lo, hi, d + 1};
            continue;
        }

        int32_t n = std::min(ltLo - lo, unLo - ltLo);
        for (int32_t x = lo, y = unLo - n; n > 0; --n, ++x, ++y) std::swap(ptr[x], ptr[y]);
        int32_t m = std::min(hi - gtHi, gtHi - unHi);
        for (int32_t x = unLo, y = hi - m + 1; m > 0; --m, ++x, ++y) std::swap(ptr[x], ptr[y]);

        n = lo + unLo - ltLo - 1;
        m = hi - (gtHi - unHi) + 1;
        stack[sp++] = {lo, n, d};
        stack[sp++] = {n + 1, m - 1, d + 1};
        stack[sp++] = {m, hi, d};
    }
}

void Compressor::radixSort() {
    uint32_t* const ftab = buckets.get();
    int32_t* const ptr = pointers.get();
    const unsigned char* const b = block;
    uint16_t* const q = quadrant.get();

    std::memset(ftab, 0, 65537 * sizeof(uint32_t));
    unsigned c1 = b[-1];
    for (int32_t i = 0; i <= last; ++i) {
        unsigned c2 = b[i];
        ++ftab[(c1 << 8) + c2];
        c1 = c2;
    }
    for (int i = 1; i <= 65536; ++i) ftab[i] += ftab[i - 1];

    c1 = b[0];
    for (int32_t i = 0; i < last; ++i) {
        unsigned c2 = b[i + 1];
        ptr[--ftab[(c1 << 8) + c2]] = i;
        c1 = c2;
    }
    ptr[--ftab[(unsigned(b[last]) << 8) + b[0]]] = last;

    // The first-byte values by the size of their run, smallest first.
    auto bigFreq = [ftab](int v) { return ftab[(v + 1) << 8] - ftab[v << 8]; };
    int runningOrder[256];
    for (int i = 0; i < 256; ++i) runningOrder[i] = i;
    {
        int h = 1;
        do h = 3 * h + 1;
        while (h <= 256);
        do {
            h = h / 3;
            for (int i = h; i <= 255; ++i) {
                int vv = runningOrder[i];
                int j = i;
                while (bigFreq(runningOrder[j - h]) > bigFreq(vv)) {
                    runningOrder[j] = runningOrder[j - h];
                    j = j - h;
                    if (j <= h - 1) break;
                }
                runningOrder[j] = vv;
            }
        } while (h != 1);
    }

    bool bigDone[256] = {};
    uint32_t copy[256];
    for (int i = 0; i <= 255; ++i) {
        const int ss = runningOrder[i];

        for (int j = 0; j <= 255; ++j) {
            const int sb = (ss << 8) + j;
            if (!(ftab[sb] & sortedFlag)) {
                int32_t lo = static_cast<int32_t>(ftab[sb] & clearMask);
                int32_t hi = static_cast<int32_t>(ftab[sb + 1] & clearMask) - 1;
                if (hi > lo) {
                    quickSort3(lo, hi, 2);
                    if (workDone > workLimit && firstAttempt) return;
                }
                ftab[sb] |= sortedFlag;
            }
        }
        bigDone[ss] = true;

        if (i < 255) {
            const int32_t bbStart = static_cast<int32_t>(ftab[ss << 8] & clearMask);
            const int32_t bbSize = static_cast<int32_t>(ftab[(ss + 1) << 8] & clearMask) - bbStart;
            int shifts = 0;
            while ((bbSize >> shifts) > 65534) ++shifts;
            for (int32_t j = 0; j < bbSize; ++j) {
                if (j + prefetchDistance < bbSize) __builtin_prefetch(q + ptr[bbStart + j + prefetchDistance], 1);
                const int32_t a2update = ptr[bbStart + j];
                const uint16_t qVal = static_cast<uint16_t>(j >> shifts);
                q[a2update] = qVal;
                if (a2update < overshoot) q[a2update + last + 1] = qVal;
            }
            if (((bbSize - 1) >> shifts) > 65535) throw Exception("radixSort() failed", source);
        }

        for (int j = 0; j <= 255; ++j) copy[j] = ftab[(j << 8) + ss] & clearMask;
        const int32_t runEnd = static_cast<int32_t>(ftab[(ss + 1) << 8] & clearMask);
        for (int32_t j = static_cast<int32_t>(ftab[ss << 8] & clearMask); j < runEnd; ++j) {
            if (j + prefetchDistance < runEnd) __builtin_prefetch(b + ptr[j + prefetchDistance] - 1);
            const unsigned c = b[ptr[j] - 1];
            if (!bigDone[c]) {
                ptr[copy[c]] = ptr[j] == 0 ? last : ptr[j] - 1;
                ++copy[c];
            }
        }

        for (int j = 0; j <= 255; ++j) ftab[(j << 8) + ss] |= sortedFlag;
    }
}

void Compressor::encodeMTF(arith::DCC95Coder& coder) {
    CompressorMTFModel model(coder);
    unsigned char list[256];
    for (int i = 0; i < 256; ++i) list[i] = static_cast<unsigned char>(i);
    const int32_t* const ptr = pointers.get();
    int32_t run = 0;
    for (int32_t i = 0; i <= last; ++i) {
        if (i % achtungInterval == 0) achtung.dispatch();
        // The bytes are read in sorted order, at random places in the block:
        // ask for them well ahead.
        if (i + prefetchDistance <= last) __builtin_prefetch(block + ptr[i + prefetchDistance] - 1);
        const unsigned char c = block[ptr[i] - 1];
        if (list[0] == c) {
            ++run;
            continue;
        }
        const int index = static_cast<int>(static_cast<const unsigned char*>(std::memchr(list, c, 256)) - list);
        std::memmove(list + 1, list, static_cast<size_t>(index));
        list[0] = c;
        model.run(run);
        run = 0;
        model.put(index);
    }
    model.run(run);
    model.end();
}

} // namespace algorithm::arsenic
