#pragma once

#include <cstdint>
#include <string>

#include "algorithm/algorithm.Password.h"
#include "stream/check/crc.EthernetTable.h"
#include "stream/stream.FilterInput.h"
#include "stream/stream.FilterOutput.h"

namespace algorithm::zipcrypt {

// The traditional Zip password cipher: three 32-bit keys, started from the
// password and stirred by every plain byte. begin() restarts it for the next
// entry; a new cipher is already begun.
class Cipher {
public:
    explicit Cipher(const Password& password);
    explicit Cipher(const std::string& password);
    virtual ~Cipher();

    virtual void begin() { initKeys(); }
    virtual void encrypt(char* data, uint32_t size) {
        for (uint32_t i = 0; i < size; ++i) data[i] = encrypt(data[i]);
    }
    virtual void decrypt(char* data, uint32_t size) {
        for (uint32_t i = 0; i < size; ++i) data[i] = decrypt(data[i]);
    }
    virtual void end() {}

    char encrypt(char plain) {
        const int key = nextByte();
        updateKeys(static_cast<unsigned char>(plain));
        return static_cast<char>(plain ^ key);
    }
    char decrypt(char cipher) {
        const unsigned char plain = static_cast<unsigned char>(cipher ^ nextByte());
        updateKeys(plain);
        return static_cast<char>(plain);
    }

protected:
    void initKeys();
    void updateKeys(int c) {
        const auto& table = crc::EthernetTable::table;
        key0_ = (key0_ >> 8) ^ table[(key0_ ^ static_cast<uint32_t>(c)) & 0xFF];
        key1_ = (key1_ + (key0_ & 0xFF)) * 0x08088405u + 1;
        key2_ = (key2_ >> 8) ^ table[(key2_ ^ (key1_ >> 24)) & 0xFF];
    }
    int nextByte() const {
        const uint32_t t = (key2_ & 0xFFFF) | 2;
        return static_cast<int>(((t ^ 1) * t >> 8) & 0xFF);
    }

private:
    Password password_;
    uint32_t key0_ = 0;
    uint32_t key1_ = 0;
    uint32_t key2_ = 0;
};

// Deciphers every byte read through it, skipped bytes included, so that the
// keys stay in step with the data.
class Input : public stream::FilterInput {
public:
    Input(stream::Input& under, Cipher& cipher) : stream::FilterInput(under), cipher_(&cipher) {}

    int read() override {
        const int c = stream::FilterInput::read();
        return c == -1 ? -1 : static_cast<unsigned char>(cipher_->decrypt(static_cast<char>(c)));
    }
    uint32_t read(char* buffer, uint32_t count) override {
        const uint32_t n = stream::FilterInput::read(buffer, count);
        cipher_->decrypt(buffer, n);
        return n;
    }
    uint64_t skip(uint64_t count) override;
    uint64_t copy(stream::Output& to, uint64_t count) override { return stream::Input::copy(to, count); }

private:
    Cipher* cipher_;
};

// Enciphers every byte written through it; the block form enciphers a copy and
// leaves the caller's buffer as it was.
class Output : public stream::FilterOutput {
public:
    Output(stream::Output& under, Cipher& cipher) : stream::FilterOutput(under), cipher_(&cipher) {}

    void write(char value) override { stream::FilterOutput::write(cipher_->encrypt(value)); }
    void write(const char* buffer, uint32_t count) override;
    void fill(uint64_t count, char value) override;
    uint64_t copy(stream::Input& from, uint64_t count) override { return stream::Output::copy(from, count); }

private:
    Cipher* cipher_;
};

} // namespace algorithm::zipcrypt
