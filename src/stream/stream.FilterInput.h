#pragma once

#include "stream/stream.Input.h"

namespace stream {

// Wraps another input, which it does not own, and forwards everything to it.
class FilterInput : public virtual Input {
public:
    explicit FilterInput(Input& under) : under_(&under) {}

    Input& under() const { return *under_; }
    void under(Input& under) { under_ = &under; }

    void begin() override { under_->begin(); }
    void end() override { under_->end(); }
    int read() override { return under_->read(); }
    uint32_t read(char* buffer, uint32_t count) override { return under_->read(buffer, count); }
    uint64_t skip(uint64_t count) override { return under_->skip(count); }
    uint64_t copy(Output& to, uint64_t count) override { return under_->copy(to, count); }
    uint64_t tell() const override { return under_->tell(); }
    uint64_t size() const override { return under_->size(); }
    void close() override { under_->close(); }

private:
    Input* under_;
};

namespace random {

// A filter over a random-access input; forwards seek as well.
class FilterInput : public stream::FilterInput, public random::Input {
public:
    explicit FilterInput(random::Input& under) : stream::FilterInput(under), randomUnder_(&under) {}

    random::Input& under() const { return *randomUnder_; }
    void under(random::Input& under) {
        stream::FilterInput::under(under);
        randomUnder_ = &under;
    }

    void begin() override { stream::FilterInput::begin(); }
    void end() override { stream::FilterInput::end(); }
    int read() override { return stream::FilterInput::read(); }
    uint32_t read(char* buffer, uint32_t count) override { return stream::FilterInput::read(buffer, count); }
    uint64_t skip(uint64_t count) override { return stream::FilterInput::skip(count); }
    uint64_t copy(stream::Output& to, uint64_t count) override { return stream::FilterInput::copy(to, count); }
    void seek(uint64_t position) override { randomUnder_->seek(position); }
    uint64_t tell() const override { return stream::FilterInput::tell(); }
    uint64_t size() const override { return randomUnder_->size(); }
    void close() override { stream::FilterInput::close(); }

private:
    random::Input* randomUnder_;
};

} // namespace random
} // namespace stream
