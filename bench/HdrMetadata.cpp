// HDR metadata through MapperV5, kind by kind, against the mapper and a buffer on the stack.
#include <cstring>

#include "bench/Compare.h"
#include "bench/Platform.h"
#include "platform/plexa.h"
#include "utils/gralloc/aidl/v2/mapper/mapper.h"

namespace zelkcam::bench {
namespace {

using namespace NSCam::GrallocMapperAidlV2;
using aidl::android::hardware::graphics::common::Cta861_3;
using aidl::android::hardware::graphics::common::Smpte2086;
using Payload = std::vector<uint8_t>;

const Smpte2086 kMastering = {{0.68f, 0.32f},    {0.265f, 0.69f}, {0.15f, 0.06f},
                              {0.3127f, 0.329f}, 1000.0f,         0.005f};
const Cta861_3 kLightLevels = {1000.0f, 400.0f};
// Dynamic metadata of one frame has about this length.
const Payload kPayload(120, 0xA5);

const MapperV5& backend() {
    static const MapperV5 instance(allocator());
    return instance;
}

BufferDescriptorInfo frame() {
    return describe(HAL_PIXEL_FORMAT_YCBCR_P010, 640, 480, 0x33);
}

// Encodes into a buffer on the stack and hands it to the mapper.
template <StandardMetadataType T, typename Value>
AIMapper_Error setDirectly(const native_handle* handle, const Value& value) {
    uint8_t bytes[512];
    const int32_t size = StandardMetadata<T>::value::encode(value, bytes, sizeof(bytes));
    const AIMapper_Error error = mapper().setStandardMetadata(handle, static_cast<int64_t>(T),
                                                              bytes, static_cast<size_t>(size));
    flush();
    return error;
}

// A buffer that carries `value`.
template <StandardMetadataType T, typename Value>
class FilledBuffer : public Buffer {
  public:
    explicit FilledBuffer(const Value& value) : Buffer(frame()) {
        if (setDirectly<T>(get(), std::optional<Value>(value)) != AIMAPPER_ERROR_NONE) {
            giveUp("the mapper refuses metadata");
        }
    }
};

template <StandardMetadataType T, typename Value>
void compareSet(const std::string& name, GRALLOC_STANDARD_METADATA_TYPE kind, const Value& value) {
    const auto ours = [&value, kind](auto&& measure) {
        const FilledBuffer<T, Value> buffer(value);
        Value data = value;
        measure([&] {
            benchmark::DoNotOptimize(
                    backend().setGrallocMeta(buffer.get(), kind, &data, sizeof(data)));
        });
    };
    const auto floor = [&value](auto&& measure) {
        const FilledBuffer<T, Value> buffer(value);
        // Encoding takes an optional by reference; the floor has it ready.
        const std::optional<Value> engaged(value);
        measure([&] { benchmark::DoNotOptimize(setDirectly<T>(buffer.get(), engaged)); });
    };
    compare("hdr_set/" + name, ours, floor);
}

template <typename Value>
void copyOut(const Value& value, void* to) {
    memcpy(to, &value, sizeof(value));
}

void copyOut(const Payload& value, void* to) {
    memcpy(to, value.data(), value.size());
}

template <StandardMetadataType T, typename Value>
void compareGet(const std::string& name, GRALLOC_STANDARD_METADATA_TYPE kind, const Value& value,
                unsigned int size) {
    const auto ours = [&value, kind, size](auto&& measure) {
        const FilledBuffer<T, Value> buffer(value);
        plexa_hdr10p_dynamic_metadata_t data;
        measure([&] {
            benchmark::DoNotOptimize(backend().getGrallocMeta(buffer.get(), kind, &data, size));
        });
    };
    const auto floor = [&value](auto read) {
        return [&value, read](auto&& measure) {
            const FilledBuffer<T, Value> buffer(value);
            plexa_hdr10p_dynamic_metadata_t data;
            measure([&] {
                copyOut(**read(buffer.get()), &data);
                benchmark::DoNotOptimize(data);
            });
        };
    };
    compare("hdr_get/" + name, ours, floor(readMetadata<T>));
    compare("hdr_get_rule/" + name, ours, floor(readMetadataByTheRule<T>));
}

}  // namespace

void registerHdrMetadata() {
    using enum StandardMetadataType;
    compareSet<SMPTE2086>("SMPTE2086", GRALLOC_META_SMPTE2086, kMastering);
    compareSet<CTA861_3>("CTA861_3", GRALLOC_META_CTA861_3, kLightLevels);
    compareSet<SMPTE2094_40>("SMPTE2094_40", GRALLOC_META_SMPTE2094_40, kPayload);
    compareSet<SMPTE2094_10>("SMPTE2094_10", GRALLOC_META_SMPTE2094_10, kPayload);

    // Dolby Vision metadata is not read by this backend.
    compareGet<SMPTE2086>("SMPTE2086", GRALLOC_META_SMPTE2086, kMastering, sizeof(kMastering));
    compareGet<CTA861_3>("CTA861_3", GRALLOC_META_CTA861_3, kLightLevels, sizeof(kLightLevels));
    compareGet<SMPTE2094_40>("SMPTE2094_40", GRALLOC_META_SMPTE2094_40, kPayload,
                             sizeof(plexa_hdr10p_dynamic_metadata_t));
}

}  // namespace zelkcam::bench
