#include "algorithm/lzw/lzw.Decompressor.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>

#include "algorithm/algorithm.Exception.h"
#include "stream/stream.Input.h"
#include "stream/stream.Output.h"

namespace algorithm::lzw {

namespace {

constexpr uint32_t ioSize = 65536;

// Reads codes of the current width, and skips the rest of a group of eight.
class CodeInput {
public:
    explicit CodeInput(stream::Input& in) : in_(in), buffer_(new unsigned char[ioSize]) {}
    // The next code, or -1 when fewer bits than a code are left.
    int32_t read(int width) {
        while (held_ < width) {
            const int c = next();
            if (c < 0) return -1;
            bits_ |= static_cast<uint32_t>(c) << held_;
            held_ += 8;
        }
        const int32_t code = static_cast<int32_t>(bits_ & ((1u << width) - 1));
        bits_ >>= width;
        held_ -= width;
        ++inGroup_;
        return code;
    }
    // Passes over what is left of the group of eight codes in hand.
    void endGroup(int width) {
        if (inGroup_ % 8 != 0) {
            int skip = (8 - inGroup_ % 8) * width;
            const int fromHeld = skip < held_ ? skip : held_;
            bits_ >>= fromHeld;
            held_ -= fromHeld;
            skip -= fromHeld;
            while (skip >= 8 && next() >= 0) skip -= 8;
            // Groups are whole bytes, so nothing is left over here.
        }
        inGroup_ = 0;
    }
    int next() {
        if (at_ == size_) {
            size_ = in_.read(reinterpret_cast<char*>(buffer_.get()), ioSize);
            at_ = 0;
            if (size_ == 0) return -1;
        }
        return buffer_[at_++];
    }

private:
    stream::Input& in_;
    std::unique_ptr<unsigned char[]> buffer_;
    uint32_t at_ = 0;
    uint32_t size_ = 0;
    uint32_t bits_ = 0;
    int held_ = 0;
    uint32_t inGroup_ = 0;
};

}  // namespace

Decompressor::Decompressor(int widest) : widest_(widest) {
    if (widest < minBits || widest > maxBits) throw Exception("compress takes 9 to 16 bits");
}

uint64_t Decompressor::process(stream::Input& in, stream::Output& out) {
    CodeInput codes(in);
    int flags = blockModeFlag | widest_;
    if (widest_ == 0) {
        if (codes.next() != magic0 || codes.next() != magic1) throw Exception("not in compress format");
        flags = codes.next();
        if (flags < 0) throw Exception("compress file is truncated");
    }
    const int widest = flags & bitsMask;
    const bool blockMode = (flags & blockModeFlag) != 0;
    if (widest > maxBits)
        throw Exception("compressed with " + std::to_string(widest) + " bits, can only handle 16 bits");
    const int32_t limit = int32_t(1) << widest;

    // The tables hold only the codes this width can reach (and those of 9
    // bits, which a header below 9 still reads), so that the small tables of
    // ARC's 12 and 13 bits cost little per item. The stack is written before
    // it is read and needs no clearing.
    const size_t tableSize = static_cast<size_t>(std::max<int32_t>(limit, int32_t(1) << minBits));
    std::vector<uint16_t> prefix(tableSize);
    std::vector<unsigned char> suffix(tableSize);
    for (int i = 0; i < 256; ++i) suffix[i] = static_cast<unsigned char>(i);
    const size_t stackSize = size_t(1) << maxBits;
    std::unique_ptr<unsigned char[]> stack(new unsigned char[stackSize]);
    std::unique_ptr<char[]> output(new char[ioSize]);
    uint32_t pending = 0;
    uint64_t total = 0;

    // Codes start 9 bits wide, and widen by one bit (after the rest of their
    // group of eight) once the next entry passes the widest code of the width.
    // At the widest width the last code is the table's limit itself. A table
    // of 9 bits is no exception to the start: once full, its codes go on 10
    // bits wide, as compress and gzip read them.
    constexpr int32_t firstBound = (int32_t(1) << minBits) - 1;
    auto bound = [&](int width) { return width == widest ? limit : (int32_t(1) << width) - 1; };
    int width = minBits;
    int32_t maxCode = firstBound;
    int32_t next = blockMode ? 257 : 256;
    int32_t oldCode = -1;
    int finChar = 0;
    for (;;) {
        if (next > maxCode) {
            codes.endGroup(width);
            ++width;
            maxCode = bound(width);
        }
        int32_t code = codes.read(width);
        if (code < 0) break;
        if (oldCode == -1) {
            if (code >= 256) throw Exception("corrupt input in compress data");
            oldCode = code;
            finChar = code;
            output[pending++] = static_cast<char>(code);
            continue;
        }
        if (code == clearCode && blockMode) {
            codes.endGroup(width);
            next = 256;
            width = minBits;
            maxCode = firstBound;
            continue;
        }
        const int32_t incode = code;
        size_t top = stackSize;
        if (code >= next) {
            // The code one past the table repeats the last string. A full
            // table of 9 bits reads 10-bit codes yet never enters code 512,
            // so that code, repeated, names no string at all.
            if (code > next || oldCode >= static_cast<int32_t>(tableSize))
                throw Exception("corrupt input in compress data");
            stack[--top] = static_cast<unsigned char>(finChar);
            code = oldCode;
        }
        while (code >= 256) {
            stack[--top] = suffix[code];
            code = prefix[code];
        }
        finChar = suffix[code];
        stack[--top] = static_cast<unsigned char>(finChar);
        while (top < stackSize) {
            uint32_t n = static_cast<uint32_t>(stackSize - top);
            if (n > ioSize - pending) n = ioSize - pending;
            std::memcpy(output.get() + pending, stack.get() + top, n);
            pending += n;
            top += n;
            if (pending == ioSize) {
                out.write(output.get(), pending);
                total += pending;
                pending = 0;
            }
        }
        if (next < limit) {
            prefix[next] = static_cast<uint16_t>(oldCode);
            suffix[next] = static_cast<unsigned char>(finChar);
            ++next;
        }
        oldCode = incode;
    }
    out.write(output.get(), pending);
    total += pending;
    out.flush();
    return total;
}

Compressor::Compressor(int bits) : bits_(bits) {
    if (bits < minBits || bits > maxBits) throw Exception("compress takes 9 to 16 bits");
}

namespace {

// Writes codes in groups of eight of one width, padding a group that is left
// when the width changes, as the decoder expects.
class CodeOutput {
public:
    explicit CodeOutput(stream::Output& out) : out_(out), buffer_(new char[ioSize]) {}
    void write(uint32_t code, int width) {
        bits_ |= uint64_t(code) << held_;
        held_ += width;
        while (held_ >= 8) put(static_cast<char>(bits_ & 0xFF));
        ++inGroup_;
    }
    void endGroup(int width) {
        if (inGroup_ % 8 != 0) {
            const int pad = (8 - inGroup_ % 8) * width;
            held_ += pad;  // zero bits
            while (held_ >= 8) put(static_cast<char>(bits_ & 0xFF));
        }
        inGroup_ = 0;
    }
    uint64_t finish() {
        if (held_ > 0) {
            held_ = 8;
            put(static_cast<char>(bits_ & 0xFF));
        }
        out_.write(buffer_.get(), at_);
        written_ += at_;
        at_ = 0;
        return written_;
    }
    uint64_t written() const { return written_ + at_; }

private:
    void put(char c) {
        buffer_[at_++] = c;
        bits_ >>= 8;
        held_ -= 8;
        if (at_ == ioSize) {
            out_.write(buffer_.get(), at_);
            written_ += at_;
            at_ = 0;
        }
    }
    stream::Output& out_;
    std::unique_ptr<char[]> buffer_;
    uint32_t at_ = 0;
    uint64_t bits_ = 0;
    int held_ = 0;
    uint32_t inGroup_ = 0;
    uint64_t written_ = 0;
};

constexpr uint32_t tableSize = 69001;  // a prime above 2^16 * 1.05
constexpr uint64_t checkGap = 10000;

}  // namespace

uint64_t Compressor::process(stream::Input& in, stream::Output& out) {
    CodeOutput codes(out);
    const char header[3] = {static_cast<char>(magic0), static_cast<char>(magic1),
                            static_cast<char>(bits_ | blockModeFlag)};
    out.write(header, 3);
    const int32_t limit = int32_t(1) << bits_;
    // The hash table of (prefix code, byte) to code, with the key beside it.
    std::vector<int32_t> keys(tableSize, -1);
    std::vector<uint16_t> values(tableSize);
    std::unique_ptr<char[]> input(new char[ioSize]);

    // The same widths as the decoder's, 10 bits included for a full 9-bit table.
    constexpr int32_t firstBound = (int32_t(1) << minBits) - 1;
    auto bound = [&](int width) { return width == bits_ ? limit : (int32_t(1) << width) - 1; };
    int width = minBits;
    int32_t maxCode = firstBound;
    int32_t next = 257;         // the encoder's next entry
    int32_t decoderNext = 257;  // the decoder's, one entry behind
    bool first = true;
    uint64_t bytesIn = 0;
    uint64_t checkpoint = checkGap;
    uint64_t bestRatio = 0;
    int32_t ent = -1;

    auto emit = [&](int32_t code) {
        // The decoder widens before it reads a code once its next entry
        // passes the widest code of the current width.
        if (decoderNext > maxCode) {
            codes.endGroup(width);
            ++width;
            maxCode = bound(width);
        }
        codes.write(static_cast<uint32_t>(code), width);
        if (first)
            first = false;
        else if (decoderNext < limit)
            ++decoderNext;
    };

    for (uint32_t got; (got = in.read(input.get(), ioSize)) != 0;) {
        uint32_t i = 0;
        if (ent < 0) {
            ent = static_cast<unsigned char>(input[i++]);
            ++bytesIn;
        }
        for (; i < got; ++i) {
            const int c = static_cast<unsigned char>(input[i]);
            ++bytesIn;
            const int32_t key = (ent << 8) | c;
            uint32_t h = static_cast<uint32_t>((c << 8) ^ ent) % tableSize;
            const uint32_t step = h == 0 ? 1 : tableSize - h;
            bool found = false;
            while (keys[h] != -1) {
                if (keys[h] == key) {
                    found = true;
                    break;
                }
                h = h >= step ? h - step : h + tableSize - step;
            }
            if (found) {
                ent = values[h];
                continue;
            }
            emit(ent);
            ent = c;
            if (next < limit) {
                keys[h] = key;
                values[h] = static_cast<uint16_t>(next++);
            } else if (bytesIn >= checkpoint) {
                // A full table is dropped once it stops paying.
                checkpoint = bytesIn + checkGap;
                const uint64_t outBits = codes.written() * 8 + 1;
                const uint64_t ratio = (bytesIn << 16) / outBits;
                if (ratio > bestRatio) {
                    bestRatio = ratio;
                } else {
                    bestRatio = 0;
                    std::fill(keys.begin(), keys.end(), -1);
                    emit(clearCode);
                    codes.endGroup(width);
                    width = minBits;
                    maxCode = firstBound;
                    next = 257;
                    decoderNext = 256;
                }
            }
        }
    }
    if (ent >= 0) emit(ent);
    const uint64_t total = codes.finish() + 3;
    out.flush();
    return total;
}

}  // namespace algorithm::lzw
