#include "cli/cli.Console.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>

namespace cli::console {

namespace {

volatile sig_atomic_t gInterrupted = 0;

// The first Ctrl-C asks the run to stop at its next step; a second one ends
// the program at once, for a step that takes long.
void onInterrupt(int) {
    if (gInterrupted) {
        signal(SIGINT, SIG_DFL);
        raise(SIGINT);
    }
    gInterrupted = 1;
}

} // namespace

bool isTerminal(int fd) { return isatty(fd) == 1; }

int width() {
    struct winsize size {};
    if (ioctl(2, TIOCGWINSZ, &size) == 0 && size.ws_col > 20) return size.ws_col;
    return 80;
}

// Without SA_RESTART, so that a read waiting on the terminal returns at once.
void catchInterrupt() {
    struct sigaction action {};
    action.sa_handler = onInterrupt;
    sigemptyset(&action.sa_mask);
    action.sa_flags = 0;
    sigaction(SIGINT, &action, nullptr);
}

bool interrupted() { return gInterrupted != 0; }

bool readHidden(const char* prompt, std::string& text) {
    int fd = open("/dev/tty", O_RDWR | O_NOCTTY);
    if (fd < 0) return false;
    struct termios saved {};
    bool restore = tcgetattr(fd, &saved) == 0;
    if (restore) {
        struct termios quiet = saved;
        quiet.c_lflag &= static_cast<tcflag_t>(~ECHO);
        quiet.c_lflag |= ECHONL;
        tcsetattr(fd, TCSAFLUSH, &quiet);
    }
    ssize_t ignored = write(fd, prompt, std::char_traits<char>::length(prompt));
    (void)ignored;
    text.clear();
    bool ok = false;
    for (char c;;) {
        ssize_t n = read(fd, &c, 1);
        if (n != 1 || gInterrupted) break;
        if (c == '\n' || c == '\r') {
            ok = true;
            break;
        }
        text.push_back(c);
    }
    if (restore) tcsetattr(fd, TCSAFLUSH, &saved);
    if (!ok) {
        ignored = write(fd, "\n", 1);
        for (char& c : text) c = 0;
        text.clear();
    }
    close(fd);
    return ok;
}

// The engine's 8-bit table texts are Windows-1252; the terminal speaks UTF-8.
std::string displayText(const std::string& ansi) {
    std::string out;
    for (unsigned char c : ansi) {
        if (c < 0x80) {
            out.push_back(static_cast<char>(c));
        } else if (c >= 0xA0) {
            out.push_back(static_cast<char>(0xC0 | (c >> 6)));
            out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
        } else {
            out.push_back('?');
        }
    }
    return out;
}

} // namespace cli::console
