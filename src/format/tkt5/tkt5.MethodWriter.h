#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "engine/engine5.MethodWriter.h"
#include "stream/stream.Transform.h"

namespace tuckett5 {
class Writer;
}

namespace engine5::tkt5 {

// Encodes one fork into a tkt5 archive, enciphering what it stores when a
// password is set. The input passes a CRC (for the methods that keep one) and
// a progress filter that reports to the writer; the stored bytes go through
// RC4, then a buffer, to the archive.
class MethodWriter : public engine5::MethodWriter {
public:
    MethodWriter(tuckett5::Writer& writer, const std::string& password, const std::string& key);
    ~MethodWriter() override;

    void encode(stream::Input& in, stream::Output& out) override;

    // The running total of bytes for progress, read back after each fork.
    uint64_t total = 0;
    // The fork's size as measured; at most this many bytes are read.
    uint64_t inputSize = 0;
    // What the last encode read and stored.
    uint64_t inputCount = 0;
    uint64_t outputSize = 0;
    tuckett5::Writer& writer;
    std::string password;
    // The archive's random key, which follows the password's in the RC4 key.
    std::string key;
    // The CRC of what the last encode read, 0 when the method has none.
    uint16_t crc = 0;

    virtual uint8_t method() const = 0;

protected:
    // Runs the transform from `in` to `out` (which enciphers already).
    virtual void run(stream::Input& in, stream::Output& out) = 0;
    virtual bool checked() const { return true; }
    virtual uint32_t progressStep() const { return 65536; }

    std::unique_ptr<stream::Transform> transform;
};

// Method 0: the bytes as they are.
class StoredWriter : public MethodWriter {
public:
    StoredWriter(tuckett5::Writer& writer, const std::string& password, const std::string& key);
    uint8_t method() const override;

protected:
    void run(stream::Input& in, stream::Output& out) override;
    uint32_t progressStep() const override { return 16384; }
};

// Method 13: ISP, in memory up to `threshold` bytes and through a temporary
// file beyond.
class ISPWriter : public MethodWriter {
public:
    static constexpr uint64_t threshold = 2097152;

    ISPWriter(tuckett5::Writer& writer, const std::string& password, const std::string& key);
    uint8_t method() const override;

    // A resource fork makes the resource presets candidates.
    bool resource = false;

protected:
    void run(stream::Input& in, stream::Output& out) override;
    void encode1(stream::Input& in, stream::Output& out);
};

// Method 15: Arsenic, whose stream checks itself.
class ArsenicWriter : public MethodWriter {
public:
    ArsenicWriter(tuckett5::Writer& writer, const std::string& password, const std::string& key);
    uint8_t method() const override;

protected:
    void run(stream::Input& in, stream::Output& out) override;
    bool checked() const override { return false; }
};

}  // namespace engine5::tkt5
