#include "format/zip/zip.MacMetadata.h"

#include <algorithm>
#include <iterator>

#include "io/io.SafePath.h"
#include "stream/stream.Array.h"

namespace engine5::zip {

namespace {

const std::string macFolder = "__MACOSX";
const std::string prefix = "._";

}  // namespace

std::string MacMetadata::key(const std::string& name, bool backslashSeparates) {
    std::string joined;
    for (const std::string& component : io::safeComponents(name, backslashSeparates)) {
        if (!joined.empty()) joined += '/';
        joined += component;
    }
    return joined;
}

bool MacMetadata::inMacFolder(const std::string& key) {
    return key.compare(0, macFolder.size(), macFolder) == 0 &&
           (key.size() == macFolder.size() || key[macFolder.size()] == '/');
}

std::string MacMetadata::ownerKey(const std::string& key) {
    if (!inMacFolder(key) || key.size() == macFolder.size()) return std::string();
    const std::string::size_type slash = key.rfind('/');
    const std::string name = key.substr(slash + 1);
    if (name.size() <= prefix.size() || name.compare(0, prefix.size(), prefix) != 0) return std::string();
    // What lies between the folder and the name is the owner's folder.
    const std::string folder = key.substr(macFolder.size() + 1, slash - std::min(slash, macFolder.size() + 1));
    return (folder.empty() ? std::string() : folder + '/') + name.substr(prefix.size());
}

void MacMetadata::addAppleDouble(const std::string& owner, uint64_t index, uint64_t central) {
    Partner partner;
    partner.index = index;
    partner.central = central;
    partners_.emplace(owner, partner);
}

void MacMetadata::addItem(const std::string& key, bool folder) {
    // The folders above an item are in the archive too, with or without
    // entries of their own.
    for (std::string::size_type slash = key.find('/'); slash != std::string::npos; slash = key.find('/', slash + 1))
        addOwner(key.substr(0, slash), true);
    addOwner(key, folder);
}

void MacMetadata::addOwner(const std::string& key, bool folder) {
    const auto found = partners_.find(key);
    if (found == partners_.end() || found->second.owner) return;
    found->second.owner = true;
    found->second.ownerIsFolder = folder;
}

MacMetadata::Partner* MacMetadata::partnerOf(const std::string& key) {
    const auto found = partners_.find(key);
    if (found == partners_.end() || !found->second.owner || found->second.ownerIsFolder || !found->second.good)
        return nullptr;
    return &found->second;
}

bool MacMetadata::absorbed(const std::string& owner, uint64_t index) const {
    const auto found = partners_.find(owner);
    if (found == partners_.end() || found->second.index != index || !found->second.owner) return false;
    const Partner& partner = found->second;
    // Before its data is read (in a listing) a file's metadata counts as good.
    return partner.ownerIsFolder || !partner.read || partner.good;
}

bool MacMetadata::unreadable(const std::string& owner, uint64_t index) const {
    const auto found = partners_.find(owner);
    return found != partners_.end() && found->second.index == index && found->second.owner && found->second.read &&
           !found->second.good;
}

std::vector<MacMetadata::Partner*> MacMetadata::filePartners() {
    std::vector<Partner*> found;
    for (auto& [owner, partner] : partners_)
        if (partner.owner && !partner.ownerIsFolder) found.push_back(&partner);
    // In the order of the directory, so that the input is read forwards.
    std::sort(found.begin(), found.end(), [](const Partner* a, const Partner* b) { return a->index < b->index; });
    return found;
}

void AppleDoubleProbe::write(const char* buffer, uint32_t count) {
    const uint64_t start = at_;
    at_ += count;
    if (bad_) return;
    // The header and the entry records come first; they say where the rest lies.
    uint32_t used = 0;
    while (!listed_ && used < count) {
        head_.push_back(static_cast<unsigned char>(buffer[used++]));
        if (head_.size() < io::AppleDouble::headerSize) continue;
        const int32_t entries = io::AppleDouble::entryCount(head_.data());
        if (entries < 0) {
            bad_ = true;
            return;
        }
        const size_t listEnd = io::AppleDouble::headerSize + size_t(entries) * io::AppleDouble::entrySize;
        if (head_.size() < listEnd) continue;
        if (!io::AppleDouble::readEntries(head_.data() + io::AppleDouble::headerSize, uint32_t(entries), size_,
                                          entries_)) {
            bad_ = true;
            return;
        }
        listed_ = true;
        for (size_t i = 0; i < entries_.size(); ++i)
            if (entries_[i].id == io::AppleDouble::finderInfoId && finder_ < 0) finder_ = static_cast<int32_t>(i);
    }
    if (finder_ < 0) return;
    // The 16 bytes of Finder information proper, wherever they lie.
    const io::AppleDouble::Entry& finder = entries_[size_t(finder_)];
    const uint64_t from = std::max<uint64_t>(start, finder.offset);
    const uint64_t to = std::min<uint64_t>(at_, uint64_t(finder.offset) + std::min<uint32_t>(finder.length, 16));
    for (uint64_t p = from; p < to; ++p)
        finderBytes_[p - finder.offset] = static_cast<unsigned char>(buffer[p - start]);
}

bool AppleDoubleProbe::finish(MacMetadata::Partner& partner) const {
    partner.read = true;
    partner.good = false;
    if (bad_ || !listed_ || at_ != size_) return false;
    partner.hasFinderInfo = false;
    partner.forkOffset = partner.forkLength = 0;
    for (const io::AppleDouble::Entry& entry : entries_) {
        if (entry.id == io::AppleDouble::resourceForkId) {
            partner.forkOffset = entry.offset;
            partner.forkLength = entry.length;
        }
    }
    if (finder_ >= 0 && entries_[size_t(finder_)].length >= format::data::FileInfo::fixed_size()) {
        // Finder information of all zeros says nothing: a file with only
        // other attributes gets none.
        partner.hasFinderInfo =
            std::any_of(std::begin(finderBytes_), std::end(finderBytes_), [](unsigned char b) { return b != 0; });
        stream::ArrayInput in(reinterpret_cast<const char*>(finderBytes_), sizeof finderBytes_);
        partner.finderInfo.read(in, false);
    }
    partner.good = true;
    return true;
}

void ForkWindow::write(const char* buffer, uint32_t count) {
    const uint64_t start = at_;
    at_ += count;
    const uint64_t from = std::max(start, from_);
    const uint64_t to = std::min(at_, to_);
    if (from < to) fork_.write(buffer + (from - start), static_cast<uint32_t>(to - from));
}

}  // namespace engine5::zip
