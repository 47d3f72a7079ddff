#pragma once

#include <cstdint>
#include <memory>

#include "algorithm/arsenic/arsenic.Achtung.h"
#include "algorithm/arsenic/arsenic.CompressorModel.h"
#include "algorithm/arsenic/arsenic.LargeBuffer.h"
#include "algorithm/arsenic/arsenic.RLEInput.h"
#include "stream/stream.Transform.h"

namespace algorithm::arsenic {

// The block size of every Arsenic stream this system writes: 2^20 bytes. A
// decompressor that is reused across the streams of one archive keeps the
// largest block size it has met, so all streams use this one.
constexpr int defaultBlockBits = 20;

// Writes an Arsenic stream: run-length coding of the input into blocks of
// 2^blockBits bytes, a sort of each block's rotations (randomised once when
// the block is too repetitive to sort within its budget), move-to-front, and
// adaptive arithmetic coding, closed by a CRC-32 of the input.
class Compressor : public stream::Transform {
public:
    // blockBits from 9 to 24; the caller keeps to that range.
    explicit Compressor(int blockBits = defaultBlockBits);
    ~Compressor() override;

    using stream::Transform::process;
    uint64_t process(stream::Input& in, stream::Output& out) override;

    AchtungDispatcher& achtungListeners() { return achtung; }

    // True when the last block written was randomised.
    bool lastBlockRandomized() const { return randomized; }

    static constexpr const char* source = "algorithm::arsenic::Compressor";

private:
    bool loadBlock(RLEInput& in);
    void BWT(CompressorBitModel& bitModel);
    void sort();
    void radixSort();
    void quickSort3(int32_t lo, int32_t hi, int32_t depth);
    void shellSort(int32_t lo, int32_t hi, int32_t depth);
    [[gnu::always_inline]] inline bool greater(int32_t i1, int32_t i2);
    void encodeMTF(arith::DCC95Coder& coder);

    AchtungDispatcher achtung;
    int blockBits;
    int capacity;
    int workFactor = 16;
    LargeArray<unsigned char> blockStorage;
    unsigned char* block;  // blockStorage + 1: the index runs from -1 to capacity + 31
    LargeArray<uint16_t> quadrant;
    LargeArray<int32_t> pointers;
    std::unique_ptr<uint32_t[]> buckets;
    int workDone = 0;
    int workLimit = 0;
    bool randomized = false;
    bool firstAttempt = true;
    int last = -1;
    int achtungInterval = 4096;
};

} // namespace algorithm::arsenic
