#pragma once

namespace util {

class System {
public:
    // Lets the host's windows stay alive during a long run: on Windows it
    // empties the thread's message queue, elsewhere it does nothing.
    static void yield();
};

} // namespace util
