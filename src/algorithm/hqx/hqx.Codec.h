#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "stream/stream.Input.h"
#include "stream/stream.Output.h"

namespace algorithm::hqx {

// The running check of BinHex data: CRC-16 of polynomial 0x1021 from zero,
// most significant bit first. It equals the original bit-serial check that
// feeds two zero bytes after the data.
class Check {
public:
    void update(unsigned char byte);
    void update(const char* data, uint32_t size);
    uint16_t value() const { return value_; }
    void reset() { value_ = 0; }

private:
    uint16_t value_ = 0;
};

// The bytes of one BinHex block, read from its text. The text starts just
// after the opening colon; line ends, blanks and tabs between characters are
// passed over, and the closing colon ends the data. The run-length code
// (0x90 and a count) is undone here. A character outside the alphabet, text
// that ends before the closing colon and a run code with nothing to repeat
// throw algorithm::Exception.
class DecodingInput : public stream::Input {
public:
    explicit DecodingInput(stream::Input& text);

    int read() override;
    uint32_t read(char* buffer, uint32_t count) override;
    uint64_t tell() const override { return produced_; }

    // The check of the bytes read since the last reset.
    Check check;
    // Whether the closing colon has been read.
    bool finished() const { return finished_; }
    // Reads the text up to the closing colon (or its end) without decoding.
    void skipToEnd();
    // The characters of text taken up to here, the closing colon included;
    // the text is read ahead in blocks, so the text stream itself may stand
    // further on.
    uint64_t consumed() const { return consumed_; }

private:
    int next();
    int coded();
    int sixBits();
    int character();

    static constexpr uint32_t bufferSize = 65536;
    stream::Input& text_;
    // The text read ahead: a block of bufferSize bytes, or less when the
    // text is known to be shorter.
    uint32_t capacity_;
    std::unique_ptr<char[]> buffer_;
    uint32_t at_ = 0;
    uint32_t filled_ = 0;
    uint64_t consumed_ = 0;
    uint32_t bits_ = 0;
    int bitCount_ = 0;
    int last_ = -1;
    uint32_t repeat_ = 0;
    uint64_t produced_ = 0;
    bool finished_ = false;
};

// Writes bytes as the text of one BinHex block: run-length coded, six bits a
// character, 64 characters a line with the opening colon counted in the
// first. finish() writes what is held back and the closing colon.
class EncodingOutput : public stream::Output {
public:
    EncodingOutput(stream::Output& text, std::string lineEnd);

    void write(char value) override;
    void write(const char* buffer, uint32_t count) override;
    uint64_t tell() const override { return consumed_; }
    void finish();

    // The check of the bytes written since the last reset.
    Check check;

private:
    void flushRun();
    void coded(unsigned char byte);
    void character(char c);

    stream::Output& text_;
    std::string lineEnd_;
    int runByte_ = -1;
    uint32_t runLength_ = 0;
    uint32_t group_ = 0;
    int groupCount_ = 0;
    uint32_t column_ = 0;
    uint64_t consumed_ = 0;
    char line_[80];
};

}  // namespace algorithm::hqx
