#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "engine/engine5.FormatReader.h"
#include "io/io.File.h"

namespace engine5::mime {

// Expands the parts of a MIME message. A multipart body of any kind, and a
// message inside a message, are opened in turn; every other part is a file
// under its own name (the Content-Disposition filename, else the
// Content-Type name, else "partN" and a suffix for its type), decoded from
// base64 or quoted-printable. An AppleDouble header part is joined to its
// data part, and an AppleSingle part split, as forks and Finder information.
// A part that holds a uuencoded, BinHex, btoa or MacBinary file goes to the
// reader of that format.
class Reader : public FormatReader {
public:
    Reader(uint32_t position, tuckett5::Reader& reader);
    ~Reader() override;

    using FormatReader::decode;
    using FormatReader::scan;
    void scan(stream::random::Input& archive, io::random::File& file) override;
    void decode(stream::random::Input& archive, io::random::File& file) override;

    // How deep multiparts and messages may nest; deeper is refused.
    static constexpr unsigned maxDepth = 100;

    enum class Encoding { plain, base64, quotedPrintable };
    struct Part {
        std::string name;  // in UTF-8, empty where the part names none
        std::string type;  // in lower case
        Encoding encoding = Encoding::plain;
        size_t begin = 0, end = 0;  // the body within the message
        int group = -1;             // the multipart/appledouble it is in
        int header = -1;            // the AppleDouble header joined to it
        bool joined = false;        // an AppleDouble header that went to its data part
        std::string md5;            // the Content-MD5 field, where it has one
    };

    // The leaf parts of a message, in their order. Throws BadFormat for
    // nesting deeper than maxDepth.
    static std::vector<Part> parse(const std::string& message);
    static std::string decoded(const std::string& message, const Part& part);

private:
    struct Item;
    void load(stream::random::Input& archive);
    // Throws BadData where a part's Content-MD5 does not match its bytes.
    static void checkDigest(const Part& part, const std::string& data);
    // Gives a part that holds another encoding to that format's reader, which
    // scans it; false where it holds none, or one that reader cannot read.
    bool handOver(Item& item, const Part& part);
    // Runs the reader of a part handed over; answers the items a scan found.
    uint32_t runInner(Item& item, bool decode);

    std::string message_;
    std::vector<Item> items_;
    bool scanned_ = false;
};

}  // namespace engine5::mime
