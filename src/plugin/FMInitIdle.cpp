#include "plugin/FMInitIdle.h"

namespace {
constexpr int16_t kOldestHost = 4;
constexpr int16_t kNewestHost = 255;
constexpr int32_t kPluginVersion = 4;
} // namespace

int32_t Do_PluginInit(int16_t version) {
    return version >= kOldestHost && version <= kNewestHost ? kPluginVersion : -1;
}

// The plug-in keeps no state that idle time or shutdown would need to touch.
void Do_PluginIdle(uint8_t) {}
void Do_PluginShutdown() {}
