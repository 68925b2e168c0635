// The metadata operations of MapperV5: standard metadata by type, and HDR metadata by kind.
#include <algorithm>
#include <cstring>
#include <span>
#include <string>
#include <type_traits>
#include <utility>

#include "platform/plexa.h"
#include "utils/gralloc/Log.h"
#include "utils/gralloc/WrappingMath.h"
#include "utils/gralloc/aidl/v2/mapper/MapperCall.h"

namespace NSCam::GrallocMapperAidlV2 {
namespace {

using aidl::android::hardware::graphics::common::Cta861_3;
using aidl::android::hardware::graphics::common::Smpte2086;

// Holds the fixed-size kinds and the layouts of most buffers.
constexpr size_t kFirstReadSize = 512;

// Reads the encoded value of a standard metadata type into `bytes`, which is enlarged if need be.
// Answers the value's size, or nothing.
std::optional<size_t> readStandardMetadata(const AIMapper& mapper, const native_handle* handle,
                                           StandardMetadataType type, std::vector<uint8_t>& bytes) {
    constexpr char kFunction[] = "getStandardMetadata";
    const auto read = [&] {
        return callAndFlush(mapper.v5.getStandardMetadata, handle, static_cast<int64_t>(type),
                            bytes.data(), bytes.size());
    };

    int32_t size = read();
    if (size < 0) {
        if (size != -AIMAPPER_ERROR_UNSUPPORTED) {
            LOGE_AS(kFunction,
                    "Received something other than UNSUPPORTED from valid getStandardMetadata "
                    "call");
        }
        return std::nullopt;
    }
    // Contract: the mapper alone decides the size, up to 2 GiB.
    if (static_cast<size_t>(size) > bytes.size()) {
        bytes.resize(static_cast<size_t>(size));
        size = read();
    }
    // A value that grew in between is not read a third time.
    if (size < 0 || static_cast<size_t>(size) > bytes.size()) {
        LOGE_AS(kFunction, "Failed to get Gralloc StandardMetadataType (%lu) failed with %d",
                static_cast<unsigned long>(type), size);
        return std::nullopt;
    }
    return static_cast<size_t>(size);
}

// What distinguishes the kinds of HDR metadata. The caller's data must have the size of `Record`.
struct MasteringDisplay {
    using Record = Smpte2086;
    static constexpr StandardMetadataType kType = StandardMetadataType::SMPTE2086;

    static void logWrongSize(const char* function, int size) {
        LOGE_AS(function, "data_size(%d) != struct size of Smpte2086(%d)", size,
                static_cast<int>(sizeof(Record)));
    }
};

struct ContentLightLevels {
    using Record = Cta861_3;
    static constexpr StandardMetadataType kType = StandardMetadataType::CTA861_3;

    static void logWrongSize(const char* function, int size) {
        LOGE_AS(function, "data_size(%d) != struct size of Cta861_3(%d)", size,
                static_cast<int>(sizeof(Record)));
    }
};

struct Hdr10Plus {
    using Record = plexa_hdr10p_dynamic_metadata_t;  // of the get direction only
    static constexpr StandardMetadataType kType = StandardMetadataType::SMPTE2094_40;

    static void logWrongSize(const char* function, int size) {
        LOGE_AS(function, "data_size(%d) != struct size of plexa_hdr10p_dynamic_metadata_t(%d)",
                size, static_cast<int>(sizeof(Record)));
    }
    static void logPayload(const char* function, const char* bits) {
        LOGD_AS(function, "HDR10P GrallocMeta Dynamic:%s", bits);
    }
};

struct DolbyVision {
    static constexpr StandardMetadataType kType = StandardMetadataType::SMPTE2094_10;

