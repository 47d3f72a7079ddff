#include <dlfcn.h>

#include <cstring>

#include "io/io.LibraryAdapter.h"

namespace io {

LibraryAdapter::LibraryAdapter(const std::string& library)
    : module_(library.empty() ? nullptr : ::dlopen(library.c_str(), RTLD_NOW | RTLD_LOCAL)) {}

LibraryAdapter::~LibraryAdapter() {
    if (module_ != nullptr) ::dlclose(module_);
    module_ = nullptr;
}

LibraryAdapter::Procedure LibraryAdapter::procedure(const char* name) const {
    if (module_ == nullptr) return nullptr;
    void* symbol = ::dlsym(module_, name);
    Procedure result;
    std::memcpy(&result, &symbol, sizeof result);
    return result;
}

} // namespace io
