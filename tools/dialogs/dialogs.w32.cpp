// dialogs progress|password|chooser [milliseconds]
//
// Shows the named dialog of the plug-in, filled in as during a run, and
// closes it after the time given (default 10000 ms).
#include <windows.h>
#include <commctrl.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "engine/t5.Exception.h"
#include "plugin/Crwk.UI.h"
#include "plugin/FMExtern.h"
#include "plugin/FSObject_Win.h"
#include "plugin/ProgressDialog.h"

namespace {

// Closes whatever modal dialog of ours is up when the time is over.
void CALLBACK closeDialog(HWND, UINT, UINT_PTR, DWORD) {
    HWND window = GetForegroundWindow();
    if (!window) window = GetActiveWindow();
    if (window) PostMessageA(window, WM_COMMAND, IDCANCEL, 0);
    PostQuitMessage(0);
}

void showProgress(DWORD milliseconds) {
    Crwk::ProgressDialog::display();
    Crwk::ProgressDialog::archiveName("Holiday Pictures.tkt");
    Crwk::ProgressDialog::begin(4200000);
    Crwk::ProgressDialog::curScanName("C:\\Users\\me\\Holiday Pictures\\Beach\\IMG_0042.JPG");
    Crwk::ProgressDialog::itemsLeft(17);
    DWORD start = GetTickCount();
    while (GetTickCount() - start < milliseconds) {
        DWORD elapsed = GetTickCount() - start;
        Crwk::ProgressDialog::move(static_cast<unsigned long>(2600000ull * std::min<DWORD>(elapsed, 2000) / 2000));
        Sleep(20);
    }
    Crwk::ProgressDialog::destroy();
}

} // namespace

int WINAPI WinMain(HINSTANCE instance, HINSTANCE, LPSTR, int) {
    INITCOMMONCONTROLSEX controls{sizeof controls, ICC_PROGRESS_CLASS | ICC_STANDARD_CLASSES};
    InitCommonControlsEx(&controls);
    CoInitialize(nullptr);

    static FMX_ExternCallStruct block{};
    block.instance = instance;
    gFMExternCallPtr = &block;

    std::string which = __argc > 1 ? __argv[1] : "progress";
    DWORD milliseconds = __argc > 2 ? static_cast<DWORD>(std::atoi(__argv[2])) : 10000;
    try {
        if (which == "progress") {
            showProgress(milliseconds);
        } else if (which == "password") {
            SetTimer(nullptr, 0, milliseconds, closeDialog);
            Crwk::PasswordDialog dialog;
        } else if (which == "chooser") {
            SetTimer(nullptr, 0, milliseconds, closeDialog);
            FSObject chosen;
            Crwk::makePlatformUI()->choose(Crwk::UI::kChooseItem,
                                           "Select the file, folder, or volume you want to compress.", chosen);
        } else {
            return 2;
        }
    } catch (const tuckett5::exception::Evacuation&) {
        // Closed by the timer, as by Cancel.
    }
    return 0;
}
