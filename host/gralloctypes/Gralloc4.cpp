#include <bit>

#include <android/hardware/graphics/mapper/utils/IMapperMetadataTypes.h>
#include <gralloctypes/Gralloc4.h>

namespace android::gralloc4 {

namespace {

using aidl::android::hardware::graphics::common::ExtendableType;
using aidl::android::hardware::graphics::common::PlaneLayout;
using android::hardware::graphics::mapper::MetadataReader;
using android::hardware::graphics::mapper::MetadataWriter;
using android::hardware::graphics::mapper::details::readValue;
using android::hardware::graphics::mapper::details::writeValue;
using android::hardware::graphics::mapper::V4_0::IMapper;

using Bytes = hardware::hidl_vec<uint8_t>;
using Blob = std::vector<uint8_t>;

constexpr size_t kMaxComponents = 10000;

std::string_view viewOf(const hardware::hidl_string& text) {
    return {text.c_str(), text.size()};
}

// Replaces the output by what `write` writes, which runs twice: the first time to learn the size.
template <typename Write>
status_t encodeWith(Bytes* output, Write&& write) {
    if (output == nullptr) {
        return BAD_VALUE;
    }
    MetadataWriter counter(nullptr, 0);
    write(counter);
    if (counter.desiredSize() < 0) {
        return BAD_VALUE;
    }
    output->resize(static_cast<size_t>(counter.desiredSize()));
    MetadataWriter writer(output->data(), output->size());
    write(writer);
    return NO_ERROR;
}

template <typename T>
status_t encode(const IMapper::MetadataType& type, const T& value, Bytes* output) {
    return encodeWith(output, [&](MetadataWriter& writer) {
        writeValue(writer.write(viewOf(type.name)).write(type.value), value);
    });
}

template <typename T>
status_t encode(const IMapper::MetadataType& type, const std::optional<T>& value, Bytes* output) {
    // Contract: an absent optional leaves the output as it was; a caller that wants it empty passes
    // it in empty.
    return value.has_value() ? encode(type, *value, output) : NO_ERROR;
}

status_t encode(const IMapper::MetadataType& type, double value, Bytes* output) {
    return encode(type, std::bit_cast<uint64_t>(value), output);
}

bool readHeader(MetadataReader& reader, const IMapper::MetadataType& type) {
    return reader.readString() == viewOf(type.name) && reader.readInt<int64_t>() == type.value;
}

// Contract: a negative length counts as 0.
bool readValue(MetadataReader& reader, Blob& value) {
    MetadataReader ahead = reader;
    if (ahead.readInt<int64_t>().value_or(0) < 0) {
        reader = ahead;
        value.clear();
        return true;
    }
    value = reader.readBuffer();
    return reader.ok();
}

template <typename T>
status_t decode(const IMapper::MetadataType& type, const Bytes& input, T* output) {
    if (output == nullptr) {
        return BAD_VALUE;
    }
    MetadataReader reader(input.data(), input.size());
    T value{};
    const bool complete = readHeader(reader, type) && readValue(reader, value);
    const bool exact = complete && reader.remaining() == 0;
    // Contract: what a failure leaves differs by type.
    constexpr bool isEmptied = std::is_class_v<T> && !std::is_same_v<T, std::string>;
    if (isEmptied && !exact) {
        *output = T();
    } else if (complete) {
        *output = std::move(value);
    }
    return exact ? NO_ERROR : BAD_VALUE;
}

template <typename T>
status_t decode(const IMapper::MetadataType& type, const Bytes& input, std::optional<T>* output) {
    if (output == nullptr) {
        return BAD_VALUE;
    }
    std::optional<T> value;
    if (input.size() != 0 && decode(type, input, &value.emplace()) != NO_ERROR) {
        return BAD_VALUE;
    }
    *output = std::move(value);
    return NO_ERROR;
}

status_t decode(const IMapper::MetadataType& type, const Bytes& input, double* output) {
    if (output == nullptr) {
        return BAD_VALUE;
    }
    auto bits = std::bit_cast<uint64_t>(*output);
    const status_t status = decode(type, input, &bits);
    *output = std::bit_cast<double>(bits);
    return status;
}

// Plane by plane, so that memory grows with the bytes and not with the count that they announce.
status_t decode(const IMapper::MetadataType& type, const Bytes& input,
                std::vector<PlaneLayout>* output) {
    MetadataReader reader(input.data(), input.size());
    const int64_t count = readHeader(reader, type) ? reader.readInt<int64_t>().value_or(-1) : -1;
    if (count < 0) {
        return BAD_VALUE;
    }
    // Contract: appends, keeps the whole planes of bytes that end early, and does not look whether
    // the pointer is null; only bytes left over empty the vector.
    for (int64_t i = 0; i < count; ++i) {
        PlaneLayout plane;
        if (!readValue(reader, plane) || plane.components.size() > kMaxComponents) {
            return BAD_VALUE;
        }
        output->push_back(std::move(plane));
    }
    if (reader.remaining() != 0) {
        output->clear();
        return BAD_VALUE;
    }
    return NO_ERROR;
}

}  // namespace

status_t encodeBufferDescriptorInfo(const IMapper::BufferDescriptorInfo& info, Bytes* output) {
    return encodeWith(output, [&](MetadataWriter& writer) {
        writer.write(viewOf(info.name)).write(info.width).write(info.height).write(info.layerCount);
        writeValue(writer, info.format);
        writer.write(info.usage).write(info.reservedSize);
    });
}

status_t decodeBufferDescriptorInfo(const Bytes& input, IMapper::BufferDescriptorInfo* output) {
    if (output == nullptr) {
        return BAD_VALUE;
    }
    MetadataReader reader(input.data(), input.size());
    IMapper::BufferDescriptorInfo info{};
    const std::string_view name = reader.readString();
    reader.read(info.width).read(info.height).read(info.layerCount);
    if (!readValue(reader, info.format) || !reader.read(info.usage).read(info.reservedSize).ok() ||
        reader.remaining() != 0) {
        return BAD_VALUE;
    }
    info.name = hardware::hidl_string(name.data(), name.size());
    *output = std::move(info);
    return NO_ERROR;
}

#define DEFINE_STANDARD(NAME, TYPE, ...)                                      \
    status_t encode##NAME(details::Input<__VA_ARGS__> value, Bytes* output) { \
        return encode(MetadataType_##NAME, value, output);                    \
    }                                                                         \
    status_t decode##NAME(const Bytes& input, __VA_ARGS__* output) {          \
        return decode(MetadataType_##NAME, input, output);                    \
    }
ZELKCAM_GRALLOC4_STANDARD_TYPES(DEFINE_STANDARD)

#define DEFINE_PLAIN(NAME, TYPE)                                                                 \
    status_t encode##NAME(const IMapper::MetadataType& type, details::Input<TYPE> input,         \
                          Bytes* output) {                                                       \
        return encode(type, input, output);                                                      \
    }                                                                                            \
    status_t decode##NAME(const IMapper::MetadataType& type, const Bytes& input, TYPE* output) { \
        return decode(type, input, output);                                                      \
    }
ZELKCAM_GRALLOC4_PLAIN_TYPES(DEFINE_PLAIN)

}  // namespace android::gralloc4
