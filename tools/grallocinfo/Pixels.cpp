#include "tools/grallocinfo/Pixels.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include <libyuv.h>

#include "platform/utils.h"
#include "tools/grallocinfo/Geometry.h"
#include "utils/gralloc/CodeTable.h"

namespace grallocinfo {

namespace {

struct Plane {
    uint8_t* data = nullptr;
    int stride = 0;

    uint8_t* row(int y) const { return data + ptrdiff_t{y} * stride; }
};

// Rows of a plane that is the tool's own.
class Scratch {
  public:
    Scratch(int rowBytes, int rows)
        : mBytes(size_t(rowBytes) * size_t(rows)), mPlane{mBytes.data(), rowBytes} {}
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;

    const Plane* operator->() const { return &mPlane; }
    const Plane& operator*() const { return mPlane; }

  private:
    std::vector<uint8_t> mBytes;
    const Plane mPlane;
};

// A locked buffer as the conversions take it. libyuv rounds the chroma of an odd size up, the
// buffers here round it down: what is left of an odd size has no chroma of its own.
struct Frame {
    int width = 0;
    int height = 0;
    std::array<Plane, 3> planes;

    int chromaWidth() const { return width / 2; }
    int chromaHeight() const { return height / 2; }
    int roundedWidth() const { return (width + 1) / 2; }
    int roundedHeight() const { return (height + 1) / 2; }

