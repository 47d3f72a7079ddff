// The format registry: one line per format. Adding a format means writing its
// folder under format/ and adding its line here.
#include "engine/engine5.Registry.h"

#include "engine/engine5.FormatWriter.h"
#include "format/arc/arc.Classifier.h"
#include "format/arc/arc.Reader.h"
#include "format/arj/arj.Classifier.h"
#include "format/arj/arj.Reader.h"
#include "format/bin/bin.Classifier.h"
#include "format/bin/bin.Reader.h"
#include "format/bin/bin.Writer.h"
#include "format/btoa/btoa.Classifier.h"
#include "format/btoa/btoa.Reader.h"
#include "format/bz2/bz2.Classifier.h"
#include "format/bz2/bz2.Reader.h"
#include "format/compact/compact.Classifier.h"
#include "format/compress/compress.Classifier.h"
#include "format/compress/compress.Reader.h"
#include "format/cpt/cpt.Classifier.h"
#include "format/format.Number.h"
#include "format/freeze/freeze.Classifier.h"
#include "format/gz/gz.Classifier.h"
#include "format/gz/gz.Reader.h"
#include "format/ha/ha.Classifier.h"
#include "format/hqx/hqx.Classifier.h"
#include "format/hqx/hqx.Reader.h"
#include "format/hqx/hqx.Writer.h"
#include "format/lha/lha.Classifier.h"
#include "format/lha/lha.Reader.h"
#include "format/mime/mime.Classifier.h"
#include "format/mime/mime.Reader.h"
#include "format/pack/pack.Classifier.h"
#include "format/rar/rar.Classifier.h"
#include "format/rar/rar.Reader.h"
#include "format/sco/sco.Classifier.h"
#include "format/sv/sv.Classifier.h"
#include "format/tar/tar.Classifier.h"
#include "format/tar/tar.Reader.h"
#include "format/tkt/tkt.Classifier.h"
#include "format/tkt5/tkt5.Classifier.h"
#include "format/tkt5/tkt5.Reader.h"
#include "format/tkt5/tkt5.Writer.h"
#include "format/tktseg/tktseg.Classifier.h"
#include "format/uu/uu.Classifier.h"
#include "format/uu/uu.Reader.h"
#include "format/zip/zip.Classifier.h"
#include "format/zip/zip.Reader.h"
#include "format/zip/zip.Writer.h"

namespace engine5 {

namespace {

template <typename C>
std::unique_ptr<format::Classifier> classifier() {
    return std::make_unique<C>();
}

template <typename W>
std::unique_ptr<FormatWriter> writer(tuckett5::Writer& owner) {
    return std::make_unique<W>(owner);
}

template <typename R>
std::unique_ptr<FormatReader> reader(uint32_t position, tuckett5::Reader& owner) {
    return std::make_unique<R>(position, owner);
}

namespace n = format::number;
constexpr bool container = true;
constexpr bool stream = false;

}  // namespace

const char* FormatDescriptor::shortName() const { return format::name(number); }

const char* FormatDescriptor::displayName() const { return format::name(number + 32); }

const std::vector<FormatDescriptor>& formats() {
    // In the order in which the classifiers are added; among classifiers of
    // equal priority it decides which is tried first.
    static const std::vector<FormatDescriptor> all = {
        {n::arc, ".arc", container, classifier<format::arc::Classifier>, reader<arc::Reader>, nullptr},
        {n::arj, ".arj", container, classifier<format::arj::Classifier>, reader<arj::Reader>, nullptr},
        {n::bin, ".bin", stream, classifier<format::bin::Classifier>, reader<bin::Reader>, writer<bin::Writer>},
        {n::btoa, ".btoa", stream, classifier<format::btoa::Classifier>, reader<btoa::Reader>, nullptr},
        {n::bz2, ".bz2", stream, classifier<format::bz2::Classifier>, reader<bz2::Reader>, nullptr},
        {n::compact, ".C", stream, classifier<format::compact::Classifier>, nullptr, nullptr},
        {n::compress, ".Z", stream, classifier<format::compress::Classifier>, reader<compress::Reader>,
         writer<compress::Writer>},
        {n::cpt, ".cpt", container, classifier<format::cpt::Classifier>, nullptr, nullptr},
        {n::freeze, ".F", stream, classifier<format::freeze::Classifier>, nullptr, nullptr},
        {n::gz, ".gz", stream, classifier<format::gz::Classifier>, reader<gz::Reader>, nullptr},
        {n::ha, ".ha", container, classifier<format::ha::Classifier>, nullptr, nullptr},
        {n::hqx, ".hqx", stream, classifier<format::hqx::Classifier>, reader<hqx::Reader>, writer<hqx::Writer>},
        {n::lha, ".lzh", container, classifier<format::lha::Classifier>, reader<lha::Reader>, nullptr},
        {n::mime, ".eml", container, classifier<format::mime::Classifier>, reader<mime::Reader>, nullptr},
        {n::pack, ".z", stream, classifier<format::pack::Classifier>, nullptr, nullptr},
        {n::sv, "", container, classifier<format::sv::Classifier>, nullptr, nullptr},
        {n::rar, ".rar", container, classifier<format::rar::Classifier>, reader<rar::Reader>, nullptr},
        {n::sco, ".Z", stream, classifier<format::sco::Classifier>, nullptr, nullptr},
        {n::tkt5, ".tkt", container, classifier<format::tkt5::Classifier>, reader<tkt5::Reader>, writer<tkt5::Writer>},
        {n::tkt, ".tkt", container, classifier<format::tkt::Classifier>, nullptr, nullptr},
        {n::tktseg, "", container, classifier<format::tktseg::Classifier>, nullptr, nullptr},
        {n::tktsegN, "", container, classifier<format::tktseg::ClassifierN>, nullptr, nullptr},
        {n::tar, ".tar", container, classifier<format::tar::Classifier>, reader<tar::Reader>, nullptr},
        {n::uu, ".uu", stream, classifier<format::uu::Classifier>, reader<uu::Reader>, writer<uu::Writer>},
        {n::zip, ".zip", container, classifier<format::zip::Classifier>, reader<zip::Reader>, writer<zip::Writer>},
    };
    return all;
}

const FormatDescriptor* findFormat(int number) {
    for (const FormatDescriptor& one : formats())
        if (one.number == number) return &one;
    return nullptr;
}

}  // namespace engine5
