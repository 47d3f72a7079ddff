#include "io/io.Item.h"

#include "io/io.Path.h"

namespace io {

bool Item::exists() const { return Path::exists(path_); }

int64_t Item::creationTime() const { return seconds(highResolutionCreationTime()); }
int64_t Item::modificationTime() const { return seconds(highResolutionModificationTime()); }
int64_t Item::accessTime() const { return seconds(highResolutionAccessTime()); }
void Item::creationTime(int64_t s) { highResolutionCreationTime(fileTime(s)); }
void Item::modificationTime(int64_t s) { highResolutionModificationTime(fileTime(s)); }
void Item::accessTime(int64_t s) { highResolutionAccessTime(fileTime(s)); }

void Item::resetAttributes() { win32Attributes(normal); }

// Clearing the last bit leaves the normal value, which the setter accepts.
void Item::attribute(uint32_t bit, bool on) {
    uint32_t attributes = win32Attributes() & ~(directoryBit | normal);
    attributes = on ? attributes | bit : attributes & ~bit;
    win32Attributes(attributes == 0 ? normal : attributes);
}

} // namespace io
