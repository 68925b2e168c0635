#include "utils/gralloc/LayoutDerivation.h"

#include <cerrno>
#include <climits>
#include <cstring>

#include "platform/plexa.h"
#include "utils/gralloc/Backends.h"
#include "utils/gralloc/BufferAttributes.h"
#include "utils/gralloc/CodeTable.h"
#include "utils/gralloc/FacadeLog.h"
#include "utils/gralloc/Names.h"
#include "utils/gralloc/WrappingMath.h"

namespace NSCam::gralloc {

namespace {

using Plane = zcam::GrallocStaticInfo::Plane;

// The rules log on behalf of the derivation.
constexpr char kDerivation[] = "queryStaticInfo";

constexpr int32_t kFormatCameraOpaque = 0x111;
constexpr int32_t kFormatNv12 = 0x1000;

constexpr uint64_t kCpuReadOften = 3;
constexpr int32_t kUsageProtected = 0x4000;
// Its meaning to the allocator is unknown, but for what it does to the last plane of YV12.
constexpr uint32_t kFlagAlignedFrame = 0x20000000;

// What a rule works on: the buffer, its attributes, and the answer, whose vector already holds the
// format's number of planes.
struct Derivation {
    const native_handle* handle;
    const Extra& extra;
    MyStaticInfo& info;
};

// Warns about a plane whose size is not that of its rows. A mismatch is normal for formats that are
// sized by the allocation; it exists to be seen in the log.
void checkPlaneSize(const MyStaticInfo& info, size_t plane, size_t rows) {
    const Plane& checked = info.planes[plane];
    if (checked.sizeInBytes == checked.rowStrideInBytes * rows) {
        return;
    }
    LOGW("[%s:%zu] sizeInBytes:%zu != %zu x %zu", gQueryPixelFormatName(info.format).c_str(), plane,
         size_t{checked.sizeInBytes}, size_t{checked.rowStrideInBytes}, rows);
}

void setPlane(const Derivation& buffer, size_t plane, uint64_t rowStrideInBytes,
              uint64_t sizeInBytes) {
    buffer.info.planes[plane] = {.sizeInBytes = sizeInBytes, .rowStrideInBytes = rowStrideInBytes};
    const uint64_t rows = buffer.extra.verticalStride;
    checkPlaneSize(buffer.info, plane, plane == 0 ? rows : rows >> 1);
}

uint64_t distance(const void* from, const void* to) {
    return reinterpret_cast<uintptr_t>(to) - reinterpret_cast<uintptr_t>(from);
}

// Locates the chroma planes: locks the buffer for reading and unlocks it at once. Only the
// distances and strides are used; the mapping is gone by the time they are read.
void gQueryYCbCr(android_ycbcr& ycbcr, const native_handle* handle, size_t width, size_t height) {
    const ARect region = {0, 0, static_cast<int32_t>(width), static_cast<int32_t>(height)};
    const int32_t status =
            gMapper ? gMapper->lock(handle, kCpuReadOften, region, -1, &ycbcr) : kNoBackend;
    // Contract: unlocked whatever the lock's status was.
    unlockAndWait(handle);

    LOGD("4.0: cr-y:%zu cb-cr:%zu y:%p cb:%p cr:%p ystride:%zu cstride:%zu chroma_step:%zu "
         "status:%d",
         size_t{distance(ycbcr.y, ycbcr.cr)}, size_t{distance(ycbcr.cr, ycbcr.cb)}, ycbcr.y,
         ycbcr.cb, ycbcr.cr, ycbcr.ystride, ycbcr.cstride, ycbcr.chroma_step, status);
    if (status != 0) {
        LOGF("status:%d(%s)", negated(status), strerror(negated(status)));
    }
}

android_ycbcr locateChroma(const Derivation& buffer) {
    android_ycbcr ycbcr = {};
    gQueryYCbCr(ycbcr, buffer.handle, static_cast<size_t>(buffer.info.widthInPixels),
                static_cast<size_t>(buffer.info.heightInPixels));
    return ycbcr;
}

// One plane of whole bytes a pixel, sized by the allocation.
template <uint64_t kBytesPerPixel>
int packed(const Derivation& buffer) {
    setPlane(buffer, 0, buffer.extra.stride * kBytesPerPixel, buffer.extra.allocSize);
    return 0;
}

int yCbCr422I(const Derivation& buffer) {
    packed<2>(buffer);
    const Plane& plane = buffer.info.planes[0];
    if (plane.rowStrideInBytes % 32 != 0) {
        LOGW_AS(kDerivation, "[YCbCr_422_I] rowStrideInBytes:%zu is not a multiple of 32",
                size_t{plane.rowStrideInBytes});
    }
    if (plane.sizeInBytes < plane.rowStrideInBytes * 16) {
        LOGW_AS(kDerivation, "[YCbCr_422_I] sizeInBytes:%zu<rowStrideInBytes:%zu*16",
                size_t{plane.sizeInBytes}, size_t{plane.rowStrideInBytes});
    }
    return 0;
}

// Contract: the stride of the buffer is not looked at.
int raw16(const Derivation& buffer) {
    const int32_t rowStride = wrappingMul(buffer.info.widthInPixels, 2);
    const int64_t size = product64(rowStride, buffer.info.heightInPixels);
    setPlane(buffer, 0, signExtended(rowStride), signExtended(size));
    LOGD_AS(kDerivation, "set RAW16 stride: %d, size: %d, row: %d", rowStride,
            static_cast<int>(size), static_cast<int>(buffer.extra.verticalStride));
    return 0;
}

// The stride of a RAW10 buffer counts bytes.
int raw10(const Derivation& buffer) {
    setPlane(buffer, 0, buffer.extra.stride, buffer.extra.height * buffer.extra.stride);
    LOGD_AS(kDerivation, "HAL_PIXEL_FORMAT_RAW10 rowStrideInBytes(%zu) sizeInBytes(%zu)",
            size_t{buffer.info.planes[0].rowStrideInBytes},
            size_t{buffer.info.planes[0].sizeInBytes});
    return 0;
}

int packed10(const Derivation& buffer, uint64_t stride) {
    LOGD_AS(kDerivation, "only in zsl mode: %#x(%s)", static_cast<uint32_t>(buffer.info.format),
            gQueryPixelFormatName(buffer.info.format).c_str());
    setPlane(buffer, 0, packed10Bits(stride), buffer.extra.allocSize);
    return 0;
}

int implementationDefined(const Derivation& buffer) {
    return packed10(buffer, buffer.extra.stride);
}

int cameraOpaque(const Derivation& buffer) {
    return packed10(buffer, aligned64(buffer.extra.stride));
}

int unresolvedFlexible(const Derivation& buffer) {
    LOGE_AS(kDerivation, "format from plexa_query should not be: %#x(%s)",
            static_cast<uint32_t>(buffer.info.format),
            gQueryPixelFormatName(buffer.info.format).c_str());
    return INT32_MIN;
}

// Luma and interleaved chroma of half its size, both computed in 32 bits.
int twoPlanes(const Derivation& buffer, int32_t bytesPerSample, uint64_t rowStride) {
    const int32_t stride = buffer.extra.stride32;
    const int32_t height = buffer.extra.height32;
    setPlane(buffer, 0, rowStride,
             signExtended(product64(stride, height)) * static_cast<uint64_t>(bytesPerSample));
    setPlane(buffer, 1, rowStride,
             signExtended(halved(wrappingMul(wrappingMul(stride, height), bytesPerSample))));
    return 0;
}

int nv12(const Derivation& buffer) {
    return twoPlanes(buffer, 1, signExtended(buffer.extra.stride32));
}

int p010(const Derivation& buffer) {
    return twoPlanes(buffer, 2, buffer.extra.stride * 2);
}

// The CrCb plane starts at cr and takes the rest of the allocation, tail padding included.
int nv21(const Derivation& buffer) {
    // A protected buffer cannot be locked.
    if ((buffer.extra.usage & kUsageProtected) != 0) {
        return nv12(buffer);
    }

    const android_ycbcr ycbcr = locateChroma(buffer);
    const uint64_t lumaSize = distance(ycbcr.y, ycbcr.cr);
    setPlane(buffer, 0, ycbcr.ystride, lumaSize);
    setPlane(buffer, 1, ycbcr.cstride, buffer.extra.allocSize - lumaSize);
    return 0;
}

// Y, Cr, Cb: the order is the format's, not searched for.
int yv12(const Derivation& buffer) {
    const android_ycbcr ycbcr = locateChroma(buffer);
    const uint64_t offsetOfCb = distance(ycbcr.y, ycbcr.cb);
    setPlane(buffer, 0, ycbcr.ystride, distance(ycbcr.y, ycbcr.cr));
    setPlane(buffer, 1, ycbcr.cstride, distance(ycbcr.cr, ycbcr.cb));
    setPlane(buffer, 2, ycbcr.cstride, buffer.extra.allocSize - offsetOfCb);
    if ((buffer.extra.bufferFlags & kFlagAlignedFrame) == 0) {
        return 0;
    }

    // Contract: the size has been checked before this replacement, which is not checked again.
    const int32_t frame =
            alignedFrameAndAHalf(buffer.info.widthInPixels, buffer.info.heightInPixels);
    buffer.info.planes[2].sizeInBytes = signExtended(frame) - offsetOfCb;
    return 0;
}

struct FormatRule {
    int32_t code;
    size_t planes;  // 0: the rule leaves the planes alone
    int (*derive)(const Derivation& buffer);
};

constexpr std::array kFormatRules{
        FormatRule{HAL_PIXEL_FORMAT_RGBA_8888, 1, packed<4>},
        FormatRule{HAL_PIXEL_FORMAT_RGB_888, 1, packed<3>},
        FormatRule{HAL_PIXEL_FORMAT_BGRA_8888, 1, packed<4>},
        FormatRule{HAL_PIXEL_FORMAT_YCRCB_420_SP, 2, nv21},
        FormatRule{HAL_PIXEL_FORMAT_YCBCR_422_I, 1, yCbCr422I},
        FormatRule{HAL_PIXEL_FORMAT_RAW16, 1, raw16},
        FormatRule{HAL_PIXEL_FORMAT_BLOB, 1, packed<1>},
        FormatRule{HAL_PIXEL_FORMAT_IMPLEMENTATION_DEFINED, 1, implementationDefined},
        FormatRule{HAL_PIXEL_FORMAT_YCBCR_420_888, 0, unresolvedFlexible},
        FormatRule{HAL_PIXEL_FORMAT_RAW_OPAQUE, 1, packed<1>},
        FormatRule{HAL_PIXEL_FORMAT_RAW10, 1, raw10},
        FormatRule{HAL_PIXEL_FORMAT_YCBCR_P010, 2, p010},
        FormatRule{kFormatCameraOpaque, 1, cameraOpaque},
        FormatRule{kFormatNv12, 2, nv12},
        FormatRule{HAL_PIXEL_FORMAT_Y8, 1, packed<1>},
        FormatRule{HAL_PIXEL_FORMAT_YV12, 3, yv12},
};
static_assert(ascendingByCode(kFormatRules));

}  // namespace

int queryStaticInfo(const native_handle* handle, MyStaticInfo& info) {
    Extra extra;
    if (const int result = gQueryExtra(handle, extra); result != 0) {
        LOGE("Given buffer_handle_t:%p, plexa_query returns %d", static_cast<const void*>(handle),
             result);
        return INT32_MIN;
    }

    info.format = extra.format;
    info.widthInPixels = static_cast<int32_t>(extra.width);
    info.heightInPixels = static_cast<int32_t>(extra.height);
    info.usage = extra.usage;
    info.allocSize = extra.allocSize;
    info.bufferFlags = extra.bufferFlags;

    const FormatRule* const rule = findCode<kFormatRules>(extra.format);
    if (rule == nullptr) {
        LOGE("Not support format: %#x(%s)", static_cast<uint32_t>(extra.format),
             gQueryPixelFormatName(extra.format).c_str());
        return -ENOENT;
    }
    if (rule->planes != 0) {
        info.planes.resize(rule->planes);
    }
    return rule->derive({handle, extra, info});
}

}  // namespace NSCam::gralloc
