#pragma once

#include <cstdint>
#include <string>

#include "format/format.data.h"
#include "io/io.File.h"
#include "io/io.random.FileStreams.h"

namespace io::ntfs {

// The resource fork of a file as a file-like object, with the file's Finder
// information beside it. On Windows these are the named streams
// ":AFP_Resource:$DATA" and ":AFP_AfpInfo:$DATA" (a 60-byte record). On POSIX
// both live in an AppleDouble (version 2) file "._<name>" beside the file:
// entry 9 holds the 32 bytes of Finder information, entry 2, the last, the
// fork; macOS, Samba and netatalk read that form. A Rsrc is closed when made.
class Rsrc : public io::random::File {
public:
    explicit Rsrc(std::string path = std::string()) : io::random::File(std::move(path)) {}

    // Creating a fork empties it and keeps the Finder information; a missing
    // data file is created empty, as a named stream brings its file with it.
    void create(const std::string& path = std::string()) override;
    void open(const std::string& path = std::string()) override;
    void openRW(const std::string& path = std::string()) override;
    void close() override;
    uint32_t read(char* buffer, uint32_t count) override;
    void write(const char* buffer, uint32_t count) override;
    uint64_t tell() const override;
    uint64_t size() const override;
    // Grows the fork with bytes of 0xBC written at the current position; refuses to shrink it.
    void resize(uint64_t size) override;
    // Deletes the file by its plain path: the data fork goes with it.
    void unlink(bool strict = true) override;
    void seek(uint64_t position) override;

    // Reads and writes the Finder information; each opens and closes its own handle.
    format::data::FileInfo fileInfo() const;
    void fileInfo(const format::data::FileInfo& info);
    // Whether the file has Finder information.
    static bool hasInfo(const std::string& path);

    // The file that holds the fork of `path` on POSIX: "._<name>" beside it.
    static std::string sidecar(const std::string& path);
    // Whether `path` is the AppleDouble file of another file beside it, and so
    // part of that file rather than an item of its own. Never on Windows.
    static bool isSidecar(const std::string& path);

private:
    // Where the fork starts in what the handle reaches, and where its length
    // is recorded (0 for none): the AppleDouble file on POSIX, 0 on Windows.
    uint64_t origin_ = 0;
    uint64_t lengthField_ = 0;
};

class RsrcInput : public io::random::BasicFileInput<Rsrc> {
public:
    explicit RsrcInput(Rsrc& rsrc) : io::random::BasicFileInput<Rsrc>(rsrc) {}
};

class RsrcOutput : public io::random::BasicForkOutput<Rsrc> {
public:
    explicit RsrcOutput(Rsrc& rsrc) : io::random::BasicForkOutput<Rsrc>(rsrc) {}
    using io::random::BasicForkOutput<Rsrc>::write;
};

} // namespace io::ntfs
