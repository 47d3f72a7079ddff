#pragma once

#include <cstdint>

namespace Crwk {

// String lists of the table: evaluation texts, the plug-in's own texts, error texts.
enum : int32_t { kEvaluationList = 22650, kPluginList = 22660, kErrorList = 22680 };

// Indexes into kPluginList.
enum : int32_t {
    kVersionText = 1,
    kAskWord = 2,
    kOnlyFilesWord = 3,
    kOnlyFoldersWord = 6,
    kNewFileWord = 13,
};

// The built-in copy of the plug-in's string table (the Windows build also
// carries it as a resource); null for an id the table lacks.
const char* StringTableText(int32_t id);

} // namespace Crwk
