#include "cli/cli.TerminalUI.h"

#include <cstdio>
#include <iostream>

#include "cli/cli.Console.h"
#include "plugin/FSObject_Win.h"

namespace cli {

namespace {

std::string bytes(uint64_t n) {
    char text[32];
    if (n < 1024)
        std::snprintf(text, sizeof text, "%llu B", static_cast<unsigned long long>(n));
    else if (n < 1024 * 1024)
        std::snprintf(text, sizeof text, "%.1f KiB", n / 1024.0);
    else if (n < 1024ull * 1024 * 1024)
        std::snprintf(text, sizeof text, "%.1f MiB", n / (1024.0 * 1024));
    else
        std::snprintf(text, sizeof text, "%.2f GiB", n / (1024.0 * 1024 * 1024));
    return text;
}

const char* choiceHint(int32_t kind) {
    switch (kind) {
    case Crwk::UI::kChooseFile: return "an existing file";
    case Crwk::UI::kChooseFolder: return "a folder";
    case Crwk::UI::kChooseNewFile: return "a new archive name";
    default: return "a file, folder or volume";
    }
}

} // namespace

TerminalUI::TerminalUI(bool showProgress) : bar_(showProgress && console::isTerminal(2)) { console::catchInterrupt(); }

TerminalUI::~TerminalUI() { destroy(); }

int32_t TerminalUI::choose(int32_t kind, const char* prompt, FSObject& object) {
    if (!console::isTerminal(0)) return -128;
    std::string title = console::displayText(prompt);
    std::fprintf(stderr, "%s%s(%s; an empty line cancels)\n> ", title.c_str(), title.empty() ? "" : " ",
                 choiceHint(kind));
    std::fflush(stderr);
    std::string line;
    if (!std::getline(std::cin, line) || line.empty() || console::interrupted()) return -128;
    object.SetObject(line.c_str());
    return 0;
}

bool TerminalUI::display() {
    shown_ = bar_;
    item_.clear();
    total_ = position_ = 0;
    return true;
}

void TerminalUI::destroy() {
    if (!shown_) return;
    draw(true);
    std::fputc('\n', stderr);
    std::fflush(stderr);
    shown_ = false;
}

void TerminalUI::archiveName(const char*) {}

void TerminalUI::curScanName(const char* path) {
    item_ = path;
    draw(false);
}

void TerminalUI::itemsLeft(uint32_t count) { itemsLeft_ = count; }

void TerminalUI::begin(uint32_t total) {
    total_ = total;
    draw(true);
}

bool TerminalUI::move(uint32_t position) {
    if (console::interrupted()) return false;
    position_ = position;
    draw(false);
    return true;
}

bool TerminalUI::canceled() const { return console::interrupted(); }

bool TerminalUI::password(std::string& text) {
    return console::readHidden("The archive has been protected with a password.\nPassword: ", text);
}

// At most ten redraws a second; the last state is drawn when the bar goes.
void TerminalUI::draw(bool force) {
    if (!shown_) return;
    auto now = std::chrono::steady_clock::now();
    if (!force && now - drawn_ < std::chrono::milliseconds(100)) return;
    drawn_ = now;
    int width = console::width();
    uint64_t done = total_ ? std::min(position_, total_) : 0;
    int percent = total_ ? static_cast<int>(done * 100 / total_) : 0;
    const int cells = 24;
    int filled = percent * cells / 100;
    std::string line = "\r[" + std::string(filled, '#') + std::string(cells - filled, '.') + "] ";
    char figures[96];
    std::snprintf(figures, sizeof figures, "%3d%%  %s / %s  %u left  ", percent, bytes(done).c_str(),
                  bytes(total_).c_str(), itemsLeft_);
    line += figures;
    std::string item = item_;
    int room = width - 1 - static_cast<int>(line.size() - 1);
    if (room < 4) room = 4;
    if (static_cast<int>(item.size()) > room) item = "..." + item.substr(item.size() - (room - 3));
    line += item;
    line += std::string(std::max(0, width - 1 - static_cast<int>(line.size() - 1)), ' ');
    std::fputs(line.c_str(), stderr);
    std::fflush(stderr);
}

} // namespace cli