    static void logPayload(const char* function, const char* bits) {
        LOGD_AS(function, "Set Dolby GrallocMeta Dynamic:%s", bits);
    }
};

// The records are copied from and to the caller's memory byte for byte.
static_assert(sizeof(Smpte2086) == 40 && std::is_trivially_copyable_v<Smpte2086>);
static_assert(sizeof(Cta861_3) == 8 && std::is_trivially_copyable_v<Cta861_3>);
static_assert(sizeof(plexa_hdr10p_dynamic_metadata_t) == 224);

template <typename Kind>
bool hasRecordSize(const char* function, unsigned int size) {
    if (size == sizeof(typename Kind::Record)) {
        return true;
    }
    Kind::logWrongSize(function, static_cast<int>(size));
    return false;
}

AIMapper_Error checkPointers(const char* function, const native_handle* handle, const void* data) {
    if (handle == nullptr) {
        LOGE_AS(function, "Null buffer handle");
        return AIMAPPER_ERROR_BAD_BUFFER;
    }
    if (data == nullptr) {
        LOGE_AS(function, "Null data pointer");
        return AIMAPPER_ERROR_BAD_VALUE;
    }
    return AIMAPPER_ERROR_NONE;
}

template <typename Record>
std::span<const uint8_t> bytesOf(const Record& record) {
    return {reinterpret_cast<const uint8_t*>(&record), sizeof(record)};
}

std::span<const uint8_t> bytesOf(const std::vector<uint8_t>& payload) {
    return payload;
}

// " 00000001 10100101" for the bytes 0x01 and 0xA5.
std::string bitDump(const std::vector<uint8_t>& payload) {
    std::string text;
    text.reserve(payload.size() * 9);
    for (const uint8_t byte : payload) {
        text += ' ';
        for (int bit = 7; bit >= 0; --bit) {
            text += (byte >> bit & 1) != 0 ? '1' : '0';
        }
    }
    return text;
}

template <typename Kind>
AIMapper_Error setRecord(const MapperV5& mapper, const native_handle* handle, const void* data,
                         unsigned int size) {
    if (!hasRecordSize<Kind>("setGrallocMeta", size)) {
        return AIMAPPER_ERROR_BAD_VALUE;
    }
    std::optional<typename Kind::Record> record(std::in_place);
    std::memcpy(&*record, data, sizeof(*record));
    return mapper.setStandardMetadata<Kind::kType>(handle, record);
}

// The size that the caller gives is not looked at, the vector has its own.
template <typename Kind>
AIMapper_Error setPayload(const MapperV5& mapper, const native_handle* handle, const void* data,
                          bool dump) {
    const std::optional payload(*static_cast<const std::vector<uint8_t>*>(data));
    if (dump) {
        Kind::logPayload("setGrallocMeta", bitDump(*payload).c_str());
    }
    return mapper.setStandardMetadata<Kind::kType>(handle, payload);
}

template <typename Kind>
AIMapper_Error getInto(const MapperV5& mapper, const native_handle* handle, void* data,
                       unsigned int size) {
    if (!hasRecordSize<Kind>("getGrallocMeta", size)) {
        return AIMAPPER_ERROR_BAD_VALUE;
    }
    const auto value = mapper.getStandardMetadata<Kind::kType>(handle);
    // Contract: a payload is copied as long as it is, also beyond the record's size; what could not
    // be read is no error.
    if (value && *value) {
        const auto bytes = bytesOf(**value);
        std::copy_n(bytes.data(), bytes.size(), static_cast<uint8_t*>(data));
    }
    return AIMAPPER_ERROR_NONE;
}

}  // namespace

template <StandardMetadataType T>
std::optional<typename StandardMetadata<T>::value_type> MapperV5::getStandardMetadata(
        const native_handle* handle) const {
    std::vector<uint8_t> bytes = zeroedBytes(kFirstReadSize);
    const auto size = readStandardMetadata(*mMapper, handle, T, bytes);
    if (!size) {
        return std::nullopt;
    }
    return StandardMetadata<T>::value::decode(bytes.data(), *size);
}

template <StandardMetadataType T>
AIMapper_Error MapperV5::setStandardMetadata(
        const native_handle* handle, const typename StandardMetadata<T>::value_type& value) const {
    using Value = typename StandardMetadata<T>::value;
    const int32_t required = Value::encode(value, nullptr, 0);
    if (required < 0) {
        LOGE("Failed to calculate required size");
        return static_cast<AIMapper_Error>(gralloc::negated(required));
    }
    std::vector<uint8_t> bytes(static_cast<size_t>(required));
    const int32_t written = Value::encode(value, bytes.data(), bytes.size());
    if (written < 0 || static_cast<size_t>(written) > bytes.size()) {
        LOGE("Failed to encode with calculated size %d; buffer size %zu", written, bytes.size());
        // Contract: negated also when the size is positive and merely too large.
        return static_cast<AIMapper_Error>(gralloc::negated(written));
    }
    return callAndFlush(mMapper->v5.setStandardMetadata, handle, static_cast<int64_t>(T),
                        bytes.data(), static_cast<size_t>(written));
}

// Clang hides an instantiation whose arguments come from a header without visibility of its own, so
// each is marked as binary interface.
#define INSTANTIATE_GET(T)                                                 \
    template ZELKCAM_EXPORT std::optional<StandardMetadata<T>::value_type> \
    MapperV5::getStandardMetadata<T>(const native_handle*) const
#define INSTANTIATE_SET(T)                                                   \
    template ZELKCAM_EXPORT AIMapper_Error MapperV5::setStandardMetadata<T>( \
            const native_handle*, const StandardMetadata<T>::value_type&) const

INSTANTIATE_GET(StandardMetadataType::PLANE_LAYOUTS);
INSTANTIATE_GET(StandardMetadataType::SMPTE2086);
INSTANTIATE_GET(StandardMetadataType::CTA861_3);
INSTANTIATE_GET(StandardMetadataType::SMPTE2094_40);
INSTANTIATE_SET(StandardMetadataType::SMPTE2086);
INSTANTIATE_SET(StandardMetadataType::CTA861_3);
INSTANTIATE_SET(StandardMetadataType::SMPTE2094_40);
INSTANTIATE_SET(StandardMetadataType::SMPTE2094_10);

int32_t MapperV5::getPlaneLayouts(const native_handle* buffer,
                                  std::vector<PlaneLayout>* outPlaneLayouts) const {
    auto planes = getStandardMetadata<StandardMetadataType::PLANE_LAYOUTS>(buffer);
    if (!planes) {
        return AIMAPPER_ERROR_BAD_VALUE;
    }
    *outPlaneLayouts = *std::move(planes);
    return AIMAPPER_ERROR_NONE;
}

AIMapper_Error MapperV5::setGrallocMeta(const native_handle* handle,
                                        GRALLOC_STANDARD_METADATA_TYPE type, void* data,
                                        unsigned int data_size) const {
    if (const AIMapper_Error error = checkPointers(__func__, handle, data)) {
        return error;
    }
    switch (type) {
        case GRALLOC_META_SMPTE2086:
            return setRecord<MasteringDisplay>(*this, handle, data, data_size);
        case GRALLOC_META_CTA861_3:
            return setRecord<ContentLightLevels>(*this, handle, data, data_size);
        case GRALLOC_META_SMPTE2094_40:
            return setPayload<Hdr10Plus>(*this, handle, data, mLogLevel != 0);
        case GRALLOC_META_SMPTE2094_10:
            return setPayload<DolbyVision>(*this, handle, data, mLogLevel != 0);
    }
    return AIMAPPER_ERROR_NONE;
}

AIMapper_Error MapperV5::getGrallocMeta(const native_handle* handle,
                                        GRALLOC_STANDARD_METADATA_TYPE type, void* data,
                                        unsigned int data_size) const {
    if (const AIMapper_Error error = checkPointers(__func__, handle, data)) {
        return error;
    }
    switch (type) {
        case GRALLOC_META_SMPTE2086:
            return getInto<MasteringDisplay>(*this, handle, data, data_size);
        case GRALLOC_META_CTA861_3:
            return getInto<ContentLightLevels>(*this, handle, data, data_size);
        case GRALLOC_META_SMPTE2094_40:
            return getInto<Hdr10Plus>(*this, handle, data, data_size);
        case GRALLOC_META_SMPTE2094_10:
            break;
    }
    return AIMAPPER_ERROR_NONE;
}

}  // namespace NSCam::GrallocMapperAidlV2
