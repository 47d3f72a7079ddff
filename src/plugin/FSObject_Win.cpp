#include "plugin/FSObject_Win.h"

#include <cstring>

FSObject::FSObject() {
    EmptyStrings();
    pathLength = 0;
    exists = false;
    isDirectory = false;
    parentLength = 0;
    parentStale = true;
}

FSObject::FSObject(const char* text) : FSObject() { SetObject(text); }

FSObject::~FSObject() = default;

void FSObject::EmptyStrings() {
    path[0] = 0;
    parent[0] = 0;
    name[0] = 0;
    baseName[0] = 0;
    std::memset(suffix, 0, sizeof suffix);
    pathString.clear();
}

void FSObject::SetObject(const char* text) {
    EmptyStrings();
    pathLength = 0;
    parentLength = 0;
    exists = false;
    isDirectory = false;
    parentStale = true;
    if (!text) return;
    // Callers hold paths to 1023 bytes; the copy is still kept inside the buffer.
    size_t length = std::strlen(text);
    if (length > kBufferSize - 1) length = kBufferSize - 1;
    std::memcpy(path, text, length);
    path[length] = 0;
    pathLength = CleanPath(static_cast<uint32_t>(length));
    UpdateAttributes();
    ComputeNameParts();
    pathString = path;
    parentStale = true;
}

// Drops trailing separators.
uint32_t FSObject::CleanPath(uint32_t length) {
    while (length > 0 && path[length - 1] == kSeparator) path[--length] = 0;
    return length;
}

void FSObject::UpdateAttributes() {
    fsobject::Attributes a = fsobject::attributes(path);
    exists = a.exists;
    isDirectory = a.exists && a.isDirectory;
}

// Only a dot four bytes from the end starts a suffix, so "a.gz" has none.
void FSObject::ComputeNameParts() {
    for (int32_t i = static_cast<int32_t>(pathLength) - 1; i >= 0; --i) {
        char c = path[i];
#if defined(_WIN32)
        if (c == ':') return;
#endif
        if (c == '.' && static_cast<uint32_t>(i) + 4 == pathLength) std::memcpy(suffix, path + i, 4);
        if (c == kSeparator) {
            std::strcpy(name, path + i + 1);
            std::strcpy(baseName, name);
            if (suffix[0]) baseName[std::strlen(baseName) - 4] = 0;
            return;
        }
    }
}

void FSObject::ComputeParent() {
    std::memcpy(parent, path, kBufferSize);
    int32_t i = static_cast<int32_t>(pathLength) - 1;
    for (; i >= 0; --i) {
#if defined(_WIN32)
        if (parent[i] == ':') break;
#endif
        bool separator = parent[i] == kSeparator;
        parent[i] = 0;
        if (separator) break;
    }
    parentLength = static_cast<uint32_t>(std::strlen(parent));
    parentStale = false;
}

const char* FSObject::ParentFolder() {
    if (parentStale) ComputeParent();
    return parent;
}

int32_t FSObject::ObjectDelete() {
    if (!exists) return 0;
    fsobject::Attributes a = fsobject::attributes(path);
    int32_t answer = isDirectory && !a.isLink ? fsobject::deleteTree(path) : fsobject::deleteFile(path);
    if (answer == 0) UpdateAttributes();
    return answer;
}
