#pragma once

#include <cstdint>

#include <windows.h>

namespace Crwk {

// The modeless progress window of a run; one per process. Every operation
// but display and destroy leaves the run when no window was ever made.
class ProgressDialog {
public:
    static void display();
    static void destroy();
    static void archiveName(const char* name);
    static void curScanName(const char* path);
    static void itemsLeft(unsigned long count);
    static void begin(unsigned long total);
    static bool move(unsigned long position);
    static bool isCanceled() { return canceled; }

private:
    static INT_PTR CALLBACK dialogProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    static void requireWindow();

    static HWND window;
    static HWND progressBar;
    static uint32_t progressScale;
    static bool canceled;
};

// The modal password question; its constructor runs the dialog and leaves
// the run on Cancel.
class PasswordDialog {
public:
    PasswordDialog();
    const char* password() const { return passwordValue; }

private:
    static INT_PTR CALLBACK dialogProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    static char passwordValue[4096];
};

} // namespace Crwk
