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
        sumGroups();
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
        groups[symbol >> groupShift] += static_cast<uint32_t>(increment);
        if (total > static_cast<uint32_t>(limit)) {
            total = 0;
            for (int i = 0; i < symbols; ++i) {
                frequencies[i] = (frequencies[i] + 1) >> 1;
                total += frequencies[i];
            }
            sumGroups();
        }
    }

    // The sum of the frequencies below `symbol`.
    uint32_t below(int symbol) const {
        uint32_t low = 0;
        for (int g = 0; g < (symbol >> groupShift); ++g) low += groups[g];
        for (int i = symbol & ~(groupSize - 1); i < symbol; ++i) low += frequencies[i];
        return low;
    }

    // The symbol whose cumulative range holds the count v < total: the first
    // whose frequencies up to and including its own exceed v. Sets `high` to
    // that cumulative frequency.
    int find(uint32_t v, uint32_t& high) const {
        uint32_t base = 0;
        int g = 0;
        while (base + groups[g] <= v) base += groups[g++];
        int symbol = g << groupShift;
        high = base + frequencies[symbol];
        while (high <= v) high += frequencies[++symbol];
        return symbol;
    }

    // Sums of groups of 16 frequencies, so that a search or a cumulative count
    // over the larger models takes a few steps per group.
    static constexpr int groupShift = 4;
    static constexpr int groupSize = 1 << groupShift;
    void sumGroups() {
        for (auto& g : groups) g = 0;
        for (int i = 0; i < symbols; ++i) groups[i >> groupShift] += frequencies[i];
    }

    int symbols;
    std::unique_ptr<uint32_t[]> frequencies;
    uint32_t groups[256 >> groupShift] = {};
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
