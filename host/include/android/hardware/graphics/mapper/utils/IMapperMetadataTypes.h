// How the standard metadata of a buffer is turned into bytes and back.
//
//     using Width = StandardMetadata<StandardMetadataType::WIDTH>;
//     int32_t size = Width::value::encode(1920, bytes, sizeof(bytes));
//     std::optional<uint64_t> width = Width::value::decode(bytes, size);
//
// A value begins with a header: the name of its enum and the number in it. Numbers are in native
// order, texts and lists are led by an int64 count. Encoding answers the full size, whether or not
// the destination could hold it; nothing is ever written beyond the destination. Decoding answers
// nothing unless the bytes hold a complete value of the type asked for; bytes after it are ignored.
// The bytes may come from a hostile process: no count is believed that the bytes at hand cannot
// hold.
#pragma once

#include <algorithm>
#include <cinttypes>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include <aidl/android/hardware/graphics/common/BlendMode.h>
#include <aidl/android/hardware/graphics/common/BufferUsage.h>
#include <aidl/android/hardware/graphics/common/Cta861_3.h>
#include <aidl/android/hardware/graphics/common/Dataspace.h>
#include <aidl/android/hardware/graphics/common/ExtendableType.h>
#include <aidl/android/hardware/graphics/common/PixelFormat.h>
#include <aidl/android/hardware/graphics/common/PlaneLayout.h>
#include <aidl/android/hardware/graphics/common/PlaneLayoutComponent.h>
#include <aidl/android/hardware/graphics/common/Rect.h>
#include <aidl/android/hardware/graphics/common/Smpte2086.h>
#include <aidl/android/hardware/graphics/common/StandardMetadataType.h>
#include <aidl/android/hardware/graphics/common/XyColor.h>
#include <android/hardware/graphics/mapper/IMapper.h>

namespace android::hardware::graphics::mapper {

using ::aidl::android::hardware::graphics::common::BlendMode;
using ::aidl::android::hardware::graphics::common::BufferUsage;
using ::aidl::android::hardware::graphics::common::Cta861_3;
using ::aidl::android::hardware::graphics::common::Dataspace;
using ::aidl::android::hardware::graphics::common::ExtendableType;
using ::aidl::android::hardware::graphics::common::PixelFormat;
using ::aidl::android::hardware::graphics::common::PlaneLayout;
using ::aidl::android::hardware::graphics::common::PlaneLayoutComponent;
using ::aidl::android::hardware::graphics::common::Rect;
using ::aidl::android::hardware::graphics::common::Smpte2086;
using ::aidl::android::hardware::graphics::common::StandardMetadataType;
using ::aidl::android::hardware::graphics::common::XyColor;

// Writes values one after the other. From the first one that does not fit nothing more is written,
// but the sizes are still added up.
class MetadataWriter {
  public:
    explicit MetadataWriter(void* destBuffer, size_t destBufferSize)
        : mDest(static_cast<std::byte*>(destBuffer)),
          mRemaining(destBuffer == nullptr ? 0 : destBufferSize) {}

    // The size of all that was to be written; -AIMAPPER_ERROR_BAD_VALUE once it left the range.
    [[nodiscard]] int32_t desiredSize() const { return mDesiredSize; }

    template <typename HEADER>
    MetadataWriter& writeHeader() {
        return write(std::string_view(HEADER::name)).write(static_cast<int64_t>(HEADER::value));
    }

    template <typename T, std::enable_if_t<std::is_integral_v<T>, bool> = true>
    MetadataWriter& write(T value) {
        return append(&value, sizeof(value));
    }

    MetadataWriter& write(float value) { return append(&value, sizeof(value)); }

    MetadataWriter& write(const std::string_view& value) {
        return write(static_cast<int64_t>(value.size())).append(value.data(), value.size());
    }

    MetadataWriter& write(const std::vector<uint8_t>& value) {
        return write(static_cast<int64_t>(value.size())).append(value.data(), value.size());
    }

    MetadataWriter& write(const ExtendableType& value) {
        return write(std::string_view(value.name)).write(value.value);
    }

    MetadataWriter& write(const XyColor& value) { return write(value.x).write(value.y); }

  private:
    MetadataWriter& append(const void* bytes, size_t size) {
        addToDesiredSize(size);
        if (size > mRemaining) {
            mRemaining = 0;
            return *this;
        }
        if (size != 0) {
            std::memcpy(mDest, bytes, size);
            mDest += size;
            mRemaining -= size;
        }
        return *this;
    }

