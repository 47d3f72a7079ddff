#include "engine/engine5.MultiClassifier.h"

#include "engine/engine5.Registry.h"
#include "engine/t5.Reader.h"
#include "stream/stream.Input.h"

namespace engine5 {

std::vector<std::unique_ptr<format::Classifier>> makeClassifiers() {
    std::vector<std::unique_ptr<format::Classifier>> all;
    all.reserve(formats().size());
    for (const FormatDescriptor& one : formats())
        if (one.makeClassifier) all.push_back(one.makeClassifier());
    return all;
}

MultiClassifier::MultiClassifier() : classifier(std::make_unique<format::MultiClassifier>()) {}

MultiClassifier::~MultiClassifier() = default;

int MultiClassifier::classify(stream::Input& input, unsigned size, tuckett5::Reader& reader) {
    format = 0;
    offset = static_cast<uint32_t>(input.tell());

    // The classifiers live for this call only; the multi-classifier must let go
    // of them before they go.
    auto classifiers = makeClassifiers();
    classifier = std::make_unique<format::MultiClassifier>();
    classifier->classifiers.reserve(classifiers.size());
    for (auto& one : classifiers) classifier->add(one.get());
    classifier->classify(input, size);

    format::Classifier* winner = classifier->winner;
    if (winner == nullptr) {
        classifier = std::make_unique<format::MultiClassifier>();
        return 0;
    }
    format = winner->format;
    offset += classifier->offset;

    tuckett5::ArchiveInfo& info = reader.archiveInfo;
    info.reset();
    bool copied = false;
    if (winner->encrypted.isSet()) {
        info.encrypted = winner->encrypted();
        winner->encrypted.reset();
        copied = true;
    }
    if (winner->segmentTotal.isSet()) {
        info.segmentTotal(winner->segmentTotal());
        winner->segmentTotal.reset();
        copied = true;
    }
    if (winner->segmentNumber.isSet()) {
        info.segmentNumber(winner->segmentNumber());
        winner->segmentNumber.reset();
        copied = true;
    }
    if (copied) {
        info.format = format;
        // The listeners are told; what they answer changes nothing.
        reader.tuckett5::event::ArchiveInfoDispatcher::ask(
            [](tuckett5::event::ArchiveInfoListener& listener) { return listener.archiveInfoEvent(); });
    }
    classifier = std::make_unique<format::MultiClassifier>();
    return 0;
}

}  // namespace engine5
