#include "plugin/Crwk.UI.h"

#include "plugin/Crwk.ScriptedUI.h"

namespace Crwk {

// A plug-in loaded outside Windows has nobody to ask: every chooser and
// password question is a cancel, and progress goes nowhere.
std::unique_ptr<UI> makePlatformUI() { return std::make_unique<ScriptedUI>(); }

} // namespace Crwk
