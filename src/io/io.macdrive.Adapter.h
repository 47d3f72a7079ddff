#pragma once

#include <cstdint>

#include "io/io.LibraryAdapter.h"

struct _SECURITY_ATTRIBUTES;

// The record of the MacDrive library. The engine knows only its first two
// words, which it sets before each call, and that the Finder information
// is read from and written over its first 16 bytes.
struct MD_MAC_FILE_INFORMATION {
    uint32_t words[218];
};

namespace io::macdrive {

// The optional MacDrive library (MACDRAPI.DLL on Windows; never available on
// POSIX). Each operation looks its entry point up afresh. Without the library
// or the entry point no path is on a MacDrive volume.
class Adapter : public LibraryAdapter {
public:
    static constexpr uint32_t infoSize = 872;
    static constexpr uint32_t infoVersion = 0x30;
    static constexpr uint32_t genericRead = 0x80000000u;
    static constexpr uint32_t genericWrite = 0x40000000u;
    static constexpr uint32_t shareRead = 1;
    static constexpr uint32_t shareWrite = 2;
    static constexpr uint32_t createAlways = 2;
    static constexpr uint32_t openExisting = 3;
    static constexpr uint32_t attributeNormal = 0x80;

    Adapter();

    // The entry point's answer, 0 without it.
    int isFileOnMacDriveVolume(const char* path);
    // The invalid handle value (all ones) unless the path is on a MacDrive volume.
    void* createFileStream(const char* path, const char* stream, uint32_t access, uint32_t share,
                           _SECURITY_ATTRIBUTES* security, uint32_t disposition, uint32_t flags, void* templateFile);
    int getMacFileInformation(const char* path, MD_MAC_FILE_INFORMATION* info);
    int setMacFileInformation(const char* path, MD_MAC_FILE_INFORMATION* info);

    static void* invalidHandle() { return reinterpret_cast<void*>(~uintptr_t(0)); }
};

} // namespace io::macdrive
