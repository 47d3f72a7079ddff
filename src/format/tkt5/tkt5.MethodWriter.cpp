#include "format/tkt5/tkt5.MethodWriter.h"

#include "algorithm/arsenic/arsenic.Compressor.h"
#include "algorithm/isp/isp.Compressor.h"
#include "algorithm/rc4.Cipher.h"
#include "engine/engine5.WriterProgressListener.h"
#include "engine/t5.Writer.h"
#include "format/tkt5/tkt5.Record.h"
#include "format/tkt5/tkt5.TypeInfo.h"
#include "io/io.File.h"
#include "io/io.Path.h"
#include "io/io.random.FileStreams.h"
#include "stream/check/crc.Streams.h"
#include "stream/check/md5.Digest.h"
#include "stream/stream.BufferedInput.h"
#include "stream/stream.BufferedOutput.h"
#include "stream/stream.Copier.h"
#include "stream/stream.LimitedInput.h"
#include "stream/stream.progress.h"

namespace engine5::tkt5 {

namespace {
constexpr uint32_t bufferSize = 65536;
constexpr uint32_t uniqueLimit = 999;
}  // namespace

MethodWriter::MethodWriter(tuckett5::Writer& writer, const std::string& password, const std::string& key)
    : writer(writer), password(password), key(key) {}

MethodWriter::~MethodWriter() { std::fill(password.begin(), password.end(), '\0'); }

void MethodWriter::encode(stream::Input& in, stream::Output& out) {
    const uint64_t base = total;
    const uint64_t start = out.tell();

    // From the source outwards: the bound on the size (a file that grows
    // while it is stored keeps the size it was measured at), the CRC, progress.
    stream::LimitedInput limited(in, inputSize);
    format::tkt5::HeaderCRC check;
    algorithm::crc::CRCInput<uint16_t> checkedInput(limited, check);
    stream::Input& inner = checked() ? static_cast<stream::Input&>(checkedInput) : limited;
    stream::progress::Input progress(inner, progressStep());
    WriterProgressListener listener(writer, base);
    progress.addListener(listener);
    stream::BufferedInput buffered(progress, bufferSize);

    if (password.empty()) {
        stream::BufferedOutput stored(out, bufferSize);
        run(buffered, stored);
        stored.flush();
    } else {
        // The RC4 key: the first five bytes of the password's MD5, then the
        // archive's random key. Every fork starts a fresh cipher.
        algorithm::md5::Digest digest;
        digest.update(password);
        digest.end();
        const std::string passwordKey(digest.value().data(), 5);
        algorithm::rc4::RandomizedKey cipherKey(passwordKey, key);
        algorithm::rc4::Cipher cipher(cipherKey);
        algorithm::rc4::Output enciphered(out, cipher);
        stream::BufferedOutput stored(enciphered, bufferSize);
        run(buffered, stored);
        stored.flush();
    }
    inputCount = progress.tell();
    outputSize = out.tell() - start;
    crc = checked() ? check.value() : 0;
    total = base + inputCount;
}

StoredWriter::StoredWriter(tuckett5::Writer& writer, const std::string& password, const std::string& key)
    : MethodWriter(writer, password, key) {
    transform = std::make_unique<stream::Copier>(bufferSize);
}

uint8_t StoredWriter::method() const { return format::tkt5::ForkInfo::storedMethod; }

void StoredWriter::run(stream::Input& in, stream::Output& out) { transform->process(in, out); }

ISPWriter::ISPWriter(tuckett5::Writer& writer, const std::string& password, const std::string& key)
    : MethodWriter(writer, password, key) {}

uint8_t ISPWriter::method() const { return format::tkt5::ForkInfo::ispMethod; }

void ISPWriter::run(stream::Input& in, stream::Output& out) { encode1(in, out); }

void ISPWriter::encode1(stream::Input& in, stream::Output& out) {
    algorithm::isp::Preprocessor preprocessor;
    algorithm::isp::Coder coder;
    coder.resource(resource);
    if (inputSize <= threshold) {
        algorithm::isp::MemoryCompressor compressor(preprocessor, coder);
        compressor.level(algorithm::isp::Preprocessor::tkt5CompressionLevel);
        compressor.process(in, out);
        return;
    }
    // The token stream of a large input goes to a temporary file, which is
    // both the compressor's output and, read back, its input.
    std::string path = io::Path::tempDirectory();
    if (!path.empty() && path.back() != io::Path::separator) path += io::Path::separator;
    path += "$isptemp$";
    io::Path::makeUnique(path, uniqueLimit);
    io::random::File temporary;
    temporary.create(path);
    try {
        io::random::FileOutput temporaryOutput(temporary);
        io::random::FileInput temporaryInput(temporary);
        algorithm::isp::FileCompressor compressor(preprocessor, coder);
        compressor.level(algorithm::isp::Preprocessor::tkt5CompressionLevel);
        compressor.temporaryOutput(&temporaryOutput);
        compressor.temporaryInput(&temporaryInput);
        compressor.process(in, out);
    } catch (...) {
        temporary.unlink(false);
        throw;
    }
    temporary.unlink(false);
}

ArsenicWriter::ArsenicWriter(tuckett5::Writer& writer, const std::string& password, const std::string& key)
    : MethodWriter(writer, password, key) {
    transform = std::make_unique<algorithm::arsenic::Compressor>(algorithm::arsenic::defaultBlockBits);
}

uint8_t ArsenicWriter::method() const { return format::tkt5::ForkInfo::arsenicMethod; }

void ArsenicWriter::run(stream::Input& in, stream::Output& out) { transform->process(in, out); }

}  // namespace engine5::tkt5
