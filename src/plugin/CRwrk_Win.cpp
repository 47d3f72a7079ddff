#include "plugin/CRwrk_Win.h"

#include <cstring>

#include "plugin/Crwk.UI.h"
#include "plugin/FMUtils.h"
#include "plugin/FSObject_Win.h"
#include "plugin/StringTable.h"

namespace {

constexpr uint32_t kMaxPath = 1023;
constexpr uint32_t kMaxText = 255;

// The title of every "-ask" chooser: filled by the first one, then kept for
// the life of the plug-in.
char gAskPrompt[256];

bool SameWord(const char* a, const char* b) {
    for (;; ++a, ++b) {
        unsigned char x = static_cast<unsigned char>(*a), y = static_cast<unsigned char>(*b);
        if (x >= 'A' && x <= 'Z') x = static_cast<unsigned char>(x - 'A' + 'a');
        if (y >= 'A' && y <= 'Z') y = static_cast<unsigned char>(y - 'A' + 'a');
        if (x != y) return false;
        if (x == 0) return true;
    }
}

bool IsWord(const char* text, int32_t index) {
    char word[256];
    GetIndCString(word, Crwk::kPluginList, index);
    return SameWord(text, word);
}

// Index in the plugin list of the default prompt, 0 for none.
int32_t DefaultPrompt(int32_t kind, int32_t purpose) {
    static const int32_t table[4][3] = {
        {4, 5, 10},  // file
        {7, 8, 11},  // folder
        {9, 0, 12},  // file, folder or volume
        {14, 0, 0},  // new archive
    };
    if (kind < 3 || kind > 6 || purpose < 0 || purpose > 2) return 0;
    return table[kind - 3][purpose];
}

void LoadDefaultPrompt(char* prompt, int32_t kind, int32_t purpose) {
    int32_t index = DefaultPrompt(kind, purpose);
    if (index) GetIndCString(prompt, Crwk::kPluginList, index);
}

int32_t ChooseObject(int32_t kind, const char* prompt, FSObject& object) {
    return Crwk::ui().choose(kind, prompt, object);
}

// Appends to a result being built; false once the host failed a resize.
class ResultWriter {
public:
    explicit ResultWriter(FMX_Handle handle) : handle_(handle) {}

    bool append(const char* text, uint32_t length) {
        FMX_ExternCallPtr pb = gFMExternCallPtr;
        pb->hostSetHandleSize(handle_, size_ + length);
        if (pb->hostMemoryError() != 0) return false;
        pb->hostPrepareHandle(handle_);
        pb->hostLockHandle(handle_);
        BlockMoveData(text, *handle_ + size_, length);
        pb->hostUnlockHandle(handle_);
        size_ += length;
        return true;
    }
    bool append(const char* text) { return append(text, static_cast<uint32_t>(std::strlen(text))); }

private:
    FMX_Handle handle_;
    uint32_t size_ = 0;
};

} // namespace

bool EvaluationGate(int32_t) { return true; }

void Do_ExternalFunction(int32_t functionId, FMX_Handle parameterHandle, FMX_Handle resultHandle) {
    if (functionId > kCRwrkRegister && !EvaluationGate(functionId)) return;
    switch (functionId) {
    case kCRwrkVersion: DoVersion(resultHandle); break;
    case kCRwrkRegister: DoRegister(parameterHandle, resultHandle); break;
    case kCRwrkTuck:
    case kCRwrkZip:
    case kCRwrkGZip:
    case kCRwrkTar: DoCompress(functionId, parameterHandle, resultHandle); break;
    case kCRwrkExpand: DoExpand(parameterHandle, resultHandle); break;
    case kCRwrkGetPath: DoGetPath(parameterHandle, resultHandle); break;
    default: break;
    }
}

int32_t ResolvePathParameter(int32_t function, FMX_Handle parameterHandle, int32_t number, int32_t kind,
                             int32_t purpose, FSObject& object) {
    char text[kMaxPath + 1];
    std::memset(text, 0, sizeof text);
    uint32_t length = 0;
    GetParamByNumber(parameterHandle, number, kMaxPath, text, &length);
    if (length == 0) return number == 1 ? kParamErr : 0;
    text[length] = 0;

    // gzip holds a single file, so its source chooser offers files only.
    bool singleFile = number == 1 && purpose == kPurposeCompress && function == kCRwrkGZip;
    if (IsWord(text, Crwk::kAskWord)) {
        if (singleFile) kind = Crwk::UI::kChooseFile;
        if (gAskPrompt[0] == 0) LoadDefaultPrompt(gAskPrompt, kind, purpose);
        return ChooseObject(kind, gAskPrompt, object);
    }

    object.SetObject(text);
    bool fileOnly = (number == 2 && purpose == kPurposeCompress) || singleFile;
    if (fileOnly && object.isDirectory) return kParamErr;
    return 0;
}

int32_t ChoosePath(int32_t kind, int32_t purpose, char* prompt, FSObject& object) {
    if (prompt[0] == 0) LoadDefaultPrompt(prompt, kind, purpose);
    return ChooseObject(kind, prompt, object);
}

void SetErrorResult(FMX_Handle resultHandle, int32_t code, const char* message) {
    ResultWriter result(resultHandle);
    if (code == 0 && message == nullptr) {
        result.append("||");
        return;
    }
    if (code == 0) code = -1;
    char number[16];
    NumToString(code, number);
    std::strcat(number, "|");
    if (!result.append(number)) return;

    char text[256];
    text[0] = 0;
    if (message == nullptr && code == kNoPassword) GetIndCString(text, Crwk::kErrorList, 8);
    const char* shown = message ? message : text;
    if (*shown && !result.append(shown)) return;
    result.append("|");
}

void DoVersion(FMX_Handle resultHandle) {
    char text[256];
    GetIndCString(text, Crwk::kPluginList, Crwk::kVersionText);
    int16_t error = SetHandleText(resultHandle, text, static_cast<uint32_t>(std::strlen(text)));
    if (error != 0) SetErrorResult(resultHandle, error, nullptr);
}

// Registration has nothing to check in this build: it succeeds with an empty text.
void DoRegister(FMX_Handle, FMX_Handle resultHandle) { SetHandleText(resultHandle, "", 0); }

void DoGetPath(FMX_Handle parameterHandle, FMX_Handle resultHandle) {
    int32_t code = 0;
    int32_t kind = Crwk::UI::kChooseItem;
    char word[kMaxPath + 1];
    std::memset(word, 0, sizeof word);
    uint32_t length = 0;
    GetParamByNumber(parameterHandle, 1, kMaxPath, word, &length);
    word[length] = 0;
    if (length != 0) {
        if (IsWord(word, Crwk::kNewFileWord))
            kind = Crwk::UI::kChooseNewFile;
        else if (IsWord(word, Crwk::kOnlyFilesWord))
            kind = Crwk::UI::kChooseFile;
        else if (IsWord(word, Crwk::kOnlyFoldersWord))
            kind = Crwk::UI::kChooseFolder;
        else
            code = kParamErr;
    }
    if (code == 0) {
        char prompt[kMaxText + 1];
        std::memset(prompt, 0, sizeof prompt);
        GetParamByNumber(parameterHandle, 2, kMaxText, prompt, &length);
        FSObject chosen;
        code = ChoosePath(kind, kPurposeGetPath, prompt, chosen);
        if (code == 0 && chosen.pathLength != 0)
            code = SetHandleText(resultHandle, chosen.path, chosen.pathLength);
    }
    if (code != 0) SetErrorResult(resultHandle, code, nullptr);
}
