#pragma once

#include <cstdint>
#include <string>

#include "format/format.Header.h"
#include "un/un.property.h"

namespace format::data {

// The Macintosh value records: fixed-size, big-endian, always valid. read()
// ignores `strict`; a short stream yields 0xFF bytes (but for OSType, which throws).

class OSType : public Header {
public:
    OSType(uint32_t value = 0x3F3F3F3Fu) : value_(value) {}
    OSType(const char* text) : value_(0) { stringValue(text); }

    uint32_t value() const { return value_; }
    std::string stringValue() const;
    // Each byte is sign-extended before it goes in: a byte of 0x80 or more in
    // the last place leaves the three upper bytes at 0xFF.
    void stringValue(const std::string& text);

    bool operator==(const OSType& other) const { return value_ == other.value_; }
    bool operator!=(const OSType& other) const { return value_ != other.value_; }

    static uint32_t fixed_size() { return 4; }
    bool valid() const override { return true; }
    void read(stream::Input& in, bool strict) override;
    void write(stream::Output& out) const override;
    uint32_t size() const override { return fixed_size(); }

private:
    uint32_t value_;
};

class Point : public Header {
public:
    un::property<int16_t> v;
    un::property<int16_t> h;

    static uint32_t fixed_size() { return 4; }
    bool valid() const override { return true; }
    void read(stream::Input& in, bool strict) override;
    void write(stream::Output& out) const override;
    uint32_t size() const override { return fixed_size(); }
};

class Rect : public Header {
public:
    un::property<int16_t> top;
    un::property<int16_t> left;
    un::property<int16_t> bottom;
    un::property<int16_t> right;

    static uint32_t fixed_size() { return 8; }
    bool valid() const override { return true; }
    void read(stream::Input& in, bool strict) override;
    void write(stream::Output& out) const override;
    uint32_t size() const override { return fixed_size(); }
};

class MacInfo : public Header {
protected:
    MacInfo() = default;
};

class ExtendedMacInfo : public Header {
protected:
    ExtendedMacInfo() = default;
};

// Finder information of a file: type, creator, flags, location, 2 bytes skipped.
class FileInfo : public MacInfo {
public:
    un::property<OSType> type;
    un::property<OSType> creator;
    un::property<uint16_t> flags;
    un::property<Point> location;

    static uint32_t fixed_size() { return 16; }
    bool valid() const override { return true; }
    void read(stream::Input& in, bool strict) override;
    void write(stream::Output& out) const override;
    uint32_t size() const override { return fixed_size(); }
};

// Extended Finder information of a file: 8 bytes skipped, two 16-bit values, one 32-bit value.
class ExtendedFileInfo : public ExtendedMacInfo {
public:
    un::property<uint16_t> extendedFlags;
    un::property<int16_t> comment;
    un::property<int32_t> putAway;

    static uint32_t fixed_size() { return 16; }
    bool valid() const override { return true; }
    void read(stream::Input& in, bool strict) override;
    void write(stream::Output& out) const override;
    uint32_t size() const override { return fixed_size(); }
};

// Finder information of a folder: window rectangle, flags, location, 2 bytes skipped.
class FolderInfo : public MacInfo {
public:
    un::property<Rect> rect;
    un::property<uint16_t> flags;
    un::property<Point> location;

    static uint32_t fixed_size() { return 16; }
    bool valid() const override { return true; }
    void read(stream::Input& in, bool strict) override;
    void write(stream::Output& out) const override;
    uint32_t size() const override { return fixed_size(); }
};

// Extended Finder information of a folder: scroll, 4 bytes skipped, two 16-bit values, one 32-bit value.
class ExtendedFolderInfo : public ExtendedMacInfo {
public:
    un::property<Point> scroll;
    un::property<uint16_t> extendedFlags;
    un::property<int16_t> comment;
    un::property<int32_t> putAway;

    static uint32_t fixed_size() { return 16; }
    bool valid() const override { return true; }
    void read(stream::Input& in, bool strict) override;
    void write(stream::Output& out) const override;
    uint32_t size() const override { return fixed_size(); }
};

} // namespace format::data
