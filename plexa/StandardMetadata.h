// Reading a buffer's standard metadata.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "platform/mapper.h"

namespace zelkcam::plexa {

using aidl::android::hardware::graphics::common::StandardMetadataType;

// A buffer and its mapper. The handle is borrowed, and may be one that the mapper
// refuses.
struct Buffer {
    const AIMapperV5& mapper;
    buffer_handle_t handle;
};

// The vendor metadata that belongs to the extension, by attribute and operation codes.
inline constexpr char kTypeName[] = "zelkcam.plexa.BufferAttribute";

// Holds every encoding but that of many planes.
inline constexpr size_t kFirstRead = 512;
// What a mapper may ask for at most: some hundreds of planes, more than any format has.
inline constexpr size_t kLargestRead = size_t{64} * 1024;

template <StandardMetadataType T>
using StandardValue = typename android::hardware::graphics::mapper::StandardMetadata<T>::value;

template <StandardMetadataType T>
using StandardResult = decltype(StandardValue<T>::decode(nullptr, 0));

// The size of the encoded value, which was written if it fits; negative on failure.
inline int32_t readEncoded(const Buffer& buffer, StandardMetadataType type, void* out,
                           size_t size) {
    return buffer.mapper.getStandardMetadata(buffer.handle, static_cast<int64_t>(type), out, size);
}

// For a value that does not fit the first read. Not read a third time should it have grown again.
template <StandardMetadataType T>
StandardResult<T> readLargeStandard(const Buffer& buffer, size_t size) {
    if (size > kLargestRead) {
        return std::nullopt;
    }
    std::vector<std::byte> bytes(size);
    const int32_t length = readEncoded(buffer, T, bytes.data(), size);
    if (length < 0 || static_cast<size_t>(length) > size) {
        return std::nullopt;
    }
    return StandardValue<T>::decode(bytes.data(), static_cast<size_t>(length));
}

// No value when the mapper refuses the buffer or the type, or its answer cannot be decoded. One
// call of the mapper, two when the answer exceeds the first read.
template <StandardMetadataType T>
StandardResult<T> readStandard(const Buffer& buffer) {
    std::array<std::byte, kFirstRead> bytes{};
    const int32_t length = readEncoded(buffer, T, bytes.data(), bytes.size());
    if (length < 0) {
        return std::nullopt;
    }
    const auto size = static_cast<size_t>(length);
    return size <= bytes.size() ? StandardValue<T>::decode(bytes.data(), size)
                                : readLargeStandard<T>(buffer, size);
}

}  // namespace zelkcam::plexa
