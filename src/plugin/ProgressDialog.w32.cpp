#include "plugin/ProgressDialog.h"

#include <commctrl.h>

#include "engine/t5.Reader.h"
#include "plugin/FMExtern.h"
#include "plugin/FSObject_Win.h"
#include "plugin/resource.h"

namespace Crwk {

HWND ProgressDialog::window = nullptr;
HWND ProgressDialog::progressBar = nullptr;
uint32_t ProgressDialog::progressScale = 1;
bool ProgressDialog::canceled = false;

namespace {

HINSTANCE PluginInstance() {
    return gFMExternCallPtr ? static_cast<HINSTANCE>(gFMExternCallPtr->instance) : nullptr;
}

} // namespace

void ProgressDialog::requireWindow() {
    if (!window) throw tuckett5::exception::Evacuation();
}

void ProgressDialog::display() {
    HINSTANCE instance = PluginInstance();
    FindResourceA(instance, "CRWK_PROGRESS", MAKEINTRESOURCEA(5));  // RT_DIALOG
    window = CreateDialogParamA(instance, "CRWK_PROGRESS", GetForegroundWindow(), dialogProc, 0);
    if (!window) throw tuckett5::exception::Evacuation();
    ShowWindow(window, SW_SHOW);
    canceled = false;
}

void ProgressDialog::destroy() {
    if (window) DestroyWindow(window);
}

void ProgressDialog::archiveName(const char* name) {
    requireWindow();
    SetDlgItemTextA(window, IDC_ARCHIVE_NAME, name);
}

// Only the last component of the item's path is shown.
void ProgressDialog::curScanName(const char* path) {
    requireWindow();
    FSObject item(path);
    SetDlgItemTextA(window, IDC_SCAN_NAME, item.name);
}

void ProgressDialog::itemsLeft(unsigned long count) {
    requireWindow();
    SetDlgItemInt(window, IDC_ITEMS_LEFT, static_cast<UINT>(count), FALSE);
}

void ProgressDialog::begin(unsigned long total) {
    requireWindow();
    HWND frame = GetDlgItem(window, IDC_PROGRESS_FRAME);
    RECT area{};
    GetClientRect(frame, &area);
    progressBar = CreateWindowExA(0, "msctls_progress32", "CRWK_PROGRESS", WS_CHILD | WS_VISIBLE, area.left, area.top,
                                  area.right - area.left, area.bottom - area.top, frame, nullptr, PluginInstance(),
                                  nullptr);
    progressScale = static_cast<uint32_t>(total / 100);
    if (progressScale == 0) progressScale = 1;
    SendMessageA(progressBar, PBM_SETRANGE, 0, MAKELPARAM(0, 100));
}

bool ProgressDialog::move(unsigned long position) {
    requireWindow();
    if (canceled) return false;
    if (position != 0) SendMessageA(progressBar, PBM_SETPOS, static_cast<WPARAM>(position / progressScale), 0);
    MSG message;
    while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) {
        TranslateMessage(&message);
        DispatchMessageA(&message);
    }
    return true;
}

INT_PTR CALLBACK ProgressDialog::dialogProc(HWND dialog, UINT message, WPARAM wParam, LPARAM) {
    switch (message) {
    case WM_INITDIALOG: {
        HICON icon = LoadIconA(PluginInstance(), "Icon");
        SetClassLongPtrA(dialog, GCLP_HICON, reinterpret_cast<LONG_PTR>(icon));
        break;
    }
    case WM_COMMAND:
        if (LOWORD(wParam) == IDCANCEL) canceled = true;
        break;
    default:
        break;
    }
    return 0;
}

// ---- PasswordDialog

char PasswordDialog::passwordValue[4096];

PasswordDialog::PasswordDialog() {
    HINSTANCE instance = PluginInstance();
    FindResourceA(instance, "CRWK_PASSWORD", MAKEINTRESOURCEA(5));
    INT_PTR result = DialogBoxParamA(instance, "CRWK_PASSWORD", GetForegroundWindow(), dialogProc, 0);
    if (result == 0 || result == -1) throw tuckett5::exception::Evacuation();
}

INT_PTR CALLBACK PasswordDialog::dialogProc(HWND dialog, UINT message, WPARAM wParam, LPARAM) {
    switch (message) {
    case WM_INITDIALOG:
        SetFocus(GetDlgItem(dialog, IDC_PASSWORD));
        ShowCursor(TRUE);
        break;
    case WM_COMMAND:
        if (LOWORD(wParam) == IDOK) {
            GetDlgItemTextA(dialog, IDC_PASSWORD, passwordValue, sizeof passwordValue);
            EndDialog(dialog, 1);
        } else if (LOWORD(wParam) == IDCANCEL) {
            EndDialog(dialog, 0);
        }
        break;
    default:
        break;
    }
    return 0;
}

} // namespace Crwk
