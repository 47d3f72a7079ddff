#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "engine/engine5.FormatReader.h"
#include "format/zip/zip.CentralHeader.h"
#include "format/zip/zip.EndHeader.h"
#include "format/zip/zip.LocalHeader.h"

namespace stream {
class Input;
class Output;
}  // namespace stream

namespace engine5::zip {

// One entry between the directory pass and the expansion pass.
struct FileInfo {
    uint32_t offset = 0;  // of the local header
    uint32_t compressedSize = 0;
    uint32_t uncompressedSize = 0;
    uint32_t crc = 0;
    uint16_t attributes = 0;
    uint16_t flags = 0;  // of the central header: bit 0 says encrypted
    // The POSIX mode bits of an entry made on Unix, else 0.
    uint32_t permissions = 0;
    // The internal attributes mark the entry as text.
    bool text = false;
    uint16_t method = 0;
    uint16_t version = 0;  // needed to extract, the low byte
    std::string name;      // as the directory stores it
    bool link = false;     // a symbolic link, whose data is its target
    // A version or method that this reader cannot expand.
    bool unsupported = false;
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
    uint64_t locateDirectory(stream::random::Input& input, uint64_t offset);
    void locateLocalHeader(stream::random::Input& input, uint64_t offset, format::zip::LocalHeader& header,
                           const std::string& name);
    void decodeAll(stream::random::Input& input);
    void unzipAll(stream::random::Input& input);
    void unzipFile(stream::random::Input& input, const FileInfo& info, format::zip::LocalHeader& header);
    void unzipFolder(const FileInfo& info, format::zip::LocalHeader& header);
    void unzipFileData(stream::random::Input& input, stream::Output& output, format::zip::LocalHeader& header,
                       const FileInfo& info);
    format::zip::CentralHeader centralHeader_;
    format::zip::EndHeader endHeader_;
    unsigned long long directoryOffset = 0;
    uint32_t endOffset = 0;
    std::vector<std::unique_ptr<FileInfo>> files_;
};

}  // namespace engine5::zip
