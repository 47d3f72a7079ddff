#pragma once

#include <cstdint>
#include <list>
#include <memory>
#include <string>

#include "engine/engine5.FormatWriter.h"
#include "engine/engine5.MethodWriter.h"
#include "format/zip/zip.CentralHeader.h"
#include "stream/check/crc.CRC.h"

namespace stream::random {
class Output;
}
namespace io::random {
class File;
}

namespace engine5::zip {

// One entry of the archive: its central header, which collects the fields as
// the entry is written, the path on disk, and what the local header carries
// beside the central one.
struct Item {
    format::zip::CentralHeader header;
    std::string path;
    std::string localExtra;
    // The local header holds 64-bit sizes, for a file that may pass 4 GiB.
    bool zip64 = false;
    uint64_t compressedSize = 0;
    uint64_t uncompressedSize = 0;
    uint64_t localOffset = 0;
};

// Stores one file's data and learns its CRC and sizes.
class MethodWriter : public engine5::MethodWriter {
public:
    MethodWriter(tuckett5::Writer& writer, algorithm::crc::EthernetCRC& crc) : writer(writer), crc(crc) {}

    // The file's size as measured: at most this many bytes are read.
    uint64_t inputSize = 0;
    // The running total of bytes read, for progress.
    uint64_t total = 0;
    // What the last encode read and wrote.
    uint64_t inputCount = 0;
    uint64_t outputCount = 0;
    uint32_t crcValue = 0;

    void encode(stream::Input& in, stream::Output& out) override;

protected:
    virtual void run(stream::Input& in, stream::Output& out) = 0;

    tuckett5::Writer& writer;
    algorithm::crc::EthernetCRC& crc;
};

// Method 0: the bytes as they are, through a copier of 65536 bytes.
class StoredWriter : public MethodWriter {
public:
    using MethodWriter::MethodWriter;

protected:
    void run(stream::Input& in, stream::Output& out) override;
};

// Method 8: Deflate, at the writer's level; 10 and above take the strongest
// compressor.
class DeflateWriter : public MethodWriter {
public:
    DeflateWriter(tuckett5::Writer& writer, algorithm::crc::EthernetCRC& crc, int level)
        : MethodWriter(writer, crc), level(level) {}

protected:
    void run(stream::Input& in, stream::Output& out) override;
    int level;
};

// The writer of Zip archives. Each entry's local header is written before its
// data and written again in place once the CRC and sizes are known, so the
// archive must be seekable; only an encrypted entry keeps the data descriptor
// that announces the sizes after the data. The central directory and the end
// record follow the last entry.
class Writer : public engine5::FormatWriter {
public:
    static constexpr const char* extension = ".zip";

    explicit Writer(tuckett5::Writer& writer);
    ~Writer() override;

    using engine5::FormatWriter::create;
    void create(const std::list<std::string>& items, stream::random::Output& archive) override;
    void create(const std::list<std::string>& items, stream::random::Output& archive, io::random::File& file) override;
    std::string ext() const override { return extension; }

    // The DOS date (high half) and time (low half) of a local time; a year
    // before 1980 gives 1980-01-01 00:00:00.
    static uint32_t dostime(int year, int month, int day, int hour, int minute, int second);
    // The DOS form of a time in seconds since 1970, rounded up to an even
    // second first, in local time.
    static uint32_t unix2dostime(const int64_t* time);
    // The DOS attributes of a file: read-only, hidden, system, folder and
    // archive; a file that cannot be read gives the archive bit alone.
    static uint32_t GetFileMode(const char* name);

protected:
    void encode(const std::list<std::string>& items, stream::random::Output& out);
    void tuckett5_Writer_create(const std::list<std::string>& items, stream::random::Output& out);

    void insertItem(const std::string& path);
    void insertFile(const std::string& path, const std::string& base);
    void insertDirectory(const std::string& path, const std::string& base);
    void addItem(stream::random::Output& out, Item& item);
    void addFile(stream::random::Output& out, Item& item);
    void addDirectory(stream::random::Output& out, Item& item);
    // The stored name of `name`: relative to `base`, with "/" between its parts.
    std::string adjustPath(const std::string& name, const std::string& base) const;

    // Fills the name, flags, time, attributes and extra field that files and
    // folders share.
    void describe(Item& item, const std::string& stored, int64_t modified, int64_t accessed, uint32_t mode,
                  bool folder);
    void writeLocal(stream::Output& out, const Item& item);
    void finishCentral(Item& item);
    void writeEnd(stream::Output& out, uint64_t directoryOffset, uint64_t directorySize);

    std::list<std::unique_ptr<Item>> items;
    int itemCount = 0;
    uint64_t inputTotal = 0;
    uint64_t outputTotal = 0;
    // The running size of the archive.
    uint64_t offset = 0;
    int level = 6;
    algorithm::crc::EthernetCRC crc;
};

}  // namespace engine5::zip
