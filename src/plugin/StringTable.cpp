#include "plugin/StringTable.h"

namespace Crwk {

namespace {

struct Entry {
    int32_t id;
    const char* text;
};

// Keep in step with Cratewerk.rc; a test compares the two.
constexpr Entry kTable[] = {
    {128, "Cratewerk"},
    {129, "This plug-in contains functions to compress and expand files."},
    {131, "Crwk1nYYYnY"},
    {144, "CRwrk-Version"},
    {145, "CRwrk-Register"},
    {146, "CRwrk-Tuck"},
    {147, "CRwrk-Zip"},
    {148, "CRwrk-gZip"},
    {149, "CRwrk-Tar"},
    {150, "CRwrk-Expand"},
    {151, "CRwrk-GetPath"},
    {22650, "Cratewerk is running in evaluation mode."},
    {22651, "Cratewerk has been registered. Thank you."},
    {22652, "The registration key is not valid."},
    {22653, "Evaluation"},
    {22654, "Register"},
    {22655, "Continue"},
    {22656, "This copy of Cratewerk is free to use."},
    {22660, "Cratewerk\xAA v1.0.1"},
    {22661, "-ask"},
    {22662, "-onlyFiles"},
    {22663, "Select the file you want to compress."},
    {22664, "Select the file you want to expand."},
    {22665, "-onlyFolders"},
    {22666, "Select the folder you want to compress."},
    {22667, "Select the destination for the expanded result."},
    {22668, "Select the file, folder, or volume you want to compress."},
    {22669, "Select a file."},
    {22670, "Select a folder."},
    {22671, "Select a file, folder or volume."},
    {22672, "-newFile"},
    {22673, "Choose an archive filename and location."},
    {22680, "An unexpected error has occurred."},
    {22687, "A file could not be UnTucked. One possibility is an incorrect password if the archive is encrypted."},
};

} // namespace

const char* StringTableText(int32_t id) {
    for (const Entry& e : kTable)
        if (e.id == id) return e.text;
    return nullptr;
}

} // namespace Crwk
