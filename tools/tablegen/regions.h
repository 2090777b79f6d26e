// What each region's source contributes.
#pragma once

#include "emit.h"
#include "mapping.h"

namespace tablegen {

Headers korean(const MappingDirectory& mappings);

} // namespace tablegen
