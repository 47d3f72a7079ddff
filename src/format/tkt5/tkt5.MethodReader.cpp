#include "format/tkt5/tkt5.MethodReader.h"

#include "algorithm/arsenic/arsenic.Decompressor.h"
#include "algorithm/isp/isp.Decompressor.h"
#include "algorithm/rc4.Cipher.h"
#include "engine/engine5.ReaderProgressListener.h"
#include "engine/t5.Exception.h"
#include "engine/t5.Reader.h"
#include "format/tkt5/tkt5.Record.h"
#include "stream/check/crc.Streams.h"
#include "stream/check/md5.Digest.h"
#include "stream/stream.BufferedInput.h"
#include "stream/stream.BufferedOutput.h"
#include "stream/stream.Copier.h"
#include "stream/stream.FilterOutput.h"
#include "stream/stream.TextOutput.h"

namespace engine5::tkt5 {

namespace {

constexpr uint32_t bufferSize = 65536;
constexpr uint32_t progressStep = 16384;

const char* const invalidData = "CRC mismatch in tkt5 reader; data is invalid";

// Refuses output beyond the fork's size: damaged data must not expand
// without bound.
class BoundedOutput : public stream::FilterOutput {
public:
    BoundedOutput(stream::Output& under, uint64_t limit) : stream::FilterOutput(under), limit_(limit) {}
    void write(char value) override {
        admit(1);
        stream::FilterOutput::write(value);
    }
    void write(const char* buffer, uint32_t count) override {
        admit(count);
        stream::FilterOutput::write(buffer, count);
    }
    void fill(uint64_t count, char value) override {
        admit(count);
        stream::FilterOutput::fill(count, value);
    }
    uint64_t written() const { return written_; }

private:
    void admit(uint64_t count) {
        if (count > limit_ - written_) throw tuckett5::exception::BadData(invalidData);
        written_ += count;
    }
    uint64_t limit_;
    uint64_t written_ = 0;
};

} // namespace

MethodReader::MethodReader(tuckett5::Reader& reader, const std::string& password, const std::string& key)
    : reader(reader), password(password), key(key) {}

MethodReader::~MethodReader() {
    std::fill(password.begin(), password.end(), '\0');
}

void MethodReader::decode(stream::Input& in, stream::Output& out) {
    const uint64_t expected = count.isSet() ? count() : stream::all;
    const uint64_t base = total;

    // From the destination inwards: text conversion, the CRC (which so sees
    // the data before conversion), progress, and the bound on the size.
    stream::TextOutput text(out, textLineEnding);
    format::tkt5::HeaderCRC check;
    algorithm::crc::CRC16Output checkedText(text, check);
    stream::Output& inner = checked() ? static_cast<stream::Output&>(checkedText) : text;
    stream::progress::Output progress(inner, progressStep);
    ReaderProgressListener listener(reader, base);
    progress.addListener(listener);
    BoundedOutput bounded(progress, expected);

    listener.progress(stream::progress::Event<uint64_t>{0, expected});
    if (password.empty()) {
        run(in, bounded);
    } else {
        // The RC4 key: the first five bytes of the password's MD5, then the
        // fork's random key. Every fork starts a fresh cipher.
        algorithm::md5::Digest digest;
        digest.update(password);
        digest.end();
        const std::string passwordKey(digest.value().data(), 5);
        algorithm::rc4::RandomizedKey cipherKey(passwordKey, key);
        algorithm::rc4::Cipher cipher(cipherKey);
        algorithm::rc4::Input deciphered(in, cipher);
        run(deciphered, bounded);
    }
    if (expected != stream::all && bounded.written() != expected) throw tuckett5::exception::BadData(invalidData);

    crc = checked() ? check.value() : 0;
    progress.flush();
    total = base + bounded.written();
}

StoredReader::StoredReader(tuckett5::Reader& reader, const std::string& password, const std::string& key)
    : MethodReader(reader, password, key) {
    transform = std::make_unique<stream::Copier>(bufferSize);
}

uint64_t StoredReader::run(stream::Input& in, stream::Output& out) {
    return transform->process(in, out, count.isSet() ? count() : stream::all);
}

ISPReader::ISPReader(tuckett5::Reader& reader, const std::string& password, const std::string& key)
    : MethodReader(reader, password, key) {
    transform = std::make_unique<algorithm::isp::Decompressor>();
}

uint64_t ISPReader::run(stream::Input& in, stream::Output& out) {
    stream::BufferedInput buffered(in, bufferSize);
    return transform->process(buffered, out);
}

ArsenicReader::ArsenicReader(tuckett5::Reader& reader, const std::string& password, const std::string& key)
    : MethodReader(reader, password, key) {
    transform = std::make_unique<algorithm::arsenic::FastDecompressor>();
}

uint64_t ArsenicReader::run(stream::Input& in, stream::Output& out) {
    stream::BufferedInput buffered(in, bufferSize);
    stream::BufferedOutput bufferedOut(out, bufferSize);
    uint64_t n = transform->process(buffered, bufferedOut);
    bufferedOut.flush();
    return n;
}

} // namespace engine5::tkt5
