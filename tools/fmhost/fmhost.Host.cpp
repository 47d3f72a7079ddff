#include "fmhost.Host.h"

#include <cstdlib>
#include <cstring>
#include <filesystem>

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#include <unistd.h>
#endif

namespace fmhost {

namespace {

std::string fixedName(int32_t index) {
    static const char* const names[] = {"CRwrk-Version", "CRwrk-Register", "CRwrk-Tuck",   "CRwrk-Zip",
                                        "CRwrk-gZip",    "CRwrk-Tar",      "CRwrk-Expand", "CRwrk-GetPath"};
    return index >= 0 && index < 8 ? names[index] : std::string();
}

Host::Block* blockOf(FMX_Handle h) { return reinterpret_cast<Host::Block*>(h); }

void FMX_API SetHandleSizeCallback(FMX_Handle h, uint32_t size) {
    if (Host::current->countCall()) Host::current->setSize(h, size);
}
uint32_t FMX_API GetHandleSizeCallback(FMX_Handle h) {
    Host::current->countCall();
    return Host::current->getSize(h);
}
void FMX_API PrepareHandleCallback(FMX_Handle) { Host::current->countCall(); }
void FMX_API LockHandleCallback(FMX_Handle h) {
    Host::current->countCall();
    Host::current->lock(h);
}
void FMX_API UnlockHandleCallback(FMX_Handle h) {
    Host::current->countCall();
    Host::current->unlock(h);
}
int16_t FMX_API MemoryErrorCallback() { return Host::current->lastError(); }
void FMX_API UnusedCallback() { std::abort(); }

} // namespace

// ---- Library

Library::Library(const std::string& path, bool fresh) {
    std::string file = path;
    if (fresh) {
        static int serial = 0;
        std::filesystem::path temp = std::filesystem::temp_directory_path();
#if defined(_WIN32)
        unsigned long pid = GetCurrentProcessId();
#else
        unsigned long pid = static_cast<unsigned long>(getpid());
#endif
        std::filesystem::path target =
            temp / ("fmhost-" + std::to_string(pid) + "-" + std::to_string(serial++) +
                    std::filesystem::path(path).filename().string());
        std::filesystem::copy_file(path, target, std::filesystem::copy_options::overwrite_existing);
        copy_ = target.string();
        file = copy_;
    }
#if defined(_WIN32)
    HMODULE module = LoadLibraryA(file.c_str());
    if (!module) throw std::runtime_error("cannot load " + path);
    module_ = module;
    entry_ = reinterpret_cast<FMX_ExternCallProc>(reinterpret_cast<void*>(GetProcAddress(module, "FMExternCallProc")));
#else
    module_ = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!module_) throw std::runtime_error("cannot load " + path + ": " + dlerror());
    entry_ = reinterpret_cast<FMX_ExternCallProc>(dlsym(module_, "FMExternCallProc"));
#endif
    if (!entry_) throw std::runtime_error(path + " does not export FMExternCallProc");
}

Library::~Library() {
#if defined(_WIN32)
    FreeLibrary(static_cast<HMODULE>(module_));
#else
    dlclose(module_);
#endif
    if (!copy_.empty()) {
        std::error_code ignored;
        std::filesystem::remove(copy_, ignored);
    }
}

// The host reads the names from the library's string table (ids 144 on); a
// library without resources is named by the fixed list.
std::string Library::functionName(int32_t index) const {
#if defined(_WIN32)
    char text[256];
    if (LoadStringA(static_cast<HMODULE>(module_), static_cast<UINT>(144 + index), text, sizeof text) > 0) return text;
#endif
    return fixedName(index);
}

int32_t functionIndex(const Library* library, const std::string& word) {
    if (!word.empty() && word.find_first_not_of("0123456789") == std::string::npos) return std::atoi(word.c_str());
    for (int32_t i = 0; i < 8; ++i) {
        std::string name = library ? library->functionName(i) : fixedName(i);
        if (name == word) return i;
    }
    return -1;
}

// ---- Host

Host* Host::current = nullptr;

Host::Host(FMX_ExternCallProc entry, void* instance) : entry_(entry), instance_(instance) {
    block_.hostSetHandleSize = SetHandleSizeCallback;
    block_.hostGetHandleSize = GetHandleSizeCallback;
    block_.hostPrepareHandle = PrepareHandleCallback;
    block_.hostLockHandle = LockHandleCallback;
    block_.hostUnlockHandle = UnlockHandleCallback;
    block_.hostMemoryError = MemoryErrorCallback;
    block_.reserved44 = UnusedCallback;
    block_.reserved60[0] = UnusedCallback;
    block_.reserved60[1] = UnusedCallback;
}

Host::~Host() {
    if (current == this) current = nullptr;
}

bool Host::countCall() {
    ++handleCalls_;
    if (failAt_ != 0 && handleCalls_ == failAt_) {
        lastError_ = kMemFullErr;
        return false;
    }
    lastError_ = 0;
    return true;
}

// Every resize moves the bytes, as a host may, so that a stale pointer shows.
void Host::setSize(FMX_Handle h, uint32_t size) {
    Block* b = blockOf(h);
    char* moved = static_cast<char*>(std::malloc(size ? size : 1));
    std::memcpy(moved, b->data, std::min(size, b->size));
    std::free(b->data);
    b->data = moved;
    b->size = size;
}

uint32_t Host::getSize(FMX_Handle h) { return blockOf(h)->size; }

void Host::lock(FMX_Handle h) {
    ++blockOf(h)->locks;
    ++openLocks_;
}

void Host::unlock(FMX_Handle h) {
    --blockOf(h)->locks;
    --openLocks_;
}

FMX_Handle Host::newHandle(const std::string& text) {
    Block* b = new Block{static_cast<char*>(std::malloc(text.size() ? text.size() : 1)),
                         static_cast<uint32_t>(text.size()), 0};
    std::memcpy(b->data, text.data(), text.size());
    return reinterpret_cast<FMX_Handle>(b);
}

std::string Host::text(FMX_Handle h) { return std::string(blockOf(h)->data, blockOf(h)->size); }

void Host::freeHandle(FMX_Handle h) {
    std::free(blockOf(h)->data);
    delete blockOf(h);
}

void Host::enter(uint8_t selector) {
    current = this;
    block_.hostVersion = hostVersion_;
    block_.instance = instance_;
    block_.selector = selector;
    entry_(&block_);
}

int32_t Host::init() {
    block_.result = 0;
    enter(kFMXT_Init);
    return static_cast<int32_t>(block_.result);
}

void Host::idle(uint8_t level) {
    block_.idleLevel = level;
    enter(kFMXT_Idle);
}

void Host::shutdown() { enter(kFMXT_Shutdown); }

std::string Host::call(int32_t function, const std::string& parameters) { return raw(kFMXT_External, function, parameters).resultText; }

Host::Outcome Host::raw(uint8_t selector, int32_t function, const std::string& parameters) {
    FMX_Handle params = newHandle(parameters);
    FMX_Handle result = newHandle("");
    block_.functionId = function;
    block_.parameterHandle = params;
    block_.result = reinterpret_cast<intptr_t>(result);
    uint32_t before = handleCalls_;
    enter(selector);
    Outcome outcome{block_.result - reinterpret_cast<intptr_t>(result), text(result), handleCalls_ - before};
    freeHandle(params);
    freeHandle(result);
    return outcome;
}

} // namespace fmhost
