#pragma once

#include "stream/stream.Output.h"

namespace stream {

// Wraps another output, which it does not own, and forwards everything to it.
class FilterOutput : public virtual Output {
public:
    explicit FilterOutput(Output& under) : under_(&under) {}

    Output& under() const { return *under_; }
    void under(Output& under) { under_ = &under; }

    void begin() override { under_->begin(); }
    void end() override { under_->end(); }
    void write(char value) override { under_->write(value); }
    void write(const char* buffer, uint32_t count) override { under_->write(buffer, count); }
    void fill(uint64_t count, char value) override { under_->fill(count, value); }
    uint64_t copy(Input& from, uint64_t count) override { return under_->copy(from, count); }
    uint64_t tell() const override { return under_->tell(); }
    void flush() override { under_->flush(); }
    void close() override { under_->close(); }
    uint64_t size() const override { return under_->size(); }
    void resize(uint64_t size) override { under_->resize(size); }

private:
    Output* under_;
};

namespace random {

// A filter over a random-access output; forwards seek as well.
class FilterOutput : public stream::FilterOutput, public random::Output {
public:
    explicit FilterOutput(random::Output& under) : stream::FilterOutput(under), randomUnder_(&under) {}

    void begin() override { stream::FilterOutput::begin(); }
    void end() override { stream::FilterOutput::end(); }
    void seek(uint64_t position) override { randomUnder_->seek(position); }
    uint64_t size() const override { return randomUnder_->size(); }
    void resize(uint64_t size) override { randomUnder_->resize(size); }

    random::Output& under() const { return *randomUnder_; }
    void under(random::Output& under) {
        stream::FilterOutput::under(under);
        randomUnder_ = &under;
    }

    void write(char value) override { stream::FilterOutput::write(value); }
    void write(const char* buffer, uint32_t count) override { stream::FilterOutput::write(buffer, count); }
    void fill(uint64_t count, char value) override { stream::FilterOutput::fill(count, value); }
    uint64_t copy(stream::Input& from, uint64_t count) override { return stream::FilterOutput::copy(from, count); }
    uint64_t tell() const override { return stream::FilterOutput::tell(); }
    void flush() override { stream::FilterOutput::flush(); }
    void close() override { stream::FilterOutput::close(); }

private:
    random::Output* randomUnder_;
};

} // namespace random
} // namespace stream
