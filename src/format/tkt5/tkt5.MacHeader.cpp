#include "format/tkt5/tkt5.MacHeader.h"

#include "format/format.Exception.h"
#include "format/tkt5/tkt5.Record.h"
#include "stream/check/crc.Streams.h"
#include "stream/stream.ByteOrder.h"

namespace format::tkt5 {

void MacHeader::verifyType() const {
    if (!info_ || !extendedInfo_)
        throw Exception("must have a file or a folder in format::tkt5::MacHeader::verifyType()");
}

bool MacHeader::file() const {
    verifyType();
    return dynamic_cast<data::FileInfo*>(info_.get()) != nullptr;
}

bool MacHeader::folder() const {
    verifyType();
    return dynamic_cast<data::FolderInfo*>(info_.get()) != nullptr;
}

void MacHeader::makeFile() {
    if (!dynamic_cast<data::FileInfo*>(info_.get())) info_ = std::make_unique<data::FileInfo>();
    if (!dynamic_cast<data::ExtendedFileInfo*>(extendedInfo_.get()))
        extendedInfo_ = std::make_unique<data::ExtendedFileInfo>();
}

void MacHeader::makeFolder() {
    if (!dynamic_cast<data::FolderInfo*>(info_.get())) info_ = std::make_unique<data::FolderInfo>();
    if (!dynamic_cast<data::ExtendedFolderInfo*>(extendedInfo_.get()))
        extendedInfo_ = std::make_unique<data::ExtendedFolderInfo>();
}

data::FileInfo& MacHeader::fileInfo() {
    auto* info = dynamic_cast<data::FileInfo*>(info_.get());
    if (!info) throw Exception("file information not available in format::tkt5::MacHeader::fileInfo()");
    return *info;
}

data::ExtendedFileInfo& MacHeader::extendedFileInfo() {
    auto* info = dynamic_cast<data::ExtendedFileInfo*>(extendedInfo_.get());
    if (!info)
        throw Exception(
            "extended file information not available in format::tkt5::MacHeader::extendedFileInfo()");
    return *info;
}

data::FolderInfo& MacHeader::folderInfo() {
    auto* info = dynamic_cast<data::FolderInfo*>(info_.get());
    if (!info) throw Exception("folder information not available in format::tkt5::MacHeader::folderinfo()");
    return *info;
}

data::ExtendedFolderInfo& MacHeader::extendedFolderInfo() {
    auto* info = dynamic_cast<data::ExtendedFolderInfo*>(extendedInfo_.get());
    if (!info)
        throw Exception(
            "extended folder information not available in format::tkt5::MacHeader::extendedFolderInfo()");
    return *info;
}

uint8_t MacHeader::assignedFlags() const {
    uint8_t result = macFlags() & ~(folderFlag | resourceForkFlag);
    if (folder()) result |= folderFlag;
    if (hasResourceFork()) result |= resourceForkFlag;
    return result;
}

uint32_t MacHeader::size() const {
    return 4 + data::FileInfo::fixed_size() + data::ExtendedFileInfo::fixed_size() +
           (hasResourceFork() ? resourceFork().size() : 0);
}

void MacHeader::read(stream::Input& in, bool strict) {
    HeaderCRC crc;
    algorithm::crc::CRC16Input checked(in, crc);
    stream::BigEndianInput be(checked);
    version(be.u8());
    macFlags(be.u8());
    uint16_t stored = readStoredCRC(in, crc);
    if (macFlags() & folderFlag)
        makeFolder();
    else
        makeFile();
    info_->read(checked, strict);
    extendedInfo_->read(checked, strict);
    hasResourceFork((macFlags() & resourceForkFlag) != 0);
    resourceFork(ForkInfo());
    if (hasResourceFork()) resourceFork().read(checked, strict);
    if (strict && !crcAccepts(stored, crc.value()))
        throw Exception("bad header CRC in format::tkt5::MacHeader::read()");
}

void MacHeader::write(stream::Output& out) const {
    uint8_t storedFlags = assignedFlags();
    writeChecked(out, 2, [this, storedFlags](stream::Output& record) {
        stream::BigEndianOutput be(record);
        be << version() << storedFlags << uint16_t(0);
        info_->write(record);
        extendedInfo_->write(record);
        if (hasResourceFork()) resourceFork().write(record);
    });
}

} // namespace format::tkt5
