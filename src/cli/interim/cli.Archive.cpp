// Stand-ins for builds without the engine's reader.
#include "cli/cli.Commands.h"

namespace cli {

int expand(const Arguments&) {
    complain("archive format is not supported");
    return kFailure;
}
int list(const Arguments&) {
    complain("archive format is not supported");
    return kFailure;
}
int identify(const Arguments&) {
    complain("archive format is not supported");
    return kFailure;
}

} // namespace cli
