#include "util/util.System.h"

namespace util {

void System::yield() {}

} // namespace util
