#pragma once

#include "un/un.structure.h"

namespace format {

// The base of every format record: it checks, reads and writes itself.
class Header : public un::structure {};

} // namespace format
