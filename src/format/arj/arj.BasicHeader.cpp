#include "format/arj/arj.BasicHeader.h"

#include "format/format.Exception.h"
#include "stream/check/crc.CRC.h"
#include "stream/stream.Array.h"
#include "stream/stream.ByteOrder.h"
#include "stream/stream.Vector.h"

namespace format::arj {

namespace {

uint32_t crc32(const char* data, uint32_t size) {
    algorithm::crc::EthernetCRC crc;
    crc.update(data, size);
    return ~crc.value();
}

uint32_t le32(const char* p) {
    return static_cast<uint32_t>(static_cast<unsigned char>(p[0])) |
           static_cast<uint32_t>(static_cast<unsigned char>(p[1])) << 8 |
           static_cast<uint32_t>(static_cast<unsigned char>(p[2])) << 16 |
           static_cast<uint32_t>(static_cast<unsigned char>(p[3])) << 24;
}

uint16_t le16(const char* p) {
    return static_cast<uint16_t>(static_cast<unsigned char>(p[0]) | static_cast<unsigned char>(p[1]) << 8);
}

// A string that ends in a zero byte, or at `end`.
std::string cString(const std::vector<char>& bytes, size_t& at, size_t end) {
    std::string text;
    while (at < end && bytes[at] != 0) text.push_back(bytes[at++]);
    ++at;
    return text;
}

// Whole reads only: a header cut short is not a header.
bool readAll(stream::Input& in, char* buffer, uint32_t count) {
    uint32_t done = 0;
    while (done < count) {
        const uint32_t n = in.read(buffer + done, count - done);
        if (n == 0) return false;
        done += n;
    }
    return true;
}

}  // namespace

void BasicHeader::read(stream::Input& in, bool strict) {
    valid_ = false;
    name.clear();
    comment.clear();
    extended.clear();
    auto fail = [&](const char* what) {
        if (strict) throw Exception(std::string(what) + " in " + where_);
    };

    char head[4];
    if (!readAll(in, head, 4)) return fail("truncated header");
    if (le16(head) != headerId) return fail("bad header id");
    basicSize = le16(head + 2);
    if (basicSize == 0) {
        if (!mayEnd()) return fail("bad header size");
        valid_ = true;
        return;
    }
    if (basicSize > maxBasicSize) return fail("bad header size");

    std::vector<char> bytes(basicSize + 4u);
    if (!readAll(in, bytes.data(), static_cast<uint32_t>(bytes.size()))) return fail("truncated header");
    if (crc32(bytes.data(), basicSize) != le32(bytes.data() + basicSize)) return fail("bad CRC");

    stream::ArrayInput array(bytes.data(), basicSize);
    stream::LittleEndianInput le(array);
    firstSize = le.u8();
    if (firstSize < minFirstSize || firstSize > basicSize) return fail("bad header size");
    readFixed(le);
    size_t at = firstSize;
    name = cString(bytes, at, basicSize);
    comment = cString(bytes, at, basicSize);
    if (at > basicSize) return fail("bad header size");
    if (const char* why = refusal()) return fail(why);

    for (;;) {
        char size[2];
        if (!readAll(in, size, 2)) return fail("truncated header");
        const uint16_t length = le16(size);
        if (length == 0) break;
        std::vector<char> block(length + 4u);
        if (!readAll(in, block.data(), static_cast<uint32_t>(block.size()))) return fail("truncated header");
        if (crc32(block.data(), length) != le32(block.data() + length)) return fail("bad CRC");
        block.resize(length);
        extended.push_back(std::move(block));
    }
    valid_ = true;
}

std::vector<char> BasicHeader::basic() const {
    std::vector<char> bytes;
    stream::VectorOutput vector(bytes);
    stream::LittleEndianOutput le(vector);
    le << firstSize;
    writeFixed(le);
    // The fixed part is as long as `firstSize` says, whatever it holds.
    bytes.resize(firstSize);
    bytes.insert(bytes.end(), name.begin(), name.end());
    bytes.push_back(0);
    bytes.insert(bytes.end(), comment.begin(), comment.end());
    bytes.push_back(0);
    return bytes;
}

void BasicHeader::write(stream::Output& out) const {
    stream::LittleEndianOutput le(out);
    if (writesEnd()) {
        le << headerId << uint16_t(0);
        return;
    }
    std::vector<char> bytes = basic();
    le << headerId << static_cast<uint16_t>(bytes.size());
    out.write(bytes.data(), static_cast<uint32_t>(bytes.size()));
    le << crc32(bytes.data(), static_cast<uint32_t>(bytes.size()));
    for (const auto& block : extended) {
        le << static_cast<uint16_t>(block.size());
        out.write(block.data(), static_cast<uint32_t>(block.size()));
        le << crc32(block.data(), static_cast<uint32_t>(block.size()));
    }
    le << uint16_t(0);
}

uint32_t BasicHeader::size() const {
    if (writesEnd()) return 4;
    uint32_t total = 4 + static_cast<uint32_t>(basic().size()) + 4 + 2;
    for (const auto& block : extended) total += 2 + static_cast<uint32_t>(block.size()) + 4;
    return total;
}

}  // namespace format::arj
