#include "plugin/plugin.Support.h"

#if defined(_WIN32)
#include <windows.h>
long plugintest::TempDir::getpidValue() { return static_cast<long>(GetCurrentProcessId()); }
#else
#include <unistd.h>
long plugintest::TempDir::getpidValue() { return static_cast<long>(getpid()); }
#endif
