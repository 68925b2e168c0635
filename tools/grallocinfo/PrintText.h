// Answers as text for people.
#pragma once

#include <ostream>

#include "tools/grallocinfo/Answers.h"

namespace grallocinfo {

void printLayout(std::ostream& out, const LayoutAnswer& answer);

// The helper's planes and another backend's mapper's, side by side.
void printComparison(std::ostream& out, const LayoutAnswer& answer, const MapperAnswer& mapper);

void printFormats(std::ostream& out, const FormatList& list);

void printBuffer(std::ostream& out, const BufferAnswer& buffer);

// Where each plane lies and what is padding in it.
void printGeometry(std::ostream& out, const BufferGeometry& buffer);

}  // namespace grallocinfo
