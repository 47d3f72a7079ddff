#pragma once

#include <string>

#include "format/format.data.h"
#include "io/io.File.h"
#include "io/io.random.FileStreams.h"

namespace io::macdrive {

// The resource fork of a file on a MacDrive volume, reached through the
// MacDrive library; the handle is the library's stream handle, read and
// written like a file's. Each open and each fileInfo call binds the library
// afresh; without it every open fails.
class Rsrc : public io::random::File {
public:
    explicit Rsrc(std::string path = std::string()) : io::random::File(std::move(path)) {}

    void create(const std::string& path = std::string()) override;
    void open(const std::string& path = std::string()) override;
    void openRW(const std::string& path = std::string()) override;
    void close() override;
    uint32_t read(char* buffer, uint32_t count) override;
    void write(const char* buffer, uint32_t count) override;
    uint64_t tell() const override;
    uint64_t size() const override;
    // Grows the fork with bytes of 0xBC at the current position; refuses to shrink it.
    void resize(uint64_t size) override;
    void unlink(bool strict = true) override;

    format::data::FileInfo fileInfo() const;
    void fileInfo(const format::data::FileInfo& info);

private:
    void openStream(const std::string& path, uint32_t access, uint32_t share, uint32_t disposition);
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

} // namespace io::macdrive
