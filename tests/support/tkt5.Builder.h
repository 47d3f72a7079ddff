#pragma once

// Assembles tkt5 archives for tests from the engine's own records and codecs:
// a tree of items laid out depth first, each file's header followed by its
// resource fork and then its data fork, linked by offsets as the format asks.

#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "algorithm/arsenic/arsenic.Compressor.h"
#include "algorithm/isp/isp.Coder.h"
#include "algorithm/isp/isp.Compressor.h"
#include "algorithm/isp/isp.Preprocessor.h"
#include "algorithm/rc4.Cipher.h"
#include "format/tkt5/tkt5.ArchiveHeader.h"
#include "format/tkt5/tkt5.ItemHeader.h"
#include "format/tkt5/tkt5.Record.h"
#include "stream/check/md5.Digest.h"
#include "stream/stream.Array.h"
#include "stream/stream.Vector.h"

namespace test::tkt5 {

constexpr uint8_t stored = 0;
constexpr uint8_t isp = 13;
constexpr uint8_t arsenic = 15;
// 2001-01-01 00:00:00 in seconds since the Macintosh epoch.
constexpr uint32_t defaultDate = 3061152000u;

struct Item {
    std::string name;
    bool folder = false;
    std::vector<Item> children;

    std::string data;
    uint8_t method = stored;
    // Extra item flags (0x0100 local name, 0x0080 locked, 0x0020 password).
    uint16_t flags = 0;
    uint32_t created = defaultDate;
    uint32_t modified = defaultDate;

    // A Macintosh item: Finder information and, for a file, a resource fork.
    bool mac = false;
    std::string type = "????";
    std::string creator = "????";
    uint16_t finderFlags = 0;
    bool hasResource = false;
    std::string resource;
    uint8_t resourceMethod = stored;

    // A Windows item with its attributes.
    bool windows = false;
    uint32_t attributes = 0;

    // Left as they are when set: a fork CRC to store instead of the true one,
    // and a method number to store instead of the real one.
    int32_t storedCRC = -1;
    int32_t storedMethod = -1;

    static Item file(std::string name, std::string data, uint8_t method = stored) {
        Item item;
        item.name = std::move(name);
        item.data = std::move(data);
        item.method = method;
        return item;
    }
    static Item dir(std::string name, std::vector<Item> children = {}) {
        Item item;
        item.name = std::move(name);
        item.folder = true;
        item.children = std::move(children);
        return item;
    }
    static Item macFile(std::string name, std::string data, std::string resource, std::string type,
                        std::string creator, uint8_t method = stored) {
        Item item = file(std::move(name), std::move(data), method);
        item.mac = true;
        item.hasResource = true;
        item.resource = std::move(resource);
        item.resourceMethod = method;
        item.type = std::move(type);
        item.creator = std::move(creator);
        return item;
    }
};

inline std::string compress(const std::string& data, uint8_t method, bool resource) {
    std::vector<char> packed;
    stream::ArrayInput in(data.data(), uint32_t(data.size()));
    stream::VectorOutput out(packed);
    if (method == isp) {
        algorithm::isp::Preprocessor preprocessor;
        algorithm::isp::Coder coder;
        coder.resource(resource);
        algorithm::isp::MemoryCompressor compressor(preprocessor, coder);
        compressor.level(algorithm::isp::Preprocessor::tkt5CompressionLevel);
        compressor.process(in, out);
    } else if (method == arsenic) {
        algorithm::arsenic::Compressor compressor;
        compressor.process(in, out);
    } else {
        return data;
    }
    return std::string(packed.begin(), packed.end());
}

inline std::string md5Prefix(const std::string& data, size_t n) {
    algorithm::md5::Digest digest;
    digest.update(data);
    digest.end();
    return std::string(digest.value().data(), n);
}

inline uint16_t crcOf(const std::string& data) {
    format::tkt5::HeaderCRC crc;
    crc.update(data.data(), uint32_t(data.size()));
    return crc.value();
}

inline std::string encipher(const std::string& bytes, const std::string& password, const std::string& key) {
    algorithm::rc4::RandomizedKey scheduled(md5Prefix(password, 5), key);
    algorithm::rc4::Cipher cipher(scheduled);
    std::string out = bytes;
    cipher.process(out.data(), uint32_t(out.size()));
    return out;
}

class Builder {
public:
    // With a password every fork is enciphered: a data fork under a random
    // 5-byte key of its own, a resource fork under the password's key alone.
    std::string password;
    // Whether the archive header holds the password's hash.
    bool hash = true;
    // Bytes put before the archive; offsets still count from its start.
    std::string prefix;
    // Offsets of the item headers in the order they were laid out, and of
    // each file's data fork.
    std::vector<uint32_t> headers;
    std::vector<uint32_t> dataForks;

