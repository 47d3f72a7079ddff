#include "plugin/Crwk.ScriptedUI.h"

#include <fstream>

#include "plugin/FSObject_Win.h"

namespace Crwk {

ScriptedUI::~ScriptedUI() {
    if (log_) std::fclose(log_);
}

bool ScriptedUI::load(const std::string& scriptPath, const std::string& logPath) {
    std::ifstream in(scriptPath);
    if (!in) return false;
    std::string line;
    while (std::getline(in, line)) addLine(line);
    if (!logPath.empty()) log_ = std::fopen(logPath.c_str(), "a");
    return true;
}

void ScriptedUI::addLine(const std::string& raw) {
    std::string line = raw;
    while (!line.empty() && (line.back() == '\r' || line.back() == '\n')) line.pop_back();
    if (line.empty() || line[0] == '#') return;
    size_t space = line.find(' ');
    std::string word = line.substr(0, space);
    std::string rest = space == std::string::npos ? std::string() : line.substr(space + 1);
    if (word == "choose")
        answerChooser(rest);
    else if (word == "cancel")
        cancelChooser();
    else if (word == "password")
        answerPassword(rest);
    else if (word == "password-cancel")
        cancelPassword();
    else if (word == "cancel-at")
        cancelAt(std::stoull(rest));
    else if (word == "no-display")
        failDisplay();
}

void ScriptedUI::note(const std::string& line) {
    record_.push_back(line);
    if (log_) {
        std::fprintf(log_, "%s\n", line.c_str());
        std::fflush(log_);
    }
}

int32_t ScriptedUI::choose(int32_t kind, const char* prompt, FSObject& object) {
    note(std::string(chooserName(kind)) + ": " + prompt);
    if (choices_.empty()) return -128;
    Answer a = choices_.front();
    choices_.pop_front();
    if (a.cancel) return -128;
    object.SetObject(a.text.c_str());
    return 0;
}

bool ScriptedUI::display() {
    note("display");
    if (failDisplay_) return false;
    canceled_ = false;
    return true;
}

void ScriptedUI::destroy() { note("destroy"); }
void ScriptedUI::archiveName(const char* name) { note(std::string("archiveName ") + name); }

void ScriptedUI::curScanName(const char* path) {
    FSObject item(path);
    note(std::string("curScanName ") + item.name);
}

void ScriptedUI::itemsLeft(uint32_t count) { note("itemsLeft " + std::to_string(count)); }
void ScriptedUI::begin(uint32_t total) { note("begin " + std::to_string(total)); }

bool ScriptedUI::move(uint32_t position) {
    if (canceled_) return false;
    lastPosition_ = position;
    if (position >= cancelAt_) {
        note("cancel " + std::to_string(position));
        canceled_ = true;
    }
    return true;
}

bool ScriptedUI::password(std::string& text) {
    note("PasswordDialog");
    if (passwords_.empty()) return false;
    Answer a = passwords_.front();
    passwords_.pop_front();
    if (a.cancel) return false;
    text = a.text;
    return true;
}

} // namespace Crwk
