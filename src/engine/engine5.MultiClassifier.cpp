#include "engine/engine5.MultiClassifier.h"

#include "engine/t5.Reader.h"
#include "format/arc/arc.Classifier.h"
#include "format/arj/arj.Classifier.h"
#include "format/bin/bin.Classifier.h"
#include "format/btoa/btoa.Classifier.h"
#include "format/bz2/bz2.Classifier.h"
#include "format/compact/compact.Classifier.h"
#include "format/compress/compress.Classifier.h"
#include "format/cpt/cpt.Classifier.h"
#include "format/freeze/freeze.Classifier.h"
#include "format/gz/gz.Classifier.h"
#include "format/ha/ha.Classifier.h"
#include "format/hqx/hqx.Classifier.h"
#include "format/lha/lha.Classifier.h"
#include "format/mime/mime.Classifier.h"
#include "format/pack/pack.Classifier.h"
#include "format/rar/rar.Classifier.h"
#include "format/sco/sco.Classifier.h"
#include "format/sv/sv.Classifier.h"
#include "format/tar/tar.Classifier.h"
#include "format/tkt/tkt.Classifier.h"
#include "format/tkt5/tkt5.Classifier.h"
#include "format/tktseg/tktseg.Classifier.h"
#include "format/uu/uu.Classifier.h"
#include "format/zip/zip.Classifier.h"
#include "stream/stream.Input.h"

namespace engine5 {

std::vector<std::unique_ptr<format::Classifier>> makeClassifiers() {
    std::vector<std::unique_ptr<format::Classifier>> all;
    all.reserve(25);
    all.push_back(std::make_unique<format::arc::Classifier>());
    all.push_back(std::make_unique<format::arj::Classifier>());
    all.push_back(std::make_unique<format::bin::Classifier>());
    all.push_back(std::make_unique<format::btoa::Classifier>());
    all.push_back(std::make_unique<format::bz2::Classifier>());
    all.push_back(std::make_unique<format::compact::Classifier>());
    all.push_back(std::make_unique<format::compress::Classifier>());
    all.push_back(std::make_unique<format::cpt::Classifier>());
    all.push_back(std::make_unique<format::freeze::Classifier>());
    all.push_back(std::make_unique<format::gz::Classifier>());
    all.push_back(std::make_unique<format::ha::Classifier>());
    all.push_back(std::make_unique<format::hqx::Classifier>());
    all.push_back(std::make_unique<format::lha::Classifier>());
    all.push_back(std::make_unique<format::mime::Classifier>());
    all.push_back(std::make_unique<format::pack::Classifier>());
    all.push_back(std::make_unique<format::sv::Classifier>());
    all.push_back(std::make_unique<format::rar::Classifier>());
    all.push_back(std::make_unique<format::sco::Classifier>());
    all.push_back(std::make_unique<format::tkt5::Classifier>());
    all.push_back(std::make_unique<format::tkt::Classifier>());
    all.push_back(std::make_unique<format::tktseg::Classifier>());
    all.push_back(std::make_unique<format::tktseg::ClassifierN>());
    all.push_back(std::make_unique<format::tar::Classifier>());
    all.push_back(std::make_unique<format::uu::Classifier>());
    all.push_back(std::make_unique<format::zip::Classifier>());
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
