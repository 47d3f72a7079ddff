#pragma once

#include <chrono>
#include <string>

#include "plugin/Crwk.UI.h"

namespace cli {

// The person at the terminal: choosers read a path from standard input,
// progress is a bar on standard error when that is a terminal, the password
// is read without echo, and Ctrl-C is Cancel.
class TerminalUI : public Crwk::UI {
public:
    explicit TerminalUI(bool showProgress);
    ~TerminalUI() override;

    int32_t choose(int32_t kind, const char* prompt, FSObject& object) override;
    bool display() override;
    void destroy() override;
    void archiveName(const char* name) override;
    void curScanName(const char* path) override;
    void itemsLeft(uint32_t count) override;
    void begin(uint32_t total) override;
    bool move(uint32_t position) override;
    bool canceled() const override;
    bool password(std::string& text) override;

private:
    void draw(bool force);

    bool bar_;
    bool shown_ = false;
    std::string item_;
    uint32_t itemsLeft_ = 0;
    uint64_t total_ = 0;
    uint64_t position_ = 0;
    std::chrono::steady_clock::time_point drawn_{};
};

} // namespace cli
