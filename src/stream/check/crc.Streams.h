#pragma once

#include "stream/check/crc.CRC.h"
#include "stream/stream.FilterInput.h"
#include "stream/stream.FilterOutput.h"

namespace algorithm::crc {

// Feeds a CRC16 with every byte written or filled through it.
class CRC16Output : public stream::FilterOutput {
public:
    CRC16Output(stream::Output& under, CRC16& crc) : stream::FilterOutput(under), crc_(&crc) {}

    void write(char value) override {
        stream::FilterOutput::write(value);
        crc_->update(value);
    }
    void write(const char* buffer, uint32_t count) override {
        stream::FilterOutput::write(buffer, count);
        if (buffer != nullptr) crc_->update(buffer, count);
    }
    void fill(uint64_t count, char value) override {
        stream::FilterOutput::fill(count, value);
        for (uint64_t i = 0; i < count; ++i) crc_->update(value);
    }

private:
    CRC16* crc_;
};

// Feeds a CRC32 with every byte written through it. fill() is forwarded as it is.
class CRC32Output : public stream::FilterOutput {
public:
    CRC32Output(stream::Output& under, CRC32& crc) : stream::FilterOutput(under), crc_(&crc) {}

    void write(char value) override {
        stream::FilterOutput::write(value);
        crc_->update(value);
    }
    void write(const char* buffer, uint32_t count) override {
        stream::FilterOutput::write(buffer, count);
        if (buffer != nullptr) crc_->update(buffer, count);
    }

private:
    CRC32* crc_;
};

// Feeds a CRC with every byte read through it.
template <typename T>
class CRCInput : public stream::FilterInput {
public:
    CRCInput(stream::Input& under, CRC<T>& crc) : stream::FilterInput(under), crc_(&crc) {}

    int read() override {
        int c = stream::FilterInput::read();
        if (c != -1) crc_->update(static_cast<char>(c));
        return c;
    }
    uint32_t read(char* buffer, uint32_t count) override {
        uint32_t n = stream::FilterInput::read(buffer, count);
        crc_->update(buffer, n);
        return n;
    }

private:
    CRC<T>* crc_;
};

// Skipped bytes pass the underlying stream's skip and are not counted.
using CRC16Input = CRCInput<uint16_t>;

// Skipped bytes are read and counted into the CRC too.
class CRC32Input : public CRCInput<uint32_t> {
public:
    using CRCInput<uint32_t>::CRCInput;

    uint64_t skip(uint64_t count) override {
        char buffer[4096];
        uint64_t done = 0;
        while (done < count) {
            uint32_t ask = count - done < sizeof buffer ? static_cast<uint32_t>(count - done) : sizeof buffer;
            uint32_t n = read(buffer, ask);
            if (n == 0) break;
            done += n;
        }
        return done;
    }
};

} // namespace algorithm::crc
