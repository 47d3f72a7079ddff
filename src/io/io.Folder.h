#pragma once

#include <string>
#include <vector>

#include "io/io.Item.h"

namespace io {

// A folder on disk.
class Folder : public Item {
public:
    // One entry of a folder, "." and ".." left out.
    struct Entry {
        std::string name;
        bool directory;
        bool link;  // a symbolic link (a reparse point on Windows); `directory` tells where it leads
    };

    explicit Folder(std::string path = std::string()) : Item(std::move(path)) {}

    // Creates the folder and the missing folders above it, from the root down.
    // A bare drive ("X:") or an existing folder is done at once.
    void create(const std::string& path = std::string()) override;

    // The entries of the folder at `path`, sorted by name.
    static std::vector<Entry> list(const std::string& path);

private:
    // One level; answers false on failure.
    static bool makeOne(const std::string& path);
};

} // namespace io