    void addToDesiredSize(size_t size) {
        if (mDesiredSize < 0) {
            return;
        }
        if (__builtin_add_overflow(mDesiredSize, size, &mDesiredSize)) {
            mDesiredSize = -AIMAPPER_ERROR_BAD_VALUE;
        }
    }

    std::byte* mDest;
    size_t mRemaining;
    int32_t mDesiredSize = 0;
};

// Reads values one after the other. From the first one that is not there nothing more is read, and
// the targets keep what they held.
class MetadataReader {
  public:
    explicit MetadataReader(const void* metadata, size_t metadataSize)
        : mSource(static_cast<const std::byte*>(metadata)),
          mRemaining(metadata == nullptr ? 0 : metadataSize) {}

    [[nodiscard]] size_t remaining() const { return mRemaining; }
    [[nodiscard]] bool ok() const { return mOk; }

    // Reads the header and fails unless it is this one.
    template <typename HEADER>
    MetadataReader& checkHeader() {
        if (readString() != std::string_view(HEADER::name)) {
            fail();
        }
        if (readInt<int64_t>() != static_cast<int64_t>(HEADER::value)) {
            fail();
        }
        return *this;
    }

    template <typename T, std::enable_if_t<std::is_integral_v<T>, bool> = true>
    MetadataReader& read(T& dest) {
        return take(&dest, sizeof(dest));
    }

    MetadataReader& read(float& dest) { return take(&dest, sizeof(dest)); }

    MetadataReader& read(std::string& dest) {
        const std::string_view text = readString();
        if (mOk) {
            dest = text;
        }
        return *this;
    }

    MetadataReader& read(ExtendableType& dest) { return read(dest.name).read(dest.value); }

    MetadataReader& read(XyColor& dest) { return read(dest.x).read(dest.y); }

    template <typename T>
    [[nodiscard]] std::optional<T> readInt() {
        static_assert(std::is_integral_v<T>);
        T value{};
        read(value);
        return mOk ? std::optional<T>(value) : std::nullopt;
    }

    // A view of the bytes that are read from; empty on failure.
    [[nodiscard]] std::string_view readString() {
        const size_t size = readLength();
        return {reinterpret_cast<const char*>(advance(size)), size};
    }

    [[nodiscard]] std::optional<ExtendableType> readExtendable() {
        ExtendableType value;
        read(value);
        return mOk ? std::optional<ExtendableType>(std::move(value)) : std::nullopt;
    }

    [[nodiscard]] std::vector<uint8_t> readBuffer() {
        const size_t size = readLength();
        const auto* bytes = reinterpret_cast<const uint8_t*>(advance(size));
        return std::vector<uint8_t>(bytes, bytes + size);
    }

  private:
    void fail() {
        mOk = false;
        mRemaining = 0;
    }

    // A count of bytes, which are there; 0 on failure.
    size_t readLength() {
        int64_t length = 0;
        read(length);
        if (length >= 0 && static_cast<uint64_t>(length) <= mRemaining) {
            return static_cast<size_t>(length);
        }
        fail();
        return 0;
    }

    // Steps over bytes that are there.
    const std::byte* advance(size_t size) {
        const std::byte* bytes = mSource;
        mSource += size;
        mRemaining -= size;
        return bytes;
    }

    MetadataReader& take(void* dest, size_t size) {
        if (size <= mRemaining) {
            std::memcpy(dest, advance(size), size);
        } else {
            fail();
        }
        return *this;
    }

