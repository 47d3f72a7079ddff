#pragma once

#include <cstdint>

#include "plugin/FMExtern.h"

class FSObject;

// The external functions in the order of the host's function list.
enum : int32_t {
    kCRwrkVersion = 0,
    kCRwrkRegister = 1,
    kCRwrkTuck = 2,
    kCRwrkZip = 3,
    kCRwrkGZip = 4,
    kCRwrkTar = 5,
    kCRwrkExpand = 6,
    kCRwrkGetPath = 7,
};

// Why a chooser runs; selects its default prompt.
enum : int32_t { kPurposeCompress = 0, kPurposeExpand = 1, kPurposeGetPath = 2 };

// Result codes that reach the host.
enum : int32_t { kParamErr = -50, kUserCanceled = -128, kUnknownException = 1, kNoPassword = 8 };

void Do_ExternalFunction(int32_t functionId, FMX_Handle parameterHandle, FMX_Handle resultHandle);

// Reads path parameter `number` of a call into `object`: a path, or "-ask",
// which runs the chooser of `kind`. Answers 0, -50 or -128.
int32_t ResolvePathParameter(int32_t function, FMX_Handle parameterHandle, int32_t number, int32_t kind,
                             int32_t purpose, FSObject& object);

// Runs the chooser of `kind`, after putting the default prompt for kind and
// purpose into `prompt` (256 bytes) if it is empty.
int32_t ChoosePath(int32_t kind, int32_t purpose, char* prompt, FSObject& object);

// Writes "<code>|<message>|", or "||" for no code and no message. Memory
// errors of the host drop the rest of the text without a word.
void SetErrorResult(FMX_Handle resultHandle, int32_t code, const char* message);

void DoVersion(FMX_Handle resultHandle);
void DoRegister(FMX_Handle parameterHandle, FMX_Handle resultHandle);
void DoCompress(int32_t function, FMX_Handle parameterHandle, FMX_Handle resultHandle);
void DoExpand(FMX_Handle parameterHandle, FMX_Handle resultHandle);
void DoGetPath(FMX_Handle parameterHandle, FMX_Handle resultHandle);

// The evaluation gate ahead of functions 2 to 7; this build lets every call through.
bool EvaluationGate(int32_t functionId);
