#include "host/gralloc/ConstantMetadata.h"

#include <stddef.h>  // IMapperMetadataTypes.h needs size_t and does not bring it everywhere

#include <vector>

#include <aidl/android/hardware/graphics/common/ChromaSiting.h>
#include <aidl/android/hardware/graphics/common/Compression.h>
#include <aidl/android/hardware/graphics/common/Interlaced.h>
#include <android/hardware/graphics/mapper/utils/IMapperMetadataTypes.h>

namespace zelkcam::host::gralloc {
namespace {

namespace common = aidl::android::hardware::graphics::common;
using android::hardware::graphics::mapper::StandardMetadata;
using common::ChromaSiting;
using common::StandardMetadataType;

class Encoder {
  public:
    explicit Encoder(ConstantMetadata* out) : mOut(*out) {}

    template <StandardMetadataType T>
    void put(const typename StandardMetadata<T>::value_type& value) {
        const int32_t size = StandardMetadata<T>::value::encode(value, mOut.bytes.data() + mUsed,
                                                                mOut.bytes.size() - mUsed);
        mOut.extents[static_cast<size_t>(T)] = {mUsed, static_cast<uint32_t>(size)};
        mUsed += static_cast<uint32_t>(size);
    }

  private:
    ConstantMetadata& mOut;
    uint32_t mUsed = 0;
};

template <typename E>
common::ExtendableType extendable(const char* name, E value) {
    return {name, static_cast<int64_t>(value)};
}

common::PlaneLayout planeLayout(const PlaneRule& rule, const PlanePlacement& placement) {
    common::PlaneLayout plane;
    for (int i = 0; i < rule.componentCount; ++i) {
        const Component& component = rule.components[i];
        plane.components.push_back(
                {extendable("android.hardware.graphics.common.PlaneLayoutComponentType",
                            component.type),
                 component.offsetInBits, component.sizeInBits});
    }
    plane.offsetInBytes = placement.offsetInBytes;
    plane.sampleIncrementInBits = rule.sampleIncrementInBits;
    plane.strideInBytes = placement.strideInBytes;
    plane.widthInSamples = placement.widthInSamples;
    plane.heightInSamples = placement.heightInSamples;
    plane.totalSizeInBytes = placement.totalSizeInBytes;
    plane.horizontalSubsampling = rule.horizontalSubsampling;
    plane.verticalSubsampling = rule.verticalSubsampling;
    return plane;
}

std::vector<common::PlaneLayout> planeLayouts(const Layout& layout) {
    std::vector<common::PlaneLayout> planes;
    planes.reserve(layout.rule->planeCount);
    for (int i = 0; i < layout.rule->planeCount; ++i) {
        planes.push_back(planeLayout(layout.rule->planes[i], layout.placements[i]));
    }
    return planes;
}

std::vector<common::Rect> crops(const Layout& layout) {
    std::vector<common::Rect> rects;
    for (const PlanePlacement& plane : layout.planes()) {
        rects.push_back({0, 0, static_cast<int32_t>(plane.widthInSamples),
                         static_cast<int32_t>(plane.heightInSamples)});
    }
    return rects;
}

// Where the chroma samples of a subsampled picture lie is for its writer to know.
ChromaSiting chromaSiting(const FormatRule& rule) {
    const bool subsampled = rule.planes[rule.planeCount - 1].horizontalSubsampling > 1 ||
                            rule.format == static_cast<int32_t>(common::PixelFormat::YCBCR_422_I);
    return subsampled ? ChromaSiting::UNKNOWN : ChromaSiting::NONE;
}

void putRequest(Encoder& encoder, const Description& description) {
    encoder.put<StandardMetadataType::NAME>(description.name.data());
    encoder.put<StandardMetadataType::WIDTH>(description.width);
    encoder.put<StandardMetadataType::HEIGHT>(description.height);
    encoder.put<StandardMetadataType::LAYER_COUNT>(description.layerCount);
    encoder.put<StandardMetadataType::PIXEL_FORMAT_REQUESTED>(
            static_cast<common::PixelFormat>(description.format));
    encoder.put<StandardMetadataType::USAGE>(static_cast<common::BufferUsage>(description.usage));
    const uint64_t protectedBit = static_cast<uint64_t>(common::BufferUsage::PROTECTED);
    encoder.put<StandardMetadataType::PROTECTED_CONTENT>(
            (description.usage & protectedBit) != 0 ? 1 : 0);
}

void putLayout(Encoder& encoder, const Layout& layout) {
    constexpr uint64_t kLinear = 0;
    encoder.put<StandardMetadataType::PIXEL_FORMAT_FOURCC>(layout.rule->fourcc);
    encoder.put<StandardMetadataType::PIXEL_FORMAT_MODIFIER>(kLinear);
    encoder.put<StandardMetadataType::ALLOCATION_SIZE>(layout.allocationSize);
    encoder.put<StandardMetadataType::COMPRESSION>(
            extendable("android.hardware.graphics.common.Compression", common::Compression::NONE));
    encoder.put<StandardMetadataType::INTERLACED>(
            extendable("android.hardware.graphics.common.Interlaced", common::Interlaced::NONE));
    encoder.put<StandardMetadataType::CHROMA_SITING>(extendable(
            "android.hardware.graphics.common.ChromaSiting", chromaSiting(*layout.rule)));
    encoder.put<StandardMetadataType::PLANE_LAYOUTS>(planeLayouts(layout));
    encoder.put<StandardMetadataType::CROP>(crops(layout));
    encoder.put<StandardMetadataType::STRIDE>(layout.stride);
}

}  // namespace

ConstantMetadata encodeConstants(const Description& description, const Layout& layout,
                                 uint64_t id) {
    ConstantMetadata constants;
    Encoder encoder(&constants);
    encoder.put<StandardMetadataType::BUFFER_ID>(id);
    putRequest(encoder, description);
    putLayout(encoder, layout);
    return constants;
}

}  // namespace zelkcam::host::gralloc
