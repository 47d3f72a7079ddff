#include "algorithm/isp/isp.Preprocessor.h"

#include <algorithm>
#include <cstring>

#include "algorithm/algorithm.Exception.h"
#include "algorithm/isp/isp.TextDetector.h"

namespace algorithm::isp {

namespace {

constexpr uint32_t endSymbol = 320;
constexpr uint32_t longestMatch = 32767;

inline unsigned bitLength(uint32_t v) {
    unsigned n = 0;
    while (v) {
        ++n;
        v >>= 1;
    }
    return n;
}

} // namespace

Preprocessor::Preprocessor()
    : counts(new int32_t[2 * symbolCount]()),
      sumCounts(new int32_t[symbolCount]()),
      links(new uint16_t[BUFSIZE]()),
      buffer(new uint8_t[BUFSIZE]()),
      heads(new uint16_t[HASHSIZE]()),
      next(new uint16_t[HASH_SLOTS]()),
      position(new uint16_t[HASH_SLOTS]()),
      tokens(new uint8_t[tokenCapacity]) {}

Preprocessor::~Preprocessor() = default;

uint64_t Preprocessor::process(stream::Input& in, stream::Output& out) {
    if (level() < minCompressionLevel || level() > maxCompressionLevel)
        throw Exception("invalid compression level", "algorithm::isp::Preprocessor");
    const uint64_t start = out.tell();
    out_ = &out;
    tokenCount = 0;

    // isp_init: every slot free, every chain and count empty.
    for (uint32_t i = 1; i < HASH_SLOTS; ++i) next[i] = static_cast<uint16_t>(i - 1);
    next[0] = 0;
    free = static_cast<uint16_t>(HASH_SLOTS - 1);
    std::fill(heads.get(), heads.get() + HASHSIZE, uint16_t(0));
    std::fill(counts.get(), counts.get() + 2 * symbolCount, 0);
    std::fill(std::begin(distanceCounts), std::end(distanceCounts), 0);
    length = 0;
    cur = 1;
    windowStart = 1;
    afterLiteral = counts.get();
    afterMatch = counts.get() + symbolCount;
    current = afterLiteral;

    bool ended = fillbuffer(in);
    const uint32_t got = end - 1;
    text = TextDetector::text(reinterpret_cast<const char*>(buffer.get() + 1), got);

    // A small input gets a history sized to it, which takes fewer distance
    // symbols. An input that brings more than its size claims keeps the
    // full history, so that every distance stays codable.
    buffer_size = DEFAULT_BUFSIZE;
    const uint64_t size = in.size();
    if (size != stream::all && size + BUFFER_EXTRA < DEFAULT_BUFSIZE && got <= size)
        buffer_size = static_cast<uint32_t>(size / 1024 * 1024 + BUFFER_EXTRA);
    bscodes = static_cast<int>(bitLength(buffer_size)) + 1;

    candidate = best = shorter = 0;
    if (got < 2) {
        // Too short for the match finder, which starts from two bytes.
        for (uint32_t i = 0; i < got; ++i) OutputLZChar(buffer[1 + i]);
    } else {
        last2 = buffer[cur++];
        last1 = buffer[cur++];
        if (cur > buffer_size) windowStart = cur - buffer_size + 1;
        length = 2;
        compressBuffer();
        while (!ended) {
            shift_buffer_back();
            ended = fillbuffer(in);
            compressBuffer();
        }
    }
    handle_eof();
    flushTokens();
    out.flush();
    return out.tell() - start;
}

bool Preprocessor::fillbuffer(stream::Input& in) {
    uint32_t at = cur;
    while (at < BUFSIZE) {
        const uint32_t n = in.read(reinterpret_cast<char*>(buffer.get() + at), BUFSIZE - at);
        if (n == 0) {
            end = at;
            return true;
        }
        at += n;
    }
    end = at;
    return false;
}

void Preprocessor::compressBuffer() {
    uint8_t* const buf = buffer.get();
    uint16_t* const lnk = links.get();
    uint16_t* const hd = heads.get();
    uint16_t* const nx = next.get();
    uint16_t* const pos = position.get();
    const int budget = MATCH_MAX[level()];

    while (cur < end) {
        const uint8_t c = buf[cur];
        const uint32_t p = cur - 2;
        ++cur;
        if (cur > DEFAULT_BUFSIZE) ++windowStart;

        // Find the last occurrence of these three bytes, and record this one.
        const uint32_t h = ((uint32_t(c + last2) << 8) ^ uint32_t(c + last1)) & 0x7FFF;
        uint32_t found = 0;
        uint16_t slot = hd[h];
        uint16_t previous = 0;
        while (slot != 0) {
            const uint32_t q = pos[slot];
            if (buf[q] == last2 && buf[q + 1] == last1 && buf[q + 2] == c) {
                found = q;
                pos[slot] = static_cast<uint16_t>(p);
                break;
            }
            previous = slot;
            slot = nx[slot];
        }
        if (slot == 0 && free != 0) {
            slot = free;
            free = nx[slot];
            nx[slot] = 0;
            pos[slot] = static_cast<uint16_t>(p);
            if (previous)
                nx[previous] = slot;
            else
                hd[h] = slot;
        }
        lnk[p] = static_cast<uint16_t>(p - found);
        last2 = last1;
        last1 = c;

        if (candidate != 0) {
            bool extended = false;
            if (found >= windowStart && length < longestMatch) {
                if (c == buf[candidate + length]) {
                    ++length;
                    shorter = best;
                    continue;
                }
                // Look for an older occurrence that goes on with c. The walk
                // runs in locals: kept in the object, the compiler stores
                // both back at every step.
                uint32_t older = candidate;
                int left = steps;
                const uint32_t start = windowStart, matched = length;
                while (left > 0) {
                    --left;
                    older -= lnk[older];
                    if (older < start) break;
                    if (buf[older + matched] == c && std::memcmp(buf + older + 3, buf + tail, matched - 3) == 0) {
                        shorter = best;
                        best = older;
                        ++length;
                        extended = true;
                        break;
                    }
                }
                candidate = older;
                steps = left;
            }
            if (extended) continue;

            // The match ends before c. A match one byte longer but far away
            // must be less than 32 times as far as the shorter one.
            const uint32_t d = cur - best - length;
            if (d < 2048 || shorter == 0 || (d >> BSMULT_BITS) <= cur - shorter || length < 4) {
                OutputLZPointer(d, length);
                length = 0;
            } else {
                OutputLZPointer(cur - shorter - length, length - 1);
                length = 1;
            }
            candidate = best = shorter = 0;
        }

        ++length;
        if (length > 2) {
            if (found < windowStart) {
                OutputLZChar(buf[p]);
            } else {
                candidate = best = found;
                steps = budget;
                tail = cur;
                length = 3;
            }
        }
    }
    if (length > longestMatch) length = 2;
}

void Preprocessor::shift_buffer_back() {
    if (candidate != 0 && candidate < windowStart) output_current_string();
    const uint32_t shift = windowStart - 1;
    uint8_t* const buf = buffer.get();
    uint16_t* const lnk = links.get();
    std::memmove(buf + 1, buf + windowStart, cur - windowStart);
    for (uint32_t i = windowStart; i < cur; ++i) {
        const uint32_t to = i - shift;
        lnk[to] = static_cast<uint16_t>(std::min<uint32_t>(lnk[i], to));
    }
    uint16_t* const hd = heads.get();
    uint16_t* const nx = next.get();
    uint16_t* const pos = position.get();
    for (uint32_t h = 0; h < HASHSIZE; ++h) {
        uint16_t* link = &hd[h];
        while (*link != 0) {
            const uint16_t slot = *link;
            if (pos[slot] < windowStart) {
                *link = nx[slot];
                nx[slot] = free;
                free = slot;
            } else {
                pos[slot] = static_cast<uint16_t>(pos[slot] - shift);
                link = &nx[slot];
            }
        }
    }
    auto lower = [shift](uint32_t& v) {
        if (v >= shift) v -= shift;
    };
    lower(tail);
    lower(cur);
    lower(windowStart);
    lower(best);
    lower(candidate);
    lower(shorter);
}

void Preprocessor::output_current_string() {
    OutputLZPointer(cur + 1 - best - length, length);
    length = 0;
    candidate = best = shorter = 0;
}

void Preprocessor::handle_eof() {
    if (candidate != 0) {
        output_current_string();
    } else {
        if (length > 1) OutputLZChar(last2);
        if (length != 0) OutputLZChar(last1);
    }
    put(0xFD);
    put(0x00);
    ++current[endSymbol];
}

void Preprocessor::OutputLZChar(uint8_t c) {
    ++current[c];
    if (c >= 0xFD) put(0xFD);
    put(c);
    current = afterLiteral;
}

void Preprocessor::OutputLZPointer(uint32_t distance, uint32_t n) {
    if (!(distance < buffer_size))
        throw Exception("Assertion (distance < buffer_size) failed in algorithm::isp::Preprocessor::OutputLZPointer()",
                        "algorithm::isp::Preprocessor");
    if (n < 65) {
        ++current[n + 253];
        put(0xFE);
        put(static_cast<uint8_t>(n - 3));
    } else {
        const uint32_t x = n - 65;
        ++current[x < 1024 ? 318 : 319];
        put(0xFF);
        put(static_cast<uint8_t>(x));
        put(static_cast<uint8_t>(x >> 8));
    }
    const uint32_t v = distance - 2;
    const unsigned s = bitLength(v);
    ++distanceCounts[s];
    put(static_cast<uint8_t>(s));
    if (s >= 2 && s <= 8) {
        put(static_cast<uint8_t>(v & ((1u << (s - 1)) - 1)));
    } else if (s >= 9) {
        put(static_cast<uint8_t>(v));
        put(static_cast<uint8_t>((v >> 8) & ((1u << (s - 9)) - 1)));
    }
    current = afterMatch;
}

void Preprocessor::flushTokens() {
    if (tokenCount != 0) out_->write(reinterpret_cast<const char*>(tokens.get()), tokenCount);
    tokenCount = 0;
}

} // namespace algorithm::isp
