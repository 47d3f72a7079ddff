#pragma once

#include <cstdint>
#include <string>

#include "io/io.Item.h"

namespace io {

// A plain file and its data. Sizes and positions are 64-bit on every platform.
// The handle is -1 while the file is closed; the destructor closes it quietly.
class File : public Item {
public:
    explicit File(std::string path = std::string()) : Item(std::move(path)), handle_(-1) {}
    ~File() override;
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    // Read and write, no sharing, an existing file is emptied. On POSIX an
    // existing symbolic link is never followed: creating over one fails.
    void create(const std::string& path = std::string()) override;
    // Read only, others may read and write.
    virtual void open(const std::string& path = std::string());
    // Read and write, others may read.
    virtual void openRW(const std::string& path = std::string());
    virtual void close();
    // A short count is no error; 0 is the end of the file.
    virtual uint32_t read(char* buffer, uint32_t count);
    virtual void write(const char* buffer, uint32_t count);
    virtual uint64_t tell() const;
    virtual uint64_t size() const;
    // Grows the file by writing bytes of 0xBC at the current position; it never shrinks.
    virtual void resize(uint64_t size);
    // Closes the file and deletes it; only a strict unlink reports a failure.
    virtual void unlink(bool strict = true);

    bool isOpen() const { return handle_ != -1; }

protected:
    // Closes an open handle and marks it closed; answers whether that worked.
    bool release();

    intptr_t handle_;
};

namespace random {

// A file with a position that can be set.
class File : public io::File {
public:
    explicit File(std::string path = std::string()) : io::File(std::move(path)) {}

    // Sets the length, cutting or padding with zeros; the position stays.
    void resize(uint64_t size) override;
    // Virtual, so that a resource fork kept inside another file (AppleDouble)
    // places its position right whichever type it is reached through.
    virtual void seek(uint64_t position);
};

} // namespace random
} // namespace io
