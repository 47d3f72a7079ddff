#include "util/util.System.h"

#include <windows.h>

namespace util {

void System::yield() {
    MSG message;
    while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) {
        TranslateMessage(&message);
        DispatchMessageA(&message);
    }
}

} // namespace util
