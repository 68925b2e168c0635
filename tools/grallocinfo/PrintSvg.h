// A buffer's planes in memory as an SVG picture, to scale.
#pragma once

#include <ostream>
#include <string>

#include "tools/grallocinfo/Geometry.h"

namespace grallocinfo {

// Bytes of a row run across, rows run down, planes in memory order; one scale across and one down
// for the whole picture. Every plane is a group of class "plane" that carries its numbers as data-
// attributes. `title` and `subtitle` stand above.
void printSvg(std::ostream& out, const BufferGeometry& buffer, const std::string& title,
              const std::string& subtitle);

// The same within a page of HTML: its style names the colours of text and lines, and it holds
// printSvgPatterns in an element before the first picture.
void printSvgInPage(std::ostream& out, const BufferGeometry& buffer);
void printSvgPatterns(std::ostream& out);

}  // namespace grallocinfo
