#include "engine/t5.Reader.h"

#include "engine/engine5.FormatReader.h"
#include "engine/engine5.MultiClassifier.h"
#include "format/format.Number.h"
#include "format/tkt5/tkt5.Reader.h"
#include "format/zip/zip.Reader.h"
#include "io/io.Exception.h"
#include "io/io.File.h"
#include "io/io.Path.h"
#include "io/io.random.FileStreams.h"
#include "stream/stream.BufferedInput.h"

namespace tuckett5 {

namespace {
constexpr uint32_t bufferSize = 65536;
}

Reader::Reader() = default;

Reader::~Reader() = default;

void Reader::open(const std::string& path) {
    isClassified = false;
    isScanned = false;
    archiveInfo.position = defaultPosition;
    archiveInfo.format = 0;
    archiveInfo.path = path;

    auto opened = std::make_unique<io::random::File>();
    try {
        opened->open(path);
    } catch (const io::Exception& caught) {
        throw exception::Input(caught.message());
    }
    file = std::move(opened);
    input = std::make_unique<io::random::FileInput>(*file);
    isOpen = true;
    input->seek(0);
    error = 0;
}

void Reader::classify() {
    if (!isOpen) throw exception::BadArgument("call to classify an archive without an open archive");
    engine5::MultiClassifier classifier;
    input->seek(archiveInfo.position);
    int result = classifier.classify(*input, span(), *this);
    isClassified = true;
    if (result == 0) {
        archiveInfo.format = classifier.format;
        archiveInfo.position = classifier.offset;
        input->seek(classifier.offset);
    }
    error = result;
}

void Reader::scan() {
    if (!isClassified) classify();
    if (!isOpen) throw exception::BadArgument("call to scan an archive without an open archive");
    formatReader.reset();
    int format = archiveInfo.format;
    if (canDecode(format)) {
        formatReader = makeFormatReader(format);
        if (format == format::number::tkt || format == format::number::tkt5) {
            tuckedFlagA(true);
            tuckedFlagB(true);
        }
    }
    if (!formatReader) throw exception::UnsupportedFormat("archive format is not supported");
    stream::random::BufferedInput buffered(*input, bufferSize);
    formatReader->scan(buffered, *file);
    isScanned = true;
}

void Reader::decode() {
    if (!isScanned) scan();
    // The text is kept as it stands, though the archive is open here.
    if (isOpen && !canDecode(archiveInfo.format))
        throw exception::BadArgument("call to decode an archive without an open archive");
    if (!formatReader) throw exception::UnsupportedFormat("archive format is not supported");
    if (outputFolder().empty()) outputFolder(io::PathSplitter(archiveInfo.path).folder());

    stream::random::BufferedInput buffered(*input, bufferSize);
    formatReader->decode(buffered, *file);

    formatReader.reset();
    archiveInfo.position = nextPosition;
    input->seek(nextPosition);
    isScanned = false;
    nextPosition = static_cast<uint32_t>(input->tell());
}

void Reader::close() {
    if (input) {
        file->close();
        input->close();
        input.reset();
        file.reset();
    }
    isOpen = false;
    error = 0;
}

bool Reader::canClassify(int format) const { return format::classifies(format); }

bool Reader::canDecode(int format) const { return format::reads(format); }

std::unique_ptr<engine5::FormatReader> Reader::makeFormatReader(int format) {
    // Each number with a reader in the engine. A format whose reader is not
    // built yet gets the base, whose scan and decode say so.
    switch (format) {
        case format::number::zip:
            return std::make_unique<engine5::zip::Reader>(archiveInfo.position, *this);
        case format::number::tkt5:
            return std::make_unique<engine5::tkt5::Reader>(archiveInfo.position, *this);
        case format::number::tkt:       // engine5::tkt::Reader
        case format::number::arc:       // engine5::arc::Reader
        case format::number::arj:       // engine5::arj::Reader
        case format::number::lha:       // engine5::lha::Reader
        case format::number::rar:       // engine5::rar::Reader
        case format::number::gz:        // engine5::gz::Reader
        case format::number::compress:  // engine5::compress::Reader
        case format::number::uu:        // engine5::uu::Reader
        case format::number::hqx:       // engine5::hqx::Reader
        case format::number::btoa:      // engine5::btoa::Reader
        case format::number::mime:      // engine5::mime::Reader
        case format::number::tar:       // engine5::tar::Reader
        case format::number::bin:       // engine5::bin::Reader
        case format::number::tktseg:    // engine5::tktseg::Reader
        case format::number::sv:        // engine5::sv::Reader
        case format::number::bz2:       // engine5::bz2::Reader
            return std::make_unique<engine5::FormatReader>(archiveInfo.position, *this);
        default:
            return nullptr;
    }
}

}  // namespace tuckett5
