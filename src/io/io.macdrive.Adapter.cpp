#include "io/io.macdrive.Adapter.h"

#ifdef _WIN32
#define CRATEWERK_WINAPI __stdcall
#else
#define CRATEWERK_WINAPI
#endif

namespace io::macdrive {

namespace {

#ifdef _WIN32
const char* const library = "MACDRAPI.DLL";
#else
const char* const library = "";  // MacDrive exists on Windows only
#endif

using IsOnVolume = int(CRATEWERK_WINAPI*)(const char*);
using CreateStream = void*(CRATEWERK_WINAPI*)(const char*, const char*, uint32_t, uint32_t, _SECURITY_ATTRIBUTES*,
                                               uint32_t, uint32_t, void*);
using MacInformation = int(CRATEWERK_WINAPI*)(const char*, MD_MAC_FILE_INFORMATION*);

} // namespace

Adapter::Adapter() : LibraryAdapter(library) {}

int Adapter::isFileOnMacDriveVolume(const char* path) {
    auto entry = reinterpret_cast<IsOnVolume>(procedure("MdIsFileOnMacDriveVolumeA"));
    return entry ? entry(path) : 0;
}

void* Adapter::createFileStream(const char* path, const char* stream, uint32_t access, uint32_t share,
                                _SECURITY_ATTRIBUTES* security, uint32_t disposition, uint32_t flags,
                                void* templateFile) {
    if (isFileOnMacDriveVolume(path) != 1) return invalidHandle();
    auto entry = reinterpret_cast<CreateStream>(procedure("MdCreateFileStreamA"));
    return entry ? entry(path, stream, access, share, security, disposition, flags, templateFile) : invalidHandle();
}

int Adapter::getMacFileInformation(const char* path, MD_MAC_FILE_INFORMATION* info) {
    if (isFileOnMacDriveVolume(path) != 1) return 0;
    auto entry = reinterpret_cast<MacInformation>(procedure("MdGetMacFileInformationA"));
    return entry ? entry(path, info) : 0;
}

int Adapter::setMacFileInformation(const char* path, MD_MAC_FILE_INFORMATION* info) {
    if (isFileOnMacDriveVolume(path) != 1) return 0;
    auto entry = reinterpret_cast<MacInformation>(procedure("MdSetMacFileInformationA"));
    return entry ? entry(path, info) : 0;
}

} // namespace io::macdrive
