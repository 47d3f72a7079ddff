#pragma once

#include <cstdint>
#include <memory>

#include "stream/stream.Input.h"

namespace stream::random {

// A reader that walks an archive in two places at once, such as a directory
// and the items it points to, with a window of 65536 bytes on each. A seek
// that falls inside what either window holds is served from it without a
// read; any other seek moves the window used less lately. The underlying
// stream is read only to fill a window or for a large read, and is moved
// only when it does not already stand where the read begins.
class WindowedInput : public Input {
public:
    explicit WindowedInput(Input& under);

    using stream::Input::read;
    int read() override {
        if (at_ == now().count && !refill()) return -1;
        return static_cast<unsigned char>(now().buffer[at_++]);
    }
    uint32_t read(char* buffer, uint32_t count) override;
    uint64_t skip(uint64_t count) override;
    uint64_t tell() const override { return windows_[current_].base + at_; }
    uint64_t size() const override { return size_; }
    void seek(uint64_t position) override;

    static constexpr uint32_t capacity = 65536;

private:
    struct Window {
        uint64_t base = 0;
        uint32_t count = 0;
        // The bytes allocated, at most the capacity.
        uint32_t storage = 0;
        std::unique_ptr<char[]> buffer;
    };

    Window& now() { return windows_[current_]; }
    void moveUnder(uint64_t position);
    // Fills the current window with what follows it.
    bool refill();

    Input& under_;
    const uint64_t size_;
    // Where the underlying stream stands.
    uint64_t underAt_;
    Window windows_[2];
    int current_ = 0;
    uint32_t at_ = 0;
};

}  // namespace stream::random
