#pragma once

#include <cstddef>
#include <cstdint>

// The contract between the host and the plug-in: the call block, its handle
// callbacks and the entry point. On 32-bit Windows the field offsets are fixed
// by the host; other builds keep the same fields in the same order.

#if defined(_WIN32) && !defined(_WIN64)
#define FMX_API __stdcall
#else
#define FMX_API
#endif

#if defined(_WIN32)
#define FMX_EXPORT extern "C" __declspec(dllexport)
#else
#define FMX_EXPORT extern "C" __attribute__((visibility("default")))
#endif

// A handle is a pointer to a pointer to the bytes; the host may move the bytes.
using FMX_Handle = char**;

using FMX_SetHandleSizeProc = void(FMX_API*)(FMX_Handle handle, uint32_t size);
using FMX_GetHandleSizeProc = uint32_t(FMX_API*)(FMX_Handle handle);
using FMX_HandleProc = void(FMX_API*)(FMX_Handle handle);
using FMX_MemoryErrorProc = int16_t(FMX_API*)();
using FMX_UnusedProc = void(FMX_API*)();

// Selectors of the call block.
enum : uint8_t {
    kFMXT_Init = 0,
    kFMXT_Idle = 1,
    kFMXT_External = 3,
    kFMXT_Shutdown = 4,
};

struct FMX_ExternCallStruct {
    int16_t hostVersion;            //  0: read on init
    uint8_t reserved2[7];           //  2
    uint8_t selector;               //  9
    uint8_t idleLevel;              // 10
    uint8_t reserved11;             // 11
    int32_t functionId;             // 12
    FMX_Handle parameterHandle;     // 16
    void* instance;                 // 20: module of the plug-in, for resources and dialogs
    intptr_t result;                // 24: version answer on init, result handle on a call
    void* reserved28[2];            // 28
    FMX_SetHandleSizeProc hostSetHandleSize;  // 36
    FMX_GetHandleSizeProc hostGetHandleSize;  // 40
    FMX_UnusedProc reserved44;                // 44
    FMX_HandleProc hostPrepareHandle;         // 48
    FMX_HandleProc hostLockHandle;            // 52
    FMX_HandleProc hostUnlockHandle;          // 56
    FMX_UnusedProc reserved60[2];             // 60
    FMX_MemoryErrorProc hostMemoryError;      // 68
};

using FMX_ExternCallPtr = FMX_ExternCallStruct*;
using FMX_ExternCallProc = void(FMX_API*)(FMX_ExternCallPtr);

#if defined(_WIN32) && !defined(_WIN64)
static_assert(offsetof(FMX_ExternCallStruct, selector) == 9);
static_assert(offsetof(FMX_ExternCallStruct, idleLevel) == 10);
static_assert(offsetof(FMX_ExternCallStruct, functionId) == 12);
static_assert(offsetof(FMX_ExternCallStruct, parameterHandle) == 16);
static_assert(offsetof(FMX_ExternCallStruct, instance) == 0x14);
static_assert(offsetof(FMX_ExternCallStruct, result) == 0x18);
static_assert(offsetof(FMX_ExternCallStruct, hostSetHandleSize) == 0x24);
static_assert(offsetof(FMX_ExternCallStruct, hostGetHandleSize) == 0x28);
static_assert(offsetof(FMX_ExternCallStruct, hostPrepareHandle) == 0x30);
static_assert(offsetof(FMX_ExternCallStruct, hostLockHandle) == 0x34);
static_assert(offsetof(FMX_ExternCallStruct, hostUnlockHandle) == 0x38);
static_assert(offsetof(FMX_ExternCallStruct, hostMemoryError) == 0x44);
#endif

// The call block of the entry in progress; overwritten first on every entry.
extern FMX_ExternCallPtr gFMExternCallPtr;

FMX_EXPORT void FMX_API FMExternCallProc(FMX_ExternCallPtr pb);