    Picture picture(Samples samples) const {
        return {samples, static_cast<uint32_t>(width), static_cast<uint32_t>(height)};
    }
};

Plane planeOf(Picture& picture) {
    return {picture.row(0), static_cast<int>(picture.rowBytes())};
}

// Only read by its user: libyuv's sources and destinations are of one kind here.
Plane planeOf(const Picture& picture) {
    return {const_cast<uint8_t*>(picture.row(0)), static_cast<int>(picture.rowBytes())};
}

// The chroma of a frame with as many samples as libyuv reads: beyond the last sample the last one
// goes on, and without any it is neutral. A sample, or pair of samples, has `bytes` bytes.
void roundChroma(const Frame& frame, const Plane& chroma, int bytes, const Scratch& rounded) {
    const int columns = frame.chromaWidth() * bytes;
    const int rows = frame.chromaHeight();
    for (int y = 0; y < frame.roundedHeight(); ++y) {
        uint8_t* const to = rounded->row(y);
        for (int x = 0; x < frame.roundedWidth() * bytes; ++x) {
            const int from = x < columns ? x : x - bytes;
            const bool isUpperByte = bytes < 4 || x % 2 == 1;
            to[x] = columns > 0 && rows > 0 ? chroma.row(std::min(y, rows - 1))[from]
                    : isUpperByte           ? 0x80
                                            : 0;
        }
    }
}

// Of 256 or 1024 sRGB levels, the linear light of each as 16 bits.
template <size_t kLevels>
const std::array<uint16_t, kLevels>& linearLight() {
    static const auto table = [] {
        std::array<uint16_t, kLevels> light{};
        for (size_t i = 0; i < kLevels; ++i) {
            const double level = double(i) / (kLevels - 1);
            const double linear =
                    level <= 0.04045 ? level / 12.92 : std::pow((level + 0.055) / 1.055, 2.4);
            light[i] = static_cast<uint16_t>(std::lround(linear * 65535));
        }
        return light;
    }();
    return table;
}

// RGB in memory is libyuv's "RAW", BGRA its "ARGB" and RGBA its "ABGR". Of conversions that give
// RAW it has few: the others are those to "RGB24" with Cb and Cr exchanged in planes and constants.
constexpr const libyuv::YuvConstants* kExchanged = &libyuv::kYvuJPEGConstants;

Picture readRgba(const Frame& frame) {
    const Scratch argb(frame.width * 4, frame.height);
    const Plane& from = frame.planes[0];
    libyuv::ABGRToARGB(from.data, from.stride, argb->data, argb->stride, frame.width, frame.height);
    Picture picture = frame.picture(Samples::kRgb8);
    const Plane to = planeOf(picture);
    libyuv::ARGBToRAW(argb->data, argb->stride, to.data, to.stride, frame.width, frame.height);
    return picture;
}

void writeRgba(const Frame& frame, const Plane& rgb) {
    const Plane& to = frame.planes[0];
    const Scratch argb(frame.width * 4, frame.height);
    libyuv::RAWToARGB(rgb.data, rgb.stride, argb->data, argb->stride, frame.width, frame.height);
    libyuv::ARGBToABGR(argb->data, argb->stride, to.data, to.stride, frame.width, frame.height);
}

Picture readBgra(const Frame& frame) {
    Picture picture = frame.picture(Samples::kRgb8);
    const Plane& from = frame.planes[0];
    const Plane to = planeOf(picture);
    libyuv::ARGBToRAW(from.data, from.stride, to.data, to.stride, frame.width, frame.height);
    return picture;
}

void writeBgra(const Frame& frame, const Plane& rgb) {
    const Plane& to = frame.planes[0];
    libyuv::RAWToARGB(rgb.data, rgb.stride, to.data, to.stride, frame.width, frame.height);
}

template <Samples kSamples>
Picture copyOut(const Frame& frame) {
    Picture picture = frame.picture(kSamples);
    const Plane& from = frame.planes[0];
    const Plane to = planeOf(picture);
    libyuv::CopyPlane(from.data, from.stride, to.data, to.stride, to.stride, frame.height);
    return picture;
}

void writeRgb(const Frame& frame, const Plane& rgb) {
    const Plane& to = frame.planes[0];
    libyuv::CopyPlane(rgb.data, rgb.stride, to.data, to.stride, rgb.stride, frame.height);
}

template <bool kCrFirst>
Picture readSemiPlanar(const Frame& frame) {
    const Scratch chroma(frame.roundedWidth() * 2, frame.roundedHeight());
    roundChroma(frame, frame.planes[1], 2, chroma);
    Picture picture = frame.picture(Samples::kRgb8);
    const Plane& y = frame.planes[0];
    const Plane to = planeOf(picture);
    constexpr auto convert = kCrFirst ? libyuv::NV12ToRGB24Matrix : libyuv::NV21ToRGB24Matrix;
    convert(y.data, y.stride, chroma->data, chroma->stride, to.data, to.stride, kExchanged,
            frame.width, frame.height);
    return picture;
}

// Y in a plane of 8 bits a sample, Cb and Cr with as many samples as libyuv writes.
struct Planar {
    explicit Planar(const Frame& frame)
        : cb(frame.roundedWidth(), frame.roundedHeight()),
          cr(frame.roundedWidth(), frame.roundedHeight()) {}

    void convert(const Frame& frame, const Plane& rgb, const Plane& y) const {
        libyuv::RAWToJ420(rgb.data, rgb.stride, y.data, y.stride, cb->data, cb->stride, cr->data,
                          cr->stride, frame.width, frame.height);
    }

    const Scratch cb;
    const Scratch cr;
};

void merge(const Frame& frame, const Scratch& first, const Scratch& second, const Plane& to) {
    libyuv::MergeUVPlane(first->data, first->stride, second->data, second->stride, to.data,
                         to.stride, frame.chromaWidth(), frame.chromaHeight());
}

template <bool kCrFirst>
void writeSemiPlanar(const Frame& frame, const Plane& rgb) {
    const Planar planar(frame);
    planar.convert(frame, rgb, frame.planes[0]);
    merge(frame, kCrFirst ? planar.cr : planar.cb, kCrFirst ? planar.cb : planar.cr,
          frame.planes[1]);
}

// YV12: Y, Cr, Cb.
Picture readPlanar(const Frame& frame) {
    const Planar chroma(frame);
    roundChroma(frame, frame.planes[1], 1, chroma.cr);
    roundChroma(frame, frame.planes[2], 1, chroma.cb);
    Picture picture = frame.picture(Samples::kRgb8);
    const Plane& y = frame.planes[0];
    const Plane to = planeOf(picture);
    libyuv::J420ToRAW(y.data, y.stride, chroma.cb->data, chroma.cb->stride, chroma.cr->data,
                      chroma.cr->stride, to.data, to.stride, frame.width, frame.height);
    return picture;
}

void writePlanar(const Frame& frame, const Plane& rgb) {
    const Planar planar(frame);
    planar.convert(frame, rgb, frame.planes[0]);
    const auto put = [&](const Scratch& from, const Plane& to) {
        libyuv::CopyPlane(from->data, from->stride, to.data, to.stride, frame.chromaWidth(),
                          frame.chromaHeight());
    };
    put(planar.cr, frame.planes[1]);
    put(planar.cb, frame.planes[2]);
}

// The three planes of 4:2:2, which libyuv makes of interleaved samples and these of them.
struct Planar422 {
    explicit Planar422(const Frame& frame)
        : y(frame.width, frame.height),
          cb(frame.roundedWidth(), frame.height),
          cr(frame.roundedWidth(), frame.height) {}

