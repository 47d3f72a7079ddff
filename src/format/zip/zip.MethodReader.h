#pragma once

#include <cstdint>
#include <memory>

#include "algorithm/deflate/deflate.Decompressor.h"
#include "algorithm/zip/zip.ImplodeDecompressor.h"
#include "algorithm/zip/zip.ReduceDecompressor.h"
#include "algorithm/zip/zip.ShrinkDecompressor.h"
#include "stream/stream.Copier.h"
#include "stream/stream.Input.h"
#include "stream/stream.Output.h"
#include "un/un.property.h"

namespace tuckett5 {
class Reader;
}

namespace engine5::zip {

// Expands the data of one Zip entry through the transform of its method. The
// input is held to the compressed size, so that damaged data can neither run
// into the next entry nor make output without end; the methods whose data has
// no end mark stop at the uncompressed size. Output passes a CRC-32 and the
// reader's progress, which counts from `count`, the bytes of the archive done
// before this entry.
class MethodReader {
public:
    explicit MethodReader(tuckett5::Reader& reader) : reader_(reader) {}
    virtual ~MethodReader() = default;
    MethodReader(const MethodReader&) = delete;
    MethodReader& operator=(const MethodReader&) = delete;

    // Runs the transform; afterwards crc() holds the check value of what came
    // out and `count` has grown by its size.
    virtual void decode(stream::Input& in, stream::Output& out);

    uint32_t crc() const { return crc_; }

    un::opt_property<uint64_t> compressedLimit;
    un::opt_property<uint64_t> uncompressedLimit;
    uint64_t count = 0;

    // The reader of a method number, or null for a method that has none.
    static std::unique_ptr<MethodReader> make(int method, uint16_t flags, tuckett5::Reader& reader);

    // Whether one object may decode entry after entry with the same result
    // as a new one for each; only such readers are kept between entries.
    virtual bool reusable() const { return false; }

protected:
    virtual stream::Transform& transform() = 0;
    // Whether the transform stops by the uncompressed size rather than at the
    // end of its input or its own end mark.
    virtual bool bounded() const { return true; }

private:
    tuckett5::Reader& reader_;
    uint32_t crc_ = 0;
};

// Method 0: the bytes as they are.
class StoredReader : public MethodReader {
public:
    using MethodReader::MethodReader;

protected:
    stream::Transform& transform() override { return copier_; }
    bool bounded() const override { return false; }
    bool reusable() const override { return true; }

private:
    stream::Copier copier_{stream::Copier::defaultSize};
};

// Method 1.
class ShrinkReader : public MethodReader {
public:
    using MethodReader::MethodReader;

protected:
    stream::Transform& transform() override { return decompressor_; }

private:
    algorithm::zip::ShrinkDecompressor decompressor_;
};

// Methods 2 to 5, with the compression factor method - 1.
class ReduceReader : public MethodReader {
public:
    ReduceReader(tuckett5::Reader& reader, int factor) : MethodReader(reader), decompressor_(factor) {}

protected:
    stream::Transform& transform() override { return decompressor_; }

private:
    algorithm::zip::ReduceDecompressor decompressor_;
};

// Method 6: flag bit 2 says three trees, flag bit 1 the 8K window.
class ImplodeReader : public MethodReader {
public:
    ImplodeReader(tuckett5::Reader& reader, bool threeTrees, bool largeWindow)
        : MethodReader(reader), decompressor_(threeTrees, largeWindow) {}

protected:
    stream::Transform& transform() override { return decompressor_; }

private:
    algorithm::zip::ImplodeDecompressor decompressor_;
};

// Method 8; the data ends at its last block.
class DeflateReader : public MethodReader {
public:
    using MethodReader::MethodReader;

    // Each entry starts from the cleared window of a new decoder.
    void decode(stream::Input& in, stream::Output& out) override {
        decompressor_->clearHistory();
        MethodReader::decode(in, out);
    }
    bool reusable() const override { return true; }

protected:
    stream::Transform& transform() override { return *decompressor_; }
    bool bounded() const override { return false; }

private:
    // The window is large; it lives on the heap.
    std::unique_ptr<algorithm::deflate::Decompressor> decompressor_ =
        std::make_unique<algorithm::deflate::Decompressor>();
};

}  // namespace engine5::zip
