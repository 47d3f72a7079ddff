#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "engine/engine5.FormatReader.h"
#include "format/zip/zip.CentralHeader.h"
#include "format/zip/zip.EndHeader.h"
#include "format/zip/zip.LocalHeader.h"
#include "format/zip/zip.MacMetadata.h"

namespace stream {
class Input;
class Output;
}  // namespace stream

namespace engine5::zip {

class MethodReader;

// One entry of the central directory, as the reader lists and expands it.
struct FileInfo {
    uint64_t offset = 0;      // of the local header, as the directory stores it
    uint64_t dataOffset = 0;  // in the input, once the local header is found
    uint64_t compressedSize = 0;
    uint64_t uncompressedSize = 0;
    uint32_t crc = 0;
    uint32_t modificationTime = 0;
    uint64_t index = 0;  // in the directory
    uint16_t dosTime = 0;
    uint16_t attributes = 0;
    uint16_t flags = 0;  // of the central header: bit 0 says encrypted
    // The POSIX mode bits of an entry made on Unix, else 0.
    uint32_t permissions = 0;
    uint32_t mode = 0;  // all of the POSIX mode of an entry made on Unix
    // The internal attributes mark the entry as text.
    bool text = false;
    uint16_t method = 0;
    uint16_t version = 0;  // needed to extract, the low byte
    std::string name;      // as the directory stores it
    uint8_t host = 0;      // the system that made the entry
    bool link = false;     // a symbolic link, whose data is its target
    bool folder = false;   // the stored name ends in "/"
    // The name to show and write, decoded, and whether "\" separates in it.
    std::string local;
    tuckett5::UnicodeName unicode;
    bool separates = false;
    // The stored name left nothing to write under: `local` is our own.
    bool renamed = false;
    // A version or method that this reader cannot expand.
    bool unsupported = false;
    // The local header states another CRC or size than the directory, or
    // another name.
    bool localDisagrees = false;
    bool localNameDiffers = false;
};

// Lists a Zip archive from its central directory and expands it. Data in
// front of the archive (a self-extractor) is allowed: its offsets may count
// from the archive's start or from the file's, and both are tried. Archives
// split over several disks are refused.
class Reader : public FormatReader {
public:
    Reader(uint32_t position, tuckett5::Reader& reader);
    ~Reader() override;

    using FormatReader::decode;
    using FormatReader::scan;
    void scan(stream::random::Input& input, io::random::File& file) override;
    void decode(stream::random::Input& input, io::random::File& file) override;

private:
    // Reads the end record, and the Zip64 end record where the locator in
    // front of it points to one, into the fields below.
    void readEnd(stream::random::Input& input);
    // One central header, already read, as an entry; its sizes and offset
    // are completed from the Zip64 extra field.
    void describeCentral(FileInfo& info) const;
    // Finds every local header and refuses an archive whose entries share or
    // overlap data, or run into the central directory.
    void checkLayout(stream::random::Input& input);
    // Finds the entry's local header, checks it against the directory, and
    // notes where the data begins.
    void findLocal(stream::random::Input& input, FileInfo& info);
    uint64_t locateDirectory(stream::random::Input& input, uint64_t offset);
    // Answers where the header was found.
    uint64_t locateLocalHeader(stream::random::Input& input, uint64_t offset, format::zip::LocalHeader& header,
                               const std::string& name);
    // Finds the central directory that the end records point to, and checks
    // that it can hold their count of entries.
    void findDirectory(stream::random::Input& input);
    void decodeAll(stream::random::Input& input);
    void unzipAll(stream::random::Input& input);
    // Pairs the AppleDouble entries of the "__MACOSX" folder with the items
    // they belong to; with `read`, reads each one that belongs to a file.
    void pairMacMetadata(stream::random::Input& input, bool read);
    // Whether the entry is Macintosh metadata that goes into another item
    // (or nowhere), and is no item of its own; notes the reason to warn
    // about metadata that is kept as a file.
    bool absorbedByMac(const FileInfo& info, std::string* warning = nullptr) const;
    void unzipFile(stream::random::Input& input, const FileInfo& info, const MacMetadata::Partner* mac);
    // Writes the resource fork that the AppleDouble entry holds.
    void unzipFork(stream::random::Input& input, const MacMetadata::Partner& mac);
    void unzipFolder(const FileInfo& info);
    void unzipFileData(stream::random::Input& input, stream::Output& output, const FileInfo& info);
    format::zip::CentralHeader centralHeader_;
    format::zip::EndHeader endHeader_;
    unsigned long long directoryOffset = 0;
    uint64_t endOffset = 0;
    // From the end record, or from the Zip64 end record where there is one.
    uint64_t entries_ = 0;
    uint64_t storedDirectoryOffset_ = 0;
    // Where the records behind the central directory begin.
    uint64_t directoryEnd_ = 0;
    MacMetadata mac_;
    std::array<std::unique_ptr<MethodReader>, 9> spareMethods_;  // by method number
};

}  // namespace engine5::zip
