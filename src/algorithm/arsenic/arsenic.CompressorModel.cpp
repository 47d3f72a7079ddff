#include "algorithm/arsenic/arsenic.CompressorModel.h"

#include "un/un.exception.h"

namespace algorithm::arsenic {

CompressorMTFModel::CompressorMTFModel(arith::DCC95Coder& coder)
    : CompressorModel(coder, primaryModelParameters),
      sub{{coder, subModelParameters[0]}, {coder, subModelParameters[1]}, {coder, subModelParameters[2]},
          {coder, subModelParameters[3]}, {coder, subModelParameters[4]}, {coder, subModelParameters[5]},
          {coder, subModelParameters[6]}} {}

void CompressorMTFModel::put(int index) {
    if (index < 1 || index > 255) throw un::exception("invalid output symbol", "ArsenicCompressorMTFModel");
    if (index == 1) {
        send(index1);
        return;
    }
    int k = 31 - __builtin_clz(static_cast<unsigned>(index));
    send(k + 2);
    sub[k - 1].put(index - (1 << k));
}

} // namespace algorithm::arsenic
