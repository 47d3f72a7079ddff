#pragma once

#include <cstdint>
#include <string>

// One path in the file system with its parent, name, base name and suffix,
// in fixed buffers. The separator is the platform's; a ":" ends the name and
// parent walks only on Windows, where it marks a drive.
class FSObject {
public:
    static constexpr uint32_t kBufferSize = 1024;
#if defined(_WIN32)
    static constexpr char kSeparator = '\\';
#else
    static constexpr char kSeparator = '/';
#endif

    FSObject();
    explicit FSObject(const char* path);
    ~FSObject();

    void SetObject(const char* path);
    // The parent folder: the path without its last component and separator.
    const char* ParentFolder();
    void UpdateAttributes();
    // Deletes what the path names, a folder with all it holds; 0 or a system error.
    int32_t ObjectDelete();

    char path[kBufferSize];
    std::string pathString;
    char parent[kBufferSize];
    char name[kBufferSize];
    char baseName[kBufferSize];
    char suffix[4];
    uint32_t pathLength;
    bool exists;
    bool isDirectory;
    uint32_t parentLength;
    bool parentStale;

private:
    void EmptyStrings();
    uint32_t CleanPath(uint32_t length);
    void ComputeNameParts();
    void ComputeParent();
};

// The file operations FSObject needs, one module per platform.
namespace fsobject {
struct Attributes {
    bool exists = false;
    bool isDirectory = false;
    bool readOnly = false;
    bool isLink = false;
};
Attributes attributes(const char* path);
int32_t deleteFile(const char* path);
int32_t deleteTree(const char* path);
} // namespace fsobject
