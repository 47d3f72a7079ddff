#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

#include "plugin/FMExtern.h"

namespace fmhost {

// A plug-in library loaded from disk. With `fresh`, a private copy is loaded,
// so that the plug-in's state starts anew even when the file is loaded already.
class Library {
public:
    explicit Library(const std::string& path, bool fresh = false);
    ~Library();
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    FMX_ExternCallProc entry() const { return entry_; }
    void* instance() const { return module_; }
    // Name of external function `index` as the host reads it from the library.
    std::string functionName(int32_t index) const;

private:
    void* module_ = nullptr;
    FMX_ExternCallProc entry_ = nullptr;
    std::string copy_;
};

// The host's side of the call block: real handles (a pointer to a pointer to
// the bytes, moved on every resize), the callbacks, and a counter of handle
// calls at which a memory error can be injected.
class Host {
public:
    static constexpr int16_t kMemFullErr = -108;

    Host(FMX_ExternCallProc entry, void* instance);
    ~Host();
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    void hostVersion(int16_t version) { hostVersion_ = version; }
    // The Nth handle call from now on (1-based) fails with a memory error; 0 never.
    void failAtHandleCall(uint32_t n) { failAt_ = n ? handleCalls_ + n : 0; }
    uint32_t handleCalls() const { return handleCalls_; }
    // Locks not yet matched by an unlock, over all handles.
    int32_t openLocks() const { return openLocks_; }

    int32_t init();
    void idle(uint8_t level);
    void shutdown();
    // Calls external function `function` with the parameter text and returns the result text.
    std::string call(int32_t function, const std::string& parameters);

    struct Outcome {
        intptr_t resultField;  // 0 when the plug-in left the field alone
        std::string resultText;
        uint32_t handleCalls;
    };
    // Calls any selector with a parameter and a result handle, and reports what changed.
    Outcome raw(uint8_t selector, int32_t function, const std::string& parameters);

    // Callback plumbing; public for the static trampolines.
    struct Block {
        char* data;
        uint32_t size;
        int32_t locks;
    };
    static Host* current;
    bool countCall();
    void setSize(FMX_Handle h, uint32_t size);
    uint32_t getSize(FMX_Handle h);
    void lock(FMX_Handle h);
    void unlock(FMX_Handle h);
    int16_t lastError() const { return lastError_; }

    // Handles made and read as the host does, for callers that drive the plug-in's routines directly.
    FMX_Handle newHandle(const std::string& text);
    static std::string text(FMX_Handle h);
    void freeHandle(FMX_Handle h);

private:
    void enter(uint8_t selector);

    FMX_ExternCallProc entry_;
    void* instance_;
    FMX_ExternCallStruct block_{};
    int16_t hostVersion_ = 11;
    uint32_t handleCalls_ = 0;
    uint32_t failAt_ = 0;
    int16_t lastError_ = 0;
    int32_t openLocks_ = 0;
};

// Index of a function given by name ("CRwrk-Expand") or number ("6"); -1 if unknown.
int32_t functionIndex(const Library* library, const std::string& word);

} // namespace fmhost
