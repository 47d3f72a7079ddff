#pragma once

#include <cstdint>
#include <memory>

namespace algorithm::arsenic {

// An adaptive frequency table over `symbols` symbols, shared by both coding
// directions. Every frequency starts at `increment`; each coded symbol adds
// `increment` to its frequency and to the total, and once the total passes
// `limit` every frequency is halved, rounding up, so none ever falls to 0.
class ZeroOrderModel {
public:
    ZeroOrderModel(int symbols, int32_t limit, int32_t increment)
        : symbols(symbols), frequencies(new uint32_t[symbols]), increment(increment), limit(limit) {
        ZeroOrderModel::reset();
    }
    virtual ~ZeroOrderModel() = default;
    ZeroOrderModel(const ZeroOrderModel&) = delete;
    ZeroOrderModel& operator=(const ZeroOrderModel&) = delete;

    virtual void reset() {
        for (int i = 0; i < symbols; ++i) frequencies[i] = static_cast<uint32_t>(increment);
        total = static_cast<uint32_t>(increment) * static_cast<uint32_t>(symbols);
    }
    virtual void update(int symbol) { adapt(symbol); }
    virtual bool isValidSymbol(int symbol) const { return symbol >= 0 && symbol < symbols; }

    int symbolCount() const { return symbols; }
    uint32_t frequency(int symbol) const { return frequencies[symbol]; }
    uint32_t totalFrequency() const { return total; }

protected:
    // The update, callable without a virtual dispatch from the coding loops.
    void adapt(int symbol) {
        total += static_cast<uint32_t>(increment);
        frequencies[symbol] += static_cast<uint32_t>(increment);
        if (total > static_cast<uint32_t>(limit)) {
            total = 0;
            for (int i = 0; i < symbols; ++i) {
                frequencies[i] = (frequencies[i] + 1) >> 1;
                total += frequencies[i];
            }
        }
    }

    int symbols;
    std::unique_ptr<uint32_t[]> frequencies;
    uint32_t total = 0;
    int32_t increment;
    int32_t limit;
};

// The parameters of the models of the stream: symbols, limit, increment.
struct ModelParameters {
    int symbols;
    int32_t limit;
    int32_t increment;
};

constexpr ModelParameters bitModelParameters{2, 256, 1};
constexpr ModelParameters primaryModelParameters{11, 1024, 8};
// The sub-models of 2^k symbols, k from 1 to 7, for move-to-front indexes
// 2^k to 2^(k+1) - 1.
constexpr ModelParameters subModelParameters[7] = {{2, 1024, 8},  {4, 1024, 4},  {8, 1024, 4},  {16, 1024, 4},
                                                   {32, 1024, 2}, {64, 1024, 2}, {128, 1024, 1}};

// The primary model's symbols.
enum PrimarySymbol { runDigit1 = 0, runDigit2 = 1, index1 = 2, firstIndexClass = 3, endOfBlock = 10 };

} // namespace algorithm::arsenic
