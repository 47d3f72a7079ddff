#include "format/zip/zip.Writer.h"

#include <ctime>

#include "algorithm/deflate/deflate.Compressor.h"
#include "algorithm/deflate/flate.compressor.h"
#include "algorithm/unicode.UTF8Coder.h"
#include "algorithm/zipcrypt.Cipher.h"
#include "engine/engine5.WriterProgressListener.h"
#include "engine/engine5.WriterScanner.h"
#include "engine/t5.Exception.h"
#include "engine/t5.Writer.h"
#include "format/zip/zip.EncryptionHeader.h"
#include "format/zip/zip.EndHeader.h"
#include "format/zip/zip.ExtendedHeader.h"
#include "format/zip/zip.LocalHeader.h"
#include "io/io.Exception.h"
#include "io/io.File.h"
#include "io/io.Folder.h"
#include "io/io.Path.h"
#include "io/io.random.FileStreams.h"
#include "stream/check/crc.Streams.h"
#include "stream/stream.BufferedInput.h"
#include "stream/stream.BufferedOutput.h"
#include "stream/stream.Copier.h"
#include "stream/stream.FilterOutput.h"
#include "stream/stream.LimitedInput.h"
#include "stream/stream.progress.h"

namespace engine5::zip {

namespace {

constexpr uint32_t bufferSize = 65536;
constexpr uint16_t storedMethod = 0;
constexpr uint16_t deflateMethod = 8;
constexpr uint16_t encryptedFlag = 0x0001;
constexpr uint16_t descriptorFlag = 0x0008;
constexpr uint16_t utf8Flag = 0x0800;
constexpr uint16_t storedVersion = 10;
constexpr uint16_t deflateVersion = 20;
constexpr uint16_t zip64Version = 45;
// Made on Unix (host 3), by the 2.0 feature set: unzip then restores the mode bits.
constexpr uint16_t unixMadeBy = 0x0314;
constexpr uint32_t dosAttributes = 0x01 | 0x02 | 0x04 | 0x10 | 0x20;
constexpr uint32_t regularType = 0100000;
constexpr uint32_t folderType = 0040000;
constexpr uint32_t full32 = 0xFFFFFFFFu;
constexpr uint16_t full16 = 0xFFFF;
// A file this large may pass 4 GiB once Deflate has framed it, so its local
// header takes 64-bit sizes from the start.
constexpr uint64_t zip64Threshold = 0xFF000000u;
constexpr uint16_t zip64Tag = 0x0001;
constexpr uint16_t timestampTag = 0x5455;
constexpr uint32_t zip64EndArtifact = 0x06064B50;
constexpr uint32_t zip64LocatorArtifact = 0x07064B50;

void put16(std::string& to, uint32_t v) {
    to += static_cast<char>(v & 0xFF);
    to += static_cast<char>((v >> 8) & 0xFF);
}
void put32(std::string& to, uint32_t v) {
    put16(to, v & 0xFFFF);
    put16(to, v >> 16);
}
void put64(std::string& to, uint64_t v) {
    put32(to, static_cast<uint32_t>(v));
    put32(to, static_cast<uint32_t>(v >> 32));
}

// Counts what passes through to the archive.
class CountingOutput : public stream::FilterOutput {
public:
    explicit CountingOutput(stream::Output& under) : stream::FilterOutput(under) {}
    void write(char value) override {
        stream::FilterOutput::write(value);
        ++count_;
    }
    void write(const char* buffer, uint32_t count) override {
        stream::FilterOutput::write(buffer, count);
        count_ += count;
    }
    void fill(uint64_t count, char value) override {
        stream::FilterOutput::fill(count, value);
        count_ += count;
    }
    uint64_t copy(stream::Input& from, uint64_t count) override { return stream::Output::copy(from, count); }
    uint64_t tell() const override { return count_; }

private:
    uint64_t count_ = 0;
};

bool plainAscii(const std::string& text) {
    for (char c : text)
        if (static_cast<unsigned char>(c) >= 0x80) return false;
    return true;
}

// A path given with separators at its end names the same item without them.
std::string trimmed(const std::string& path) {
    std::string text = path;
    while (text.size() > 1 && std::string(io::Path::separators).find(text.back()) != std::string::npos) text.pop_back();
    return text;
}

}  // namespace

void MethodWriter::encode(stream::Input& in, stream::Output& out) {
    const uint64_t base = total;
    crc.begin();
    // From the source outwards: the bound on the size (a file that grows
    // while it is stored keeps the size it was measured at), the CRC, progress.
    stream::LimitedInput limited(in, inputSize);
    algorithm::crc::CRC32Input checked(limited, crc);
    stream::progress::Input progress(checked, bufferSize);
    WriterProgressListener listener(writer, base);
    progress.addListener(listener);
    stream::BufferedInput buffered(progress, bufferSize);

    CountingOutput counted(out);
    stream::BufferedOutput stored(counted, bufferSize);
    run(buffered, stored);
    stored.flush();

    inputCount = progress.tell();
    outputCount = counted.tell();
    crcValue = ~crc.value();
    total = base + inputCount;
}

void StoredWriter::run(stream::Input& in, stream::Output& out) {
    stream::Copier copier(bufferSize);
    copier.process(in, out);
}

void DeflateWriter::run(stream::Input& in, stream::Output& out) {
    if (level < 10) {
        algorithm::deflate::Compressor compressor(level);
        compressor.process(in, out);
    } else {
        flate::compressor compressor(level - 9);
        compressor.process(in, out);
    }
}

Writer::Writer(tuckett5::Writer& writer) : engine5::FormatWriter(writer), crc(0xFFFFFFFFu) {
    level = writer.compression() == tuckett5::Writer::defaultCompression ? 6 : writer.compression();
}

Writer::~Writer() = default;

void Writer::create(const std::list<std::string>& list, stream::random::Output& archive) { encode(list, archive); }

void Writer::create(const std::list<std::string>& list, stream::random::Output& archive, io::random::File&) {
    encode(list, archive);
}

void Writer::encode(const std::list<std::string>& list, stream::random::Output& out) {
    WriterScanner scanner(writer, &macDrive);
    for (const std::string& path : list)
        if (!path.empty()) scanner.scan(trimmed(path));
    writer.fireProgressSizeBegin(static_cast<uint32_t>(std::min<uint64_t>(scanner.dataSize(), full32)));
    writer.fireProgressFilesBegin(scanner.fileCount());
    writer.fireProgressFilesMove(0);
    tuckett5_Writer_create(list, out);
    writer.fireProgressSizeEnd();
    writer.fireProgressFilesEnd();
}

void Writer::tuckett5_Writer_create(const std::list<std::string>& list, stream::random::Output& out) {
    inputTotal = outputTotal = 0;
    itemCount = 0;
    items.clear();
    for (const std::string& path : list)
        if (!path.empty()) insertItem(path);

    offset = 0;
    out.seek(0);
    for (auto& item : items) addItem(out, *item);

    const uint64_t directoryOffset = offset;
    uint64_t entries = 0;
    for (auto& item : items) {
        finishCentral(*item);
        item->header.write(out);
        offset += item->header.size();
        ++entries;
    }
    writeEnd(out, directoryOffset, offset - directoryOffset);
    out.flush();
    items.clear();
}

void Writer::insertItem(const std::string& given) {
    std::string path = trimmed(given);
    io::Path::makeAbsolute(path);
    const size_t cut = path.find_last_of(io::Path::separators);
    const std::string base = cut == std::string::npos ? std::string() : path.substr(0, cut + 1);
    if (io::Path::directory(path))
        insertDirectory(path, base);
    else
        insertFile(path, base);
}

void Writer::insertFile(const std::string& path, const std::string& base) {
    auto item = std::make_unique<Item>();
    item->path = path;
    item->header.name(adjustPath(path, base));
    items.push_back(std::move(item));
}

void Writer::insertDirectory(const std::string& path, const std::string& base) {
    auto item = std::make_unique<Item>();
    item->path = path + io::Path::separator;
    item->header.name(adjustPath(item->path, base));
    items.push_back(std::move(item));

    std::string prefix = path;
    if (prefix.back() != io::Path::separator) prefix += io::Path::separator;
    for (const io::Folder::Entry& entry : io::Folder::list(path)) {
        const std::string child = prefix + entry.name;
        // Links to folders are not followed, so that the walk always ends.
        if (entry.directory && entry.link) continue;
        if (entry.directory)
            insertDirectory(child, base);
        else if (WriterScanner::stored(writer, child))
            insertFile(child, base);
    }
}

std::string Writer::adjustPath(const std::string& name, const std::string& base) const {
    std::string text = name;
    const bool folder = !text.empty() && std::string(io::Path::separators).find(text.back()) != std::string::npos;
    if (folder) text.pop_back();
    if (!base.empty() && text.compare(0, base.size(), base) == 0) text.erase(0, base.size());
    for (char& c : text)
        if (c == io::Path::separator) c = '/';
    if (folder) text += '/';
    return text;
}

void Writer::addItem(stream::random::Output& out, Item& item) {
    const std::string& name = item.header.name();
    if (!name.empty() && name.back() == '/')
        addDirectory(out, item);
    else
        addFile(out, item);
}

void Writer::describe(Item& item, const std::string& stored, int64_t modified, int64_t accessed, uint32_t mode,
                      bool folder) {
    format::zip::CentralHeader& h = item.header;
    uint16_t flags = h.flags();
    std::string name = stored;
    if (!plainAscii(stored)) {
        // Non-ASCII names are stored as UTF-8 and say so; a name that is not
        // text in the local encoding keeps its bytes.
        const tuckett5::UnicodeName unicode = algorithm::unicode::UTF8Coder::fromLocal(stored);
        if (!unicode.empty()) {
            name = algorithm::unicode::UTF8Coder::encode(unicode);
            flags |= utf8Flag;
        }
    }
    h.name(name);
    h.flags(flags);
    const uint32_t dos = unix2dostime(&modified);
    h.date(static_cast<uint16_t>(dos >> 16));
    h.time(static_cast<uint16_t>(dos & 0xFFFF));
    h.externalAttributes((GetFileMode(item.path.c_str()) & dosAttributes) | mode << 16);
    h.localHeaderOffset(static_cast<uint32_t>(std::min<uint64_t>(offset, full32)));
    item.localOffset = offset;
    if (mode != 0) {
        // Where the system has mode bits, they go in with the file's type, and
        // the exact times in the extended timestamp field.
        h.externalAttributes(h.externalAttributes() | (folder ? folderType : regularType) << 16);
        h.versionMadeBy(unixMadeBy);
        std::string central;
        put16(central, timestampTag);
        put16(central, 5);
        central += static_cast<char>(1);
        put32(central, static_cast<uint32_t>(modified));
        std::string local;
        put16(local, timestampTag);
        put16(local, 9);
        local += static_cast<char>(3);
        put32(local, static_cast<uint32_t>(modified));
        put32(local, static_cast<uint32_t>(accessed));
        h.extra(central);
        item.localExtra = local;
    } else {
        h.versionMadeBy(0);
    }
}

void Writer::writeLocal(stream::Output& out, const Item& item) {
    format::zip::CentralHeader local = item.header;
    std::string extra = item.localExtra;
    if (item.zip64) {
        put16(extra, zip64Tag);
        put16(extra, 16);
        put64(extra, item.uncompressedSize);
        put64(extra, item.compressedSize);
        local.compressedSize(full32);
        local.uncompressedSize(full32);
        local.versionNeeded(zip64Version);
    }
    local.extra(extra);
    local.writeLocal(out);
}

namespace {
uint32_t localHeaderSize(const Item& item) {
    return format::zip::LocalHeader::fixed_size +
           static_cast<uint32_t>(item.header.name().size() + item.localExtra.size()) + (item.zip64 ? 20 : 0);
}
}  // namespace

void Writer::addDirectory(stream::random::Output& out, Item& item) {
    writer.folderInfo.reset();
    writer.folderInfo.name = item.path;
    writer.fireFolderEncodeBegin();
    io::Folder folder(trimmed(item.path));
    int64_t modified = 0;
    int64_t accessed = 0;
    uint32_t mode = 0;
    try {
        modified = folder.modificationTime();
        accessed = folder.accessTime();
        mode = folder.permissions();
    } catch (const io::Exception&) {
        throw io::Exception("cannot obtain folder information in engine5::zip::Writer::addDirectory()");
    }
    format::zip::CentralHeader& h = item.header;
    h.flags(0);
    describe(item, h.name(), modified, accessed, mode, true);
    h.versionNeeded(storedVersion);
    h.method(storedMethod);
    h.compressedSize(0);
    h.uncompressedSize(0);
    h.crc(0);
    writeLocal(out, item);
    offset += localHeaderSize(item);
    writer.fireFolderEncodeEnd();
}

void Writer::addFile(stream::random::Output& out, Item& item) {
    writer.fileInfo.reset();
    writer.fileInfo.name = item.path;
    writer.fireFileEncodeBegin();

    if (!io::Path::exists(item.path)) {
        writer.fireError(0);
        throw tuckett5::exception::BadArgument("nonexistent file engine5::zip::Writer::addItem()");
    }
    io::random::File file;
    file.open(item.path);
    const uint64_t size = file.size();
    const uint16_t method = level == 0 || size == 0 ? storedMethod : deflateMethod;
    const bool encrypted = !writer.password.empty();

    format::zip::CentralHeader& h = item.header;
    h.flags(descriptorFlag);
    describe(item, h.name(), file.modificationTime(), file.accessTime(), file.permissions(), false);
    h.method(method);
    h.versionNeeded(method == storedMethod ? storedVersion : deflateVersion);
    h.crc(0);
    item.zip64 = size >= zip64Threshold;
    item.uncompressedSize = size;
    item.compressedSize = method == storedMethod ? size : 0;
    h.compressedSize(static_cast<uint32_t>(std::min<uint64_t>(item.compressedSize, full32)));
    h.uncompressedSize(static_cast<uint32_t>(std::min<uint64_t>(size, full32)));
    if (encrypted) h.flags(h.flags() | encryptedFlag);

    const uint64_t local = offset;
    writeLocal(out, item);
    offset += localHeaderSize(item);

    std::unique_ptr<MethodWriter> methodWriter;
    if (method == deflateMethod)
        methodWriter = std::make_unique<DeflateWriter>(writer, crc, level);
    else
        methodWriter = std::make_unique<StoredWriter>(writer, crc);
    methodWriter->inputSize = size;
    methodWriter->total = inputTotal;
    io::random::FileInput in(file);
    if (encrypted) {
        // Every entry has its cipher begun afresh and its own random header;
        // the check byte is the time's top byte, since the CRC follows later.
        algorithm::zipcrypt::Cipher cipher(writer.password);
        cipher.begin();
        algorithm::zipcrypt::Output enciphered(out, cipher);
        format::zip::EncryptionHeader header(cipher);
        header.expect(static_cast<char>(h.time() >> 8));
        header.write(out);
        methodWriter->encode(in, enciphered);
        enciphered.flush();
    } else {
        methodWriter->encode(in, out);
    }
    file.close();

    inputTotal = methodWriter->total;
    outputTotal += methodWriter->outputCount;
    item.uncompressedSize = methodWriter->inputCount;
    item.compressedSize = methodWriter->outputCount + (encrypted ? format::zip::EncryptionHeader::fixed_size : 0);
    h.crc(methodWriter->crcValue);
    h.uncompressedSize(static_cast<uint32_t>(std::min<uint64_t>(item.uncompressedSize, full32)));
    h.compressedSize(static_cast<uint32_t>(std::min<uint64_t>(item.compressedSize, full32)));
    offset += item.compressedSize;
    if (!item.zip64 && (item.compressedSize >= full32 || item.uncompressedSize >= full32))
        throw tuckett5::exception::Output("a file grew past 4 GB while it was stored: " + item.path);

    // Now the sizes are known: the local header is written again in its
    // place, and loses the descriptor flag unless the data is enciphered.
    h.versionNeeded(method == storedMethod ? storedVersion : deflateVersion);
    if (!encrypted) h.flags(h.flags() & static_cast<uint16_t>(~descriptorFlag));
    out.seek(local);
    writeLocal(out, item);
    out.seek(offset);

    if (encrypted) {
        if (item.zip64) {
            std::string descriptor;
            put32(descriptor, format::zip::ExtendedHeader::artifactPattern);
            put32(descriptor, h.crc());
            put64(descriptor, item.compressedSize);
            put64(descriptor, item.uncompressedSize);
            out.write(descriptor.data(), static_cast<uint32_t>(descriptor.size()));
            offset += descriptor.size();
        } else {
            format::zip::ExtendedHeader descriptor;
            descriptor.crc(h.crc());
            descriptor.compressedSize(h.compressedSize());
            descriptor.uncompressedSize(h.uncompressedSize());
            descriptor.write(out);
            offset += descriptor.size();
        }
    }

    ++itemCount;
    writer.fireFileEncodeEnd();
    writer.fireProgressFilesMove(static_cast<uint32_t>(itemCount));
}

void Writer::finishCentral(Item& item) {
    // Fields that do not fit in 32 bits go to the Zip64 extra field, in its
    // fixed order; a file whose local header has 64-bit sizes keeps them here.
    format::zip::CentralHeader& h = item.header;
    std::string values;
    if (item.zip64 || item.uncompressedSize >= full32) {
        put64(values, item.uncompressedSize);
        h.uncompressedSize(full32);
    }
    if (item.zip64 || item.compressedSize >= full32) {
        put64(values, item.compressedSize);
        h.compressedSize(full32);
    }
    if (item.localOffset >= full32) {
        put64(values, item.localOffset);
        h.localHeaderOffset(full32);
    }
    if (values.empty()) return;
    std::string extra = h.extra();
    put16(extra, zip64Tag);
    put16(extra, static_cast<uint32_t>(values.size()));
    extra += values;
    h.extra(extra);
    h.versionNeeded(zip64Version);
}

void Writer::writeEnd(stream::Output& out, uint64_t directoryOffset, uint64_t directorySize) {
    const uint64_t entries = items.size();
    format::zip::EndHeader end;
    if (entries > full16 || directoryOffset >= full32 || directorySize >= full32) {
        std::string record;
        put32(record, zip64EndArtifact);
        put64(record, 44);
        put16(record, unixMadeBy);
        put16(record, zip64Version);
        put32(record, 0);
        put32(record, 0);
        put64(record, entries);
        put64(record, entries);
        put64(record, directorySize);
        put64(record, directoryOffset);
        put32(record, zip64LocatorArtifact);
        put32(record, 0);
        put64(record, offset);
        put32(record, 1);
        out.write(record.data(), static_cast<uint32_t>(record.size()));
        offset += record.size();
    }
    end.thisDisk(0);
    end.directoryDisk(0);
    end.entriesOnDisk(static_cast<uint16_t>(std::min<uint64_t>(entries, full16)));
    end.entries(static_cast<uint16_t>(std::min<uint64_t>(entries, full16)));
    end.directorySize(static_cast<uint32_t>(std::min<uint64_t>(directorySize, full32)));
    end.directoryOffset(static_cast<uint32_t>(std::min<uint64_t>(directoryOffset, full32)));
    end.write(out);
    offset += end.size();
}

uint32_t Writer::dostime(int year, int month, int day, int hour, int minute, int second) {
    if (year < 1980) return (1 << 5 | 1) << 16;
    const uint32_t date = static_cast<uint32_t>((year - 1980) << 9 | month << 5 | day);
    const uint32_t time = static_cast<uint32_t>(hour << 11 | minute << 5 | second >> 1);
    return date << 16 | time;
}

uint32_t Writer::unix2dostime(const int64_t* time) {
    const std::time_t even = static_cast<std::time_t>((*time + 1) & ~int64_t(1));
    std::tm parts{};
#ifdef _WIN32
    if (localtime_s(&parts, &even) != 0) return dostime(1980, 1, 1, 0, 0, 0);
#else
    if (localtime_r(&even, &parts) == nullptr) return dostime(1980, 1, 1, 0, 0, 0);
#endif
    return dostime(parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec);
}

uint32_t Writer::GetFileMode(const char* name) {
    try {
        io::File file(name);
        if (!file.exists()) return 0x20;
        return file.win32Attributes() & dosAttributes;
    } catch (const un::exception&) {
        return 0x20;
    }
}

}  // namespace engine5::zip
