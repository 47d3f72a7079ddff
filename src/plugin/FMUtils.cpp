#include "plugin/FMUtils.h"

#include <cstring>

#include "plugin/StringTable.h"

#if defined(_WIN32)
#include <windows.h>
#endif

void GetParamByNumber(FMX_Handle handle, int32_t number, uint32_t maxLength, char* buffer, uint32_t* length) {
    FMX_ExternCallPtr pb = gFMExternCallPtr;
    uint32_t size = pb->hostGetHandleSize(handle);
    pb->hostPrepareHandle(handle);
    pb->hostLockHandle(handle);
    const char* text = *handle;

    int32_t separators = 0;
    uint32_t out = 0;
    uint32_t result = 0;
    uint32_t at = 0;
    bool terminated = false;
    while (at < size && !terminated && out < maxLength) {
        char c = text[at++];
        if (separators + 1 == number) {
            if (c == '|' && out > 0) {
                result = out;
                terminated = true;
            } else if (c != '|') {
                buffer[out++] = c;
            }
        }
        // A separator before any byte of the wanted parameter moves past it.
        if (c == '|' && out == 0) ++separators;
    }
    if (at >= size && !terminated) result = out;

    pb->hostUnlockHandle(handle);
    *length = result;
}

void NumToString(int32_t value, char* buffer) {
    char digits[12];
    int n = 0;
    int64_t v = value;
    if (v < 0) {
        *buffer++ = '-';
        v = -v;
    }
    while (v > 0) {
        digits[n++] = static_cast<char>('0' + v % 10);
        v /= 10;
    }
    while (n > 0) *buffer++ = digits[--n];
    *buffer = 0;
}

void StringToNum(const char* text, int32_t* value) {
    bool negative = false;
    if (*text == '-') {
        negative = true;
        ++text;
    }
    uint32_t v = 0;
    for (; *text; ++text) v = v * 10 + static_cast<uint32_t>(*text - '0');
    *value = negative ? static_cast<int32_t>(0u - v) : static_cast<int32_t>(v);
}

void BlockMoveData(const void* source, void* destination, uint32_t count) { std::memmove(destination, source, count); }

namespace {

// Loads string `id` into `buffer` (capacity bytes with the terminator); the
// Windows build reads the module's string table first, so a resource edit
// is what the plug-in shows.
uint32_t LoadTableString(int32_t id, char* buffer, uint32_t capacity) {
#if defined(_WIN32)
    HINSTANCE instance = gFMExternCallPtr ? static_cast<HINSTANCE>(gFMExternCallPtr->instance) : nullptr;
    if (instance) {
        int n = LoadStringA(instance, static_cast<UINT>(id), buffer, static_cast<int>(capacity));
        if (n > 0) return static_cast<uint32_t>(n);
    }
#endif
    const char* text = Crwk::StringTableText(id);
    uint32_t n = text ? static_cast<uint32_t>(std::strlen(text)) : 0;
    if (n > capacity - 1) n = capacity - 1;
    if (n) std::memcpy(buffer, text, n);
    buffer[n] = 0;
    return n;
}

} // namespace

void GetIndString(unsigned char* buffer, int32_t list, int32_t index) {
    char text[256];
    uint32_t n = LoadTableString(list + index - 1, text, sizeof text);
    buffer[0] = static_cast<unsigned char>(n);
    std::memcpy(buffer + 1, text, n);
}

void GetIndCString(char* buffer, int32_t list, int32_t index) { LoadTableString(list + index - 1, buffer, 256); }

int16_t SetHandleText(FMX_Handle handle, const char* text, uint32_t length) {
    FMX_ExternCallPtr pb = gFMExternCallPtr;
    pb->hostSetHandleSize(handle, length);
    int16_t error = pb->hostMemoryError();
    if (error != 0) return error;
    pb->hostPrepareHandle(handle);
    pb->hostLockHandle(handle);
    BlockMoveData(text, *handle, length);
    pb->hostUnlockHandle(handle);
    return 0;
}
