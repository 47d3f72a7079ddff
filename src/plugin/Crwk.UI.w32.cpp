#include "plugin/Crwk.UI.h"

#include <windows.h>
#include <commdlg.h>
#include <shlobj.h>

#include <cstring>

#include "engine/t5.Reader.h"
#include "plugin/FMExtern.h"
#include "plugin/FSObject_Win.h"
#include "plugin/ProgressDialog.h"
#include "plugin/resource.h"

// The folder ChooseItem's dialog shows, and whether its button chose it.
FSObject* gpFSObject = nullptr;
int gChooseDir = 0;

namespace {

constexpr DWORD kPathBuffer = 1024;

HINSTANCE PluginInstance() {
    return gFMExternCallPtr ? static_cast<HINSTANCE>(gFMExternCallPtr->instance) : nullptr;
}

const char kAllFilter[] = "All\0*.*\0";

int32_t ChooseFile(const char* prompt, FSObject& object) {
    char name[kPathBuffer] = "";
    OPENFILENAMEA ofn{};
    ofn.lStructSize = sizeof ofn;
    ofn.hwndOwner = GetForegroundWindow();
    ofn.lpstrFilter = kAllFilter;
    ofn.nFilterIndex = 1;
    ofn.lpstrFile = name;
    ofn.nMaxFile = kPathBuffer;
    ofn.lpstrTitle = prompt;
    ofn.Flags = OFN_PATHMUSTEXIST | OFN_FILEMUSTEXIST;
    if (!GetOpenFileNameA(&ofn)) return -128;
    object.SetObject(name);
    return 0;
}

int32_t ChooseFolder(const char* prompt, FSObject& object) {
    char name[kPathBuffer] = "";
    BROWSEINFOA info{};
    info.hwndOwner = GetForegroundWindow();
    info.pszDisplayName = name;
    info.lpszTitle = prompt;
    info.ulFlags = BIF_RETURNONLYFSDIRS;
    LPITEMIDLIST list = SHBrowseForFolderA(&info);
    if (!list) return -128;
    BOOL found = SHGetPathFromIDListA(list, name);
    IMalloc* allocator = nullptr;
    if (SUCCEEDED(SHGetMalloc(&allocator))) {
        allocator->Free(list);
        allocator->Release();
    }
    if (!found) return -128;
    object.SetObject(name);
    return 0;
}

// Follows the folder the dialog shows; the template's button closes the
// dialog as a cancel that isn't one, so the folder itself is the choice.
UINT_PTR CALLBACK ChooseItemHook(HWND child, UINT message, WPARAM wParam, LPARAM lParam) {
    HWND dialog = GetParent(child);
    if (message == WM_COMMAND && LOWORD(wParam) == IDC_CHOOSE_PARENT) {
        PostMessageA(dialog, WM_COMMAND, IDCANCEL, 0);
        gChooseDir = 1;
    } else if (message == WM_NOTIFY) {
        const OFNOTIFYA* notice = reinterpret_cast<const OFNOTIFYA*>(lParam);
        if (notice->hdr.code == CDN_INITDONE) {
            ShowCursor(TRUE);
            gChooseDir = 0;
        } else if (notice->hdr.code == CDN_FOLDERCHANGE) {
            EnableWindow(GetDlgItem(child, IDC_CHOOSE_PARENT), TRUE);
            char folder[kPathBuffer] = "";
            LRESULT length = SendMessageA(dialog, CDM_GETFOLDERPATH, kPathBuffer, reinterpret_cast<LPARAM>(folder));
            if (length > 1 && gpFSObject) {
                gpFSObject->SetObject(folder);
                SetDlgItemTextA(child, IDC_CURRENT_DIRECTORY, gpFSObject->name);
            }
        }
    }
    return 0;
}

int32_t ChooseItem(const char* prompt, FSObject& object) {
    char name[kPathBuffer] = "";
    OPENFILENAMEA ofn{};
    ofn.lStructSize = sizeof ofn;
    ofn.hwndOwner = GetForegroundWindow();
    ofn.hInstance = PluginInstance();
    ofn.lpstrFilter = kAllFilter;
    ofn.nFilterIndex = 1;
    ofn.lpstrFile = name;
    ofn.nMaxFile = kPathBuffer;
    ofn.lpstrTitle = prompt;
    ofn.lpTemplateName = "IDD_COMDLG32";
    ofn.lpfnHook = ChooseItemHook;
    ofn.Flags = OFN_PATHMUSTEXIST | OFN_FILEMUSTEXIST | OFN_EXPLORER | OFN_ENABLESIZING | OFN_ENABLEHOOK |
                OFN_ENABLETEMPLATE;
    gpFSObject = new FSObject();
    BOOL chosen = GetOpenFileNameA(&ofn);
    int32_t code = 0;
    if (!chosen && gChooseDir == 0)
        code = -128;
    else if (name[0] == 0)
        object.SetObject(gpFSObject->path);
    else
        object.SetObject(name);
    delete gpFSObject;
    gpFSObject = nullptr;
    return code;
}

int32_t ChooseNewFile(const char* prompt, FSObject& object) {
    static const char filters[] = "Tuckett (.tkt)\0*.tkt\0ZIP (.zip)\0*.zip\0GZIP (.gz)\0*.gz\0TAR (.tar)\0*.tar\0";
    static const char* const suffixes[] = {".tkt", ".zip", ".gz", ".tar"};
    char name[kPathBuffer] = "Archive";
    OPENFILENAMEA ofn{};
    ofn.lStructSize = sizeof ofn;
    ofn.hwndOwner = GetForegroundWindow();
    ofn.lpstrFilter = filters;
    ofn.nFilterIndex = 1;
    ofn.lpstrFile = name;
    ofn.nMaxFile = kPathBuffer;
    ofn.lpstrTitle = prompt;
    ofn.Flags = 0;
    if (!GetSaveFileNameA(&ofn)) return -128;
    // The filter's suffix is appended to the name typed, even when it ends so already.
    DWORD index = ofn.nFilterIndex >= 1 && ofn.nFilterIndex <= 4 ? ofn.nFilterIndex - 1 : 0;
    size_t length = std::strlen(name);
    size_t suffix = std::strlen(suffixes[index]);
    if (length + suffix < kPathBuffer) std::memcpy(name + length, suffixes[index], suffix + 1);
    object.SetObject(name);
    return 0;
}

// The Windows dialogs of the host's plug-in.
class WindowsUI : public Crwk::UI {
public:
    int32_t choose(int32_t kind, const char* prompt, FSObject& object) override {
        const char* title = prompt && *prompt ? prompt : nullptr;
        switch (kind) {
        case kChooseFile: return ChooseFile(title, object);
        case kChooseFolder: return ChooseFolder(title, object);
        case kChooseItem: return ChooseItem(title, object);
        case kChooseNewFile: return ChooseNewFile(title, object);
        default: return -128;
        }
    }
    bool display() override {
        Crwk::ProgressDialog::display();
        return true;
    }
    void destroy() override { Crwk::ProgressDialog::destroy(); }
    void archiveName(const char* name) override { Crwk::ProgressDialog::archiveName(name); }
    void curScanName(const char* path) override { Crwk::ProgressDialog::curScanName(path); }
    void itemsLeft(uint32_t count) override { Crwk::ProgressDialog::itemsLeft(count); }
    void begin(uint32_t total) override { Crwk::ProgressDialog::begin(total); }
    bool move(uint32_t position) override { return Crwk::ProgressDialog::move(position); }
    bool canceled() const override { return Crwk::ProgressDialog::isCanceled(); }
    bool password(std::string& text) override {
        Crwk::PasswordDialog dialog;
        text = dialog.password();
        return true;
    }
};

} // namespace

namespace Crwk {

std::unique_ptr<UI> makePlatformUI() { return std::make_unique<WindowsUI>(); }

} // namespace Crwk
