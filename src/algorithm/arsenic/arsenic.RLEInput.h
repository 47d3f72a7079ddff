#pragma once

#include <cstdint>

#include "stream/stream.FilterInput.h"

namespace algorithm::arsenic {

// Cuts its source into runs of equal bytes, at most 255 long. read() answers
// a run's length and then its byte, by turns; the end of the source is the
// symbol 0x101 with a length of 1. The source is read in blocks ahead of the
// runs; a block read passes through to the source.
class RLEInput : public stream::FilterInput {
public:
    explicit RLEInput(stream::Input& under) : stream::FilterInput(under) {}

    int read() override {
        if (wantRun) {
            next();
            wantRun = false;
            return count;
        }
        wantRun = true;
        return symbol;
    }
    uint32_t read(char* buffer, uint32_t n) override { return stream::FilterInput::read(buffer, n); }

    static constexpr int endOfInput = 0x101;

private:
    void next() {
        int c = pending != -2 ? pending : fetch();
        pending = -2;
        count = 1;
        if (c == -1) {
            symbol = endOfInput;
            return;
        }
        symbol = c;
        while (count < 255) {
            int d = fetch();
            if (d != c) {
                pending = d;
                return;
            }
            ++count;
        }
    }

    // The source's next byte, taken from blocks read ahead.
    int fetch() {
        if (position == held) {
            held = under().read(buffer, sizeof buffer);
            position = 0;
            if (held == 0) return -1;
        }
        return static_cast<unsigned char>(buffer[position++]);
    }

    char buffer[4096];
    uint32_t held = 0;
    uint32_t position = 0;
    int pending = -2;
    bool wantRun = true;
    int count = 0;
    int symbol = 0;
};

} // namespace algorithm::arsenic
