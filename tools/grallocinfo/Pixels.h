// The picture in a locked buffer, read and written through the planes of its layout.
#pragma once

#include <cstdint>
#include <vector>

#include "tools/grallocinfo/Picture.h"
#include "utils/gralloc/IGrallocInfoProvider.h"

namespace grallocinfo {

// Colours of YCbCr formats are BT.601 at full range, as JFIF has them; formats of one component are
// grey. P010 and the RAW formats, whose samples have more than 8 bits, become pictures of 16 bits;
// a RAW sample is taken for linear light.
bool hasPicture(int32_t format);

// The formats that have one.
std::vector<int32_t> pictureFormats();

// A buffer while it is locked: its first byte, and the bytes behind that which are mapped.
struct LockedBuffer {
    uint8_t* data;
    uint64_t size;
    const zcam::GrallocStaticInfo& layout;
    std::vector<uint64_t> starts{};  // of the planes; without any, one is behind the other
};

// Whether every sample of the picture lies within its plane, and every plane within the buffer. The
// layout of a buffer from elsewhere may claim anything: ask before the two operations below.
bool holdsPicture(const LockedBuffer& buffer);

Picture readPicture(const LockedBuffer& buffer);

// `picture` is one of 8-bit RGB and has the size of the layout. Opacity, where there is one,
// becomes full.
void writePicture(const LockedBuffer& buffer, const Picture& picture);

}  // namespace grallocinfo
