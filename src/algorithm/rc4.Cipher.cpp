#include "algorithm/rc4.Cipher.h"

#include <vector>

namespace algorithm::rc4 {

ScheduledKey::ScheduledKey(const std::string& key) { schedule(key); }

void ScheduledKey::schedule(const std::string& key) {
    for (unsigned i = 0; i < 256; ++i) state_[i] = static_cast<unsigned char>(i);
    if (key.empty()) return;
    unsigned char j = 0;
    for (unsigned i = 0; i < 256; ++i) {
        j = static_cast<unsigned char>(j + state_[i] + static_cast<unsigned char>(key[i % key.size()]));
        std::swap(state_[i], state_[j]);
    }
}

RandomizedKey::RandomizedKey(const std::string& key, const std::string& randomizer) { schedule(key + randomizer); }

void Output::write(const char* buffer, uint32_t count) {
    if (buffer == nullptr || count == 0) return;
    std::vector<char> block(buffer, buffer + count);
    cipher_->process(block.data(), count);
    stream::FilterOutput::write(block.data(), count);
}

} // namespace algorithm::rc4
