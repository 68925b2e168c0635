// A buffer's planes in memory, drawn with block characters for a terminal.
#pragma once

#include <optional>
#include <ostream>

#include "tools/grallocinfo/Geometry.h"

namespace grallocinfo {

// Bytes of a row run across, rows run down, to scale; whatever is thinner than a character, but
// there, is drawn as one, and a line below the drawing names it. With `colour` every plane has its
// own. Lines are as wide as a terminal of `terminalWidth` characters, unless that is too few to
// draw anything; without one, the cells of a row are 64.
void printBlocks(std::ostream& out, const BufferGeometry& buffer, bool colour,
                 std::optional<size_t> terminalWidth);

}  // namespace grallocinfo
