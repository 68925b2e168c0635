// A picture as a PNG file.
#pragma once

#include <ostream>

#include "tools/grallocinfo/Picture.h"

namespace grallocinfo {

// 8 or 16 bits a sample as the picture has them, no opacity; linear light is marked as such (gamma
// 1.0). Throws a Failure when the encoder fails; a stream that fails is left to its owner.
void printPng(std::ostream& out, const Picture& picture);

}  // namespace grallocinfo
