// A picture as a PNG file.
#pragma once

#include <ostream>

#include "tools/grallocinfo/Picture.h"

namespace grallocinfo {

// 8 bits a channel, no opacity. Throws a Failure when the encoder fails; a stream that fails is
// left to its owner.
void printPng(std::ostream& out, const Picture& picture);

}  // namespace grallocinfo
