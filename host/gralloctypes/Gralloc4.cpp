#include <gralloctypes/Gralloc4.h>

#include "host/gralloctypes/ByteStream.h"

namespace android::gralloc4 {

namespace {

using aidl::android::hardware::graphics::common::BlendMode;
using aidl::android::hardware::graphics::common::Cta861_3;
using aidl::android::hardware::graphics::common::Dataspace;
using aidl::android::hardware::graphics::common::ExtendableType;
using aidl::android::hardware::graphics::common::PlaneLayout;
using aidl::android::hardware::graphics::common::PlaneLayoutComponent;
using aidl::android::hardware::graphics::common::Rect;
using aidl::android::hardware::graphics::common::Smpte2086;
using aidl::android::hardware::graphics::common::XyColor;
using android::hardware::graphics::common::V1_2::PixelFormat;
using android::hardware::graphics::mapper::V4_0::IMapper;
using zelkcam::host::ByteReader;
using zelkcam::host::ByteWriter;

using Bytes = hardware::hidl_vec<uint8_t>;
using Blob = std::vector<uint8_t>;

constexpr int64_t kMaxComponents = 10000;

// write: one overload a value type, in the order of the fields.

template <typename T, typename = std::enable_if_t<std::is_arithmetic_v<T> || std::is_enum_v<T>>>
void write(ByteWriter& to, T value) {
    to.put(value);
}

void write(ByteWriter& to, const std::string& value) {
    to.putSized(value);
}

void write(ByteWriter& to, const Blob& value) {
    to.putSized(value);
}

void write(ByteWriter& to, const ExtendableType& value) {
    to.putSized(value.name);
    to.put(value.value);
}

void write(ByteWriter& to, const PlaneLayoutComponent& value) {
    write(to, value.type);
    to.put(value.offsetInBits);
    to.put(value.sizeInBits);
}

void write(ByteWriter& to, const Rect& value) {
    to.put(value.left);
    to.put(value.top);
    to.put(value.right);
    to.put(value.bottom);
}

void write(ByteWriter& to, const XyColor& value) {
    to.put(value.x);
    to.put(value.y);
}

void write(ByteWriter& to, const Smpte2086& value) {
    write(to, value.primaryRed);
    write(to, value.primaryGreen);
    write(to, value.primaryBlue);
    write(to, value.whitePoint);
    to.put(value.maxLuminance);
    to.put(value.minLuminance);
}

void write(ByteWriter& to, const Cta861_3& value) {
    to.put(value.maxContentLightLevel);
    to.put(value.maxFrameAverageLightLevel);
}

template <typename T>
void writeList(ByteWriter& to, const std::vector<T>& values);

void write(ByteWriter& to, const PlaneLayout& value) {
    writeList(to, value.components);
    to.put(value.offsetInBytes);
    to.put(value.sampleIncrementInBits);
    to.put(value.strideInBytes);
    to.put(value.widthInSamples);
    to.put(value.heightInSamples);
    to.put(value.totalSizeInBytes);
    to.put(value.horizontalSubsampling);
    to.put(value.verticalSubsampling);
}

template <typename T>
void writeList(ByteWriter& to, const std::vector<T>& values) {
    to.put(static_cast<int64_t>(values.size()));
    for (const T& value : values) {
        write(to, value);
    }
}

void write(ByteWriter& to, const std::vector<PlaneLayout>& values) {
    writeList(to, values);
}

void write(ByteWriter& to, const std::vector<Rect>& values) {
    writeList(to, values);
}

// read: the same in reverse. False when the bytes end early or hold a count that cannot be.

template <typename T, typename = std::enable_if_t<std::is_arithmetic_v<T> || std::is_enum_v<T>>>
bool read(ByteReader& from, T* value) {
    return from.take(value);
}

bool read(ByteReader& from, std::string* value) {
    std::string_view text;
    if (!from.takeSized(&text)) {
        return false;
    }
    value->assign(text);
    return true;
}

bool read(ByteReader& from, Blob* value) {
    std::string_view bytes;
    if (!from.takeSized(&bytes)) {
        return false;
    }
    value->assign(bytes.begin(), bytes.end());
    return true;
}

bool read(ByteReader& from, ExtendableType* value) {
    return read(from, &value->name) && from.take(&value->value);
}

bool read(ByteReader& from, PlaneLayoutComponent* value) {
    return read(from, &value->type) && from.take(&value->offsetInBits) &&
           from.take(&value->sizeInBits);
}

bool read(ByteReader& from, Rect* value) {
    return from.take(&value->left) && from.take(&value->top) && from.take(&value->right) &&
           from.take(&value->bottom);
}

bool read(ByteReader& from, XyColor* value) {
    return from.take(&value->x) && from.take(&value->y);
}

bool read(ByteReader& from, Smpte2086* value) {
    return read(from, &value->primaryRed) && read(from, &value->primaryGreen) &&
           read(from, &value->primaryBlue) && read(from, &value->whitePoint) &&
           from.take(&value->maxLuminance) && from.take(&value->minLuminance);
}

bool read(ByteReader& from, Cta861_3* value) {
    return from.take(&value->maxContentLightLevel) && from.take(&value->maxFrameAverageLightLevel);
}

bool read(ByteReader& from, PlaneLayout* value);

// Appends element by element, so that memory grows with the bytes and not with what they claim.
template <typename T>
bool readList(ByteReader& from, std::vector<T>* values, int64_t maxCount) {
    int64_t count = 0;
    if (!from.take(&count) || count < 0 || count > maxCount) {
        return false;
    }
    for (int64_t i = 0; i < count; ++i) {
        T value;
        if (!read(from, &value)) {
            return false;
        }
        values->push_back(std::move(value));
    }
    return true;
}

bool read(ByteReader& from, PlaneLayout* value) {
    return readList(from, &value->components, kMaxComponents) && from.take(&value->offsetInBytes) &&
           from.take(&value->sampleIncrementInBits) && from.take(&value->strideInBytes) &&
           from.take(&value->widthInSamples) && from.take(&value->heightInSamples) &&
           from.take(&value->totalSizeInBytes) && from.take(&value->horizontalSubsampling) &&
           from.take(&value->verticalSubsampling);
}

bool read(ByteReader& from, std::vector<Rect>* values) {
    return readList(from, values, INT64_MAX);
}

bool isHeader(ByteReader& from, const IMapper::MetadataType& type) {
    std::string_view name;
    int64_t value = 0;
    return from.takeSized(&name) && from.take(&value) && value == type.value &&
           name == std::string_view(type.name.c_str(), type.name.size());
}

template <typename T>
status_t encode(const IMapper::MetadataType& type, const T& value, Bytes* output) {
    if (output == nullptr) {
        return BAD_VALUE;
    }
    ByteWriter writer;
    writer.putSized(std::string_view(type.name.c_str(), type.name.size()));
    writer.put(type.value);
    write(writer, value);
    *output = writer.bytes();
    return NO_ERROR;
}

template <typename T>
status_t encode(const IMapper::MetadataType& type, const std::optional<T>& value, Bytes* output) {
    if (value.has_value()) {
        return encode(type, *value, output);
    }
    // Contract: an absent optional leaves the output as it was; a caller that wants it empty passes
    // it in empty.
    return output != nullptr ? NO_ERROR : BAD_VALUE;
}

// What a failed decoding leaves: nothing of the bytes in texts, lists and records, plain numbers as
// they were.
template <typename T>
status_t decode(const IMapper::MetadataType& type, const Bytes& input, T* output) {
    if (output == nullptr) {
        return BAD_VALUE;
    }
    ByteReader reader(input);
    T value{};
    if (isHeader(reader, type) && read(reader, &value) && reader.remaining() == 0) {
        *output = std::move(value);
        return NO_ERROR;
    }
    if constexpr (std::is_class_v<T>) {
        *output = T();
    }
    return BAD_VALUE;
}

template <typename T>
status_t decode(const IMapper::MetadataType& type, const Bytes& input, std::optional<T>* output) {
    if (output == nullptr) {
        return BAD_VALUE;
    }
    output->reset();
    if (input.size() == 0) {
        return NO_ERROR;
    }
    T value{};
    const status_t status = decode(type, input, &value);
    if (status == NO_ERROR) {
        output->emplace(std::move(value));
    }
    return status;
}

}  // namespace

status_t encodeBufferDescriptorInfo(const IMapper::BufferDescriptorInfo& info, Bytes* output) {
    if (output == nullptr) {
        return BAD_VALUE;
    }
    ByteWriter writer;
    writer.putSized(std::string_view(info.name.c_str(), info.name.size()));
    writer.put(info.width);
    writer.put(info.height);
    writer.put(info.layerCount);
    writer.put(info.format);
    writer.put(info.usage);
    writer.put(info.reservedSize);
    *output = writer.bytes();
    return NO_ERROR;
}

status_t decodeBufferDescriptorInfo(const Bytes& input, IMapper::BufferDescriptorInfo* output) {
    if (output == nullptr) {
        return BAD_VALUE;
    }
    ByteReader reader(input);
    std::string_view name;
    IMapper::BufferDescriptorInfo info;
    const bool complete = reader.takeSized(&name) && reader.take(&info.width) &&
                          reader.take(&info.height) && reader.take(&info.layerCount) &&
                          reader.take(&info.format) && reader.take(&info.usage) &&
                          reader.take(&info.reservedSize);
    if (!complete || reader.remaining() != 0) {
        return BAD_VALUE;
    }
    info.name = hardware::hidl_string(name.data(), name.size());
    *output = std::move(info);
    return NO_ERROR;
}

status_t decodePlaneLayouts(const Bytes& planeLayouts, std::vector<PlaneLayout>* outPlaneLayouts) {
    ByteReader reader(planeLayouts);
    if (!isHeader(reader, MetadataType_PlaneLayouts)) {
        return BAD_VALUE;
    }
    // Contract: appends, keeps the whole planes of bytes that end early, and does not look whether
    // the pointer is null; only bytes left over empty the vector.
    if (!readList(reader, outPlaneLayouts, INT64_MAX)) {
        return BAD_VALUE;
    }
    if (reader.remaining() != 0) {
        outPlaneLayouts->clear();
        return BAD_VALUE;
    }
    return NO_ERROR;
}

status_t encodePlaneLayouts(const std::vector<PlaneLayout>& planeLayouts, Bytes* outPlaneLayouts) {
    return encode(MetadataType_PlaneLayouts, planeLayouts, outPlaneLayouts);
}

// The other standard types: encoder and decoder of the metadata type of the same name.
#define ZELKCAM_DEFINE_STANDARD(NAME, PARAMETER, VALUE)        \
    status_t encode##NAME(PARAMETER value, Bytes* output) {    \
        return encode(MetadataType_##NAME, value, output);     \
    }                                                          \
    status_t decode##NAME(const Bytes& input, VALUE* output) { \
        return decode(MetadataType_##NAME, input, output);     \
    }

ZELKCAM_DEFINE_STANDARD(BufferId, uint64_t, uint64_t)
ZELKCAM_DEFINE_STANDARD(Name, const std::string&, std::string)
ZELKCAM_DEFINE_STANDARD(Width, uint64_t, uint64_t)
ZELKCAM_DEFINE_STANDARD(Height, uint64_t, uint64_t)
ZELKCAM_DEFINE_STANDARD(LayerCount, uint64_t, uint64_t)
ZELKCAM_DEFINE_STANDARD(PixelFormatRequested, const PixelFormat&, PixelFormat)
ZELKCAM_DEFINE_STANDARD(PixelFormatFourCC, uint32_t, uint32_t)
ZELKCAM_DEFINE_STANDARD(PixelFormatModifier, uint64_t, uint64_t)
ZELKCAM_DEFINE_STANDARD(Usage, uint64_t, uint64_t)
ZELKCAM_DEFINE_STANDARD(AllocationSize, uint64_t, uint64_t)
ZELKCAM_DEFINE_STANDARD(ProtectedContent, uint64_t, uint64_t)
ZELKCAM_DEFINE_STANDARD(Compression, const ExtendableType&, ExtendableType)
ZELKCAM_DEFINE_STANDARD(Interlaced, const ExtendableType&, ExtendableType)
ZELKCAM_DEFINE_STANDARD(ChromaSiting, const ExtendableType&, ExtendableType)
ZELKCAM_DEFINE_STANDARD(Crop, const std::vector<Rect>&, std::vector<Rect>)
ZELKCAM_DEFINE_STANDARD(Dataspace, const Dataspace&, Dataspace)
ZELKCAM_DEFINE_STANDARD(BlendMode, const BlendMode&, BlendMode)
ZELKCAM_DEFINE_STANDARD(Smpte2086, const std::optional<Smpte2086>&, std::optional<Smpte2086>)
ZELKCAM_DEFINE_STANDARD(Cta861_3, const std::optional<Cta861_3>&, std::optional<Cta861_3>)
ZELKCAM_DEFINE_STANDARD(Smpte2094_40, const std::optional<Blob>&, std::optional<Blob>)
ZELKCAM_DEFINE_STANDARD(Smpte2094_10, const std::optional<Blob>&, std::optional<Blob>)

// Values under any type's name and number.
#define ZELKCAM_DEFINE_PLAIN(NAME, PARAMETER, VALUE)                                              \
    status_t encode##NAME(const IMapper::MetadataType& type, PARAMETER input, Bytes* output) {    \
        return encode(type, input, output);                                                       \
    }                                                                                             \
    status_t decode##NAME(const IMapper::MetadataType& type, const Bytes& input, VALUE* output) { \
        return decode(type, input, output);                                                       \
    }

ZELKCAM_DEFINE_PLAIN(Uint32, uint32_t, uint32_t)
ZELKCAM_DEFINE_PLAIN(Int32, int32_t, int32_t)
ZELKCAM_DEFINE_PLAIN(Uint64, uint64_t, uint64_t)
ZELKCAM_DEFINE_PLAIN(Int64, int64_t, int64_t)
ZELKCAM_DEFINE_PLAIN(Float, float, float)
ZELKCAM_DEFINE_PLAIN(Double, double, double)
ZELKCAM_DEFINE_PLAIN(String, const std::string&, std::string)

}  // namespace android::gralloc4
