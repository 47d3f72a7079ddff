#pragma once

#include <cstdint>
#include <list>
#include <memory>
#include <string>

#include "engine/engine5.FormatWriter.h"
#include "format/format.data.h"
#include "io/io.File.h"

namespace stream {
class Output;
}

namespace engine5 {

// One file to encode, with what it keeps of a Macintosh file: its resource
// fork and Finder information from the named streams (the AppleDouble file
// on POSIX) or the MacDrive volume, and its dates.
struct MacSource {
    std::string path;
    // The name as a Macintosh keeps it: Mac OS Roman, at most 63 bytes.
    std::string macName;
    format::data::FileInfo finder;
    int64_t created = 0;  // seconds since 1970
    int64_t modified = 0;
    uint64_t dataSize = 0;
    uint64_t resourceSize = 0;
    io::random::File data;
    // The open resource fork, or null when the file has none.
    std::unique_ptr<io::random::File> resource;
};

// The writer of an encoding that holds whole Macintosh files one after
// another (MacBinary, BinHex). Each path names a file; folders are refused
// before this is reached.
class MacFileWriter : public FormatWriter {
public:
    explicit MacFileWriter(tuckett5::Writer& writer) : FormatWriter(writer) {}

    using FormatWriter::create;
    void create(const std::list<std::string>& items, stream::random::Output& archive) override;

    // The Mac OS Roman form of a local name; characters it lacks become "_",
    // and ":" (how a POSIX system shows a Macintosh "/") goes back to "/".
    static std::string macName(const std::string& local);

protected:
    // Writes one file to the archive.
    virtual void encode(MacSource& source, stream::Output& archive) = 0;
    // Copies `size` bytes of a fork, reporting the progress.
    void copy(io::random::File& from, stream::Output& to, uint64_t size);

private:
    void open(const std::string& path, MacSource& source);
    uint64_t done_ = 0;
};

}  // namespace engine5
