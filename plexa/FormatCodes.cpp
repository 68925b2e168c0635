#include "plexa/FormatCodes.h"

namespace zelkcam::plexa {
namespace {

constexpr uint32_t fourcc(const char (&name)[5]) {
    uint32_t code = 0;
    for (int i = 3; i >= 0; --i) {
        code = code << 8 | static_cast<unsigned char>(name[i]);
    }
    return code;
}
static_assert(fourcc("YV12") == 0x32315659);

// Codes of device makers, which the published list does not have.
constexpr auto kNv12 = static_cast<PixelFormat>(0x1000);
constexpr auto kCameraOpaque = static_cast<PixelFormat>(0x111);

struct FormatCode {
    uint32_t fourcc;
    PixelFormat format;
};

// R8 is missing on purpose: it may be Y8, R_8 or a plane of something else.
constexpr FormatCode kFormatCodes[] = {
        {fourcc("NV12"), kNv12},
        {fourcc("NV21"), PixelFormat::YCRCB_420_SP},
        {fourcc("YV12"), PixelFormat::YV12},
        {fourcc("P010"), PixelFormat::YCBCR_P010},
        {fourcc("NV16"), PixelFormat::YCBCR_422_SP},
        {fourcc("YUYV"), PixelFormat::YCBCR_422_I},
        {fourcc("COPQ"), kCameraOpaque},  // of no DRM format: the host mapper's own
        {fourcc("AB24"), PixelFormat::RGBA_8888},
        {fourcc("XB24"), PixelFormat::RGBX_8888},
        {fourcc("BG24"), PixelFormat::RGB_888},
        {fourcc("RG16"), PixelFormat::RGB_565},
        {fourcc("AR24"), PixelFormat::BGRA_8888},
        {fourcc("AB4H"), PixelFormat::RGBA_FP16},
        {fourcc("AB30"), PixelFormat::RGBA_1010102},
};

}  // namespace

std::optional<PixelFormat> formatOfFourcc(uint32_t fourcc) {
    for (const FormatCode& code : kFormatCodes) {
        if (code.fourcc == fourcc) {
            return code.format;
        }
    }
    return std::nullopt;
}

}  // namespace zelkcam::plexa
