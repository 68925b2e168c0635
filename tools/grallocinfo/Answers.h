// What the commands print, as plain values.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/grallocinfo/Geometry.h"
#include "tools/grallocinfo/Library.h"

namespace grallocinfo {

// Where a component lies in its plane's samples.
struct MapperComponent {
    std::string name;  // "Cb"
    int64_t offsetInBits = 0;
    int64_t sizeInBits = 0;
};

// One plane as a mapper describes it.
struct MapperPlane {
    int64_t offsetInBytes = 0;
    int64_t strideInBytes = 0;
    int64_t sizeInBytes = 0;
    int64_t widthInSamples = 0;
    int64_t heightInSamples = 0;
    int64_t horizontalSubsampling = 0;  // how many pixels share a sample
    int64_t verticalSubsampling = 0;
    int64_t sampleIncrementInBits = 0;
    std::vector<MapperComponent> components;
};

// The probe of another backend.
struct MapperAnswer {
    std::string backend;
    uint32_t strideInPixels = 0;
    std::vector<MapperPlane> planes;
};

// What the mapper reports about a buffer beside its layout; empty where it does not.
struct Allocation {
    std::optional<uint64_t> sizeInBytes;
    std::optional<uint32_t> fourcc;
    std::string fourccName;
    std::optional<uint64_t> modifier;
    std::vector<MapperPlane> planes;
};

// One row of the format list.
struct FormatRow {
    LayoutAnswer answer;
    int32_t status = 0;
    StatusMeaning meaning;    // when status is not 0
    BufferGeometry geometry;  // when it is
    Allocation allocation;    // likewise

    double bitsPerPixel() const;
    // The share of the buffer that is no picture; nothing where the picture's part is not known.
    std::optional<double> paddingPercent() const;
};

struct FormatList {
    int32_t width = 0;
    int32_t height = 0;
    uint32_t usage = 0;
    std::string usageName;
    std::vector<FormatRow> rows;
};

// A mastering display, in the order of the platform's record: chromaticities of red, green, blue
// and white, luminances in candela per square metre.
struct MasteringDisplay {
    std::array<std::array<float, 2>, 4> primaries{};
    float maxLuminance = 0;
    float minLuminance = 0;
};

struct ContentLight {
    float maxContent = 0;
    float maxFrameAverage = 0;
};

// What a buffer carries of HDR metadata, by kind.
struct HdrMetadata {
    std::optional<MasteringDisplay> smpte2086;
    std::optional<ContentLight> cta861_3;
    std::optional<std::vector<uint8_t>> smpte2094_40;
};

// A buffer of another process.
struct BufferAnswer {
    zcam::GrallocStaticInfo layout;
    std::string name;
    std::vector<int> descriptors;  // none when the layout is the mapper's
    HdrMetadata hdr;
    bool isMappersLayout = false;  // the library has no rule for the format
};

}  // namespace grallocinfo
