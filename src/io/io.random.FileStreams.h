#pragma once

#include <algorithm>
#include <string>

#include "io/io.File.h"
#include "stream/stream.Input.h"
#include "stream/stream.Output.h"

namespace io::random {

// A seekable byte source over a file (or anything with the file's interface,
// such as a resource fork), which it does not own. Readers wrap it in a
// stream::BufferedInput: every call here goes to the file.
template <class F>
class BasicFileInput : public stream::random::Input {
public:
    explicit BasicFileInput(F& file) : file_(file) {}

    using stream::Input::read;
    int read() override {
        char c;
        return file_.read(&c, 1) == 1 ? static_cast<unsigned char>(c) : -1;
    }
    uint32_t read(char* buffer, uint32_t count) override { return file_.read(buffer, count); }
    uint64_t skip(uint64_t count) override {
        uint64_t position = file_.tell(), end = file_.size();
        uint64_t step = position >= end ? 0 : std::min(count, end - position);
        file_.seek(position + step);
        return step;
    }
    uint64_t tell() const override { return file_.tell(); }
    uint64_t size() const override { return file_.size(); }
    void seek(uint64_t position) override { file_.seek(position); }

    F& file() const { return file_; }

private:
    F& file_;
};

// A seekable byte sink over a file, which it does not own.
template <class F>
class BasicFileOutput : public stream::random::Output {
public:
    explicit BasicFileOutput(F& file) : file_(file) {}

    void write(char value) override { file_.write(&value, 1); }
    void write(const char* buffer, uint32_t count) override { file_.write(buffer, count); }
    uint64_t tell() const override { return file_.tell(); }
    uint64_t size() const override { return file_.size(); }
    void seek(uint64_t position) override { file_.seek(position); }
    void resize(uint64_t size) override { file_.resize(size); }
    void flush() override {}
    virtual void write(const std::string& text) { file_.write(text.data(), static_cast<uint32_t>(text.size())); }

    F& file() const { return file_; }

private:
    F& file_;
};

// A byte sink over a resource fork, which it does not own; it has no seek.
template <class R>
class BasicForkOutput : public stream::Output {
public:
    explicit BasicForkOutput(R& rsrc) : rsrc_(rsrc) {}

    void write(char value) override { rsrc_.write(&value, 1); }
    void write(const char* buffer, uint32_t count) override { rsrc_.write(buffer, count); }
    uint64_t tell() const override { return rsrc_.tell(); }
    void resize(uint64_t size) override { rsrc_.resize(size); }
    void flush() override {}
    virtual void write(const std::string& text) { rsrc_.write(text.data(), static_cast<uint32_t>(text.size())); }

    R& rsrc() const { return rsrc_; }

private:
    R& rsrc_;
};

class FileInput : public BasicFileInput<File> {
public:
    explicit FileInput(File& file) : BasicFileInput<File>(file) {}
};

class FileOutput : public BasicFileOutput<File> {
public:
    explicit FileOutput(File& file) : BasicFileOutput<File>(file) {}
    using BasicFileOutput<File>::write;
};

} // namespace io::random
