#pragma once

#include "stream/stream.FilterOutput.h"

namespace stream {

// Rewrites line ends (CR, LF or CR LF in the input) to the line end of its mode:
// 0 leaves bytes unchanged, 1 writes LF, 2 CR, 3 CR LF.
class TextOutput : public FilterOutput {
public:
    enum Mode { none = 0, lf = 1, cr = 2, crlf = 3 };

    TextOutput(Output& under, int mode) : FilterOutput(under), mode_(mode), lastWasCR_(false) {}

    void write(char value) override;
    void write(const char* buffer, uint32_t count) override;
    void fill(uint64_t count, char value) override;

protected:
    void eol();

private:
    int mode_;
    bool lastWasCR_;
};

} // namespace stream
