#pragma once

#include <cstdint>
#include <exception>
#include <string>
#include <vector>

#include "engine/engine5.FormatReader.h"

struct archive;
struct archive_entry;

namespace engine5::tar {

// Expands a tar archive of any dialect (v7, ustar, GNU long names and sparse
// files, pax) with libarchive as the parser only: every item, link and byte of
// data goes through the extraction path, so names and links stay inside the
// output folder. Device nodes, pipes and sockets are passed over with a
// warning; setuid, setgid and sticky bits are dropped. A hard link becomes a
// second name of the file that the item it names came out as.
//
// The RAR and LHA readers are the same reader over other libarchive parsers:
// a Dialect names the format in messages and turns its parsers on.
class Reader : public FormatReader {
public:
    // What the headers of a format say of one item: libarchive tells the
    // expanded size but not how many bytes the archive keeps of it.
    struct Sizes {
        uint64_t expanded;
        uint64_t packed;
    };

    struct Dialect {
        const char* name;
        void (*support)(struct archive*);
        // The text that refuses an item whose data is encrypted.
        const char* encrypted;
        // Walks the headers from the reader's position before libarchive
        // sees the archive: throws for what libarchive must not be given,
        // and lists the sizes of each item that libarchive will report, in
        // its order, for the guard against decompression bombs. None for tar,
        // whose members are stored as they are.
        void (*vet)(stream::random::Input&, uint64_t position, std::vector<Sizes>& items) = nullptr;
    };

    Reader(uint32_t position, tuckett5::Reader& reader);
    Reader(uint32_t position, tuckett5::Reader& reader, const Dialect& dialect);
    ~Reader() override;

    using FormatReader::decode;
    using FormatReader::scan;
    void scan(stream::random::Input& archive, io::random::File& file) override;
    void decode(stream::random::Input& archive, io::random::File& file) override;

    // The input and read-ahead that libarchive's callback reads from, and a
    // failure of the input, kept until control is back in C++.
    struct Source {
        stream::Input* input = nullptr;
        char buffer[65536];
        std::exception_ptr failure;
    };

private:
    void open(stream::random::Input& archive);
    void close();
    // The next header, or false at the end of the archive.
    bool next(struct archive_entry*& item);
    // The bytes that the archive keeps of the item in hand, whose expanded
    // size is `size`.
    uint64_t packedSize(struct archive_entry* item, uint64_t size) const;
    void fail(const char* fallback);
    void writeData(uint64_t size);

    const Dialect& dialect_;
    struct archive* archive_ = nullptr;
    Source source_;
    // What the dialect's walk found, the headers read so far, and the bytes
    // from the archive's position to its end.
    std::vector<Sizes> sizes_;
    size_t headers_ = 0;
    uint64_t archiveBytes_ = 0;
};

}  // namespace engine5::tar
