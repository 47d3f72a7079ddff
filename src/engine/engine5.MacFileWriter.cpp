#include "engine/engine5.MacFileWriter.h"

#include <algorithm>
#include <cstring>

#include "algorithm/unicode.MacRoman.h"
#include "algorithm/unicode.UTF8Coder.h"
#include "engine/t5.Exception.h"
#include "engine/t5.Writer.h"
#include "io/io.Path.h"
#include "io/io.macdrive.Rsrc.h"
#include "io/io.ntfs.Rsrc.h"
#include "stream/stream.Output.h"

namespace engine5 {

namespace {

constexpr uint32_t copyBuffer = 65536;
constexpr size_t longestMacName = 63;

uint32_t clamp32(uint64_t value) { return value > 0xFFFFFFFFu ? 0xFFFFFFFFu : static_cast<uint32_t>(value); }

}  // namespace

std::string MacFileWriter::macName(const std::string& local) {
    std::string name;
    for (unsigned short c : algorithm::unicode::UTF8Coder::fromLocal(local)) {
        if (c == ':') c = '/';
        char byte = '_';
        if (c < 0x80) {
            byte = static_cast<char>(c);
        } else {
            for (unsigned code = 0x80; code < 0x100; ++code)
                if (algorithm::unicode::MacRoman::toUnicode(static_cast<unsigned char>(code)) == c) {
                    byte = static_cast<char>(code);
                    break;
                }
        }
        if (name.size() < longestMacName) name += byte;
    }
    return name;
}

void MacFileWriter::open(const std::string& path, MacSource& source) {
    source.path = path;
    std::string trimmed = path;
    while (trimmed.size() > 1 && std::strchr(io::Path::separators, trimmed.back()) != nullptr) trimmed.pop_back();
    const size_t cut = trimmed.find_last_of(io::Path::separators);
    source.macName = macName(cut == std::string::npos ? trimmed : trimmed.substr(cut + 1));
    if (source.macName.empty()) source.macName.push_back('_');
    source.data.open(path);
    source.dataSize = source.data.size();
    source.created = source.data.creationTime();
    source.modified = source.data.modificationTime();
    source.finder = format::data::FileInfo();
    source.finder.flags(0);

    // The Macintosh parts, from the MacDrive volume or from the named
    // streams; a file with neither is a plain data fork.
    if (macDrive.isFileOnMacDriveVolume(path.c_str()) == 1) {
        auto fork = std::make_unique<io::macdrive::Rsrc>();
        fork->open(path);
        try {
            source.finder = fork->fileInfo();
        } catch (const un::exception&) {
        }
        source.resource = std::move(fork);
    } else if (io::ntfs::Rsrc::hasInfo(path)) {
        auto fork = std::make_unique<io::ntfs::Rsrc>();
        fork->open(path);
        try {
            source.finder = fork->fileInfo();
        } catch (const un::exception&) {
        }
        source.resource = std::move(fork);
    }
    source.resourceSize = source.resource ? source.resource->size() : 0;
}

void MacFileWriter::copy(io::random::File& from, stream::Output& to, uint64_t size) {
    char buffer[copyBuffer];
    while (size != 0) {
        const uint32_t got = from.read(buffer, static_cast<uint32_t>(std::min<uint64_t>(size, sizeof buffer)));
        if (got == 0) {
            std::string message = "a file grew shorter while it was encoded: ";
            message += from.path();
            throw tuckett5::exception::Input(message);
        }
        to.write(buffer, got);
        size -= got;
        done_ += got;
        writer.fireProgressSizeMove(clamp32(done_));
    }
}

void MacFileWriter::create(const std::list<std::string>& items, stream::random::Output& archive) {
    std::list<std::string> paths;
    uint64_t total = 0;
    for (const std::string& path : items)
        if (!path.empty()) {
            paths.push_back(path);
            total += io::File(path).size();
        }
    writer.fireProgressSizeBegin(clamp32(total));
    writer.fireProgressFilesBegin(static_cast<uint32_t>(paths.size()));
    writer.fireProgressFilesMove(0);
    done_ = 0;
    uint32_t files = 0;
    for (const std::string& path : paths) {
        writer.currentFile(path);
        writer.fileInfo.reset();
        writer.fileInfo.name = path;
        writer.fireFileEncodeBegin();
        MacSource source;
        open(path, source);
        writer.fileInfo.expandedSize(clamp32(source.dataSize + source.resourceSize));
        encode(source, archive);
        if (source.resource) source.resource->close();
        source.data.close();
        writer.fireFileEncodeEnd();
        writer.fireProgressFilesMove(++files);
    }
    archive.flush();
    writer.fireProgressSizeEnd();
    writer.fireProgressFilesEnd();
}

}  // namespace engine5
