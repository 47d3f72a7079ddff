#pragma once

#include <cstdint>

#include "algorithm/algorithm.Assertion.h"
#include "algorithm/arith/arith.DCC95Decoder.h"
#include "algorithm/arsenic/arsenic.ZeroOrderModel.h"

namespace algorithm::arsenic {

// The failure of a stream that the decoder has run far past the end of.
constexpr const char* endOfStream = "unexpected end of compressed stream";

// A zero-order model that takes its symbols from the arithmetic decoder.
class DecompressorModel : public ZeroOrderModel {
public:
    DecompressorModel(arith::DCC95Decoder& decoder, const ModelParameters& p)
        : ZeroOrderModel(p.symbols, p.limit, p.increment), decoder(decoder) {}

    virtual int get() { return next(); }
    // An unsigned number of `bits` binary decisions, the first the least significant.
    virtual uint32_t get(int bits) {
        uint32_t result = 0;
        for (int i = 0; i < bits; ++i)
            if (next() != 0) result |= uint32_t(1) << i;
        return result;
    }

protected:
    // One symbol: the search runs up from symbol 0 over the cumulative counts.
    int next() {
        uint32_t v = decoder.get(total);
        uint32_t high;
        int symbol = find(v, high);
        decoder.decode(high - frequencies[symbol], high, total);
        ALGORITHM_ASSERT(symbol >= 0 && symbol < symbols, "isValidSymbol(symbol)");
        adapt(symbol);
        return symbol;
    }

    arith::DCC95Decoder& decoder;
};

// The binary model of every header field, flag, primary index and check bit.
class DecompressorBitModel final : public DecompressorModel {
public:
    explicit DecompressorBitModel(arith::DCC95Decoder& decoder) : DecompressorModel(decoder, bitModelParameters) {}
};

// The move-to-front symbols of one block: the primary model of eleven kinds
// and the seven sub-models for the larger indexes. A run length comes as
// digits of weight 1 and 2 in bijective base 2; decoding it reads one symbol
// past the run, which stays pending as `value`.
class DecompressorMTFModel final : public DecompressorModel {
public:
    explicit DecompressorMTFModel(arith::DCC95Decoder& decoder);

    // Reads the next symbol, and a whole run length when it starts one.
    void next();
    // The pending run length (and clears it) while there is one, else the index.
    int get() override {
        if (run > 0) {
            int n = run;
            run = 0;
            return n;
        }
        return value;
    }
    bool isRun() const { return run > 0; }
    bool end() const { return run == 0 && value == -1; }

private:
    void decode();

    DecompressorModel sub[7];
    int value = 1;
    int run = 0;
    bool inRun = false;
};

} // namespace algorithm::arsenic