    const std::byte* mSource;
    size_t mRemaining;
    bool mOk = true;
};

namespace details {

template <typename T>
concept Record = requires(T& value) { value.zelkcamFields(); };

// A record's bytes are those of its fields in the order of their declaration, a list's its count
// and those of its elements.
template <typename T>
void writeValue(MetadataWriter& writer, const T& value) {
    if constexpr (std::is_enum_v<T>) {
        writer.write(static_cast<std::underlying_type_t<T>>(value));
    } else if constexpr (requires { writer.write(value); }) {
        writer.write(value);
    } else if constexpr (Record<T>) {
        std::apply([&](const auto&... fields) { (writeValue(writer, fields), ...); },
                   value.zelkcamFields());
    } else {
        writer.write(static_cast<int64_t>(value.size()));
        for (const auto& element : value) {
            writeValue(writer, element);
        }
    }
}

// The least bytes that a value takes: texts and lists may be empty.
template <typename T>
constexpr size_t leastSize() {
    if constexpr (Record<T>) {
        return []<typename... F>(std::type_identity<std::tuple<F&...>>) {
            return (leastSize<F>() + ...);
        }(std::type_identity<decltype(std::declval<T&>().zelkcamFields())>{});
    } else if constexpr (std::is_class_v<T>) {
        return sizeof(int64_t);
    } else {
        return sizeof(T);
    }
}

// The count of a list whose elements take at least `elementSize` bytes each; nothing when the bytes
// at hand cannot hold that many.
inline std::optional<size_t> readCount(MetadataReader& reader, size_t elementSize) {
    const std::optional<int64_t> count = reader.readInt<int64_t>();
    if (!count || *count < 0 || static_cast<uint64_t>(*count) > reader.remaining() / elementSize) {
        return std::nullopt;
    }
    return static_cast<size_t>(*count);
}

// The reverse of writeValue. False when the bytes hold no such value; some of it may have been
// stored then.
template <typename T>
[[nodiscard]] bool readValue(MetadataReader& reader, T& value) {
    if constexpr (std::is_enum_v<T>) {
        std::underlying_type_t<T> number{};
        reader.read(number);
        value = static_cast<T>(number);
        return reader.ok();
    } else if constexpr (requires { reader.read(value); }) {
        return reader.read(value).ok();
    } else if constexpr (std::is_same_v<T, std::vector<uint8_t>>) {
        value = reader.readBuffer();
        return reader.ok();
    } else if constexpr (Record<T>) {
        return std::apply([&](auto&... fields) { return (readValue(reader, fields) && ...); },
                          value.zelkcamFields());
    } else {
        const auto count = readCount(reader, leastSize<typename T::value_type>());
        if (!count) {
            return false;
        }
        value.resize(*count);
        return std::all_of(value.begin(), value.end(),
                           [&](auto& element) { return readValue(reader, element); });
    }
}

}  // namespace details

// How a value of type T is encoded under a header.
template <typename HEADER, typename T, typename Enable = void>
struct MetadataValue {
    using EncodeArgument = std::conditional_t<std::is_same_v<T, std::string>, std::string_view, T>;
    [[nodiscard]] static int32_t encode(const EncodeArgument& value, void* destBuffer,
                                        size_t destBufferSize) {
        MetadataWriter writer{destBuffer, destBufferSize};
        details::writeValue(writer.template writeHeader<HEADER>(), value);
        return writer.desiredSize();
    }

    using DecodeResult = std::optional<T>;
    [[nodiscard]] static DecodeResult decode(const void* metadata, size_t metadataSize) {
        MetadataReader reader{metadata, metadataSize};
        T value{};
        if (!details::readValue(reader.template checkHeader<HEADER>(), value)) {
            return std::nullopt;
        }
        return value;
    }
};

// An absent optional is zero bytes, without a header. Decoding therefore has an optional in an
// optional: the outer one is empty for bytes that make no sense, the inner one for an absent value.
template <typename HEADER, typename T>
struct MetadataValue<HEADER, std::optional<T>> {
    [[nodiscard]] static int32_t encode(const std::optional<T>& optValue, void* destBuffer,
                                        size_t destBufferSize) {
        return optValue ? MetadataValue<HEADER, T>::encode(*optValue, destBuffer, destBufferSize)
                        : 0;
    }

