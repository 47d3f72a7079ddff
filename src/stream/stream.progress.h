#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include "stream/stream.FilterInput.h"
#include "stream/stream.FilterOutput.h"

namespace stream::progress {

template <typename T>
struct Event {
    T position;
    T total;
};

template <typename T>
class Listener {
public:
    virtual ~Listener() = default;
    virtual void progress(const Event<T>& event) = 0;
};

// Listeners in the order they were added; a listener aborts the work by throwing.
class Dispatcher {
public:
    void add(Listener<uint64_t>& listener) { listeners_.push_back(&listener); }
    void remove(Listener<uint64_t>& listener) {
        listeners_.erase(std::remove(listeners_.begin(), listeners_.end(), &listener), listeners_.end());
    }
    void dispatch(const Event<uint64_t>& event) const {
        std::vector<Listener<uint64_t>*> copy(listeners_);
        for (Listener<uint64_t>* listener : copy) listener->progress(event);
    }

private:
    std::vector<Listener<uint64_t>*> listeners_;
};

// The running total of a progress filter, reported every `step` bytes.
class Reporter {
public:
    explicit Reporter(uint32_t step) : step_(step) {}

    void addListener(Listener<uint64_t>& listener) { dispatcher_.add(listener); }
    void removeListener(Listener<uint64_t>& listener) { dispatcher_.remove(listener); }
    uint64_t total() const { return total_; }

    void advance(uint32_t n) {
        total_ += n;
        sinceReport_ += n;
        if (sinceReport_ >= step_) {
            dispatcher_.dispatch(Event<uint64_t>{total_, all});
            sinceReport_ = 0;
        }
    }

private:
    Dispatcher dispatcher_;
    uint32_t step_;
    uint64_t total_ = 0;
    uint32_t sinceReport_ = 0;
};

// Counts the bytes read through it and reports the running total every `step` bytes.
class Input : public FilterInput {
public:
    static constexpr uint32_t defaultStep = 65536;

    explicit Input(stream::Input& under, uint32_t step = defaultStep) : FilterInput(under), reporter_(step) {}

    void addListener(Listener<uint64_t>& listener) { reporter_.addListener(listener); }
    void removeListener(Listener<uint64_t>& listener) { reporter_.removeListener(listener); }

    int read() override {
        int c = FilterInput::read();
        if (c != -1) reporter_.advance(1);
        return c;
    }
    uint32_t read(char* buffer, uint32_t count) override {
        uint32_t n = FilterInput::read(buffer, count);
        if (n != 0) reporter_.advance(n);
        return n;
    }
    uint64_t tell() const override { return reporter_.total(); }

private:
    Reporter reporter_;
};

// Counts the bytes written through it and reports the running total every `step` bytes.
class Output : public FilterOutput {
public:
    static constexpr uint32_t defaultStep = 16384;

    explicit Output(stream::Output& under, uint32_t step = defaultStep) : FilterOutput(under), reporter_(step) {}

    void addListener(Listener<uint64_t>& listener) { reporter_.addListener(listener); }
    void removeListener(Listener<uint64_t>& listener) { reporter_.removeListener(listener); }

    void write(char value) override {
        FilterOutput::write(value);
        reporter_.advance(1);
    }
    void write(const char* buffer, uint32_t count) override {
        FilterOutput::write(buffer, count);
        if (count != 0) reporter_.advance(count);
    }
    uint64_t tell() const override { return reporter_.total(); }

private:
    Reporter reporter_;
};

} // namespace stream::progress
