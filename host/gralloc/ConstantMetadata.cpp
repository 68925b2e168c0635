#include "host/gralloc/ConstantMetadata.h"

#include <stddef.h>  // IMapperMetadataTypes.h needs size_t and does not bring it everywhere

#include <vector>

#include <android/hardware/graphics/mapper/utils/IMapperMetadataTypes.h>

namespace zelkcam::host::gralloc {
namespace {

namespace common = aidl::android::hardware::graphics::common;
using android::hardware::graphics::mapper::StandardMetadata;
using common::StandardMetadataType;

// Appends values; the first that does not fit spoils the whole.
class Encoder {
  public:
    template <StandardMetadataType T>
    void put(const typename StandardMetadata<T>::value_type& value) {
        const size_t room = mOut.bytes.size() - mUsed;
        const int32_t size =
                StandardMetadata<T>::value::encode(value, mOut.bytes.data() + mUsed, room);
        mFits = mFits && size >= 0 && static_cast<size_t>(size) <= room;
        if (mFits) {
            mOut.extents[static_cast<size_t>(T)] = {mUsed, static_cast<uint32_t>(size)};
            mUsed += static_cast<uint32_t>(size);
        }
    }

    std::optional<ConstantMetadata> take() const {
        return mFits ? std::optional(mOut) : std::nullopt;
    }

  private:
    ConstantMetadata mOut;
    uint32_t mUsed = 0;
    bool mFits = true;
};

template <typename E>
common::ExtendableType extendable(const char* name, E value) {
    return {name, static_cast<int64_t>(value)};
}

common::PlaneLayout planeLayout(const Plane& plane) {
    common::PlaneLayout published;
    for (const Component& component : plane.components) {
        published.components.push_back(
                {extendable("android.hardware.graphics.common.PlaneLayoutComponentType",
                            component.type),
                 component.offsetInBits, component.sizeInBits});
    }
    published.offsetInBytes = plane.offsetInBytes;
    published.sampleIncrementInBits = plane.sampleIncrementInBits;
    published.strideInBytes = plane.strideInBytes;
    published.widthInSamples = plane.widthInSamples;
    published.heightInSamples = plane.heightInSamples;
    published.totalSizeInBytes = plane.totalSizeInBytes;
    published.horizontalSubsampling = plane.horizontalSubsampling;
    published.verticalSubsampling = plane.verticalSubsampling;
    return published;
}

common::Rect cropOf(const Plane& plane, const Description& description, const Layout& layout) {
    const int64_t width = layout.cropIsPicture ? description.width : plane.widthInSamples;
    const int64_t height = layout.cropIsPicture ? description.height : plane.heightInSamples;
    return {0, 0, static_cast<int32_t>(width), static_cast<int32_t>(height)};
}

void putPlanes(Encoder& encoder, const Description& description, const Layout& layout) {
    std::vector<common::PlaneLayout> planes;
    std::vector<common::Rect> crops;
    for (const Plane& plane : layout.planes) {
        planes.push_back(planeLayout(plane));
        crops.push_back(cropOf(plane, description, layout));
    }
    encoder.put<StandardMetadataType::PLANE_LAYOUTS>(planes);
    encoder.put<StandardMetadataType::CROP>(crops);
}

void putRequest(Encoder& encoder, const Description& description, const Layout& layout) {
    encoder.put<StandardMetadataType::NAME>(description.name.data());
    encoder.put<StandardMetadataType::WIDTH>(description.width);
    encoder.put<StandardMetadataType::HEIGHT>(description.height);
    encoder.put<StandardMetadataType::LAYER_COUNT>(description.layerCount);
    encoder.put<StandardMetadataType::PIXEL_FORMAT_REQUESTED>(
            static_cast<common::PixelFormat>(description.format));
    const uint64_t usage = (description.usage | layout.usageAdded) & ~layout.usageRemoved;
    encoder.put<StandardMetadataType::USAGE>(static_cast<common::BufferUsage>(usage));
    const uint64_t protectedBit = static_cast<uint64_t>(common::BufferUsage::PROTECTED);
    encoder.put<StandardMetadataType::PROTECTED_CONTENT>(
            (description.usage & protectedBit) != 0 ? 1 : 0);
}

void putLayout(Encoder& encoder, const Description& description, const Layout& layout) {
    encoder.put<StandardMetadataType::PIXEL_FORMAT_FOURCC>(layout.fourcc);
    encoder.put<StandardMetadataType::PIXEL_FORMAT_MODIFIER>(layout.modifier);
    encoder.put<StandardMetadataType::ALLOCATION_SIZE>(layout.allocationSize);
    encoder.put<StandardMetadataType::COMPRESSION>(
            extendable("android.hardware.graphics.common.Compression", layout.compression));
    encoder.put<StandardMetadataType::INTERLACED>(
            extendable("android.hardware.graphics.common.Interlaced", layout.interlaced));
    encoder.put<StandardMetadataType::CHROMA_SITING>(
            extendable("android.hardware.graphics.common.ChromaSiting", layout.chromaSiting));
    putPlanes(encoder, description, layout);
    encoder.put<StandardMetadataType::STRIDE>(layout.stride);
}

}  // namespace

std::optional<ConstantMetadata> encodeConstants(const Description& description,
                                                const Layout& layout, uint64_t id) {
    Encoder encoder;
    encoder.put<StandardMetadataType::BUFFER_ID>(id);
    putRequest(encoder, description, layout);
    putLayout(encoder, description, layout);
    return encoder.take();
}

}  // namespace zelkcam::host::gralloc
