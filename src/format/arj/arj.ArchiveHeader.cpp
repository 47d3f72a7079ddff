#include "format/arj/arj.ArchiveHeader.h"

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

std::string cString(const std::vector<char>& bytes, size_t& at) {
    std::string text;
    while (at < bytes.size() && bytes[at] != 0) text.push_back(bytes[at++]);
    ++at;
    return text;
}

}  // namespace

void ArchiveHeader::read(stream::Input& in, bool strict) {
    valid_ = false;
    name.clear();
    comment.clear();
    extended.clear();
    const char* where = "format::arj::ArchiveHeader::read";
    auto fail = [&](const char* what) {
        if (strict) throw Exception(std::string(what) + " in " + where);
    };

    char head[4];
    if (in.read(head, 4) != 4) return fail("truncated header");
    id = static_cast<uint16_t>(static_cast<unsigned char>(head[0]) | static_cast<unsigned char>(head[1]) << 8);
    basicSize = static_cast<uint16_t>(static_cast<unsigned char>(head[2]) | static_cast<unsigned char>(head[3]) << 8);
    if (id != headerId) return fail("bad header id");
    if (basicSize == 0 || basicSize > maxBasicSize) return fail("bad header size");

    std::vector<char> bytes(basicSize + 4u);
    if (in.read(bytes.data(), static_cast<uint32_t>(bytes.size())) != bytes.size()) return fail("truncated header");

    stream::ArrayInput array(bytes.data(), static_cast<uint32_t>(bytes.size()));
    stream::LittleEndianInput le(array);
    firstSize = le.u8();
    if (firstSize < minFirstSize || firstSize > basicSize) return fail("bad header size");
    le >> version >> minVersion >> hostOS >> flags >> securityVersion >> fileType;
    le.u8();
    le >> created >> modified >> archiveSize >> securityPosition >> filespecPosition >> securityLength;
    le >> encryptionVersion >> lastChapter;
    size_t at = firstSize;
    name = cString(bytes, at);
    comment = cString(bytes, at);
    if (at > basicSize) return fail("bad header size");
    crc = static_cast<uint32_t>(static_cast<unsigned char>(bytes[basicSize])) |
          static_cast<uint32_t>(static_cast<unsigned char>(bytes[basicSize + 1])) << 8 |
          static_cast<uint32_t>(static_cast<unsigned char>(bytes[basicSize + 2])) << 16 |
          static_cast<uint32_t>(static_cast<unsigned char>(bytes[basicSize + 3])) << 24;
    if (crc32(bytes.data(), basicSize) != crc) return fail("bad CRC");
    if (fileType != mainHeaderType) return fail("bad header type");

    // Extended headers: a size, the bytes and their CRC-32, until a size of 0.
    for (;;) {
        char size[2];
        if (in.read(size, 2) != 2) return fail("truncated header");
        uint16_t length =
            static_cast<uint16_t>(static_cast<unsigned char>(size[0]) | static_cast<unsigned char>(size[1]) << 8);
        if (length == 0) break;
        std::vector<char> block(length + 4u);
        if (in.read(block.data(), static_cast<uint32_t>(block.size())) != block.size()) return fail("truncated header");
        uint32_t stored = static_cast<uint32_t>(static_cast<unsigned char>(block[length])) |
                          static_cast<uint32_t>(static_cast<unsigned char>(block[length + 1])) << 8 |
                          static_cast<uint32_t>(static_cast<unsigned char>(block[length + 2])) << 16 |
                          static_cast<uint32_t>(static_cast<unsigned char>(block[length + 3])) << 24;
        if (crc32(block.data(), length) != stored) return fail("bad CRC");
        block.resize(length);
        extended.push_back(std::move(block));
    }
    valid_ = true;
}

std::vector<char> ArchiveHeader::basic() const {
    std::vector<char> bytes;
    stream::VectorOutput vector(bytes);
    stream::LittleEndianOutput le(vector);
    le << firstSize << version << minVersion << hostOS << flags << securityVersion << fileType << uint8_t(0);
    le << created << modified << archiveSize << securityPosition << filespecPosition << securityLength;
    le << encryptionVersion << lastChapter;
    while (bytes.size() < firstSize) bytes.push_back(0);
    bytes.insert(bytes.end(), name.begin(), name.end());
    bytes.push_back(0);
    bytes.insert(bytes.end(), comment.begin(), comment.end());
    bytes.push_back(0);
    return bytes;
}

void ArchiveHeader::write(stream::Output& out) const {
    std::vector<char> bytes = basic();
    stream::LittleEndianOutput le(out);
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

uint32_t ArchiveHeader::size() const {
    uint32_t total = 4 + static_cast<uint32_t>(basic().size()) + 4 + 2;
    for (const auto& block : extended) total += 2 + static_cast<uint32_t>(block.size()) + 4;
    return total;
}

}  // namespace format::arj
