#include "format/tkt5/tkt5.ItemHeader.h"

#include <typeinfo>

#include "format/format.Exception.h"
#include "format/tkt5/tkt5.Record.h"
#include "stream/check/crc.Streams.h"
#include "stream/stream.ByteOrder.h"

namespace format::tkt5 {

namespace {

// The record held, if it is of exactly the type T. No record class has
// subclasses, so the exact test answers as dynamic_cast would, for much less
// than its walk through the class hierarchy on a path taken many times per
// item.
template <typename T, typename Base>
T* exactly(Base* record) {
    return record != nullptr && typeid(*record) == typeid(T) ? static_cast<T*>(record) : nullptr;
}

} // namespace

ItemHeader::ItemHeader()
    : artifactPattern(artifactValue),
      platform(nonePlatform),
      version(0),
      commonSize(0),
      itemFlags(0),
      creationDate(0),
      modificationDate(0),
      previous(0),
      next(0),
      parent(0),
      headerCRC(0),
      platformHeader_(std::make_unique<PlatformHeader>()) {}

ItemHeader::~ItemHeader() = default;
ItemHeader::ItemHeader(ItemHeader&&) noexcept = default;
ItemHeader& ItemHeader::operator=(ItemHeader&&) noexcept = default;

std::string ItemHeader::readString(stream::Input& in, uint32_t length, bool strict) {
    std::string text(length, '\0');
    if (length != 0 && readFully(in, text.data(), length) < length && strict)
        throw Exception("input stream is too short in format::tkt5::ItemHeader::readString()");
    return text;
}

void ItemHeader::verifyType() const {
    if (!typeInfo_) throw Exception("must have a file or a folder in format::tkt5::ItemHeader::verifyType()");
}

bool ItemHeader::file() const {
    verifyType();
    return exactly<ForkInfo>(typeInfo_.get()) != nullptr;
}

bool ItemHeader::folder() const {
    verifyType();
    return exactly<FolderInfo>(typeInfo_.get()) != nullptr;
}

void ItemHeader::makeFile() {
    if (!exactly<ForkInfo>(typeInfo_.get())) typeInfo_ = std::make_unique<ForkInfo>();
}

void ItemHeader::makeFolder() {
    if (!exactly<FolderInfo>(typeInfo_.get())) typeInfo_ = std::make_unique<FolderInfo>();
}

ForkInfo& ItemHeader::forkInfo() {
    auto* info = exactly<ForkInfo>(typeInfo_.get());
    if (!info) throw Exception("fork information not available in format::tkt5::ItemHeader::forkinfo()");
    return *info;
}

FolderInfo& ItemHeader::folderInfo() {
    auto* info = exactly<FolderInfo>(typeInfo_.get());
    if (!info) throw Exception("folder information not available in format::tkt5::ItemHeader::folderinfo()");
    return *info;
}

bool ItemHeader::endFolder() const {
    auto* info = exactly<FolderInfo>(typeInfo_.get());
    return info != nullptr && info->firstChild() == FolderInfo::endMarker;
}

// A marker has no platform record; the writer chooses the platform after this.
void ItemHeader::makeEndFolder() {
    makeFolder();
    folderInfo().firstChild(FolderInfo::endMarker);
    makeMac();
}

template <typename T>
void ItemHeader::makePlatform(uint8_t value) {
    platform(value);
    const PlatformHeader& current = *platformHeader_;
    if (typeid(current) != typeid(T)) platformHeader_ = std::make_unique<T>();
}

bool ItemHeader::none() const {
    const PlatformHeader& current = *platformHeader_;
    return typeid(current) == typeid(PlatformHeader);
}
void ItemHeader::makeNone() { makePlatform<PlatformHeader>(nonePlatform); }

bool ItemHeader::dos() const { return exactly<DOSHeader>(platformHeader_.get()) != nullptr; }
void ItemHeader::makeDOS() { makePlatform<DOSHeader>(dosPlatform); }
DOSHeader& ItemHeader::dosHeader() {
    auto* header = exactly<DOSHeader>(platformHeader_.get());
    if (!header) throw Exception("DOS header not available in format::tkt5::ItemHeader::dosHeader()");
    return *header;
}

bool ItemHeader::mac() const { return exactly<MacHeader>(platformHeader_.get()) != nullptr; }
void ItemHeader::makeMac() { makePlatform<MacHeader>(macPlatform); }
MacHeader& ItemHeader::macHeader() {
    auto* header = exactly<MacHeader>(platformHeader_.get());
    if (!header) throw Exception("Mac header not available in format::tkt5::ItemHeader::macHeader()");
    return *header;
}

bool ItemHeader::unixx() const { return exactly<UnixHeader>(platformHeader_.get()) != nullptr; }
void ItemHeader::makeUnix() { makePlatform<UnixHeader>(unixPlatform); }
UnixHeader& ItemHeader::unixHeader() {
    auto* header = exactly<UnixHeader>(platformHeader_.get());
    if (!header) throw Exception("Unix header not available in format::tkt5::ItemHeader::unixHeader()");
    return *header;
}

bool ItemHeader::windows() const { return exactly<WindowsHeader>(platformHeader_.get()) != nullptr; }
void ItemHeader::makeWindows() { makePlatform<WindowsHeader>(windowsPlatform); }
WindowsHeader& ItemHeader::windowsHeader() {
    auto* header = exactly<WindowsHeader>(platformHeader_.get());
    if (!header) throw Exception("Windows header not available in format::tkt5::ItemHeader::windowsHeader()");
    return *header;
}

void ItemHeader::makePlatformHeader() {
    switch (platform()) {
    case nonePlatform: makeNone(); break;
    case macPlatform: makeMac(); break;
    case dosPlatform: makeDOS(); break;
    case windowsPlatform: makeWindows(); break;
    case unixPlatform: makeUnix(); break;
    default: {
        uint8_t unknown = platform();
        makeNone();
        platform(unknown);
    }
    }
}

uint16_t ItemHeader::assignedFlags() const {
    uint16_t flags = itemFlags() & ~folderFlag;
    if (folder()) flags |= folderFlag;
    return flags;
}

bool ItemHeader::valid() const {
    return artifactPattern() == artifactValue && platform() <= unixPlatform && version() == 0;
}

uint32_t ItemHeader::common_size() const {
    uint32_t total = fixed_size() + static_cast<uint16_t>(name().size());
    if (itemFlags() & commentFlag)
        total += 4 + static_cast<uint16_t>(comment().size()) + static_cast<uint16_t>(comment2().size());
    return total;
}

uint32_t ItemHeader::size() const {
    uint32_t total = common_size();
    if (typeInfo_) total += typeInfo_->size();
    if (!endFolder()) total += platformHeader_->size();
    return total;
}

void ItemHeader::read(stream::Input& in, bool strict) {
    HeaderCRC crc;
    algorithm::crc::CRC16Input checked(in, crc);
    stream::BigEndianInput be(checked);
    artifactPattern(be.u32());
    platform(be.u8());
    version(be.u8());
    commonSize(be.u16());
    itemFlags(be.u16());
    creationDate(be.u32());
    modificationDate(be.u32());
    previous(be.u32());
    next(be.u32());
    parent(be.u32());
    uint16_t nameLength = be.u16();
    headerCRC(readStoredCRC(in, crc));

    if (itemFlags() & folderFlag)
        makeFolder();
    else
        makeFile();
    typeInfo_->read(checked, strict);
    name(readString(checked, nameLength, strict));
    if (itemFlags() & commentFlag) {
        uint16_t commentLength = be.u16();
        uint16_t comment2Length = be.u16();
        comment(readString(checked, commentLength, strict));
        comment2(readString(checked, comment2Length, strict));
    } else {
        comment(std::string());
        comment2(std::string());
    }
    if (strict && !crcAccepts(headerCRC(), crc.value()))
        throw Exception("bad header CRC in format::tkt5::ItemHeader::read()");

    if (endFolder()) return;
    makePlatformHeader();
    platformHeader_->read(in, strict);
    // The item's flag decides: a folder's Mac record is made a folder
    // record whatever its own flag said.
    if (folder() && mac()) macHeader().makeFolder();
}

void ItemHeader::write(stream::Output& out) const {
    verifyType();
    uint16_t flags = assignedFlags();
    if (name().size() > 0xFFFF) throw Exception("name is too long in format::tkt5::ItemHeader::write()");
    if ((flags & commentFlag) && (comment().size() > 0xFFFF || comment2().size() > 0xFFFF))
        throw Exception("comment is too long in format::tkt5::ItemHeader::write()");

    writeChecked(out, headerCRCOffset, [this, flags](stream::Output& record) {
        stream::BigEndianOutput be(record);
        be << artifactPattern() << platform() << version()
           << static_cast<uint16_t>(common_size() + typeInfo_->size()) << flags << creationDate()
           << modificationDate() << previous() << next() << parent() << static_cast<uint16_t>(name().size())
           << uint16_t(0);
        typeInfo_->write(record);
        record.write(name().data(), static_cast<uint32_t>(name().size()));
        if (flags & commentFlag) {
            be << static_cast<uint16_t>(comment().size()) << static_cast<uint16_t>(comment2().size());
            record.write(comment().data(), static_cast<uint32_t>(comment().size()));
            record.write(comment2().data(), static_cast<uint32_t>(comment2().size()));
        }
    });
    if (!endFolder()) platformHeader_->write(out);
}

} // namespace format::tkt5
