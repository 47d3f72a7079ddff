#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "engine/engine5.FormatReader.h"
#include "engine/engine5.FormatWriter.h"

namespace engine5::uu {

// Expands every uuencoded file of a text: each "begin MODE NAME" (or
// "begin-base64 MODE NAME") up to its "end" (or "====") line becomes a file
// with the mode's permission bits. Text around and between the files, such
// as a mail's, is passed over.
class Reader : public FormatReader {
public:
    Reader(uint32_t position, tuckett5::Reader& reader);

    using FormatReader::decode;
    using FormatReader::scan;
    void scan(stream::random::Input& archive, io::random::File& file) override;
    void decode(stream::random::Input& archive, io::random::File& file) override;

    struct Section {
        std::string name;
        uint32_t mode = 0;
        bool base64 = false;
        // Where the begin line starts.
        uint64_t begin = 0;
        // Where the encoded lines start, their length, and the bytes they hold.
        uint64_t body = 0;
        uint64_t encoded = 0;
        uint64_t size = 0;
    };

    // Walks the text from `start`, decoding each file's lines into `sink` (which
    // may be null) and answering the files found. Throws BadData for a damaged
    // file; stops after the first file where `first` is set.
    static std::vector<Section> walk(stream::random::Input& in, uint64_t start,
                                     const std::function<void(const std::string&)>& sink, bool first);

private:
    Entry entry(const Section& section) const;
    std::vector<Section> sections_;
    bool scanned_ = false;
};

// Writes files as POSIX uuencode does: for each a begin line with its mode
// and name, lines of 45 bytes, and "end".
class Writer : public FormatWriter {
public:
    explicit Writer(tuckett5::Writer& writer);

    using FormatWriter::create;
    void create(const std::list<std::string>& items, stream::random::Output& archive) override;
    std::string ext() const override { return ".uu"; }
};

}  // namespace engine5::uu
