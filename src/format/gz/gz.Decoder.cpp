#include "format/gz/gz.Decoder.h"

#include "engine/t5.Exception.h"
#include "stream/check/crc.CRC.h"
#include "stream/check/crc.Streams.h"
#include "stream/stream.Output.h"

namespace format::gz {

using tuckett5::exception::BadData;
using tuckett5::exception::BadFormat;
using tuckett5::exception::UnsupportedMethod;

namespace {

constexpr int headerCrcFlag = 0x02;
constexpr int extraFlag = 0x04;
constexpr int nameFlag = 0x08;
constexpr int commentFlag = 0x10;
constexpr int reservedFlags = 0xE0;

const char* const truncated = "gzip file is truncated";
constexpr size_t maxName = 4096;

// Reads bytes of a header, feeding its check, and fails at the end of data.
class HeaderInput {
public:
    explicit HeaderInput(stream::Input& in) : in_(in) {}
    int byte() {
        const int c = in_.read();
        if (c < 0) throw BadFormat(truncated);
        crc.update(static_cast<char>(c));
        return c;
    }
    uint32_t le16() {
        const uint32_t low = byte();
        return low | static_cast<uint32_t>(byte()) << 8;
    }
    uint32_t le32() {
        const uint32_t low = le16();
        return low | le16() << 16;
    }
    // A zero-terminated text, of which the first `most` bytes are kept: a
    // header without its zero must not hold the whole input in memory.
    std::string text(size_t most) {
        std::string value;
        for (int c; (c = byte()) != 0;)
            if (value.size() < most) value += static_cast<char>(c);
        return value;
    }
    algorithm::crc::EthernetCRC crc;

private:
    stream::Input& in_;
};

// ISO 8859-1 to UTF-8, the encoding of stored names on every platform here.
std::string latin1(const std::string& in) {
    std::string out;
    for (const unsigned char c : in) {
        if (c < 0x80) {
            out += static_cast<char>(c);
        } else {
            out += static_cast<char>(0xC0 | c >> 6);
            out += static_cast<char>(0x80 | (c & 0x3F));
        }
    }
    return out;
}

}  // namespace

bool Decoder::header(stream::random::Input& in, bool first) {
    const uint64_t at = in.tell();
    const int id1 = in.read();
    if (id1 < 0) {
        if (first) throw BadFormat(truncated);
        return false;
    }
    const int id2 = in.read();
    if (id1 != 0x1F || id2 != 0x8B) {
        if (first) throw BadFormat("not a gzip file");
        // Zeros to the end are padding, as tape blocking leaves it.
        bool zeros = id1 == 0 && id2 <= 0;
        for (int c; zeros && (c = in.read()) >= 0;) zeros = c == 0;
        if (!zeros) trailing = "data after the last gzip member at offset " + std::to_string(at) + " is ignored";
        return false;
    }
    HeaderInput bytes(in);
    bytes.crc.update(static_cast<char>(0x1F));
    bytes.crc.update(static_cast<char>(0x8B));
    const int method = bytes.byte();
    if (method != 8) throw UnsupportedMethod("gzip member with compression method " + std::to_string(method));
    const int flags = bytes.byte();
    if (flags & reservedFlags) throw BadFormat("gzip member with reserved flags set");
    const uint32_t mtime = bytes.le32();
    bytes.byte();  // extra flags
    bytes.byte();  // operating system
    if (flags & extraFlag)
        for (uint32_t length = bytes.le16(); length != 0; --length) bytes.byte();
    std::string stored;
    // No file system takes a longer name than the longest path.
    if (flags & nameFlag) stored = bytes.text(maxName);
    if (flags & commentFlag) bytes.text(0);
    if (flags & headerCrcFlag) {
        const uint32_t expected = bytes.crc.value() ^ 0xFFFFFFFFu;
        if (bytes.le16() != (expected & 0xFFFF)) throw BadData("gzip header CRC mismatch; data is invalid");
    }
    if (first) {
        name = latin1(stored);
        time = mtime;
    }
    return true;
}

uint64_t Decoder::process(stream::Input& input, stream::Output& out) {
    auto* seekable = dynamic_cast<stream::random::Input*>(&input);
    if (!seekable) throw BadFormat("gzip reader needs a seekable input");
    stream::random::Input& in = *seekable;
    members = 0;
    trailing.clear();
    uint64_t total = 0;
    while (header(in, members == 0)) {
        algorithm::crc::EthernetCRC crc;
        algorithm::crc::CRC32Output checked(out, crc);
        const uint64_t start = in.tell();
        const uint64_t size = inflate_.process(in, checked);
        in.seek(start + inflate_.consumedBytes());
        uint32_t trailer[2];
        for (uint32_t& value : trailer) {
            value = 0;
            for (int shift = 0; shift < 32; shift += 8) {
                const int c = in.read();
                if (c < 0) throw BadFormat(truncated);
                value |= static_cast<uint32_t>(c) << shift;
            }
        }
        if (trailer[0] != (crc.value() ^ 0xFFFFFFFFu)) throw BadData("CRC mismatch in gzip reader; data is invalid");
        if (trailer[1] != static_cast<uint32_t>(size)) throw BadData("length mismatch in gzip reader; data is invalid");
        total += size;
        ++members;
    }
    out.flush();
    return total;
}

}  // namespace format::gz
