#include "algorithm/arsenic/arsenic.DecompressorModel.h"

#include "algorithm/algorithm.Exception.h"

namespace algorithm::arsenic {

DecompressorMTFModel::DecompressorMTFModel(arith::DCC95Decoder& decoder)
    : DecompressorModel(decoder, primaryModelParameters),
      sub{{decoder, subModelParameters[0]}, {decoder, subModelParameters[1]}, {decoder, subModelParameters[2]},
          {decoder, subModelParameters[3]}, {decoder, subModelParameters[4]}, {decoder, subModelParameters[5]},
          {decoder, subModelParameters[6]}} {}

void DecompressorMTFModel::next() {
    if (!inRun) run = 0;
    int symbol = DecompressorModel::next();
    switch (symbol) {
    case runDigit1: value = 0x101; break;
    case runDigit2: value = 0x102; break;
    case index1: value = 1; break;
    case endOfBlock: value = -1; break;
    default:
        if (symbol < firstIndexClass || symbol > endOfBlock)
            throw Exception("invalid input symbol", "ArsenicDecompressorMTFModel");
        {
            int k = symbol - 2;
            value = (1 << k) + sub[k - 1].DecompressorModel::get();
        }
        break;
    }
    if (symbol <= runDigit2 && !inRun) decode();
}

// The run length in bijective base 2: digits of weight 1 and 2, least
// significant first. A length far past any block saturates rather than
// overflowing; the block's capacity check then refuses it.
void DecompressorMTFModel::decode() {
    constexpr int64_t saturated = int64_t(1) << 40;
    int64_t length = -1;
    int64_t weight = 1;
    inRun = true;
    do {
        if (value == 0x101)
            length += weight;
        else if (value == 0x102)
            length += 2 * weight;
        if (weight < saturated) weight *= 2;
        if (length > saturated) length = saturated;
        if (decoder.exhausted()) throw Exception(endOfStream, "algorithm::arsenic::Decompressor");
        next();
    } while (value == 0x101 || value == 0x102);
    inRun = false;
    length += 1;
    run = length > INT32_MAX ? INT32_MAX : static_cast<int>(length);
}

} // namespace algorithm::arsenic
