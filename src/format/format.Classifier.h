#pragma once

#include <cstdint>
#include <cstring>
#include <vector>

#include "un/un.property.h"

namespace stream {
class Input;
}

namespace format {

// Tells from a block of bytes whether one format starts at a given offset.
// recognizes() is the cheap test run at every offset; confirms() parses and is
// only asked after recognizes() answered true at the same offset.
class Classifier {
public:
    virtual ~Classifier() = default;

    // Where the format's data begin, relative to the match.
    virtual int32_t offset() const { return start; }
    virtual bool recognizes(unsigned offset) const = 0;
    virtual bool confirms(unsigned offset) const = 0;

    // The first offset from `from` on at which recognizes() may answer true,
    // or the block size when there is none. It lets the search over a block
    // skip what a single memchr can rule out; the answer never changes which
    // offset matches.
    virtual unsigned candidate(unsigned from) const { return from; }

    int format;
    // confirms() may move the answer of offset() and fill in what it learnt.
    mutable int32_t start = 0;
    int priority;
    std::vector<char>* data = nullptr;
    mutable un::opt_property<uint32_t> segmentTotal;
    mutable un::opt_property<uint32_t> segmentNumber;
    mutable un::opt_property<bool> encrypted;

protected:
    Classifier(int format, int priority) : format(format), priority(priority) {}

    unsigned blockSize() const { return data ? static_cast<unsigned>(data->size()) : 0; }
    const unsigned char* bytes() const { return reinterpret_cast<const unsigned char*>(data->data()); }
    // A position inside the block.
    bool within(uint64_t position) const { return position < blockSize(); }
    // The pattern stands at the offset, and the block goes on behind it: a
    // block that ends exactly with the pattern does not match.
    bool holds(unsigned offset, const char* pattern, unsigned length) const {
        return uint64_t(offset) + length < blockSize() && std::memcmp(bytes() + offset, pattern, length) == 0;
    }
    template <unsigned N>
    bool holds(unsigned offset, const char (&pattern)[N]) const {
        return holds(offset, pattern, N - 1);
    }
    // The next place of byte `c` from `from` on, or the block size.
    unsigned find(unsigned from, unsigned char c) const;
    // For formats that only stand at the start of a block.
    unsigned headOnly(unsigned from) const { return from == 0 ? 0 : blockSize(); }
};

// Runs a set of classifiers over one block: first all of them at offset 0,
// then each in turn, highest priority first, over every later offset.
class MultiClassifier {
public:
    MultiClassifier() = default;
    MultiClassifier(const MultiClassifier&) = delete;
    MultiClassifier& operator=(const MultiClassifier&) = delete;
    virtual ~MultiClassifier() = default;

    // Keeps the classifiers sorted by priority, highest first. Not owned.
    virtual void add(Classifier* classifier);
    virtual void remove(Classifier* classifier);
    virtual void classify(stream::Input& input, unsigned size);
    virtual void classify(char* data, unsigned size);

    Classifier* winner = nullptr;
    unsigned offset = 0;
    std::vector<Classifier*> classifiers;

protected:
    virtual unsigned match(Classifier* classifier, unsigned offset);
    virtual unsigned match(unsigned offset);

private:
    // Classifies the block, which it keeps for the classifiers to look at.
    void take(std::vector<char> block);

    std::vector<char> block_;
};

}  // namespace format
