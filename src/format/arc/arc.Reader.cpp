#include "format/arc/arc.Reader.h"

#include <ctime>

#include "algorithm/arc/arc.Crunch567Decompressor.h"
#include "algorithm/arc/arc.CrunchDecompressor.h"
#include "algorithm/arc/arc.SqueezeDecompressor.h"
#include "algorithm/unicode.CP437.h"
#include "engine/t5.Exception.h"
#include "engine/t5.Reader.h"
#include "stream/check/crc.Streams.h"
#include "stream/stream.BufferedInput.h"
#include "stream/stream.LimitedInput.h"
#include "stream/stream.WindowedInput.h"

namespace engine5::arc {

using tuckett5::exception::BadData;
using tuckett5::exception::BadFormat;
using tuckett5::exception::UnsupportedMethod;

namespace {

const char* const invalidData = "CRC mismatch in arc reader; data is invalid";
constexpr int lastMethod = 9;
constexpr uint32_t nameSize = 13;

uint32_t clamp32(uint64_t value) { return value > 0xFFFFFFFFu ? 0xFFFFFFFFu : static_cast<uint32_t>(value); }

// A DOS date and time, in the local time of the machine that wrote them, as
// seconds since 1970.
int64_t dosSeconds(uint16_t date, uint16_t time) {
    std::tm parts{};
    parts.tm_year = ((date >> 9) & 0x7F) + 80;
    parts.tm_mon = ((date >> 5) & 0x0F) - 1;
    parts.tm_mday = date & 0x1F;
    parts.tm_hour = (time >> 11) & 0x1F;
    parts.tm_min = (time >> 5) & 0x3F;
    parts.tm_sec = (time & 0x1F) * 2;
    parts.tm_isdst = -1;
    const std::time_t seconds = std::mktime(&parts);
    return seconds < 0 ? 0 : static_cast<int64_t>(seconds);
}

std::string methodName(int method) {
    switch (method) {
        case 1:
        case 2:
            return "stored";
        case 3:
            return "packed";
        case 4:
            return "squeezed";
        case 5:
        case 6:
        case 7:
        case 8:
            return "crunched";
        case 9:
            return "squashed";
        default:
            return "method " + std::to_string(method);
    }
}

// Decodes the data of an entry of methods 3 to 9 into at most `size` bytes.
uint64_t decodeData(int method, stream::Input& in, stream::Output& out, uint64_t size) {
    using namespace algorithm::arc;
    switch (method) {
        case 3:
            return RLEDecoder().process(in, out, size);
        case 4: {
            // The tree's own end mark ends the squeezed data; the packing
            // behind it is held to the size here.
            BoundedOutput bounded(out, size);
            RunLengthOutput unpacked(bounded);
            try {
                SqueezeDecompressor().process(in, unpacked);
            } catch (const BoundedOutput::Full&) {
            }
            return bounded.tell();
        }
        case 8:
            return CrunchDecompressor().process(in, out, size);
        case 9:
            return SquashDecompressor().process(in, out, size);
        default:
            return Crunch567Decompressor(method).process(in, out, size);
    }
}

uint32_t le32(const unsigned char* b) {
    return uint32_t(b[0]) | uint32_t(b[1]) << 8 | uint32_t(b[2]) << 16 | uint32_t(b[3]) << 24;
}
uint16_t le16(const unsigned char* b) { return static_cast<uint16_t>(b[0] | b[1] << 8); }

}  // namespace

bool ItemHeader::read(stream::Input& in) {
    const int first = in.read();
    if (first < 0) return false;
    if (first != mark) throw BadFormat("bad header in arc reader");
    method = in.read();
    if (method < 0) throw BadFormat("truncated header in arc reader");
    if (method == 0) return false;
    if (method & 0x80) throw BadFormat("bad header in arc reader");
    // Method 1 predates the expanded size: its data is stored.
    const uint32_t fixed = nameSize + (method == 1 ? 10 : 14);
    unsigned char b[nameSize + 14];
    for (uint32_t got = 0; got < fixed;) {
        const uint32_t n = in.read(reinterpret_cast<char*>(b) + got, fixed - got);
        if (n == 0) throw BadFormat("truncated header in arc reader");
        got += n;
    }
    uint32_t length = 0;
    while (length < nameSize && b[length] != 0) ++length;
    // The name ends at its NUL; a name that fills the field has none.
    name.assign(reinterpret_cast<const char*>(b), length > 12 ? 12 : length);
    compressedSize = le32(b + 13);
    date = le16(b + 17);
    time = le16(b + 19);
    crc = le16(b + 21);
    size = method == 1 ? compressedSize : le32(b + 23);
    dataOffset = in.tell();
    return true;
}

Reader::Reader(uint32_t position, tuckett5::Reader& reader) : FormatReader(position, reader) {}

Entry Reader::describeItem(const ItemHeader& header) const {
    Entry entry;
    entry.unicodeName = algorithm::unicode::CP437::decode(header.name);
    entry.name = algorithm::unicode::CP437::toLocal(header.name);
    entry.dataSize(header.size);
    entry.resourceSize(0);
    entry.compressedSize(header.compressedSize);
    entry.modificationTime(dosSeconds(header.date, header.time));
    entry.method = methodName(header.method);
    entry.crc(header.crc);
    entry.invalidData = invalidData;
    return entry;
}

void Reader::scan(stream::random::Input& input, io::random::File&) {
    // Each header follows the data before it: a window on the archive serves
    // the seeks over small items without a read of their own.
    stream::random::WindowedInput archive(input);
    tuckett5::ArchiveInfo& info = reader.archiveInfo;
    info.reset();
    archive.seek(reader.archiveInfo.position);
    reader.fireProgressScanBegin();
    uint64_t expanded = 0;
    uint64_t compressed = 0;
    std::string only;
    ItemHeader header;
    while (header.read(archive)) {
        reader.fireProgressScanStep();
        const Entry entry = describeItem(header);
        describe(entry);
        reader.fireFileInfo();
        if (info.fileCount == 0) only = entry.name;
        ++info.fileCount;
        expanded += header.size;
        compressed += header.compressedSize;
        archive.seek(header.dataOffset + header.compressedSize);
    }
    info.expandedSize(clamp32(expanded));
    info.compressedSize(clamp32(compressed));
    // Every entry is at the root: only one alone needs no enclosing folder.
    info.rootName = info.fileCount == 1 ? only : std::string();
    reader.fireProgressScanEnd();
    reader.fireArchiveInfo();
}

void Reader::expandData(stream::random::Input& archive, const ItemHeader& header) {
    if (header.method > lastMethod) {
        explain(methodName(header.method) + " ARC entries are not supported");
        throw UnsupportedMethod("unsupported compression method in arc reader");
    }
    archive.seek(header.dataOffset);
    stream::LimitedInput limited(archive, header.compressedSize);
    stream::BufferedInput in(limited, 65536);
    algorithm::crc::GenericCRC16 crc(0xA001, 0);
    algorithm::crc::CRC16Output checked(dataFork(), crc);
    uint64_t written = 0;
    if (header.method <= 2)
        written = in.copy(checked, header.size);
    else
        written = decodeData(header.method, in, checked, header.size);
    bytesDone += written;
    if (written != header.size || crc.value() != header.crc) throw BadData(invalidData);
}

void Reader::decode(stream::random::Input& input, io::random::File&) {
    beginDecode();
    stream::random::WindowedInput archive(input);
    archive.seek(reader.archiveInfo.position);
    ItemHeader header;
    while (header.read(archive)) {
        expandFile(describeItem(header), [&] { expandData(archive, header); });
        archive.seek(header.dataOffset + header.compressedSize);
    }
    reader.fireProgressSizeEnd();
    reader.fireProgressFilesEnd();
    reader.fireArchiveDecodeEnd();
    reader.nextPosition = clamp32(archive.tell());
}

}  // namespace engine5::arc
