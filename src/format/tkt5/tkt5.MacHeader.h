#pragma once

#include <cstdint>
#include <memory>

#include "format/format.data.h"
#include "format/tkt5/tkt5.PlatformHeader.h"
#include "format/tkt5/tkt5.TypeInfo.h"
#include "un/un.property.h"

namespace format::tkt5 {

// Platform 1: the Finder information of a file or a folder and, for a file,
// the description of its resource fork. The record's CRC covers the
// resource fork's ForkInfo and key too.
class MacHeader : public PlatformHeader {
public:
    // Bits of macFlags.
    static constexpr uint8_t resourceForkFlag = 0x01;
    static constexpr uint8_t folderFlag = 0x10;

    un::property<uint8_t> version;
    // As read; write() sets or clears the two bits above from the record's kind
    // and hasResourceFork, and keeps the others.
    un::property<uint8_t> macFlags;
    un::property<bool> hasResourceFork;
    un::property<ForkInfo> resourceFork;

    bool valid() const override { return version() == 0; }
    void read(stream::Input& in, bool strict) override;
    void write(stream::Output& out) const override;
    uint32_t size() const override;

    virtual uint32_t min_size() const { return size(); }
    virtual uint32_t max_size() const { return size(); }

    // The kind of record: a file pair of infos or a folder pair. Both tests
    // refuse a record that has no pair yet; the make operations replace
    // whichever info is of the wrong kind.
    virtual bool file() const;
    virtual void makeFile();
    virtual data::FileInfo& fileInfo();
    virtual data::ExtendedFileInfo& extendedFileInfo();
    virtual bool folder() const;
    virtual void makeFolder();
    virtual data::FolderInfo& folderInfo();
    virtual data::ExtendedFolderInfo& extendedFolderInfo();

    const data::FileInfo& fileInfo() const { return const_cast<MacHeader*>(this)->fileInfo(); }
    const data::ExtendedFileInfo& extendedFileInfo() const {
        return const_cast<MacHeader*>(this)->extendedFileInfo();
    }
    const data::FolderInfo& folderInfo() const { return const_cast<MacHeader*>(this)->folderInfo(); }
    const data::ExtendedFolderInfo& extendedFolderInfo() const {
        return const_cast<MacHeader*>(this)->extendedFolderInfo();
    }

    // macFlags as write() stores them.
    uint8_t assignedFlags() const;

protected:
    void verifyType() const;
    void assignType() { macFlags(assignedFlags()); }

private:
    std::unique_ptr<data::MacInfo> info_;
    std::unique_ptr<data::ExtendedMacInfo> extendedInfo_;
};

} // namespace format::tkt5