    using DecodeResult = std::optional<std::optional<T>>;
    [[nodiscard]] static DecodeResult decode(const void* metadata, size_t metadataSize) {
        if (metadataSize == 0) {
            return std::optional<T>();
        }
        std::optional<T> value = MetadataValue<HEADER, T>::decode(metadata, metadataSize);
        return value ? DecodeResult(std::move(value)) : std::nullopt;
    }
};

// The type and encoding of each standard metadata; nothing for INVALID.
template <StandardMetadataType>
struct StandardMetadata {};

#define DEFINE_STANDARD_METADATA(TYPE, ...)                                                       \
    template <>                                                                                   \
    struct StandardMetadata<StandardMetadataType::TYPE> {                                         \
        using value_type = __VA_ARGS__;                                                           \
        struct Header {                                                                           \
            static constexpr auto name = "android.hardware.graphics.common.StandardMetadataType"; \
            static constexpr auto value = static_cast<int64_t>(StandardMetadataType::TYPE);       \
        };                                                                                        \
        using value = MetadataValue<Header, value_type>;                                          \
    };

DEFINE_STANDARD_METADATA(BUFFER_ID, uint64_t)
DEFINE_STANDARD_METADATA(NAME, std::string)
DEFINE_STANDARD_METADATA(WIDTH, uint64_t)
DEFINE_STANDARD_METADATA(HEIGHT, uint64_t)
DEFINE_STANDARD_METADATA(LAYER_COUNT, uint64_t)
DEFINE_STANDARD_METADATA(PIXEL_FORMAT_REQUESTED, PixelFormat)
DEFINE_STANDARD_METADATA(PIXEL_FORMAT_FOURCC, uint32_t)
DEFINE_STANDARD_METADATA(PIXEL_FORMAT_MODIFIER, uint64_t)
DEFINE_STANDARD_METADATA(USAGE, BufferUsage)
DEFINE_STANDARD_METADATA(ALLOCATION_SIZE, uint64_t)
DEFINE_STANDARD_METADATA(PROTECTED_CONTENT, uint64_t)
DEFINE_STANDARD_METADATA(COMPRESSION, ExtendableType)
DEFINE_STANDARD_METADATA(INTERLACED, ExtendableType)
DEFINE_STANDARD_METADATA(CHROMA_SITING, ExtendableType)
DEFINE_STANDARD_METADATA(PLANE_LAYOUTS, std::vector<PlaneLayout>)
DEFINE_STANDARD_METADATA(CROP, std::vector<Rect>)
DEFINE_STANDARD_METADATA(DATASPACE, Dataspace)
DEFINE_STANDARD_METADATA(BLEND_MODE, BlendMode)
DEFINE_STANDARD_METADATA(SMPTE2086, std::optional<Smpte2086>)
DEFINE_STANDARD_METADATA(CTA861_3, std::optional<Cta861_3>)
DEFINE_STANDARD_METADATA(SMPTE2094_40, std::optional<std::vector<uint8_t>>)
DEFINE_STANDARD_METADATA(SMPTE2094_10, std::optional<std::vector<uint8_t>>)
DEFINE_STANDARD_METADATA(STRIDE, uint32_t)

#undef DEFINE_STANDARD_METADATA

namespace details {

// The loops below take an enumerator's place in the list for its value.
constexpr bool isValueEqualToIndex() {
    const auto& values = ::ndk::internal::enum_values<StandardMetadataType>;
    for (size_t i = 0; i < values.size(); ++i) {
        if (static_cast<size_t>(values[i]) != i) {
            return false;
        }
    }
    return values.size() == 24;
}
static_assert(isValueEqualToIndex());

}  // namespace details

// Calls f.operator()<T>() for the T that `type` is, unless that is INVALID or unknown.
template <typename F, size_t... I>
void invokeWithStandardMetadata(F&& f, StandardMetadataType type, std::index_sequence<I...>) {
    const auto invokeIfSame = [&]<size_t INDEX>(std::integral_constant<size_t, INDEX>) {
        constexpr auto T = static_cast<StandardMetadataType>(INDEX);
        if constexpr (T != StandardMetadataType::INVALID) {
            if (type == T) {
                f.template operator()<T>();
            }
        }
    };
    (invokeIfSame(std::integral_constant<size_t, I>{}), ...);
}

// For a mapper's getter: answers f.operator()<T>(provide), where provide(value) encodes the value
// into the destination and answers as encode does. UNSUPPORTED, negated, for INVALID and unknown
// types.
template <typename F>
int32_t provideStandardMetadata(StandardMetadataType type, void* destBuffer, size_t destBufferSize,
                                F&& f) {
    constexpr size_t kTypes = ::ndk::internal::enum_values<StandardMetadataType>.size();
    int32_t result = -AIMAPPER_ERROR_UNSUPPORTED;
    invokeWithStandardMetadata(
            [&]<StandardMetadataType T>() {
                using Metadata = StandardMetadata<T>;
                result = f.template operator()<T>(
                        [&](const typename Metadata::value_type& value) -> int32_t {
                            return Metadata::value::encode(value, destBuffer, destBufferSize);
                        });
            },
            type, std::make_index_sequence<kTypes>{});
    return result;
}

// For a mapper's setter: answers f.operator()<T>(value) with the decoded value; BAD_VALUE for bytes
// that make none, UNSUPPORTED for INVALID and unknown types.
template <typename F>
AIMapper_Error applyStandardMetadata(StandardMetadataType type, const void* metadata,
                                     size_t metadataSize, F&& f) {
    constexpr size_t kTypes = ::ndk::internal::enum_values<StandardMetadataType>.size();
    AIMapper_Error result = AIMAPPER_ERROR_UNSUPPORTED;
    invokeWithStandardMetadata(
            [&]<StandardMetadataType T>() {
                auto value = StandardMetadata<T>::value::decode(metadata, metadataSize);
                result = value.has_value() ? f.template operator()<T>(std::move(*value))
                                           : AIMAPPER_ERROR_BAD_VALUE;
            },
            type, std::make_index_sequence<kTypes>{});
    return result;
}

}  // namespace android::hardware::graphics::mapper
