// A buffer's planes in memory, drawn with block characters for a terminal.
#pragma once

#include <ostream>

#include "tools/grallocinfo/Geometry.h"

namespace grallocinfo {

// Bytes of a row run across, rows run down, to scale; whatever is smaller than a character, but
// there, is drawn as one. With `colour` every plane has its own. Lines stay within `lineWidth`
// characters, unless that is too few to draw anything.
void printBlocks(std::ostream& out, const BufferGeometry& buffer, bool colour, size_t lineWidth);

}  // namespace grallocinfo
