#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "engine/engine5.FormatReader.h"
#include "stream/stream.FilterOutput.h"

namespace io::random {
class File;
}

namespace engine5 {

// Holds a decoder to a number of output bytes that depends on its input, so
// that a small hostile stream cannot fill the disk. gzip, bzip2 and compress
// declare no size that can be trusted, and each of them can describe far more
// output than any real file of that size holds.
class GuardedOutput : public stream::FilterOutput {
public:
    GuardedOutput(stream::Output& under, uint64_t limit, std::string failure)
        : stream::FilterOutput(under), limit_(limit), failure_(std::move(failure)) {}
    void write(char value) override;
    void write(const char* buffer, uint32_t count) override;
    void fill(uint64_t count, char value) override;
    uint64_t written() const { return written_; }

    // The most output allowed for `compressed` input bytes: 1 GiB, plus 2048
    // bytes per input byte (Deflate reaches about 1032, compress with 16-bit
    // codes about 1000 on real data; bzip2 can go further on a run of one
    // byte, which this still allows up to the base).
    static uint64_t limitFor(uint64_t compressed);
    static constexpr uint64_t base = uint64_t(1) << 30;
    static constexpr uint64_t ratio = 2048;

private:
    void count(uint64_t bytes);
    uint64_t limit_;
    uint64_t written_ = 0;
    std::string failure_;
};

// The reader of a format that compresses one stream of data (gzip, bzip2,
// compress). It expands the stream into a temporary file; when that holds an
// archive of a format with a reader, the archive's items are expanded in the
// same run and the archive information is the inner archive's, unless the
// client asked for the first layer only. Otherwise the data becomes one file
// named by the stream or after the archive.
class StreamReader : public FormatReader {
public:
    StreamReader(uint32_t position, tuckett5::Reader& reader);
    ~StreamReader() override;

    using FormatReader::decode;
    using FormatReader::scan;
    void scan(stream::random::Input& archive, io::random::File& file) override;
    void decode(stream::random::Input& archive, io::random::File& file) override;

    // The name of the expanded data after the archive's name: the suffix
    // goes, and a suffix that stands for a compressed tar becomes ".tar".
    static std::string plainName(const std::string& archiveName, const char* const* suffixes,
                                 const char* const* tarSuffixes);

protected:
    // Expands the whole stream, from the archive's current position, to `out`.
    virtual void expand(stream::random::Input& archive, stream::Output& out) = 0;
    // The name of the single file, when the stream keeps none.
    virtual std::string defaultName(const std::string& archiveName) const = 0;

    // What expand() learnt of the one file, where the format keeps it.
    std::string storedName;
    un::opt_property<int64_t> storedTime;
    std::string method;
    // Why data after the stream was passed over, for the client; the run
    // still succeeds.
    std::string warning;

private:
    void expandToTemporary(stream::random::Input& archive);
    void removeTemporary();
    Entry single() const;

    std::string temporaryPath_;
    std::unique_ptr<io::random::File> temporary_;
    std::unique_ptr<FormatReader> inner_;
    uint32_t innerPosition_ = 0;
    uint64_t expanded_ = 0;
    uint64_t compressed_ = 0;
};

}  // namespace engine5
