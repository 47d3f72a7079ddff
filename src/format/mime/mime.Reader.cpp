#include "format/mime/mime.Reader.h"

#include <algorithm>
#include <cstring>

#include "algorithm/mime/mime.Codecs.h"
#include "engine/engine5.MultiClassifier.h"
#include "engine/engine5.Registry.h"
#include "engine/t5.Exception.h"
#include "engine/t5.Reader.h"
#include "format/format.Number.h"
#include "format/mime/mime.Fields.h"
#include "format/zip/zip.Name.h"
#include "io/io.Path.h"
#include "io/io.random.FileStreams.h"
#include "stream/check/md5.Digest.h"
#include "stream/stream.Array.h"
#include "stream/stream.BufferedInput.h"
#include "stream/stream.Output.h"

namespace engine5::mime {

using tuckett5::exception::BadData;
using tuckett5::exception::BadFormat;

struct Reader::Item {
    Entry entry;
    std::string data, rsrc;
    // A part that another format's reader expands, from a temporary file.
    std::unique_ptr<FormatReader> inner;
    uint32_t innerPosition = 0;
    std::unique_ptr<io::random::File> temporary;

    ~Item() {
        inner.reset();
        if (temporary) temporary->unlink(false);
    }
    Item() = default;
    Item(Item&&) = default;
};

namespace {

constexpr uint32_t bufferSize = 65536;

uint32_t clamp32(uint64_t value) { return value > 0xFFFFFFFFu ? 0xFFFFFFFFu : static_cast<uint32_t>(value); }

std::string lower(std::string text) {
    for (char& c : text)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return text;
}

// A line of the message: [begin, end) without its line break, and where the
// next line starts.
struct Line {
    size_t begin, end, next;
};

Line lineAt(const std::string& text, size_t at, size_t limit) {
    size_t end = at;
    while (end < limit && text[end] != '\n') ++end;
    const size_t next = end < limit ? end + 1 : end;
    if (end > at && text[end - 1] == '\r') --end;
    return {at, end, next};
}

struct Headers {
    std::string type, disposition, encoding, md5;
    size_t body;
};

Headers readHeaders(const std::string& text, size_t at, size_t limit) {
    Headers headers;
    std::string* last = nullptr;
    while (at < limit) {
        const Line line = lineAt(text, at, limit);
        at = line.next;
        if (line.end == line.begin) break;
        const char first = text[line.begin];
        if ((first == ' ' || first == '\t') && last) {
            // A folded field goes on.
            if (last->size() < 65536) last->append(text, line.begin, line.end - line.begin);
            continue;
        }
        last = nullptr;
        const size_t colon = text.find(':', line.begin);
        if (colon == std::string::npos || colon >= line.end) continue;
        const std::string name = lower(text.substr(line.begin, colon - line.begin));
        if (name == "content-type")
            last = &headers.type;
        else if (name == "content-disposition")
            last = &headers.disposition;
        else if (name == "content-transfer-encoding")
            last = &headers.encoding;
        else if (name == "content-md5")
            last = &headers.md5;
        if (last) last->assign(text, colon + 1, line.end - colon - 1);
    }
    headers.body = at;
    return headers;
}

// Whether the line is a delimiter of `boundary`; `close` tells the last one.
bool delimiter(const std::string& text, const Line& line, const std::string& boundary, bool& close) {
    const size_t length = line.end - line.begin;
    if (length < boundary.size() + 2 || text[line.begin] != '-' || text[line.begin + 1] != '-') return false;
    if (text.compare(line.begin + 2, boundary.size(), boundary) != 0) return false;
    size_t at = line.begin + 2 + boundary.size();
    close = at + 1 < line.end && text[at] == '-' && text[at + 1] == '-';
    if (close) at += 2;
    for (; at < line.end; ++at)
        if (text[at] != ' ' && text[at] != '\t') return false;
    return true;
}

// The end of a part's body: the line break before the delimiter belongs to it.
size_t bodyEnd(const std::string& text, size_t begin, size_t delimiterStart) {
    size_t end = delimiterStart;
    if (end > begin && text[end - 1] == '\n') --end;
    if (end > begin && text[end - 1] == '\r') --end;
    return end;
}

std::string suffixFor(const std::string& type) {
    if (type == "text/plain") return ".txt";
    if (type == "text/html") return ".html";
    if (type == "message/rfc822") return ".eml";
    return "";
}

uint32_t be32(const std::string& s, size_t at) {
    return uint32_t(static_cast<unsigned char>(s[at])) << 24 | uint32_t(static_cast<unsigned char>(s[at + 1])) << 16 |
           uint32_t(static_cast<unsigned char>(s[at + 2])) << 8 | uint32_t(static_cast<unsigned char>(s[at + 3]));
}

// The entries of an AppleSingle or AppleDouble file: the data fork (where it
// holds one), resource fork, real name and Finder information. Answers false
// where the bytes are not one.
struct AppleFile {
    std::string data, rsrc, name;
    bool hasData = false, hasInfo = false;
    format::data::FileInfo info;
};

bool readAppleFile(const std::string& bytes, AppleFile& file) {
    if (bytes.size() < 26) return false;
    const uint32_t magic = be32(bytes, 0);
    if (magic != 0x00051600u && magic != 0x00051607u) return false;
    const unsigned count = static_cast<unsigned char>(bytes[24]) << 8 | static_cast<unsigned char>(bytes[25]);
    if (26 + uint64_t(count) * 12 > bytes.size()) return false;
    for (unsigned i = 0; i < count; ++i) {
        const size_t at = 26 + size_t(i) * 12;
        const uint32_t id = be32(bytes, at), offset = be32(bytes, at + 4), length = be32(bytes, at + 8);
        if (uint64_t(offset) + length > bytes.size()) return false;
        const std::string value = bytes.substr(offset, length);
        if (id == 1) {
            file.data = value;
            file.hasData = true;
        } else if (id == 2) {
            file.rsrc = value;
        } else if (id == 3) {
            file.name = value;
        } else if (id == 9 && length >= 16) {
            stream::ArrayInput in(value.data(), 16);
            file.info.read(in, false);
            file.hasInfo = true;
        }
    }
    return true;
}

// The encodings whose reader takes a part in turn. A MacBinary header is
// too easily seen in other binary data: only a part that says it is one goes.
bool handedOver(const char* format, const std::string& type) {
    if (std::strcmp(format, "bin") == 0) return type == "application/macbinary" || type == "application/x-macbinary";
    return std::strcmp(format, "uu") == 0 || std::strcmp(format, "hqx") == 0 || std::strcmp(format, "btoa") == 0;
}

}  // namespace

Reader::Reader(uint32_t position, tuckett5::Reader& reader) : FormatReader(position, reader) {}

void Reader::checkDigest(const Part& part, const std::string& data) {
    // Only a part in base64 holds the very bytes that were digested: text
    // is digested in its canonical form, with CR LF line ends.
    if (part.md5.empty() || part.encoding != Encoding::base64) return;
    std::string expected;
    algorithm::mime::Base64Decoder decoder;
    decoder.feed(part.md5.data(), part.md5.size(), expected);
    if (expected.size() != algorithm::md5::Digest::digestSize) return;
    algorithm::md5::Digest digest(data.data(), clamp32(data.size()));
    const std::vector<char>& value = digest.value();
    if (std::string(value.begin(), value.end()) != expected)
        throw BadData("MIME part " + (part.name.empty() ? part.type : "\"" + part.name + "\"") +
                      " fails its Content-MD5 check; data is invalid");
}

Reader::~Reader() = default;

std::vector<Reader::Part> Reader::parse(const std::string& message) {
    struct Node {
        size_t begin, end;
        unsigned depth;
        int group;
        bool digest;  // in a multipart/digest, parts are messages by default
    };
    std::vector<Part> parts;
    std::vector<Node> work{{0, message.size(), 0, -1, false}};
    int groups = 0;
    while (!work.empty()) {
        const Node node = work.back();
        work.pop_back();
        if (node.depth > maxDepth)
            throw BadFormat("MIME parts are nested more than " + std::to_string(maxDepth) + " deep");
        const Headers headers = readHeaders(message, node.begin, node.end);
        format::mime::ContentField type = format::mime::parseContentField(headers.type);
        if (type.value.empty()) type.value = node.digest ? "message/rfc822" : "text/plain";
        const std::string encoding = lower(format::mime::parseContentField(headers.encoding).value);
        const size_t body = std::min(headers.body, node.end);

        const std::string boundary = type.parameter("boundary");
        if (type.value.compare(0, 10, "multipart/") == 0 && !boundary.empty()) {
            std::vector<Node> children;
            const int group = type.value == "multipart/appledouble" ? groups++ : -1;
            const bool digest = type.value == "multipart/digest";
            size_t at = body, start = 0;
            bool open = false, close = false;
            while (at < node.end && !close) {
                const Line line = lineAt(message, at, node.end);
                at = line.next;
                if (!delimiter(message, line, boundary, close)) continue;
                if (open)
                    children.push_back({start, bodyEnd(message, start, line.begin), node.depth + 1, group, digest});
                open = true;
                start = line.next;
            }
            // A boundary that never closes ends with the message.
            if (open && !close) children.push_back({start, node.end, node.depth + 1, group, digest});
            if (open) {
                for (auto it = children.rbegin(); it != children.rend(); ++it) work.push_back(*it);
                continue;
            }
        }
        if (type.value == "message/rfc822" &&
            (encoding.empty() || encoding == "7bit" || encoding == "8bit" || encoding == "binary")) {
            work.push_back({body, node.end, node.depth + 1, -1, false});
            continue;
        }
        Part part;
        part.type = type.value;
        part.begin = body;
        part.end = node.end;
        part.group = node.group;
        part.encoding = encoding == "base64"             ? Encoding::base64
                        : encoding == "quoted-printable" ? Encoding::quotedPrintable
                                                         : Encoding::plain;
        part.md5 = headers.md5;
        part.name = format::mime::parseContentField(headers.disposition).parameter("filename");
        if (part.name.empty()) part.name = type.parameter("name");
        parts.push_back(part);
    }
    // Join each AppleDouble header to the data part beside it.
    for (size_t i = 0; i < parts.size(); ++i) {
        if (parts[i].group < 0 || parts[i].type != "application/applefile") continue;
        for (size_t j = 0; j < parts.size(); ++j) {
            if (j != i && parts[j].group == parts[i].group && parts[j].header < 0 &&
                parts[j].type != "application/applefile") {
                parts[j].header = static_cast<int>(i);
                parts[i].joined = true;
                break;
            }
        }
    }
    return parts;
}

std::string Reader::decoded(const std::string& message, const Part& part) {
    const char* body = message.data() + part.begin;
    const size_t length = part.end - part.begin;
    switch (part.encoding) {
        case Encoding::base64: {
            std::string out;
            algorithm::mime::Base64Decoder decoder;
            decoder.feed(body, length, out);
            return out;
        }
        case Encoding::quotedPrintable:
            return algorithm::mime::decodeQuotedPrintable(body, length);
        case Encoding::plain:
            break;
    }
    return std::string(body, length);
}

void Reader::load(stream::random::Input& archive) {
    const uint64_t start = reader.archiveInfo.position;
    const uint64_t size = archive.size();
    if (size < start || size - start > 0x7FFFFFFFu) throw BadFormat("MIME message is too large");
    message_.assign(static_cast<size_t>(size - start), '\0');
    archive.seek(start);
    size_t done = 0;
    while (done < message_.size()) {
        const uint32_t got =
            archive.read(&message_[done], static_cast<uint32_t>(std::min<size_t>(message_.size() - done, 1u << 20)));
        if (got == 0) break;
        done += got;
    }
    message_.resize(done);
}

bool Reader::handOver(Item& item, const Part& part) {
    tuckett5::ArchiveInfo& info = reader.archiveInfo;
    MultiClassifier classifier;
    stream::ArrayInput in(item.data.data(), clamp32(item.data.size()));
    const tuckett5::ArchiveInfo outer = info;
    classifier.classify(in, tuckett5::Reader::defaultSpan, reader);
    info = outer;
    const FormatDescriptor* found = classifier.format ? findFormat(classifier.format) : nullptr;
    if (!found || !found->makeReader || !handedOver(found->shortName(), part.type)) return false;

    std::string path = io::Path::tempDirectory();
    if (!path.empty() && path.back() != io::Path::separator) path += io::Path::separator;
    path += "$cwmime$";
    io::Path::makeUnique(path, uniqueLimit);
    item.temporary = std::make_unique<io::random::File>();
    item.temporary->create(path);
    item.temporary->write(item.data.data(), clamp32(item.data.size()));
    item.innerPosition = classifier.offset;
    item.inner = found->makeReader(item.innerPosition, reader);
    try {
        info.fileCount += runInner(item, false);
    } catch (const un::exception&) {
        // What the other reader cannot read comes out as the part it is.
        item.inner.reset();
        item.temporary->unlink(false);
        item.temporary.reset();
        return false;
    }
    item.data.clear();
    return true;
}

uint32_t Reader::runInner(Item& item, bool decode) {
    tuckett5::ArchiveInfo& info = reader.archiveInfo;
    const tuckett5::ArchiveInfo outer = info;
    uint32_t count = 0;
    try {
        io::random::FileInput input(*item.temporary);
        stream::random::BufferedInput buffered(input, bufferSize);
        info.position = item.innerPosition;
        buffered.seek(item.innerPosition);
        if (decode)
            item.inner->decode(buffered, *item.temporary);
        else
            item.inner->scan(buffered, *item.temporary);
        count = info.fileCount;
    } catch (...) {
        info = outer;
        throw;
    }
    info = outer;
    return count;
}

void Reader::scan(stream::random::Input& archive, io::random::File&) {
    tuckett5::ArchiveInfo& info = reader.archiveInfo;
    info.reset();
    items_.clear();
    reader.fireProgressScanBegin();
    load(archive);
    const std::vector<Part> parts = parse(message_);
    uint64_t total = 0;
    unsigned unnamed = 0;
    for (size_t i = 0; i < parts.size(); ++i) {
        const Part& part = parts[i];
        if (part.joined) continue;
        reader.fireProgressScanStep();
        Item item;
        item.data = decoded(message_, part);
        checkDigest(part, item.data);
        std::string name = part.name;
        AppleFile apple;
        if (part.header >= 0 && readAppleFile(decoded(message_, parts[static_cast<size_t>(part.header)]), apple)) {
            item.rsrc = apple.rsrc;
            if (apple.hasInfo) item.entry.finderInfo(apple.info);
            if (name.empty()) name = apple.name;
        } else if (part.type == "application/applefile" && readAppleFile(item.data, apple)) {
            item.data = apple.data;
            item.rsrc = apple.rsrc;
            if (apple.hasInfo) item.entry.finderInfo(apple.info);
            if (name.empty()) name = apple.name;
        } else if (!reader.firstLayerOnly() && handOver(item, part)) {
            items_.push_back(std::move(item));
            continue;
        }
        if (name.empty()) name = "part" + std::to_string(++unnamed) + suffixFor(part.type);
        item.entry.unicodeName = zip::decodeUTF8(name);
        item.entry.name = zip::localName(item.entry.unicodeName);
        item.entry.backslashSeparates = false;
        item.entry.dataSize(item.data.size());
        item.entry.resourceSize(item.rsrc.size());
        item.entry.compressedSize(part.end - part.begin);
        item.entry.text = part.type.compare(0, 5, "text/") == 0;
        item.entry.method = part.encoding == Encoding::base64            ? "base64"
                            : part.encoding == Encoding::quotedPrintable ? "quoted-printable"
                                                                         : "plain";
        describe(item.entry);
        reader.fireFileInfo();
        total += item.data.size() + item.rsrc.size();
        ++info.fileCount;
        items_.push_back(std::move(item));
    }
    scanned_ = true;
    info.expandedSize(clamp32(total));
    info.compressedSize(clamp32(message_.size()));
    info.rootName = items_.size() == 1 && !items_.front().inner ? items_.front().entry.name : std::string();
    reader.fireProgressScanEnd();
    reader.fireArchiveInfo();
}

void Reader::decode(stream::random::Input& archive, io::random::File& file) {
    if (!scanned_) scan(archive, file);
    beginDecode();
    for (Item& item : items_) {
        if (item.inner) {
            runInner(item, true);
            continue;
        }
        expandFile(item.entry, [&] {
            dataFork().write(item.data.data(), clamp32(item.data.size()));
            if (!item.rsrc.empty()) resourceFork().write(item.rsrc.data(), clamp32(item.rsrc.size()));
            bytesDone += item.data.size() + item.rsrc.size();
        });
    }
    reader.fireProgressSizeEnd();
    reader.fireProgressFilesEnd();
    reader.fireArchiveDecodeEnd();
    reader.nextPosition = clamp32(archive.size());
    items_.clear();
    message_.clear();
    scanned_ = false;
}

}  // namespace engine5::mime
