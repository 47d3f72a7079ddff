#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "engine/engine5.MethodReader.h"
#include "stream/stream.Transform.h"
#include "stream/stream.progress.h"
#include "un/un.property.h"

namespace tuckett5 {
class Reader;
}

namespace engine5::tkt5 {

// Decodes one fork of a tkt5 archive, deciphering it first when a password is
// set. The output goes through text conversion, then the CRC of the method
// (before conversion), then a progress filter that reports to the reader.
class MethodReader : public engine5::MethodReader {
public:
    MethodReader(tuckett5::Reader& reader, const std::string& password, const std::string& key);
    ~MethodReader() override;

    void decode(stream::Input& in, stream::Output& out) override;

    // The running total of bytes for progress, read back after each fork.
    uint64_t total = 0;
    // How many bytes the fork holds once decoded.
    un::opt_property<uint64_t> count;
    tuckett5::Reader& reader;
    std::string password;
    // The fork's random key, which follows the password's in the RC4 key.
    std::string key;
    // The CRC of what the last decode produced, 0 when the method has none.
    uint16_t crc = 0;
    // The line end of text conversion (stream::TextOutput's modes), 0 for none.
    int32_t textLineEnding = 0;

protected:
    // Runs the transform from `in` (deciphered already) to `out`.
    virtual uint64_t run(stream::Input& in, stream::Output& out) = 0;
    // Whether the method computes a CRC over its output.
    virtual bool checked() const { return true; }

    std::unique_ptr<stream::Transform> transform;
};

// Method 0: the stored bytes, copied.
class StoredReader : public MethodReader {
public:
    StoredReader(tuckett5::Reader& reader, const std::string& password, const std::string& key);

protected:
    uint64_t run(stream::Input& in, stream::Output& out) override;
};

// Method 13: ISP.
class ISPReader : public MethodReader {
public:
    ISPReader(tuckett5::Reader& reader, const std::string& password, const std::string& key);

protected:
    uint64_t run(stream::Input& in, stream::Output& out) override;
};

// Method 15: Arsenic, whose stream checks itself.
class ArsenicReader : public MethodReader {
public:
    ArsenicReader(tuckett5::Reader& reader, const std::string& password, const std::string& key);

protected:
    uint64_t run(stream::Input& in, stream::Output& out) override;
    bool checked() const override { return false; }
};

} // namespace engine5::tkt5
