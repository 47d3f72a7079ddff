#pragma once

#include <cstdint>

#include "plugin/FMExtern.h"

// Copies parameter `number` (from 1) of the |-joined text in `handle` into
// `buffer`, at most `maxLength` bytes. The caller zeroes the buffer. A parameter
// that fills maxLength with text behind it reports a length of 0.
void GetParamByNumber(FMX_Handle handle, int32_t number, uint32_t maxLength, char* buffer, uint32_t* length);

// Signed decimal; no digit at all for 0. The buffer takes at least 12 bytes.
void NumToString(int32_t value, char* buffer);
// An optional leading "-", then digits, which are not checked.
void StringToNum(const char* text, int32_t* value);

void BlockMoveData(const void* source, void* destination, uint32_t count);

// Strings of the plug-in's table by list and 1-based index (id = list + index - 1).
// GetIndString writes a counted string (length first, at most 255 bytes),
// GetIndCString a terminated one into a 256-byte buffer.
void GetIndString(unsigned char* buffer, int32_t list, int32_t index);
void GetIndCString(char* buffer, int32_t list, int32_t index);

// Replaces the text of `handle` by `length` bytes; answers the host's memory
// error of the resize (0 for none), in which case nothing was copied.
int16_t SetHandleText(FMX_Handle handle, const char* text, uint32_t length);
