#pragma once

#include <string>

namespace io {

// An optional library bound at run time. A library that can't be loaded is
// no error: the adapter is then not available and finds no entry points.
class LibraryAdapter {
public:
    using Procedure = void (*)();

    explicit LibraryAdapter(const std::string& library);
    virtual ~LibraryAdapter();
    LibraryAdapter(const LibraryAdapter&) = delete;
    LibraryAdapter& operator=(const LibraryAdapter&) = delete;

    virtual bool available() const { return module_ != nullptr; }

protected:
    // The entry point of that name, looked up now; null when it is missing.
    Procedure procedure(const char* name) const;

private:
    void* module_;
};

} // namespace io
