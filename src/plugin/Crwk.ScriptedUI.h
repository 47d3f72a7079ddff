#pragma once

#include <cstdio>
#include <deque>
#include <string>
#include <vector>

#include "plugin/Crwk.UI.h"

namespace Crwk {

// A UI that answers from queues and records every question, for tests and
// for host runs that must not wait on a person. An empty queue cancels.
//
// Script lines (file form): "choose PATH", "cancel", "password TEXT",
// "password-cancel", "cancel-at BYTES" (Cancel once progress reaches BYTES),
// "no-display" (the progress window can't be made); "#" starts a comment.
class ScriptedUI : public UI {
public:
    ScriptedUI() = default;
    ~ScriptedUI() override;

    // Reads a script; `logPath`, if not empty, receives each record as a line.
    bool load(const std::string& scriptPath, const std::string& logPath);
    void addLine(const std::string& line);

    void answerChooser(const std::string& path) { choices_.push_back({false, path}); }
    void cancelChooser() { choices_.push_back({true, {}}); }
    void answerPassword(const std::string& text) { passwords_.push_back({false, text}); }
    void cancelPassword() { passwords_.push_back({true, {}}); }
    void cancelAt(uint64_t position) { cancelAt_ = position; }
    void failDisplay() { failDisplay_ = true; }

    // "ChooseFile: <prompt>", "PasswordDialog", "display", "archiveName <name>",
    // "begin <total>", "curScanName <name>", "itemsLeft <n>", "destroy".
    const std::vector<std::string>& record() const { return record_; }
    uint64_t lastPosition() const { return lastPosition_; }

    int32_t choose(int32_t kind, const char* prompt, FSObject& object) override;
    bool display() override;
    void destroy() override;
    void archiveName(const char* name) override;
    void curScanName(const char* path) override;
    void itemsLeft(uint32_t count) override;
    void begin(uint32_t total) override;
    bool move(uint32_t position) override;
    bool canceled() const override { return canceled_; }
    bool password(std::string& text) override;

private:
    struct Answer {
        bool cancel;
        std::string text;
    };
    void note(const std::string& line);

    std::deque<Answer> choices_;
    std::deque<Answer> passwords_;
    uint64_t cancelAt_ = UINT64_MAX;
    bool failDisplay_ = false;
    bool canceled_ = false;
    uint64_t lastPosition_ = 0;
    std::vector<std::string> record_;
    std::FILE* log_ = nullptr;
};

} // namespace Crwk
