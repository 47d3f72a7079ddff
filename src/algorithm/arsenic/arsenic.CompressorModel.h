#pragma once

#include <cstdint>

#include "algorithm/algorithm.Assertion.h"
#include "algorithm/arith/arith.DCC95Coder.h"
#include "algorithm/arsenic/arsenic.ZeroOrderModel.h"

namespace algorithm::arsenic {

// A zero-order model that sends its symbols to the arithmetic coder.
class CompressorModel : public ZeroOrderModel {
public:
    CompressorModel(arith::DCC95Coder& coder, const ModelParameters& p)
        : ZeroOrderModel(p.symbols, p.limit, p.increment), coder(coder) {}

    virtual void put(int symbol) { send(symbol); }
    // `bits` binary decisions, the least significant bit of `value` first.
    virtual void put(int value, int bits) {
        for (int i = 0; i < bits; ++i, value >>= 1) send(value & 1);
    }

protected:
    void send(int symbol) {
        ALGORITHM_ASSERT(symbol >= 0 && symbol < symbols, "isValidSymbol(symbol)");
        uint32_t low = below(symbol);
        coder.encode(low, low + frequencies[symbol], total);
        adapt(symbol);
    }

    arith::DCC95Coder& coder;
};

class CompressorBitModel final : public CompressorModel {
public:
    explicit CompressorBitModel(arith::DCC95Coder& coder) : CompressorModel(coder, bitModelParameters) {}
    using CompressorModel::put;
    void put(uint32_t value, int bits) {
        for (int i = 0; i < bits; ++i, value >>= 1) send(static_cast<int>(value & 1));
    }
};

// The move-to-front symbols of one block: indexes through the primary model
// and its sub-models, runs of index 0 as bijective base-2 digits.
class CompressorMTFModel final : public CompressorModel {
public:
    explicit CompressorMTFModel(arith::DCC95Coder& coder);

    using CompressorModel::put;
    // A move-to-front index, 1 to 255.
    void put(int index) override;
    // A run of `length` zero indexes; nothing for a length of 0.
    void run(int32_t length) {
        if (length <= 0) return;
        length -= 1;
        for (;;) {
            send(length & 1);
            if (length < 2) break;
            length = (length - 2) >> 1;
        }
    }
    void end() { send(endOfBlock); }

private:
    CompressorModel sub[7];
};

} // namespace algorithm::arsenic
