#pragma once

#include <functional>
#include <string>
#include <vector>

#include "stream/stream.Input.h"
#include "stream/stream.Output.h"

namespace cwcodec {

// One compression method as the tool offers it. `options` are the words after
// IN OUT on the command line (such as "--block-bits 20"); a method that takes
// none ignores them. An empty function means the direction is not offered.
struct Method {
    std::string name;
    std::string usage;  // e.g. "isp -c|-d IN OUT"
    std::function<void(stream::Input&, stream::Output&, const std::vector<std::string>& options)> compress;
    std::function<void(stream::Input&, stream::Output&, const std::vector<std::string>& options)> expand;
};

// Adds a method to the tool; a method module calls it from a static Registrar.
void add(Method method);

struct Registrar {
    explicit Registrar(Method method) { add(std::move(method)); }
};

} // namespace cwcodec
