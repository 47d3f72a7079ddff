#include "cli/cli.Console.h"

#include <windows.h>
#include <io.h>

#include <cstdio>

namespace cli::console {

namespace {

volatile LONG gInterrupted = 0;

BOOL WINAPI onControl(DWORD type) {
    if (type == CTRL_C_EVENT || type == CTRL_BREAK_EVENT) {
        InterlockedExchange(&gInterrupted, 1);
        return TRUE;
    }
    return FALSE;
}

} // namespace

bool isTerminal(int fd) { return _isatty(fd) != 0; }

int width() {
    CONSOLE_SCREEN_BUFFER_INFO info;
    if (GetConsoleScreenBufferInfo(GetStdHandle(STD_ERROR_HANDLE), &info))
        return info.srWindow.Right - info.srWindow.Left + 1;
    return 80;
}

void catchInterrupt() { SetConsoleCtrlHandler(onControl, TRUE); }

bool interrupted() { return gInterrupted != 0; }

bool readHidden(const char* prompt, std::string& text) {
    HANDLE in = CreateFileA("CONIN$", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    if (in == INVALID_HANDLE_VALUE) return false;
    DWORD mode = 0;
    GetConsoleMode(in, &mode);
    SetConsoleMode(in, (mode & ~ENABLE_ECHO_INPUT) | ENABLE_LINE_INPUT | ENABLE_PROCESSED_INPUT);
    std::fputs(prompt, stderr);
    std::fflush(stderr);
    text.clear();
    bool ok = false;
    for (;;) {
        char c;
        DWORD n = 0;
        if (!ReadFile(in, &c, 1, &n, nullptr) || n != 1 || gInterrupted) break;
        if (c == '\r') continue;
        if (c == '\n') {
            ok = true;
            break;
        }
        text.push_back(c);
    }
    SetConsoleMode(in, mode);
    CloseHandle(in);
    std::fputs("\n", stderr);
    if (!ok) text.clear();
    return ok;
}

std::string displayText(const std::string& ansi) { return ansi; }

} // namespace cli::console
