#include "format/tar/tar.Header.h"

#include <cstring>

#include "format/format.Exception.h"
#include "stream/stream.Input.h"
#include "stream/stream.Output.h"

namespace format::tar {

namespace {

std::string text(const char* field, size_t length) {
    size_t n = 0;
    while (n < length && field[n] != 0) ++n;
    return std::string(field, n);
}

// An octal number: leading spaces, digits, then the end of the field, a space or NUL.
// A field of only spaces and NULs counts as 0.
bool octal(const char* field, size_t length, uint64_t& value) {
    value = 0;
    size_t i = 0;
    while (i < length && field[i] == ' ') ++i;
    size_t digits = 0;
    for (; i < length && field[i] >= '0' && field[i] <= '7'; ++i, ++digits) {
        if (value >> 60) return false;
        value = value * 8 + static_cast<uint64_t>(field[i] - '0');
    }
    for (; i < length; ++i)
        if (field[i] != ' ' && field[i] != 0) return false;
    return true;
}

// An octal number, or the GNU binary form marked by the high bit of the first byte.
bool number(const char* field, size_t length, uint64_t& value) {
    auto first = static_cast<unsigned char>(field[0]);
    if (first == 0x80) {
        value = 0;
        for (size_t i = 1; i < length; ++i) {
            if (value >> 56) return false;
            value = value << 8 | static_cast<unsigned char>(field[i]);
        }
        return true;
    }
    if (first & 0x80) return false;
    return octal(field, length, value);
}

template <typename T>
bool small(const char* field, size_t length, T& out) {
    uint64_t value;
    if (!number(field, length, value) || value > 0xFFFFFFFFu) return false;
    out = static_cast<T>(value);
    return true;
}

void putOctal(char* field, size_t length, uint64_t value) {
    // length - 1 digits and a NUL
    for (size_t i = length - 1; i-- > 0;) {
        field[i] = static_cast<char>('0' + (value & 7));
        value >>= 3;
    }
    field[length - 1] = 0;
}

}  // namespace

std::string Header::path() const { return prefix.empty() ? name : prefix + "/" + name; }

uint32_t Header::unsignedSum(const char* block) {
    uint32_t sum = 0;
    for (int i = 0; i < 512; ++i) sum += (i >= 148 && i < 156) ? ' ' : static_cast<unsigned char>(block[i]);
    return sum;
}

int32_t Header::signedSum(const char* block) {
    int32_t sum = 0;
    for (int i = 0; i < 512; ++i) sum += (i >= 148 && i < 156) ? ' ' : static_cast<signed char>(block[i]);
    return sum;
}

void Header::read(stream::Input& in, bool strict) {
    valid_ = false;
    zero_ = false;
    char block[512];
    if (in.read(block, 512) != 512) {
        if (strict) throw Exception("truncated header in format::tar::Header::read");
        return;
    }
    zero_ = true;
    for (char c : block) zero_ = zero_ && c == 0;

    name = text(block, 100);
    linkName = text(block + 157, 100);
    magic = text(block + 257, 6);
    version = text(block + 263, 2);
    userName = text(block + 265, 32);
    groupName = text(block + 297, 32);
    prefix = magic == "ustar" && version == "00" ? text(block + 345, 155) : std::string();
    type = block[156];

    uint64_t sum = 0;
    bool numbers = small(block + 100, 8, mode) && small(block + 108, 8, uid) && small(block + 116, 8, gid) &&
                   number(block + 124, 12, dataSize) && number(block + 136, 12, modified) &&
                   octal(block + 148, 8, sum) && sum <= 0xFFFFFFFFu;
    checksum = static_cast<uint32_t>(sum);
    if (magic == "ustar") {
        numbers = numbers && small(block + 329, 8, deviceMajor) && small(block + 337, 8, deviceMinor);
    } else {
        deviceMajor = deviceMinor = 0;
    }
    valid_ = !zero_ && !name.empty() && numbers &&
             (checksum == unsignedSum(block) || static_cast<int32_t>(checksum) == signedSum(block));
    if (!valid_ && strict) throw Exception("bad checksum in format::tar::Header::read");
}

void Header::write(stream::Output& out) const {
    char block[512];
    std::memset(block, 0, sizeof block);
    std::memcpy(block, name.data(), name.size() < 100 ? name.size() : 100);
    putOctal(block + 100, 8, mode);
    putOctal(block + 108, 8, uid);
    putOctal(block + 116, 8, gid);
    putOctal(block + 124, 12, dataSize);
    putOctal(block + 136, 12, modified);
    block[156] = type;
    std::memcpy(block + 157, linkName.data(), linkName.size() < 100 ? linkName.size() : 100);
    std::memcpy(block + 257, "ustar", 6);
    std::memcpy(block + 263, "00", 2);
    std::memcpy(block + 265, userName.data(), userName.size() < 32 ? userName.size() : 32);
    std::memcpy(block + 297, groupName.data(), groupName.size() < 32 ? groupName.size() : 32);
    putOctal(block + 329, 8, deviceMajor);
    putOctal(block + 337, 8, deviceMinor);
    std::memcpy(block + 345, prefix.data(), prefix.size() < 155 ? prefix.size() : 155);
    putOctal(block + 148, 7, unsignedSum(block));
    block[155] = ' ';
    out.write(block, 512);
}

}  // namespace format::tar
