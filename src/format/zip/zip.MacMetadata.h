#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "format/format.data.h"
#include "io/io.AppleDouble.h"
#include "stream/stream.Output.h"

namespace engine5::zip {

// The Macintosh metadata of an archive made on macOS, which keeps each file's
// resource fork and Finder information in an AppleDouble entry
// "__MACOSX/<path>/._<name>" beside the entry "<path>/<name>". Entries are
// paired by where they land in the output folder (their safe components),
// whatever their order in the directory, so that a name can only ever give
// its fork to the file that it would be written beside.
class MacMetadata {
public:
    // What one AppleDouble entry holds, once it has been read.
    struct Partner {
        uint64_t index = 0;    // of the AppleDouble entry in the directory
        uint64_t central = 0;  // where its central header lies in the input
        bool owner = false;    // the archive holds the file that it belongs to
        bool ownerIsFolder = false;
        bool read = false;  // its data was read, successfully or not
        bool good = false;  // and it is a well-formed AppleDouble file
        bool hasFinderInfo = false;
        format::data::FileInfo finderInfo;
        uint32_t forkOffset = 0;
        uint32_t forkLength = 0;
    };

    // Where a stored name lands: its safe components joined by "/".
    static std::string key(const std::string& name, bool backslashSeparates);
    // Whether an item of this key lies in the "__MACOSX" folder.
    static bool inMacFolder(const std::string& key);
    // For the key of an AppleDouble entry in the "__MACOSX" folder, the key of
    // the file that it belongs to; empty for anything else.
    static std::string ownerKey(const std::string& key);

    // Notes an AppleDouble entry; of two for the same file the first counts.
    void addAppleDouble(const std::string& owner, uint64_t index, uint64_t central);
    // Notes an item outside the "__MACOSX" folder, which may own metadata.
    void addItem(const std::string& key, bool folder);
    bool empty() const { return partners_.empty(); }

    // The metadata of the file of `key`, or null when it has none.
    Partner* partnerOf(const std::string& key);
    // Whether the AppleDouble entry `index` for the file of `owner` goes into
    // that file (or, for a folder, is dropped), rather than out as a file.
    bool absorbed(const std::string& owner, uint64_t index) const;
    // Whether that entry was read and is no AppleDouble file after all.
    bool unreadable(const std::string& owner, uint64_t index) const;
    // The partners whose owner is a file: those whose data must be read.
    std::vector<Partner*> filePartners();

private:
    void addOwner(const std::string& key, bool folder);
    std::unordered_map<std::string, Partner> partners_;
};

// Reads an AppleDouble file as it streams past, keeping only what the
// extraction needs: the Finder information and the place of the resource
// fork. Memory stays the same whatever the size.
class AppleDoubleProbe : public stream::Output {
public:
    explicit AppleDoubleProbe(uint64_t size) : size_(size) {}
    void write(char value) override { write(&value, 1); }
    void write(const char* buffer, uint32_t count) override;
    uint64_t tell() const override { return at_; }
    // Whether what went past was a well-formed AppleDouble file; fills the
    // partner's Finder information and fork.
    bool finish(MacMetadata::Partner& partner) const;

private:
    uint64_t size_;
    uint64_t at_ = 0;
    std::vector<unsigned char> head_;
    bool listed_ = false;
    bool bad_ = false;
    std::vector<io::AppleDouble::Entry> entries_;
    int32_t finder_ = -1;  // the entry of the Finder information
    unsigned char finderBytes_[16] = {};
};

// Passes on only the bytes of an AppleDouble file that make its resource fork.
class ForkWindow : public stream::Output {
public:
    ForkWindow(stream::Output& fork, uint64_t offset, uint64_t length)
        : fork_(fork), from_(offset), to_(offset + length) {}
    void write(char value) override { write(&value, 1); }
    void write(const char* buffer, uint32_t count) override;
    uint64_t tell() const override { return at_; }

private:
    stream::Output& fork_;
    uint64_t from_;
    uint64_t to_;
    uint64_t at_ = 0;
};

}  // namespace engine5::zip
