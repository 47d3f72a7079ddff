#include <windows.h>

#include "io/io.LibraryAdapter.h"

namespace io {

LibraryAdapter::LibraryAdapter(const std::string& library)
    : module_(library.empty() ? nullptr : reinterpret_cast<void*>(LoadLibraryA(library.c_str()))) {}

LibraryAdapter::~LibraryAdapter() {
    if (module_ != nullptr) FreeLibrary(static_cast<HMODULE>(module_));
    module_ = nullptr;
}

LibraryAdapter::Procedure LibraryAdapter::procedure(const char* name) const {
    if (module_ == nullptr) return nullptr;
    return reinterpret_cast<Procedure>(reinterpret_cast<void (*)()>(GetProcAddress(static_cast<HMODULE>(module_), name)));
}

} // namespace io
