#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "algorithm/arith/arith.DCC95Decoder.h"
#include "algorithm/arsenic/arsenic.Achtung.h"
#include "algorithm/arsenic/arsenic.DecompressorModel.h"
#include "algorithm/arsenic/arsenic.LargeBuffer.h"
#include "stream/stream.Transform.h"

namespace algorithm::arsenic {

// Expands an Arsenic stream: a header ("As" and the block size), blocks of
// move-to-front symbols under adaptive arithmetic coding, each reversed through
// the block-sorting transform, de-randomised and run-length expanded, and a
// CRC-32 of the output at the end. Buffers grow to the largest block size met
// and are kept for the next stream.
class Decompressor : public stream::Transform {
public:
    Decompressor();
    ~Decompressor() override;

    using stream::Transform::process;
    uint64_t process(stream::Input& in, stream::Output& out) override;

    // Takes blocks of up to 2^blockBits bytes (9 to 24). The buffers grow
    // as a block's data arrives, so that a header alone costs no memory.
    virtual void init(int blockBits);
    // The bytes that the block buffers hold now.
    virtual size_t reserved() const { return size_t(room) * 2; }

    AchtungDispatcher& achtungListeners() { return achtung; }

    static constexpr const char* source = "algorithm::arsenic::Decompressor";

protected:
    // Decodes one block's move-to-front symbols into mtfBlock; answers the
    // primary index and sets `count` to the block's length.
    virtual int32_t decodeMTF(uint32_t& count, DecompressorBitModel& bitModel, arith::DCC95Decoder& decoder);
    // Reverses the transform of mtfBlock into block; answers the length.
    virtual uint32_t reverseBWT(uint32_t length, uint32_t primary) = 0;
    // De-randomises block and undoes its run-length stage into `out`.
    virtual void decode(uint32_t length, stream::Output& out);
    // Makes the buffers hold `needed` bytes of a block (at most its
    // capacity), keeping what mtfBlock holds.
    void grow(uint32_t needed);
    // Grows the buffers of a subclass to `room` entries.
    virtual void grown() {}

    AchtungDispatcher achtung;
    int blockBits = 0;
    LargeArray<unsigned char> block;
    LargeArray<unsigned char> mtfBlock;
    // The entries that block, mtfBlock (and a subclass's buffers) hold.
    uint32_t room = 0;
    std::unique_ptr<uint32_t[]> counts;
    std::unique_ptr<uint32_t[]> starts;
    bool randomized = false;
    int32_t achtungInterval = 4096;
};

// The decompressor that follows the inverse transform through a vector of
// one word per byte of block, each the next position with its byte in the low 8 bits:
// four more bytes of memory per byte of block, one read per output byte. On
// large blocks the reads of several stretches of the chain are interleaved.
class FastDecompressor : public Decompressor {
public:
    void init(int blockBits) override;
    size_t reserved() const override { return Decompressor::reserved() + size_t(room) * sizeof(uint32_t); }

protected:
    uint32_t reverseBWT(uint32_t length, uint32_t primary) override;
    void grown() override;

private:
    void followChains(uint32_t length, uint32_t first);

    LargeArray<uint32_t> transform;
};

} // namespace algorithm::arsenic
