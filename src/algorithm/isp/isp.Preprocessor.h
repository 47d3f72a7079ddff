#pragma once

#include <cstdint>
#include <memory>

#include "stream/stream.Transform.h"
#include "un/un.property.h"

namespace algorithm::isp {

class Coder;

// The first pass of the ISP compressor. Finds the matches of the input with
// hash chains and a lazy choice between a longer and a nearer match, writes
// them as a byte-coded token stream, and counts every symbol for the Coder:
//
//   literal 0 to 252     the byte
//   literal 253 to 255   0xFD, the byte
//   match of 3 to 64     0xFE, length - 3, distance
//   longer match         0xFF, low and high byte of length - 65, distance
//   end                  0xFD, 0x00
//
// A distance is its symbol s (the bit length of distance - 1), then for s of
// 2 to 8 one byte with the low s - 1 bits, for s of 9 and more the low byte
// and a byte with the next s - 9 bits.
class Preprocessor : public stream::Transform {
public:
    static constexpr uint32_t BUFFER_EXTRA = 1023;
    static constexpr uint32_t DEFAULT_BUFSIZE = 32767;
    static constexpr uint32_t BUFSIZE = 65535;
    static constexpr uint32_t HASHSIZE = 32768;
    static constexpr uint32_t HASH_SLOTS = 43690;
    static constexpr int MATCH_MAX[10] = {0, 16, 32, 64, 128, 256, 512, 1024, 2048, 4096};
    static constexpr uint32_t BSMULT = 32;
    static constexpr uint32_t BSMULT_BITS = 5;
    static constexpr int minCompressionLevel = 1;
    static constexpr int maxCompressionLevel = 9;
    static constexpr int defaultCompressionLevel = 6;
    static constexpr int tkt5CompressionLevel = 4;

    static constexpr int symbolCount = 321;

    Preprocessor();
    ~Preprocessor() override;

    using stream::Transform::process;
    uint64_t process(stream::Input& in, stream::Output& out) override;

    // The compression level, 1 to 9: how far each match is searched.
    un::property<int> level{defaultCompressionLevel};

private:
    friend class Coder;

    bool fillbuffer(stream::Input& in);
    void compressBuffer();
    void shift_buffer_back();
    void handle_eof();
    void output_current_string();
    void OutputLZChar(uint8_t c);
    void OutputLZPointer(uint32_t distance, uint32_t length);
    void put(uint8_t byte) {
        if (tokenCount == tokenCapacity) flushTokens();
        tokens[tokenCount++] = byte;
    }
    void flushTokens();

    // What the Coder reads after a run.
    uint32_t buffer_size = 0;
    bool text = false;
    int bscodes = 0;
    mutable int32_t distanceCounts[16] = {};  // completed by the Coder
    std::unique_ptr<int32_t[]> counts;     // 2 x 321: after a literal, after a match
    std::unique_ptr<int32_t[]> sumCounts;  // 321, the Coder's work space

    // The match finder.
    std::unique_ptr<uint16_t[]> links;     // per position: back to the last one with the same three bytes
    std::unique_ptr<uint8_t[]> buffer;     // position 0 stays unused
    std::unique_ptr<uint16_t[]> heads;     // first slot of each hash
    std::unique_ptr<uint16_t[]> next;      // chain of slots, and the free list
    std::unique_ptr<uint16_t[]> position;  // last position of each slot's three bytes
    uint32_t tail = 0;                     // byte after the three that began the match
    uint32_t end = 0;
    uint32_t cur = 0;
    uint32_t length = 0;
    uint32_t candidate = 0;
    uint32_t best = 0;
    uint32_t shorter = 0;
    uint8_t last1 = 0;
    uint8_t last2 = 0;
    uint32_t windowStart = 0;
    uint16_t free = 0;
    int steps = 0;
    int32_t* current = nullptr;
    int32_t* afterLiteral = nullptr;
    int32_t* afterMatch = nullptr;

    // The token stream goes out in blocks.
    static constexpr uint32_t tokenCapacity = 65536;
    std::unique_ptr<uint8_t[]> tokens;
    uint32_t tokenCount = 0;
    stream::Output* out_ = nullptr;
};

} // namespace algorithm::isp
