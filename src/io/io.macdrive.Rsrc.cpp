#include "io/io.macdrive.Rsrc.h"

#include <algorithm>

#include "io/io.Exception.h"
#include "io/io.macdrive.Adapter.h"
#include "stream/stream.Array.h"

namespace io::macdrive {

void Rsrc::openStream(const std::string& path, uint32_t access, uint32_t share, uint32_t disposition) {
    usePath(path);
    release();
    Adapter adapter;
    void* handle = adapter.createFileStream(path_.c_str(), "", access, share, nullptr, disposition,
                                            Adapter::attributeNormal, nullptr);
    if (handle != Adapter::invalidHandle()) handle_ = reinterpret_cast<intptr_t>(handle);
}

void Rsrc::create(const std::string& path) {
    openStream(path, Adapter::genericRead | Adapter::genericWrite, 0, Adapter::createAlways);
    if (!isOpen()) throw OutputException("io::macdrive::Rsrc::create() cannot create the resource fork of " + path_);
}

void Rsrc::open(const std::string& path) {
    openStream(path, Adapter::genericRead, Adapter::shareRead | Adapter::shareWrite, Adapter::openExisting);
    if (!isOpen()) throw InputException("io::macdrive::Rsrc::open() cannot open the resource fork of " + path_);
}

void Rsrc::openRW(const std::string& path) {
    openStream(path, Adapter::genericRead | Adapter::genericWrite, Adapter::shareRead, Adapter::openExisting);
    if (!isOpen()) throw InputException("io::macdrive::Rsrc::openRW() cannot open the resource fork of " + path_);
}

void Rsrc::close() {
    if (!release()) throw Exception("io::macdrive::Rsrc::close() cannot close the resource fork of " + path_);
}

uint32_t Rsrc::read(char* buffer, uint32_t count) {
    try {
        return io::File::read(buffer, count);
    } catch (const io::Exception&) {
        throw InputException("io::macdrive::Rsrc::read() cannot read from the resource fork of " + path_);
    }
}

void Rsrc::write(const char* buffer, uint32_t count) {
    try {
        io::File::write(buffer, count);
    } catch (const io::Exception&) {
        throw OutputException("io::macdrive::Rsrc::write() cannot write to the resource fork of " + path_);
    }
}

uint64_t Rsrc::tell() const {
    try {
        return io::File::tell();
    } catch (const io::Exception&) {
        throw Exception("io::macdrive::Rsrc::tell() cannot get the position of the resource fork of " + path_);
    }
}

uint64_t Rsrc::size() const {
    try {
        return io::File::size();
    } catch (const io::Exception&) {
        throw Exception("io::macdrive::Rsrc::size() cannot determine the size of the resource fork of " + path_);
    }
}

void Rsrc::resize(uint64_t newSize) {
    if (!isOpen()) return;
    uint64_t current = size();
    if (newSize < current) throw Exception("io::macdrive::Rsrc::resize() cannot truncate its file's resource fork");
    char filler[4096];
    std::fill(std::begin(filler), std::end(filler), static_cast<char>(0xBC));
    for (uint64_t left = newSize - current; left != 0;) {
        uint32_t step = static_cast<uint32_t>(std::min<uint64_t>(left, sizeof filler));
        write(filler, step);
        left -= step;
    }
}

void Rsrc::unlink(bool strict) {
    try {
        io::File::unlink(strict);
    } catch (const io::Exception&) {
        throw Exception("io::macdrive::Rsrc::unlink() cannot delete the resource fork of " + path_);
    }
}

format::data::FileInfo Rsrc::fileInfo() const {
    format::data::FileInfo info;
    MD_MAC_FILE_INFORMATION record = {};
    record.words[0] = Adapter::infoSize;
    record.words[1] = Adapter::infoVersion;
    Adapter adapter;
    if (adapter.getMacFileInformation(path_.c_str(), &record) == 0)
        throw Exception("io::macdrive::Rsrc::fileInfo() cannot get the Macintosh file information of " + path_);
    stream::ArrayInput in(reinterpret_cast<const char*>(record.words), format::data::FileInfo::fixed_size());
    info.read(in, false);
    return info;
}

// The record is read first, so that what the engine doesn't touch is kept.
void Rsrc::fileInfo(const format::data::FileInfo& info) {
    MD_MAC_FILE_INFORMATION record = {};
    record.words[0] = Adapter::infoSize;
    record.words[1] = Adapter::infoVersion;
    Adapter adapter;
    adapter.getMacFileInformation(path_.c_str(), &record);
    stream::ArrayOutput out(reinterpret_cast<char*>(record.words), format::data::FileInfo::fixed_size());
    info.write(out);
    if (adapter.setMacFileInformation(path_.c_str(), &record) == 0)
        throw Exception("io::macdrive::Rsrc::fileInfo() cannot assign the Macintosh file information of " + path_);
}

} // namespace io::macdrive