    std::string build(const std::vector<Item>& roots) {
        entries_.clear();
        headers.clear();
        dataForks.clear();
        flatten(roots, -1);

        format::tkt5::ArchiveHeader archive;
        if (!password.empty() && hash) archive.passwordHash(md5Prefix(md5Prefix(password, 5), 5));
        uint32_t offset = archive.size();
        for (Entry& entry : entries_) {
            entry.position = offset;
            offset += entry.header.size() + uint32_t(entry.resource.size() + entry.data.size());
        }
        link(roots.size());
        archive.archiveSize(offset);
        // An archive without items still needs a first item below its end to
        // be valid: 0, which the walk never follows.
        archive.firstItem(entries_.empty() ? 0 : entries_.front().position);
        archive.rootItemCount(uint16_t(roots.size()));
        archive.headerSize(archive.size());

        std::vector<char> bytes;
        stream::VectorOutput out(bytes);
        archive.write(out);
        for (Entry& entry : entries_) {
            headers.push_back(entry.position);
            entry.header.write(out);
            out.write(entry.resource.data(), uint32_t(entry.resource.size()));
            if (!entry.marker && !entry.source->folder)
                dataForks.push_back(entry.position + entry.header.size() + uint32_t(entry.resource.size()));
            out.write(entry.data.data(), uint32_t(entry.data.size()));
        }
        return prefix + std::string(bytes.begin(), bytes.end());
    }

private:
    struct Entry {
        const Item* source = nullptr;
        bool marker = false;
        int parent = -1;
        uint32_t position = 0;
        format::tkt5::ItemHeader header;
        std::string resource;
        std::string data;
    };

    format::tkt5::ForkInfo fork(const std::string& content, uint8_t method, const Item& item, bool resource,
                                std::string& storedBytes) {
        format::tkt5::ForkInfo info;
        if (content.empty()) return info;
        storedBytes = compress(content, method, resource);
        info.uncompressedSize(uint32_t(content.size()));
        info.method(uint8_t(item.storedMethod >= 0 ? item.storedMethod : method));
        uint16_t crc = method == arsenic ? 0 : crcOf(content);
        if (item.storedCRC >= 0) crc = uint16_t(item.storedCRC);
        info.crc(crc);
        if (!password.empty()) {
            std::string key;
            if (!resource) {
                for (int i = 0; i < 5; ++i) key.push_back(char(random_()));
                info.keyIndicator(5);
            }
            info.key(key);
            storedBytes = encipher(storedBytes, password, key);
        }
        info.compressedSize(uint32_t(storedBytes.size()));
        return info;
    }

    void flatten(const std::vector<Item>& level, int parent) {
        for (const Item& item : level) {
            entries_.emplace_back();
            const int index = int(entries_.size()) - 1;
            Entry& entry = entries_.back();
            entry.source = &item;
            entry.parent = parent;
            format::tkt5::ItemHeader& header = entry.header;
            header.name(item.name);
            header.creationDate(item.created);
            header.modificationDate(item.modified);
            if (item.folder) {
                header.makeFolder();
            } else {
                header.makeFile();
                header.forkInfo() = fork(item.data, item.method, item, false, entry.data);
            }
            if (item.mac) {
                header.makeMac();
                format::tkt5::MacHeader& mac = header.macHeader();
                if (item.folder) {
                    mac.makeFolder();
                    mac.folderInfo().flags(item.finderFlags);
                } else {
                    mac.makeFile();
                    mac.fileInfo().type(format::data::OSType(item.type.c_str()));
                    mac.fileInfo().creator(format::data::OSType(item.creator.c_str()));
                    mac.fileInfo().flags(item.finderFlags);
                    if (item.hasResource) {
                        mac.hasResourceFork(true);
                        mac.resourceFork(fork(item.resource, item.resourceMethod, item, true, entry.resource));
                    }
                }
            } else if (item.windows) {
                header.makeWindows();
                header.windowsHeader().attributes(item.attributes);
            }
            uint16_t flags = item.flags;
            if (!password.empty()) flags |= format::tkt5::ItemHeader::passwordFlag;
            header.itemFlags(uint16_t(header.assignedFlags() | flags));
            if (item.folder) {
                flatten(item.children, index);
                entries_.emplace_back();
                Entry& marker = entries_.back();
                marker.marker = true;
                marker.parent = index;
                marker.header.makeFolder();
                marker.header.makeEndFolder();
                marker.header.itemFlags(marker.header.assignedFlags());
            }
        }
    }

    // Sets previous, next, parent and the folders' first children.
    void link(size_t) {
        const int top = -1;
        std::map<int, int> last;  // the latest entry of each parent's level so far
        for (size_t i = 0; i < entries_.size(); ++i) {
            Entry& entry = entries_[i];
            const uint32_t parentAt = entry.parent >= 0 ? entries_[size_t(entry.parent)].position : 0;
            entry.header.parent(parentAt);
            entry.header.next(0);
            auto found = last.find(entry.parent);
            if (found != last.end()) {
                Entry& previous = entries_[size_t(found->second)];
                entry.header.previous(previous.position);
                if (!previous.marker) previous.header.next(entry.position);
            } else {
                entry.header.previous(parentAt);
                if (entry.parent != top) entries_[size_t(entry.parent)].header.folderInfo().firstChild(entry.position);
            }
            last[entry.parent] = int(i);
            if (entry.source != nullptr && entry.source->folder)
                entry.header.folderInfo().childCount(uint16_t(entry.source->children.size()));
        }
    }

    std::vector<Entry> entries_;
    std::mt19937 random_{7};
};

} // namespace test::tkt5
