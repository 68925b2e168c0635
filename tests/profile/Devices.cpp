#include "tests/profile/Devices.h"

#include <algorithm>

namespace zelkcam::test {
namespace {

using namespace profile;

constexpr int32_t kNv21 = 0x11;
constexpr int32_t kFlexible = 0x23;
constexpr int32_t kNv12 = 0x1000;
constexpr int32_t kYv12 = 0x32315659;
constexpr uint64_t kCpu = 0xff;
constexpr uint64_t kEncoder = 1 << 16;
constexpr uint64_t kProtected = 1 << 14;

int64_t align(int64_t value, int64_t to) {
    return (value + to - 1) / to * to;
}

uint32_t code(const char (&name)[5]) {
    return static_cast<uint32_t>(name[0]) | static_cast<uint32_t>(name[1]) << 8 |
           static_cast<uint32_t>(name[2]) << 16 | static_cast<uint32_t>(name[3]) << 24;
}

struct Packed {
    int32_t format;
    const char (&fourcc)[5];
    int64_t bytes;
};
constexpr Packed kPacked[] = {{0x1, "AB24", 4},  {0x2, "XB24", 4},       {0x3, "BG24", 3},
                              {0x5, "AR24", 4},  {0x14, "YUYV", 2},      {0x16, "AB4H", 8},
                              {0x20, "R16 ", 2}, {0x20203859, "R8  ", 1}};

const Packed* packedOf(int32_t format) {
    const auto* found = std::find_if(std::begin(kPacked), std::end(kPacked),
                                     [&](const Packed& one) { return one.format == format; });
    return found == std::end(kPacked) ? nullptr : found;
}

Shape shapeOf(int32_t format, uint32_t fourcc) {
    Shape shape;
    shape.format = format;
    shape.fourcc = fourcc;
    return shape;
}

Observation refused(int32_t answer) {
    Observation observation;
    observation.answer = answer;
    return observation;
}

int32_t resolve(const Request& request) {
    if (request.format != 0x22 && request.format != kFlexible) {
        return request.format;
    }
    return (request.usage & kEncoder) != 0 ? kNv12 : kNv21;
}

Observation packed(const Packed& format, int64_t row, int64_t rows, const Request& request) {
    Observation seen;
    seen.shape = shapeOf(format.format, code(format.fourcc));
    seen.shape.planes = {{{{1024, 0, 8}}, format.bytes * 8, 1, 1}};
    seen.numbers.stride = seen.numbers.answeredStride = row / format.bytes;
    seen.numbers.size = row * rows;
    seen.numbers.planes[0] = {0, row, row * rows, request.width, request.height};
    return seen;
}

struct Luma {
    int64_t row;
    int64_t rows;
};

// Y and interleaved chroma of rows as long.
Observation semiPlanar(int32_t format, const Luma& luma, int64_t chromaStart, bool asThree,
                       const Request& request) {
    Observation seen;
    seen.shape = shapeOf(format, format == kNv12 ? code("NV12") : code("NV21"));
    seen.shape.chromaSiting = 2;
    const int64_t start = align(luma.row * luma.rows, chromaStart);
    const int64_t size = luma.row * (luma.rows / 2 + luma.rows % 2);
    const auto width = static_cast<int64_t>(request.width);
    const auto height = static_cast<int64_t>(request.height);
    seen.shape.planes = {{{{1, 0, 8}}, 8, 1, 1}};
    seen.numbers.planes[0] = {0, luma.row, luma.row * luma.rows, width, height};
    const int64_t first = format == kNv12 ? 2 : 4;
    if (asThree) {
        seen.shape.planes.push_back({{{2, 0, 8}}, 16, 2, 2});
        seen.shape.planes.push_back({{{4, 0, 8}}, 16, 2, 2});
        const int64_t cb = start + (first == 2 ? 0 : 1);
        const int64_t cr = start + (first == 2 ? 1 : 0);
        seen.numbers.planes[1] = {cb, luma.row, size, (width + 1) / 2, (height + 1) / 2};
        seen.numbers.planes[2] = {cr, luma.row, size, (width + 1) / 2, (height + 1) / 2};
    } else {
        seen.shape.planes.push_back({{{first, 0, 8}, {6 - first, 8, 8}}, 16, 2, 2});
        seen.numbers.planes[1] = {start, luma.row, size, (width + 1) / 2, (height + 1) / 2};
    }
    seen.numbers.stride = seen.numbers.answeredStride = luma.row;
    seen.numbers.size = start + size;
    return seen;
}

Observation planar(const Luma& luma, int64_t chromaRow, const Request& request) {
    Observation seen;
    seen.shape = shapeOf(kYv12, code("YV12"));
    seen.shape.planes = {{{{1, 0, 8}}, 8, 1, 1}, {{{4, 0, 8}}, 8, 2, 2}, {{{2, 0, 8}}, 8, 2, 2}};
    const int64_t lumaSize = luma.row * luma.rows;
    const int64_t chromaSize = chromaRow * ((luma.rows + 1) / 2);
    const int64_t width = request.width / 2;
    const int64_t height = request.height / 2;
    seen.numbers.planes[0] = {0, luma.row, lumaSize, request.width, request.height};
    seen.numbers.planes[1] = {lumaSize, chromaRow, chromaSize, width, height};
    seen.numbers.planes[2] = {lumaSize + chromaSize, chromaRow, chromaSize, width, height};
    seen.numbers.stride = seen.numbers.answeredStride = luma.row;
    seen.numbers.size = lumaSize + 2 * chromaSize;
    return seen;
}

// Rows of whole 48 pixels, chroma rows aligned on their own, semi-planar buffers told as three
// planes, a tail of 4,160 bytes before the size is rounded.
Observation odd(const Request& request) {
    const int32_t format = resolve(request);
    Observation seen;
    if (const Packed* const known = packedOf(format)) {
        seen = packed(*known, align(request.width, 48) * known->bytes, request.height, request);
    } else if (format == kNv21 || format == kNv12) {
        seen = semiPlanar(format, {align(request.width, 96), request.height}, 256, true, request);
    } else if (format == kYv12) {
        seen = planar({align(request.width, 48), request.height},
                      align((request.width + 1) / 2, 40), request);
    } else {
        return refused(2);
    }
    seen.numbers.size = align(seen.numbers.size + 4160, 4096);
    seen.locks = LockAnswer{};
    return seen;
}

// Wider rows above 2,048 pixels, more rows above 1,088, other sizes for what the processor reads.
Observation stepped(const Request& request) {
    const int32_t format = resolve(request);
    const int64_t to = request.width > 2048 ? 512 : 64;
    const int64_t rows = align(request.height, request.height > 1088 ? 32 : 8);
    Observation seen;
    if (const Packed* const known = packedOf(format)) {
        seen = packed(*known, align(request.width * known->bytes, to), rows, request);
    } else if (format == kNv21 || format == kNv12) {
        seen = semiPlanar(format, {align(request.width, to), rows}, 4096, false, request);
    } else if (format == kYv12) {
        seen = planar({align(request.width, to), rows}, align(request.width, to) / 2, request);
    } else {
        return refused(2);
    }
    seen.numbers.size = align(seen.numbers.size, (request.usage & kCpu) != 0 ? 4096 : 65536);
    seen.locks = LockAnswer{};
    return seen;
}

// Compresses what the processor does not touch: 16 bytes of header for 16 by 16 pixels.
Observation compressing(const Request& request) {
    const int32_t format = resolve(request);
    const Packed* const known = packedOf(format);
    const bool plain = (request.usage & kCpu) != 0 || format == kYv12 || format == kNv21;
    const int32_t locked = (request.usage & kProtected) != 0 ? 3 : 0;
    Observation seen;
    if (known != nullptr && !plain) {
        const int64_t width = align(request.width, 32);
        const int64_t height = align(request.height, 8);
        seen.shape = shapeOf(format, code(known->fourcc));
        seen.shape.modifier = 0x5b00000000000003;
        seen.shape.usageAdded = uint64_t{1} << 60;
        seen.shape.planes = {{{}, 0, 1, 1}};
        seen.numbers.stride = seen.numbers.answeredStride = width;
        seen.numbers.size =
                align(align(width * height / 256 * 16, 1024) + width * height * known->bytes, 4096);
        seen.numbers.planes[0] = {0, width * known->bytes, seen.numbers.size, request.width,
                                  request.height};
    } else if (known != nullptr) {
        seen = packed(*known, align(request.width * known->bytes, 256), request.height, request);
    } else if (format == kNv21 || format == kNv12) {
        seen = semiPlanar(format, {align(request.width, 128), align(request.height, 2)}, 1, false,
                          request);
    } else if (format == kYv12) {
        seen = planar({align(request.width, 32), align(request.height, 2)},
                      align(align(request.width, 32) / 2, 64), request);
    } else {
        return refused(2);
    }
    seen.locks = LockAnswer{locked, locked};
    return seen;
}

// Refuses usage 0, odd sizes of subsampled formats and widths above 4,096; keeps the planes of
// buffers that the processor does not touch to itself.
Observation refusing(const Request& request) {
    const int32_t format = resolve(request);
    const bool subsampled = format == kNv21 || format == kNv12 || format == kYv12;
    if (request.usage == 0 || request.width > 4096) {
        return refused(request.usage == 0 ? 2 : 0);
    }
    if (subsampled && (request.width % 2 != 0 || request.height % 2 != 0)) {
        return refused(0);
    }
    Observation seen;
    if (const Packed* const known = packedOf(format)) {
        seen = packed(*known, align(request.width, 64) * known->bytes, request.height, request);
    } else if (format == kNv21 || format == kNv12) {
        seen = semiPlanar(format, {align(request.width, 64), align(request.height, 16)}, 1, true,
                          request);
        seen.numbers.answeredStride = seen.numbers.stride = 0;
    } else if (format == kYv12) {
        seen = planar({align(request.width, 16), request.height}, align(request.width / 2, 16),
                      request);
        seen.numbers.answeredStride = seen.numbers.stride = 0;
    } else {
        return refused(1);
    }
    if ((request.usage & kCpu) == 0) {
        seen.shape.refused = {{15, -7}, {16, -7}};
        seen.shape.planes.clear();
        seen.numbers.planes = {};
    }
    const bool locks = (request.usage & kCpu) != 0;
    seen.locks = LockAnswer{locks ? 0 : 3, (request.usage & 0xf0) != 0 ? 0 : 3};
    return seen;
}

constexpr TestDevice kDevices[] = {
        {"odd", odd}, {"stepped", stepped}, {"compressing", compressing}, {"refusing", refusing}};

}  // namespace

std::span<const TestDevice> testDevices() {
    return kDevices;
}

}  // namespace zelkcam::test
