#include "format/uu/uu.Reader.h"

#include <algorithm>

#include "algorithm/mime/mime.Codecs.h"
#include "algorithm/uu/uu.Codec.h"
#include "engine/t5.Exception.h"
#include "engine/t5.Reader.h"
#include "format/uu/uu.Header.h"
#include "format/zip/zip.Name.h"
#include "io/io.File.h"
#include "io/io.Path.h"
#include "io/io.random.FileStreams.h"
#include "stream/stream.LineReader.h"
#include "stream/stream.Output.h"

namespace engine5::uu {

using tuckett5::exception::BadData;
using tuckett5::exception::UnsupportedFormat;

namespace {

uint32_t clamp32(uint64_t value) { return value > 0xFFFFFFFFu ? 0xFFFFFFFFu : static_cast<uint32_t>(value); }

std::string trimmedRight(std::string text) {
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.pop_back();
    return text;
}

// Reads "begin MODE NAME" or "begin-base64 MODE NAME".
bool beginLine(const std::string& line, Reader::Section& section) {
    size_t at;
    if (line.compare(0, 6, "begin ") == 0) {
        at = 6;
        section.base64 = false;
    } else if (line.compare(0, 13, "begin-base64 ") == 0) {
        at = 13;
        section.base64 = true;
    } else {
        return false;
    }
    uint32_t mode = 0;
    size_t digits = 0;
    while (at < line.size() && line[at] >= '0' && line[at] <= '7' && digits < 6) {
        mode = mode * 8 + static_cast<uint32_t>(line[at++] - '0');
        ++digits;
    }
    if (digits == 0 || at >= line.size() || line[at] != ' ') return false;
    section.name = trimmedRight(line.substr(at + 1));
    section.mode = mode;
    return !section.name.empty();
}

}  // namespace

Reader::Reader(uint32_t position, tuckett5::Reader& reader) : FormatReader(position, reader) {}

std::vector<Reader::Section> Reader::walk(stream::random::Input& in, uint64_t start,
                                          const std::function<void(const std::string&)>& sink, bool first) {
    std::vector<Section> found;
    in.seek(start);
    stream::LineReader lines(in, start);
    std::string line, bytes;
    Section section;
    while (lines.next(line)) {
        if (!beginLine(line, section)) continue;
        section.begin = lines.lineStart();
        section.body = lines.offset();
        section.size = 0;
        algorithm::mime::Base64Decoder base64;
        bool ended = false;
        // Decoded bytes go to the sink in blocks, not line by line.
        auto flush = [&] {
            section.size += bytes.size();
            if (sink && !bytes.empty()) sink(bytes);
            bytes.clear();
        };
        while (!ended && lines.next(line)) {
            size_t length = line.size();
            while (length > 0 && (line[length - 1] == ' ' || line[length - 1] == '\t')) --length;
            if (section.base64) {
                if (line.compare(0, length, "====") == 0) {
                    ended = true;
                    break;
                }
                for (size_t i = 0; i < length; ++i)
                    if (algorithm::mime::base64Value(static_cast<unsigned char>(line[i])) < 0 && line[i] != '=')
                        throw BadData("bad base64 line in the uuencoded file \"" + section.name +
                                      "\"; data is invalid");
                if (base64.ended() && length > 0)
                    throw BadData("base64 data goes on after its end in the uuencoded file \"" + section.name +
                                  "\"; data is invalid");
                base64.feed(line.data(), length, bytes);
            } else if (line.compare(0, length, "end") == 0) {
                ended = true;
                break;
            } else if (length > 0 && line.compare(0, length, "`") != 0) {
                switch (algorithm::uu::decodeLine(line, bytes)) {
                    case algorithm::uu::LineResult::ok:
                        break;
                    case algorithm::uu::LineResult::short_:
                        throw BadData("a line of the uuencoded file \"" + section.name +
                                      "\" is cut short; data is invalid");
                    case algorithm::uu::LineResult::invalid:
                        throw BadData("bad line in the uuencoded file \"" + section.name + "\"; data is invalid");
                }
            }
            if (lines.cut()) throw BadData("bad line in the uuencoded file \"" + section.name + "\"; data is invalid");
            if (bytes.size() >= 65536) flush();
        }
        if (!ended) throw BadData("the uuencoded file \"" + section.name + "\" has no end line; data is invalid");
        if (section.base64 && !base64.complete())
            throw BadData("base64 data ends inside a group in the uuencoded file \"" + section.name +
                          "\"; data is invalid");
        flush();
        section.encoded = lines.lineStart() - section.body;
        found.push_back(section);
        if (first) break;
    }
    return found;
}

Entry Reader::entry(const Section& section) const {
    Entry entry;
    entry.unicodeName = zip::decodeUTF8(section.name);
    entry.name = zip::localName(entry.unicodeName);
    entry.backslashSeparates = false;
    entry.dataSize(section.size);
    entry.resourceSize(0);
    entry.compressedSize(section.encoded);
    // The permission bits only: setuid, setgid and sticky never come out.
    entry.permissions(section.mode & 0777);
    entry.method = section.base64 ? "base64" : "uuencode";
    return entry;
}

void Reader::scan(stream::random::Input& archive, io::random::File&) {
    tuckett5::ArchiveInfo& info = reader.archiveInfo;
    info.reset();
    reader.fireProgressScanBegin();
    sections_ = walk(archive, info.position, nullptr, false);
    scanned_ = true;
    uint64_t total = 0, encoded = 0;
    for (const Section& section : sections_) {
        reader.fireProgressScanStep();
        describe(entry(section));
        reader.fireFileInfo();
        total += section.size;
        encoded += section.encoded;
        ++info.fileCount;
    }
    info.expandedSize(clamp32(total));
    info.compressedSize(clamp32(encoded));
    info.rootName = sections_.size() == 1 ? entry(sections_.front()).name : std::string();
    reader.fireProgressScanEnd();
    reader.fireArchiveInfo();
}

void Reader::decode(stream::random::Input& archive, io::random::File& file) {
    if (!scanned_) scan(archive, file);
    beginDecode();
    for (const Section& section : sections_) {
        expandFile(entry(section), [&] {
            stream::Output& out = dataFork();
            walk(
                archive, section.begin,
                [&](const std::string& bytes) {
                    out.write(bytes.data(), static_cast<uint32_t>(bytes.size()));
                    bytesDone += bytes.size();
                },
                true);
        });
    }
    reader.fireProgressSizeEnd();
    reader.fireProgressFilesEnd();
    reader.fireArchiveDecodeEnd();
    reader.nextPosition = clamp32(archive.size());
    scanned_ = false;
}

Writer::Writer(tuckett5::Writer& writer) : FormatWriter(writer) {}

void Writer::create(const std::list<std::string>& items, stream::random::Output& archive) {
    std::string text;
    auto flush = [&] {
        archive.write(text.data(), static_cast<uint32_t>(text.size()));
        text.clear();
    };
    for (const std::string& item : items) {
        if (io::Path::directory(item)) throw UnsupportedFormat("uuencode holds files, not folders");
        io::random::File file;
        file.open(item);
        format::uu::Header header;
        const uint32_t mode = file.permissions() & 0777;
        header.mode = mode != 0 ? mode : 0644;
        io::PathSplitter parts(item);
        header.name = parts.name() + parts.extension();
        header.write(archive);
        io::random::FileInput input(file);
        std::vector<char> block(65535);
        uint32_t kept = 0;
        for (;;) {
            const uint32_t got = input.read(block.data() + kept, static_cast<uint32_t>(block.size()) - kept);
            kept += got;
            uint32_t at = 0;
            // Whole lines while more data may follow; the rest with the end.
            while (kept - at >= algorithm::uu::bytesPerLine || (got == 0 && at < kept)) {
                const uint32_t count = std::min<uint32_t>(kept - at, algorithm::uu::bytesPerLine);
                algorithm::uu::encodeLine(block.data() + at, count, text);
                at += count;
            }
            std::copy(block.begin() + at, block.begin() + kept, block.begin());
            kept -= at;
            if (text.size() >= 65536 || got == 0) flush();
            if (got == 0) break;
        }
        text += "`\nend\n";
        flush();
    }
}

}  // namespace engine5::uu
