#include "algorithm/zipcrypt.Cipher.h"

namespace algorithm::zipcrypt {

Cipher::Cipher(const Password& password) : password_(password) { initKeys(); }

Cipher::Cipher(const std::string& password) : password_(password) { initKeys(); }

Cipher::~Cipher() {
    key0_ = key1_ = key2_ = 0;
}

void Cipher::initKeys() {
    key0_ = 0x12345678u;
    key1_ = 0x23456789u;
    key2_ = 0x34567890u;
    for (char c : password_.value()) updateKeys(static_cast<unsigned char>(c));
}

uint64_t Input::skip(uint64_t count) {
    char buffer[4096];
    uint64_t done = 0;
    while (done < count) {
        const uint32_t ask = count - done < sizeof buffer ? static_cast<uint32_t>(count - done) : sizeof buffer;
        const uint32_t n = read(buffer, ask);
        if (n == 0) break;
        done += n;
    }
    return done;
}

void Output::write(const char* buffer, uint32_t count) {
    if (buffer == nullptr) return;
    char copy[4096];
    while (count != 0) {
        const uint32_t n = count < sizeof copy ? count : sizeof copy;
        for (uint32_t i = 0; i < n; ++i) copy[i] = cipher_->encrypt(buffer[i]);
        stream::FilterOutput::write(copy, n);
        buffer += n;
        count -= n;
    }
}

void Output::fill(uint64_t count, char value) {
    char copy[4096];
    while (count != 0) {
        const uint32_t n = count < sizeof copy ? static_cast<uint32_t>(count) : sizeof copy;
        for (uint32_t i = 0; i < n; ++i) copy[i] = cipher_->encrypt(value);
        stream::FilterOutput::write(copy, n);
        count -= n;
    }
}

} // namespace algorithm::zipcrypt
