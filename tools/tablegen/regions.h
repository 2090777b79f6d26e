// What each region's source contributes.
#pragma once

#include "emit.h"
#include "mapping.h"

namespace tablegen {

Headers japanese(const MappingDirectory& mappings);
Headers korean(const MappingDirectory& mappings);
Headers simplified_chinese(const MappingDirectory& mappings);
Headers traditional_chinese(const MappingDirectory& mappings);
Headers single_byte(const MappingDirectory& mappings);
Headers unicode_case(const MappingDirectory& mappings);

} // namespace tablegen
