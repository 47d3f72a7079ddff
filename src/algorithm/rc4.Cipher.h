#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "stream/stream.FilterInput.h"
#include "stream/stream.FilterOutput.h"

namespace algorithm::rc4 {

// An RC4 key after key scheduling: the permutation that a cipher starts from.
class ScheduledKey {
public:
    explicit ScheduledKey(const std::string& key);
    virtual ~ScheduledKey() = default;

    const std::array<unsigned char, 256>& state() const { return state_; }

protected:
    ScheduledKey() = default;
    void schedule(const std::string& key);

private:
    std::array<unsigned char, 256> state_{};
};

// The RC4 key is the key's bytes followed by the randomizer's bytes.
class RandomizedKey : public ScheduledKey {
public:
    RandomizedKey(const std::string& key, const std::string& randomizer);
};

// The RC4 key stream; enciphering and deciphering are the same XOR.
class Cipher {
public:
    explicit Cipher(const ScheduledKey& key) : state_(key.state()) {}

    unsigned char next() {
        i_ = static_cast<unsigned char>(i_ + 1);
        j_ = static_cast<unsigned char>(j_ + state_[i_]);
        std::swap(state_[i_], state_[j_]);
        return state_[static_cast<unsigned char>(state_[i_] + state_[j_])];
    }
    char process(char byte) { return static_cast<char>(byte ^ next()); }
    void process(char* data, uint32_t size) {
        for (uint32_t k = 0; k < size; ++k) data[k] = process(data[k]);
    }

private:
    std::array<unsigned char, 256> state_;
    unsigned char i_ = 0;
    unsigned char j_ = 0;
};

// Deciphers what it reads through a cipher it does not own.
class Input : public stream::FilterInput {
public:
    Input(stream::Input& under, Cipher& cipher) : stream::FilterInput(under), cipher_(&cipher) {}

    int read() override {
        int c = stream::FilterInput::read();
        return c == -1 ? -1 : static_cast<unsigned char>(cipher_->process(static_cast<char>(c)));
    }
    uint32_t read(char* buffer, uint32_t count) override {
        uint32_t n = stream::FilterInput::read(buffer, count);
        cipher_->process(buffer, n);
        return n;
    }
    uint64_t skip(uint64_t count) override { return stream::Input::skip(count); }
    uint64_t copy(stream::Output& to, uint64_t count) override { return stream::Input::copy(to, count); }

private:
    Cipher* cipher_;
};

// Enciphers what it writes through a cipher it does not own.
class Output : public stream::FilterOutput {
public:
    Output(stream::Output& under, Cipher& cipher) : stream::FilterOutput(under), cipher_(&cipher) {}

    void write(char value) override { stream::FilterOutput::write(cipher_->process(value)); }
    void write(const char* buffer, uint32_t count) override;
    void fill(uint64_t count, char value) override { stream::Output::fill(count, value); }
    uint64_t copy(stream::Input& from, uint64_t count) override { return stream::Output::copy(from, count); }

private:
    Cipher* cipher_;
};

} // namespace algorithm::rc4
