#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "engine/engine5.FormatReader.h"
#include "engine/t5.Info.h"
#include "format/tkt5/tkt5.ArchiveHeader.h"
#include "format/tkt5/tkt5.ItemHeader.h"
#include "format/tkt5/tkt5.MethodReader.h"
#include "io/io.Path.h"

namespace stream {
class Input;
class Output;
} // namespace stream

namespace engine5::tkt5 {

// A fork as the reader sees it: its record and where its stored bytes lie,
// as an offset from the archive's start.
class ForkRecord : public format::tkt5::ForkInfo {
public:
    uint32_t position = 0;
};

// An item header with what the walk needs beside it.
class ItemRecord : public format::tkt5::ItemHeader {
public:
    // The record of the enclosing folder, null at the top.
    ItemRecord* parentRecord = nullptr;
    // The offset of this header; 0 means that no item stands here.
    uint32_t position = 0;
    std::string folderPath;
    // The name as Unicode; empty when the name is in the local encoding.
    tuckett5::UnicodeName unicodeName;
    ForkRecord resourceFork;
    ForkRecord dataFork;
    // The name (local form, separators replaced) that this record put at
    // the end of the reader's path names, while it is there.
    bool named = false;
};

// The reader of tkt5 archives. It walks the tree of items twice over the same
// input: scan reports every item and the totals, decode writes them to disk.
// Only item headers are read by the scan; the walk holds one record per open
// folder, so memory follows the depth of the tree, not its size.
class Reader : public engine5::FormatReader {
public:
    Reader(uint32_t position, tuckett5::Reader& reader);
    ~Reader() override;

    using engine5::FormatReader::decode;
    using engine5::FormatReader::scan;
    void scan(stream::random::Input& in, io::random::File& file) override;
    void decode(stream::random::Input& in, io::random::File& file) override;

    // What stands in the place of a path separator inside an item name.
    char separatorReplacement = '_';

protected:
    void readArchiveHeader(stream::random::Input& in);
    void readItemHeader(stream::random::Input& in, uint32_t position, ItemRecord& item, bool uniquify);
    void decodeAll(stream::random::Input& in);
    void decodeItem(stream::random::Input& in);
    void decodeFolder();
    void decodeFork(stream::random::Input& in, stream::Output& out, ForkRecord& fork, const std::string& password,
                    const std::string& key);
    void checkPassword();
    void delete_items();

    std::unique_ptr<MethodReader> methodReader;
    uint8_t lastMethod = 0;
    // The names of the open folders, then the item in hand.
    io::CompositePath pathNames{'/'};
    uint32_t fileCount = 0;
    uint32_t firstItem = 0;
    format::tkt5::ArchiveHeader archiveHeader;
    ItemRecord* item = nullptr;
    std::vector<ItemRecord*> items;

private:
    // The offset of the archive's first byte in the input.
    uint64_t start() const;
    // The item as the extraction path takes it, named by the open folders.
    Entry entryOf(const ItemRecord& record) const;
    // The walk shared by scan and decodeAll.
    template <typename OnFile, typename OnFolder, typename OnEnd>
    void walk(stream::random::Input& in, ItemRecord* first, bool uniquify, OnFile onFile, OnFolder onFolder,
              OnEnd onEnd, const char* strangeItem);
    // The names of the item in hand, each made a component that stays in its
    // folder, joined by "/".
    std::string outputPath() const;

    // The highest offset read so far in this walk: links must lead forward.
    uint32_t lastPosition_ = 0;
    bool manyRoots_ = false;
    std::string outputFolder_;
};

} // namespace engine5::tkt5
