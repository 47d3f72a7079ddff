#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace io {

namespace macdrive {
class Adapter;
}

// Walks the inputs of a writer and counts their files and the sizes of their
// forks. Resource forks are counted only through a MacDrive adapter, for
// files on a MacDrive volume. Links to folders are not followed, so a walk
// always ends.
class FolderScanner {
public:
    explicit FolderScanner(macdrive::Adapter* adapter = nullptr) : adapter_(adapter) {}
    virtual ~FolderScanner() = default;

    void scan(const std::string& path);
    void scan(const std::vector<std::string>& paths);
    virtual void scanFile(const std::string& path);
    virtual void scanDirectory(const std::string& path);

    uint32_t fileCount() const { return files_; }
    uint64_t dataSize() const { return dataTotal_; }
    uint64_t resourceSize() const { return resourceTotal_; }
    // Set once a scan has run to its end.
    bool scanned() const { return scanned_; }
    void adapter(macdrive::Adapter* adapter) { adapter_ = adapter; }

protected:
    bool scanned_ = false;
    uint32_t files_ = 0;
    uint64_t dataTotal_ = 0;
    uint64_t resourceTotal_ = 0;
    macdrive::Adapter* adapter_;
};

} // namespace io