    const Scratch y;
    const Scratch cb;
    const Scratch cr;
};

Picture draw422(const Frame& frame, const Planar422& p) {
    Picture picture = frame.picture(Samples::kRgb8);
    const Plane to = planeOf(picture);
    libyuv::I422ToRGB24Matrix(p.y->data, p.y->stride, p.cr->data, p.cr->stride, p.cb->data,
                              p.cb->stride, to.data, to.stride, kExchanged, frame.width,
                              frame.height);
    return picture;
}

void split422(const Frame& frame, const Plane& rgb, const Planar422& p) {
    const Scratch argb(frame.width * 4, frame.height);
    libyuv::RAWToARGB(rgb.data, rgb.stride, argb->data, argb->stride, frame.width, frame.height);
    libyuv::ARGBToJ422(argb->data, argb->stride, p.y->data, p.y->stride, p.cb->data, p.cb->stride,
                       p.cr->data, p.cr->stride, frame.width, frame.height);
}

Picture readInterleaved(const Frame& frame) {
    const Planar422 p(frame);
    const Plane& from = frame.planes[0];
    libyuv::YUY2ToI422(from.data, from.stride, p.y->data, p.y->stride, p.cb->data, p.cb->stride,
                       p.cr->data, p.cr->stride, frame.width, frame.height);
    return draw422(frame, p);
}

// A column that is left of an odd width takes the chroma of the one before it.
Picture readSemiPlanar422(const Frame& frame) {
    const Planar422 p(frame);
    const Plane& luma = frame.planes[0];
    const Plane& chroma = frame.planes[1];
    libyuv::CopyPlane(luma.data, luma.stride, p.y->data, p.y->stride, frame.width, frame.height);
    libyuv::SplitUVPlane(chroma.data, chroma.stride, p.cb->data, p.cb->stride, p.cr->data,
                         p.cr->stride, frame.chromaWidth(), frame.height);
    for (int y = 0; y < frame.height && frame.width % 2 != 0; ++y) {
        for (const Scratch* const plane : {&p.cb, &p.cr}) {
            uint8_t* const last = (*plane)->row(y) + frame.chromaWidth();
            *last = frame.chromaWidth() > 0 ? last[-1] : 0x80;
        }
    }
    return draw422(frame, p);
}

void writeSemiPlanar422(const Frame& frame, const Plane& rgb) {
    const Planar422 p(frame);
    const Plane& luma = frame.planes[0];
    const Plane& chroma = frame.planes[1];
    split422(frame, rgb, p);
    libyuv::CopyPlane(p.y->data, p.y->stride, luma.data, luma.stride, frame.width, frame.height);
    libyuv::MergeUVPlane(p.cb->data, p.cb->stride, p.cr->data, p.cr->stride, chroma.data,
                         chroma.stride, frame.chromaWidth(), frame.height);
}

void writeInterleaved(const Frame& frame, const Plane& rgb) {
    const Planar422 p(frame);
    const Plane& to = frame.planes[0];
    split422(frame, rgb, p);
    libyuv::I422ToYUY2(p.y->data, p.y->stride, p.cb->data, p.cb->stride, p.cr->data, p.cr->stride,
                       to.data, to.stride, frame.width, frame.height);
}

const uint16_t* words(const Plane& plane) {
    return reinterpret_cast<const uint16_t*>(plane.data);
}

Picture readP010(const Frame& frame) {
    const Scratch chroma(frame.roundedWidth() * 4, frame.roundedHeight());
    roundChroma(frame, frame.planes[1], 4, chroma);
    const Scratch ar30(frame.width * 4, frame.height);
    const Plane& luma = frame.planes[0];
    libyuv::P010ToAR30Matrix(words(luma), luma.stride / 2, words(*chroma), chroma->stride / 2,
                             ar30->data, ar30->stride, &libyuv::kYuvJPEGConstants, frame.width,
                             frame.height);
    Picture picture = frame.picture(Samples::kLinearRgb16);
    const auto& light = linearLight<1024>();
    for (int y = 0; y < frame.height; ++y) {
        const auto* from = reinterpret_cast<const uint32_t*>(ar30->row(y));
        uint16_t* to = picture.row16(size_t(y));
        for (int x = 0; x < frame.width; ++x) {
            for (const int shift : {20, 10, 0}) {
                *to++ = light[from[x] >> shift & 0x3FF];
            }
        }
    }
    return picture;
}

// Ten bits at the top of sixteen.
void widen(const Scratch& from, const Plane& to, int samples, int rows) {
    for (int y = 0; y < rows; ++y) {
        auto* const row = reinterpret_cast<uint16_t*>(to.row(y));
        for (int x = 0; x < samples; ++x) {
            row[x] = static_cast<uint16_t>(from->row(y)[x] * 0x101) & 0xFFC0;
        }
    }
}

void writeP010(const Frame& frame, const Plane& rgb) {
    const Planar planar(frame);
    const Scratch luma(frame.width, frame.height);
    const Scratch chroma(frame.roundedWidth() * 2, frame.roundedHeight());
    planar.convert(frame, rgb, *luma);
    merge(frame, planar.cb, planar.cr, *chroma);
    widen(luma, frame.planes[0], frame.width, frame.height);
    widen(chroma, frame.planes[1], frame.chromaWidth() * 2, frame.chromaHeight());
}

void writeGrey(const Frame& frame, const Plane& rgb) {
    const Plane& to = frame.planes[0];
    libyuv::RAWToJ400(rgb.data, rgb.stride, to.data, to.stride, frame.width, frame.height);
}

// Sensor samples of `kBits` bits. A group of them has the upper eight bits of each in a byte of its
// own, and behind these the lower ones together, those of the first sample lowest; RAW16 has words.
template <int kBits>
struct Packed {
    static constexpr size_t kLowBits = kBits - 8;
    static constexpr size_t kPixels = kBits == 16 ? 1 : 8 / kLowBits;
    static constexpr size_t kBytes = kPixels * kBits / 8;
    static constexpr int kMask = (1 << kLowBits) - 1;

