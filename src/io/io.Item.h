#pragma once

#include <cstdint>
#include <string>

namespace io {

// Any named object on disk, with its times and attributes. Times in seconds
// count from 1970; the high-resolution forms are raw file times, 100 ns
// steps since 1601. Attributes use the Windows bits (0x01 read-only, 0x02
// hidden, 0x04 system, 0x10 folder, 0x20 archive, 0x80 normal); on POSIX they
// are derived from the mode bits. Failures are io::Exception of the kind "I/O".
class Item {
public:
    static constexpr uint32_t readOnlyBit = 0x01;
    static constexpr uint32_t hiddenBit = 0x02;
    static constexpr uint32_t systemBit = 0x04;
    static constexpr uint32_t directoryBit = 0x10;
    static constexpr uint32_t archiveBit = 0x20;
    static constexpr uint32_t normal = 0x80;
    // File time of 1 January 1970.
    static constexpr uint64_t epoch1970 = 0x019DB1DED53E8000ull;

    explicit Item(std::string path = std::string()) : path_(std::move(path)) {}
    virtual ~Item() = default;
    Item(const Item&) = default;
    Item& operator=(const Item&) = default;

    const std::string& path() const { return path_; }
    void path(const std::string& path) { path_ = path; }

    virtual bool exists() const;
    virtual void create(const std::string& path = std::string()) = 0;

    virtual int64_t creationTime() const;
    virtual int64_t modificationTime() const;
    virtual int64_t accessTime() const;
    virtual void creationTime(int64_t seconds);
    virtual void modificationTime(int64_t seconds);
    virtual void accessTime(int64_t seconds);

    virtual uint64_t highResolutionCreationTime() const;
    virtual uint64_t highResolutionModificationTime() const;
    virtual uint64_t highResolutionAccessTime() const;
    // Where the file system keeps no creation time (POSIX), its setter does nothing.
    virtual void highResolutionCreationTime(uint64_t time);
    virtual void highResolutionModificationTime(uint64_t time);
    virtual void highResolutionAccessTime(uint64_t time);

    // The POSIX mode bits; 0 on Windows, whose setter does nothing.
    virtual uint32_t permissions() const;
    virtual void permissions(uint32_t mode);
    virtual void resetAttributes();
    virtual uint32_t win32Attributes() const;
    // 0 does nothing.
    virtual void win32Attributes(uint32_t attributes);
    virtual bool readOnly() const { return attribute(readOnlyBit); }
    virtual void readOnly(bool on) { attribute(readOnlyBit, on); }
    virtual bool archive() const { return attribute(archiveBit); }
    virtual void archive(bool on) { attribute(archiveBit, on); }
    virtual bool system() const { return attribute(systemBit); }
    virtual void system(bool on) { attribute(systemBit, on); }
    virtual bool hidden() const { return attribute(hiddenBit); }
    virtual void hidden(bool on) { attribute(hiddenBit, on); }

    // Seconds since 1970 of a file time, rounded toward 1970. Any 64-bit file
    // time converts, even one that a hostile archive stores.
    static int64_t seconds(uint64_t fileTime) {
        return fileTime >= epoch1970 ? int64_t((fileTime - epoch1970) / 10000000)
                                     : -int64_t((epoch1970 - fileTime) / 10000000);
    }
    // Wraps, without overflow, for times that no file time can hold.
    static uint64_t fileTime(int64_t seconds) { return uint64_t(seconds) * 10000000u + epoch1970; }

protected:
    // A non-empty argument replaces the stored path.
    void usePath(const std::string& path) {
        if (!path.empty()) path_ = path;
    }

    std::string path_;

private:
    bool attribute(uint32_t bit) const { return (win32Attributes() & bit) != 0; }
    void attribute(uint32_t bit, bool on);
};

} // namespace io
