#include "tools/grallocinfo/StableMapper.h"

#include <dlfcn.h>

#include "tools/grallocinfo/AidlBuffer.h"
#include "tools/grallocinfo/Failure.h"

namespace grallocinfo {

using aidl::android::hardware::graphics::allocator::IAllocator;
using aidl::android::hardware::graphics::common::PlaneLayout;
using aidl::android::hardware::graphics::common::StandardMetadataType;
using android::hardware::graphics::mapper::StandardMetadata;

namespace {

template <StandardMetadataType kType>
auto readMetadata(const AIMapper& mapper, const native_handle* handle)
        -> std::optional<typename StandardMetadata<kType>::value_type> {
    std::vector<uint8_t> bytes(512);
    const auto read = [&] {
        return mapper.v5.getStandardMetadata(handle, static_cast<int64_t>(kType), bytes.data(),
                                             bytes.size());
    };
    int32_t size = read();
    if (size > 0 && static_cast<size_t>(size) > bytes.size()) {
        bytes.resize(static_cast<size_t>(size));
        size = read();
    }
    if (size < 0 || static_cast<size_t>(size) > bytes.size()) {
        return std::nullopt;
    }
    return StandardMetadata<kType>::value::decode(bytes.data(), static_cast<size_t>(size));
}

// "NV12"; the code's hexadecimal text when its bytes are no letters.
std::string fourccText(uint32_t code) {
    std::string text;
    for (int shift = 0; shift < 32; shift += 8) {
        const char character = static_cast<char>(code >> shift & 0xFF);
        if (character < ' ' || character > '~') {
            return hex(uint64_t{code});
        }
        text += character;
    }
    return text.substr(0, text.find_last_not_of(' ') + 1);
}

}  // namespace

std::shared_ptr<IAllocator> findAllocatorService() {
    const std::string name = std::string(IAllocator::descriptor) + "/default";
    const ndk::SpAIBinder binder(AServiceManager_checkService(name.c_str()));
    return binder.get() ? IAllocator::fromBinder(binder) : nullptr;
}

std::string mapperLibraryName(IAllocator& allocator) {
    std::string suffix;
    return allocator.getIMapperLibrarySuffix(&suffix).isOk() ? "mapper." + suffix + ".so" : "";
}

const AIMapper* findStableMapper(IAllocator& allocator) {
    const std::string name = mapperLibraryName(allocator);
    void* const library =
            name.empty() ? nullptr : android_load_sphal_library(name.c_str(), RTLD_NOW);
    const auto load = library ? reinterpret_cast<decltype(&AIMapper_loadIMapper)>(
                                        dlsym(library, "AIMapper_loadIMapper"))
                              : nullptr;
    AIMapper* mapper = nullptr;
    if (load) {
        load(&mapper);
    }
    return mapper;
}

MapperPlane mapperPlane(const PlaneLayout& layout) {
    MapperPlane plane{
            layout.offsetInBytes,       layout.strideInBytes,         layout.totalSizeInBytes,
            layout.widthInSamples,      layout.heightInSamples,       layout.horizontalSubsampling,
            layout.verticalSubsampling, layout.sampleIncrementInBits, {}};
    for (const auto& component : layout.components) {
        plane.components.push_back(
                {android::gralloc4::getPlaneLayoutComponentTypeName(component.type),
                 component.offsetInBits, component.sizeInBits});
    }
    return plane;
}

namespace {

// The service's mapper, if it is one that the tool can ask.
const AIMapper* usableMapper() {
    const auto service = findAllocatorService();
    const AIMapper* const mapper = service ? findStableMapper(*service) : nullptr;
    return mapper && mapper->version >= AIMAPPER_VERSION_5 ? mapper : nullptr;
}

}  // namespace

std::optional<zcam::GrallocStaticInfo> mapperLayout(const native_handle* handle) {
    const AIMapper* const mapper = usableMapper();
    if (!mapper) {
        return std::nullopt;
    }
    const auto format = readMetadata<StandardMetadataType::PIXEL_FORMAT_REQUESTED>(*mapper, handle);
    const auto width = readMetadata<StandardMetadataType::WIDTH>(*mapper, handle);
    const auto height = readMetadata<StandardMetadataType::HEIGHT>(*mapper, handle);
    const auto planes = readMetadata<StandardMetadataType::PLANE_LAYOUTS>(*mapper, handle);
    if (!format || !width || !height || !planes) {
        return std::nullopt;
    }
    zcam::GrallocStaticInfo layout;
    layout.format = static_cast<int32_t>(*format);
    layout.widthInPixels = static_cast<int32_t>(*width);
    layout.heightInPixels = static_cast<int32_t>(*height);
    for (const PlaneLayout& plane : *planes) {
        layout.planes.push_back({static_cast<uint64_t>(plane.totalSizeInBytes),
                                 static_cast<uint64_t>(plane.strideInBytes)});
    }
    return layout;
}

std::vector<ToldPlane> mapperPlanes(const native_handle* handle) {
    const AIMapper* const mapper = usableMapper();
    const auto planes = mapper ? readMetadata<StandardMetadataType::PLANE_LAYOUTS>(*mapper, handle)
                               : std::nullopt;
    std::vector<ToldPlane> told;
    for (const PlaneLayout& plane : planes.value_or(std::vector<PlaneLayout>())) {
        const auto& components = plane.components;
        told.push_back({plane.offsetInBytes, plane.strideInBytes,
                        components.empty() ? 0 : components.front().type.value});
    }
    return told;
}

Allocation describeAllocation(const native_handle* handle) {
    Allocation allocation;
    allocation.sizeInBytes = allocationSizeOf(handle);
    const AIMapper* const mapper = usableMapper();
    if (!mapper) {
        return allocation;
    }
    if (const auto fourcc =
                readMetadata<StandardMetadataType::PIXEL_FORMAT_FOURCC>(*mapper, handle)) {
        allocation.fourcc = *fourcc;
        allocation.fourccName = fourccText(*fourcc);
    }
    allocation.modifier =
            readMetadata<StandardMetadataType::PIXEL_FORMAT_MODIFIER>(*mapper, handle);
    const auto planes = readMetadata<StandardMetadataType::PLANE_LAYOUTS>(*mapper, handle);
    for (const PlaneLayout& plane : planes.value_or(std::vector<PlaneLayout>())) {
        allocation.planes.push_back(mapperPlane(plane));
    }
    return allocation;
}

}  // namespace grallocinfo
