#pragma once

#include <cstdint>

// Answers 4 when the host's interface version lies from 4 to 255, else -1.
int32_t Do_PluginInit(int16_t version);
void Do_PluginIdle(uint8_t level);
void Do_PluginShutdown();
