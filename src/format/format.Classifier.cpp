#include "format/format.Classifier.h"

#include <algorithm>
#include <memory>

#include "stream/stream.Input.h"

namespace format {

unsigned Classifier::find(unsigned from, unsigned char c) const {
    unsigned size = blockSize();
    if (from >= size) return size;
    const void* hit = std::memchr(bytes() + from, c, size - from);
    return hit ? static_cast<unsigned>(static_cast<const unsigned char*>(hit) - bytes()) : size;
}

// Higher priorities first; among equals, the order of adding.
void MultiClassifier::add(Classifier* classifier) {
    auto at = std::upper_bound(classifiers.begin(), classifiers.end(), classifier,
                               [](const Classifier* a, const Classifier* b) { return a->priority > b->priority; });
    classifiers.insert(at, classifier);
}

void MultiClassifier::remove(Classifier* classifier) {
    auto found = std::find(classifiers.begin(), classifiers.end(), classifier);
    if (found != classifiers.end()) classifiers.erase(found);
}

void MultiClassifier::classify(stream::Input& input, unsigned size) {
    // One read of up to `size` bytes. When the input knows its size, the
    // block is no larger than what is left of it: a small file is not read
    // through a buffer of the whole span.
    const uint64_t known = input.size(), at = input.tell();
    if (known != stream::all && at <= known) size = static_cast<unsigned>(std::min<uint64_t>(size, known - at));
    std::vector<char> block(size);
    const uint32_t count = size ? input.read(block.data(), size) : 0;
    if (count == 0) {
        winner = nullptr;
        offset = 0;
        return;
    }
    block.resize(count);
    take(std::move(block));
}

unsigned MultiClassifier::match(Classifier* classifier, unsigned at) {
    if (classifier->recognizes(at) && classifier->confirms(at)) {
        winner = classifier;
        return static_cast<unsigned>(classifier->offset());
    }
    winner = nullptr;
    return 0;
}

unsigned MultiClassifier::match(unsigned at) {
    for (Classifier* classifier : classifiers) {
        if (classifier->recognizes(at) && classifier->confirms(at)) {
            winner = classifier;
            return static_cast<unsigned>(classifier->offset());
        }
    }
    winner = nullptr;
    return 0;
}

void MultiClassifier::classify(char* data, unsigned size) { take(std::vector<char>(data, data + size)); }

void MultiClassifier::take(std::vector<char> block) {
    block_ = std::move(block);
    const unsigned size = static_cast<unsigned>(block_.size());
    for (Classifier* classifier : classifiers) classifier->data = &block_;

    unsigned adjustment = match(0u);
    unsigned found = 0;
    if (winner == nullptr && size != 0) {
        for (Classifier* classifier : classifiers) {
            for (unsigned at = classifier->candidate(1); at < size; at = classifier->candidate(at + 1)) {
                adjustment = match(classifier, at);
                if (winner != nullptr) {
                    found = at;
                    break;
                }
            }
            if (winner != nullptr) break;
        }
    }
    if (winner != nullptr && found != 0) {
        // What stands before the match is looked at once more by an empty
        // classifier; it finds nothing, so the winner stands.
        MultiClassifier prefix;
        prefix.classify(block_.data(), found);
        if (prefix.winner != nullptr) {
            winner = prefix.winner;
            found = prefix.offset;
        }
    }
    offset = found + adjustment;
}

}  // namespace format