    // Spread over all 16 bits, so that the brightest stays the brightest.
    static uint16_t get(const uint8_t* row, size_t x) {
        if constexpr (kBits == 16) {
            return static_cast<uint16_t>(row[2 * x] | row[2 * x + 1] << 8);
        }
        const uint8_t* const group = row + x / kPixels * kBytes;
        const int low = group[kBytes - 1] >> x % kPixels * kLowBits & kMask;
        const int value = group[x % kPixels] << kLowBits | low;
        return static_cast<uint16_t>(value << (16 - kBits) | value >> (2 * kBits - 16));
    }

    // Into a row of zeros.
    static void put(uint8_t* row, size_t x, uint16_t value) {
        if constexpr (kBits == 16) {
            row[2 * x] = static_cast<uint8_t>(value);
            row[2 * x + 1] = static_cast<uint8_t>(value >> 8);
            return;
        }
        uint8_t* const group = row + x / kPixels * kBytes;
        group[x % kPixels] = static_cast<uint8_t>(value >> 8);
        group[kBytes - 1] |=
                static_cast<uint8_t>((value >> (16 - kBits) & kMask) << x % kPixels * kLowBits);
    }
};

template <int kBits>
Picture readRaw(const Frame& frame) {
    Picture picture = frame.picture(Samples::kLinearGrey16);
    for (int y = 0; y < frame.height; ++y) {
        for (size_t x = 0; x < picture.width(); ++x) {
            picture.row16(size_t(y))[x] = Packed<kBits>::get(frame.planes[0].row(y), x);
        }
    }
    return picture;
}

template <int kBits>
void writeRaw(const Frame& frame, const Plane& rgb) {
    using Samples = Packed<kBits>;
    const Scratch grey(frame.width, frame.height);
    libyuv::RAWToJ400(rgb.data, rgb.stride, grey->data, grey->stride, frame.width, frame.height);
    const auto width = static_cast<size_t>(frame.width);
    const size_t groups = (width + Samples::kPixels - 1) / Samples::kPixels;
    for (int y = 0; y < frame.height; ++y) {
        uint8_t* const row = frame.planes[0].row(y);
        std::fill_n(row, groups * Samples::kBytes, uint8_t{0});
        for (size_t x = 0; x < width; ++x) {
            Samples::put(row, x, linearLight<256>()[grey->row(y)[x]]);
        }
    }
}

// `bytes` bytes of a plane's row hold `pixels` pixels; `rows` rows of the picture share one of the
// plane's.
struct Packing {
    int pixels = 0;
    int bytes = 0;
    int rows = 1;
};

struct PictureRule {
    int32_t code;
    std::array<Packing, 3> planes;  // unused ones behind those of the format
    Picture (*read)(const Frame&);
    void (*write)(const Frame&, const Plane& rgb);
    int alignment = 1;  // of rows, in bytes
};

constexpr Packing kBytes{1, 1};
constexpr Packing kPairs{2, 2, 2};
constexpr Packing kHalf{2, 1, 2};

constexpr std::array kRules{
        PictureRule{HAL_PIXEL_FORMAT_RGBA_8888, {{{1, 4}}}, readRgba, writeRgba},
        PictureRule{HAL_PIXEL_FORMAT_RGBX_8888, {{{1, 4}}}, readRgba, writeRgba},
        PictureRule{HAL_PIXEL_FORMAT_RGB_888, {{{1, 3}}}, copyOut<Samples::kRgb8>, writeRgb},
        PictureRule{HAL_PIXEL_FORMAT_BGRA_8888, {{{1, 4}}}, readBgra, writeBgra},
        PictureRule{HAL_PIXEL_FORMAT_YCbCr_422_SP,
                    {{kBytes, {2, 2}}},
                    readSemiPlanar422,
                    writeSemiPlanar422},
        PictureRule{HAL_PIXEL_FORMAT_YCrCb_420_SP,
                    {{kBytes, kPairs}},
                    readSemiPlanar<true>,
                    writeSemiPlanar<true>},
        PictureRule{HAL_PIXEL_FORMAT_YCbCr_422_I, {{{2, 4}}}, readInterleaved, writeInterleaved},
        PictureRule{HAL_PIXEL_FORMAT_RAW16, {{{1, 2}}}, readRaw<16>, writeRaw<16>},
        PictureRule{HAL_PIXEL_FORMAT_RAW10, {{{4, 5}}}, readRaw<10>, writeRaw<10>},
        PictureRule{HAL_PIXEL_FORMAT_RAW12, {{{2, 3}}}, readRaw<12>, writeRaw<12>},
        PictureRule{HAL_PIXEL_FORMAT_YCBCR_P010, {{{1, 2}, {2, 4, 2}}}, readP010, writeP010, 2},
        PictureRule{kNv12, {{kBytes, kPairs}}, readSemiPlanar<false>, writeSemiPlanar<false>},
        PictureRule{HAL_PIXEL_FORMAT_Y8, {{kBytes}}, copyOut<Samples::kGrey8>, writeGrey},
        PictureRule{HAL_PIXEL_FORMAT_YV12, {{kBytes, kHalf, kHalf}}, readPlanar, writePlanar},
};
static_assert(NSCam::gralloc::ascendingByCode(kRules));

const PictureRule* ruleOf(int32_t format) {
    return NSCam::gralloc::findCode<kRules>(format);
}

// A plane that is mapped: what of the buffer lies from its first byte to its end.
struct PlaneExtent {
    uint64_t offset;
    uint64_t size;
    uint64_t stride;
};

// All numbers come from elsewhere: no sum or product may run over.
bool holdsPlane(const PlaneExtent& plane, const Packing& packing, uint64_t groups, uint64_t rows,
                uint64_t bufferSize) {
    if (groups == 0 || rows == 0) {
        return true;
    }
    const uint64_t rowBytes = groups * static_cast<uint64_t>(packing.bytes);
    return plane.offset <= bufferSize && plane.size <= bufferSize - plane.offset &&
           plane.stride <= std::numeric_limits<int>::max() && rowBytes <= plane.stride &&
           (rows - 1) * plane.stride + rowBytes <= plane.size;
}

// The first plane's last group may be begun, the chroma of an odd size is left out.
uint64_t groupsOf(int32_t width, const Packing& packing, bool isChroma) {
    const uint64_t pixels = static_cast<uint64_t>(packing.pixels);
    return (static_cast<uint64_t>(width) + (isChroma ? 0 : pixels - 1)) / pixels;
}

// The first byte of a plane, if the one before it ends at `end`.
uint64_t startOf(const LockedBuffer& buffer, size_t plane, uint64_t end) {
    return buffer.starts.empty() ? end : buffer.starts[plane];
}

Frame frameOf(const LockedBuffer& buffer) {
    Frame frame{buffer.layout.widthInPixels, buffer.layout.heightInPixels, {}};
    uint64_t end = 0;
    for (size_t i = 0; i < frame.planes.size() && i < buffer.layout.planes.size(); ++i) {
        const auto& plane = buffer.layout.planes[i];
        const uint64_t start = startOf(buffer, i, end);
        frame.planes[i] = {buffer.data + start, static_cast<int>(plane.rowStrideInBytes)};
        end = start + plane.sizeInBytes;
    }
    return frame;
}

}  // namespace

bool hasPicture(int32_t format) {
    return ruleOf(format) != nullptr;
}

std::vector<int32_t> pictureFormats() {
    std::vector<int32_t> formats;
    formats.reserve(kRules.size());
    for (const PictureRule& rule : kRules) {
        formats.push_back(rule.code);
    }
    return formats;
}

bool holdsPicture(const LockedBuffer& buffer) {
    const auto& [format, width, height, planes] = buffer.layout;
    const PictureRule* const rule = ruleOf(format);
    if (!rule || !buffer.data || width <= 0 || height <= 0) {
        return false;
    }
    uint64_t end = 0;
    for (size_t i = 0; i < rule->planes.size() && rule->planes[i].pixels > 0; ++i) {
        const Packing& packing = rule->planes[i];
        const uint64_t start = i < planes.size() ? startOf(buffer, i, end) : 0;
        if (i >= planes.size() ||
            planes[i].rowStrideInBytes % static_cast<uint64_t>(rule->alignment) != 0 ||
            !holdsPlane({start, planes[i].sizeInBytes, planes[i].rowStrideInBytes}, packing,
                        groupsOf(width, packing, i > 0),
                        static_cast<uint64_t>(height / packing.rows), buffer.size)) {
            return false;
        }
        end = start + planes[i].sizeInBytes;
    }
    return true;
}

Picture readPicture(const LockedBuffer& buffer) {
    return ruleOf(buffer.layout.format)->read(frameOf(buffer));
}

void writePicture(const LockedBuffer& buffer, const Picture& picture) {
    ruleOf(buffer.layout.format)->write(frameOf(buffer), planeOf(picture));
}

}  // namespace grallocinfo
