#include "engine/t5.Reader.h"

#include "engine/engine5.FormatReader.h"
#include "engine/engine5.MultiClassifier.h"
#include "engine/engine5.Registry.h"
#include "format/format.Number.h"
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
    topPath.clear();
    itemFailures.clear();
    itemWarnings.clear();

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
    // A format that the table says is read, but whose reader is not in this
    // build, has none: scan then says that the format is not supported.
    const engine5::FormatDescriptor* descriptor = engine5::findFormat(format);
    if (!descriptor || !descriptor->makeReader) return nullptr;
    return descriptor->makeReader(archiveInfo.position, *this);
}

}  // namespace tuckett5
