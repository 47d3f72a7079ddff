#pragma once

#include <cstdint>
#include <memory>
#include <string>

class FSObject;

namespace Crwk {

// What the plug-in asks of the person at the machine: a path from one of the
// four choosers, progress with a Cancel, and a password. The Windows build
// shows dialogs, the command-line tool uses the terminal, tests use a script.
class UI {
public:
    enum Kind : int32_t { kChooseFile = 3, kChooseFolder = 4, kChooseItem = 5, kChooseNewFile = 6 };

    virtual ~UI() = default;

    // Runs the chooser of `kind` with the prompt as its title. Answers 0 with
    // the choice given to `object`, or -128 when the person cancels.
    virtual int32_t choose(int32_t kind, const char* prompt, FSObject& object) = 0;

    // Progress of one run. display() answers false when it can't show
    // anything; move() answers false once Cancel was pressed, and canceled()
    // tells whether it was pressed by now.
    virtual bool display() = 0;
    virtual void destroy() = 0;
    virtual void archiveName(const char* name) = 0;
    virtual void curScanName(const char* path) = 0;
    virtual void itemsLeft(uint32_t count) = 0;
    virtual void begin(uint32_t total) = 0;
    virtual bool move(uint32_t position) = 0;
    virtual bool canceled() const = 0;

    // Asks for a password; false when the person cancels.
    virtual bool password(std::string& text) = 0;
};

// The interface in use: the one installed by setUI, else one named by the
// environment (CRATEWERK_UI_SCRIPT), else the platform's own.
UI& ui();
// Installs `replacement` (not owned); null returns to the default.
void setUI(UI* replacement);
// The platform's own: dialogs on Windows, a UI that cancels every question elsewhere.
std::unique_ptr<UI> makePlatformUI();

const char* chooserName(int32_t kind);

} // namespace Crwk
