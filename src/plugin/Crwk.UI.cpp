#include "plugin/Crwk.UI.h"

#include <cstdlib>

#include "plugin/Crwk.ScriptedUI.h"

namespace Crwk {

namespace {

UI* gInstalled = nullptr;

std::unique_ptr<UI> makeDefaultUI() {
    const char* script = std::getenv("CRATEWERK_UI_SCRIPT");
    if (script && *script) {
        auto scripted = std::make_unique<ScriptedUI>();
        const char* log = std::getenv("CRATEWERK_UI_LOG");
        scripted->load(script, log ? log : "");
        return scripted;
    }
    return makePlatformUI();
}

} // namespace

UI& ui() {
    if (gInstalled) return *gInstalled;
    static std::unique_ptr<UI> fallback = makeDefaultUI();
    return *fallback;
}

void setUI(UI* replacement) { gInstalled = replacement; }

const char* chooserName(int32_t kind) {
    switch (kind) {
    case UI::kChooseFile: return "ChooseFile";
    case UI::kChooseFolder: return "ChooseFolder";
    case UI::kChooseItem: return "ChooseItem";
    case UI::kChooseNewFile: return "ChooseNewFile";
    default: return "ChooseNothing";
    }
}

} // namespace Crwk
