#include "algorithm/hqx/hqx.Codec.h"

#include <algorithm>

#include "algorithm/algorithm.Exception.h"
#include "algorithm/hqx/hqx.Line.h"
#include "stream/check/crc.CRC.h"

namespace algorithm::hqx {

namespace {

constexpr int runCode = 0x90;
constexpr uint32_t longestRun = 255;

}  // namespace

void Check::update(unsigned char byte) {
    const uint16_t v = static_cast<uint16_t>(value_ ^ (byte << 8));
    value_ = static_cast<uint16_t>((v << 8) ^ crc::MacBinaryTable::table[v >> 8]);
}

void Check::update(const char* data, uint32_t size) {
    for (uint32_t i = 0; i < size; ++i) update(static_cast<unsigned char>(data[i]));
}

DecodingInput::DecodingInput(stream::Input& text)
    : text_(text), capacity_(static_cast<uint32_t>(std::min<uint64_t>(bufferSize, text.size()))) {
    if (capacity_ == 0) capacity_ = 1;
    buffer_.reset(new char[capacity_]);
}

int DecodingInput::character() {
    if (at_ == filled_) {
        filled_ = text_.read(buffer_.get(), capacity_);
        at_ = 0;
        if (filled_ == 0) return -1;
    }
    ++consumed_;
    return static_cast<unsigned char>(buffer_[at_++]);
}

int DecodingInput::sixBits() {
    for (;;) {
        const int c = character();
        if (c < 0) throw Exception("BinHex text ends before its closing colon", "algorithm::hqx");
        if (c == '\r' || c == '\n' || c == ' ' || c == '\t') continue;
        if (c == ':') {
            finished_ = true;
            return -1;
        }
        const int value = Line::value(static_cast<unsigned char>(c));
        if (value < 0) throw Exception("invalid character in BinHex text", "algorithm::hqx");
        return value;
    }
}

int DecodingInput::coded() {
    while (bitCount_ < 8) {
        if (finished_) return -1;
        const int value = sixBits();
        if (value < 0) return -1;
        bits_ = (bits_ << 6 | static_cast<uint32_t>(value)) & 0xFFFFF;
        bitCount_ += 6;
    }
    bitCount_ -= 8;
    return static_cast<int>((bits_ >> bitCount_) & 0xFF);
}

int DecodingInput::next() {
    for (;;) {
        if (repeat_ != 0) {
            --repeat_;
            return last_;
        }
        const int c = coded();
        if (c < 0) return -1;
        if (c != runCode) return last_ = c;
        const int count = coded();
        if (count < 0) throw Exception("BinHex run code at the end of the data", "algorithm::hqx");
        if (count == 0) return last_ = runCode;
        if (last_ < 0) throw Exception("BinHex run code with no byte to repeat", "algorithm::hqx");
        // The count includes the byte already given.
        repeat_ = static_cast<uint32_t>(count - 1);
    }
}

int DecodingInput::read() {
    const int c = next();
    if (c >= 0) {
        check.update(static_cast<unsigned char>(c));
        ++produced_;
    }
    return c;
}

uint32_t DecodingInput::read(char* buffer, uint32_t count) {
    uint32_t done = 0;
    while (done < count) {
        const int c = next();
        if (c < 0) break;
        buffer[done++] = static_cast<char>(c);
    }
    check.update(buffer, done);
    produced_ += done;
    return done;
}

void DecodingInput::skipToEnd() {
    while (!finished_) {
        const int c = character();
        if (c < 0 || c == ':') finished_ = true;
    }
    repeat_ = 0;
    bitCount_ = 0;
}

EncodingOutput::EncodingOutput(stream::Output& text, std::string lineEnd) : text_(text), lineEnd_(std::move(lineEnd)) {
    line_[0] = ':';
    column_ = 1;
}

void EncodingOutput::write(char value) {
    const unsigned char byte = static_cast<unsigned char>(value);
    check.update(byte);
    ++consumed_;
    if (static_cast<int>(byte) == runByte_ && runLength_ < longestRun) {
        ++runLength_;
        return;
    }
    flushRun();
    runByte_ = byte;
    runLength_ = 1;
}

void EncodingOutput::write(const char* buffer, uint32_t count) {
    for (uint32_t i = 0; i < count; ++i) write(buffer[i]);
}

void EncodingOutput::flushRun() {
    if (runByte_ < 0) return;
    const unsigned char byte = static_cast<unsigned char>(runByte_);
    coded(byte);
    if (byte == runCode) coded(0);
    if (runLength_ == 2 && byte != runCode) {
        coded(byte);
    } else if (runLength_ >= 2) {
        coded(runCode);
        coded(static_cast<unsigned char>(runLength_));
    }
    runByte_ = -1;
    runLength_ = 0;
}

void EncodingOutput::coded(unsigned char byte) {
    group_ = group_ << 8 | byte;
    if (++groupCount_ < 3) return;
    for (int shift = 18; shift >= 0; shift -= 6) character(Line::alphabet[(group_ >> shift) & 0x3F]);
    group_ = 0;
    groupCount_ = 0;
}

void EncodingOutput::character(char c) {
    line_[column_++] = c;
    if (column_ < Line::lineLength) return;
    text_.write(line_, column_);
    text_.write(lineEnd_.data(), static_cast<uint32_t>(lineEnd_.size()));
    column_ = 0;
}

void EncodingOutput::finish() {
    flushRun();
    // One byte left takes two characters, two take three.
    if (groupCount_ != 0) {
        const int held = groupCount_;
        const uint32_t bits = group_ << (8 * (3 - held));
        for (int i = 0; i <= held; ++i) character(Line::alphabet[(bits >> (18 - 6 * i)) & 0x3F]);
        group_ = 0;
        groupCount_ = 0;
    }
    line_[column_++] = ':';
    text_.write(line_, column_);
    text_.write(lineEnd_.data(), static_cast<uint32_t>(lineEnd_.size()));
    column_ = 0;
}

}  // namespace algorithm::hqx
