#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "format/format.Classifier.h"

namespace stream {
class Input;
}
namespace tuckett5 {
class Reader;
}

namespace engine5 {

// One instance of each format's classifier, in the order they are added.
std::vector<std::unique_ptr<format::Classifier>> makeClassifiers();

// Names the format of a stream from one block read at its current position,
// and passes what the winning classifier learnt (encryption, segments) to the
// reader's archive record.
class MultiClassifier {
public:
    MultiClassifier();
    MultiClassifier(const MultiClassifier&) = delete;
    MultiClassifier& operator=(const MultiClassifier&) = delete;
    virtual ~MultiClassifier();

    // Leaves the format number in `format` (0 for none) and the position of
    // its data in `offset`. Answers 0.
    virtual int classify(stream::Input& input, unsigned size, tuckett5::Reader& reader);

    int format = 0;
    uint32_t offset = 0;
    std::unique_ptr<format::MultiClassifier> classifier;
};

}  // namespace engine5
