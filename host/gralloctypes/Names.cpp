// Which names are the standard's, and what the standard values are called in logs.
#include <string.h>

#include <span>

#include <gralloctypes/Gralloc4.h>

namespace android::gralloc4 {

namespace {

using aidl::android::hardware::graphics::common::ChromaSiting;
using aidl::android::hardware::graphics::common::Compression;
using aidl::android::hardware::graphics::common::ExtendableType;
using aidl::android::hardware::graphics::common::Interlaced;
using aidl::android::hardware::graphics::common::PlaneLayoutComponentType;
using aidl::android::hardware::graphics::common::StandardMetadataType;
using android::hardware::graphics::mapper::V4_0::IMapper;

// Contract: only as many characters are compared as the given name has, so every beginning of the
// standard name counts as standard, the empty name too.
bool isBeginningOf(const char* standard, const char* name, size_t length) {
    return strncmp(name, standard, length) == 0;
}

bool isStandard(const char* standard, const ExtendableType& type) {
    return isBeginningOf(standard, type.name.c_str(), type.name.size());
}

template <typename E>
struct ValueName {
    E value;
    const char* name;
};

constexpr ValueName<Compression> kCompressionNames[] = {
        {Compression::NONE, "None"},
        {Compression::DISPLAY_STREAM_COMPRESSION, "DisplayStreamCompression"},
};

constexpr ValueName<Interlaced> kInterlacedNames[] = {
        {Interlaced::NONE, "None"},
        {Interlaced::TOP_BOTTOM, "TopBottom"},
        {Interlaced::RIGHT_LEFT, "RightLeft"},
};

constexpr ValueName<ChromaSiting> kChromaSitingNames[] = {
        {ChromaSiting::NONE, "None"},
        {ChromaSiting::UNKNOWN, "Unknown"},
        {ChromaSiting::SITED_INTERSTITIAL, "SitedInterstitial"},
        {ChromaSiting::COSITED_HORIZONTAL, "CositedHorizontal"},
        {ChromaSiting::COSITED_VERTICAL, "CositedVertical"},
        {ChromaSiting::COSITED_BOTH, "CositedBoth"},
};

constexpr ValueName<PlaneLayoutComponentType> kComponentNames[] = {
        {PlaneLayoutComponentType::Y, "Y"},     {PlaneLayoutComponentType::CB, "Cb"},
        {PlaneLayoutComponentType::CR, "Cr"},   {PlaneLayoutComponentType::R, "R"},
        {PlaneLayoutComponentType::G, "G"},     {PlaneLayoutComponentType::B, "B"},
        {PlaneLayoutComponentType::RAW, "RAW"}, {PlaneLayoutComponentType::A, "A"},
};

// A standard name with an unknown value reads like a foreign one.
template <typename E>
std::string nameOf(std::span<const ValueName<E>> names, const char* standard,
                   const ExtendableType& type) {
    if (isStandard(standard, type)) {
        for (const ValueName<E>& entry : names) {
            if (static_cast<int64_t>(entry.value) == type.value) {
                return entry.name;
            }
        }
    }
    return type.name + "#" + std::to_string(type.value);
}

}  // namespace

bool isStandardMetadataType(const IMapper::MetadataType& metadataType) {
    return isBeginningOf(GRALLOC4_STANDARD_METADATA_TYPE, metadataType.name.c_str(),
                         metadataType.name.size());
}

bool isStandardCompression(const ExtendableType& compression) {
    return isStandard(GRALLOC4_STANDARD_COMPRESSION, compression);
}

bool isStandardInterlaced(const ExtendableType& interlaced) {
    return isStandard(GRALLOC4_STANDARD_INTERLACED, interlaced);
}

bool isStandardChromaSiting(const ExtendableType& chromaSiting) {
    return isStandard(GRALLOC4_STANDARD_CHROMA_SITING, chromaSiting);
}

bool isStandardPlaneLayoutComponentType(const ExtendableType& planeLayoutComponentType) {
    return isStandard(GRALLOC4_STANDARD_PLANE_LAYOUT_COMPONENT_TYPE, planeLayoutComponentType);
}

StandardMetadataType getStandardMetadataTypeValue(const IMapper::MetadataType& metadataType) {
    return static_cast<StandardMetadataType>(metadataType.value);
}

Compression getStandardCompressionValue(const ExtendableType& compression) {
    return static_cast<Compression>(compression.value);
}

Interlaced getStandardInterlacedValue(const ExtendableType& interlaced) {
    return static_cast<Interlaced>(interlaced.value);
}

ChromaSiting getStandardChromaSitingValue(const ExtendableType& chromaSiting) {
    return static_cast<ChromaSiting>(chromaSiting.value);
}

PlaneLayoutComponentType getStandardPlaneLayoutComponentTypeValue(
        const ExtendableType& planeLayoutComponentType) {
    return static_cast<PlaneLayoutComponentType>(planeLayoutComponentType.value);
}

std::string getCompressionName(const ExtendableType& compression) {
    return nameOf<Compression>(kCompressionNames, GRALLOC4_STANDARD_COMPRESSION, compression);
}

std::string getInterlacedName(const ExtendableType& interlaced) {
    return nameOf<Interlaced>(kInterlacedNames, GRALLOC4_STANDARD_INTERLACED, interlaced);
}

std::string getChromaSitingName(const ExtendableType& chromaSiting) {
    return nameOf<ChromaSiting>(kChromaSitingNames, GRALLOC4_STANDARD_CHROMA_SITING, chromaSiting);
}

std::string getPlaneLayoutComponentTypeName(const ExtendableType& planeLayoutComponentType) {
    return nameOf<PlaneLayoutComponentType>(kComponentNames,
                                            GRALLOC4_STANDARD_PLANE_LAYOUT_COMPONENT_TYPE,
                                            planeLayoutComponentType);
}

}  // namespace android::gralloc4
