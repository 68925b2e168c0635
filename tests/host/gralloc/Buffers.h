// Requests, and buffers that clean up after themselves.
#pragma once

#include <fcntl.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/Device.h"
#include "tests/support/Holdings.h"
#include "tests/support/Profiles.h"

namespace zelkcam::test {

using aidl::android::hardware::graphics::allocator::AllocationResult;
using aidl::android::hardware::graphics::allocator::BufferDescriptorInfo;
using aidl::android::hardware::graphics::common::BufferUsage;
using aidl::android::hardware::graphics::common::PixelFormat;
using aidl::android::hardware::graphics::common::StandardMetadataType;
using android::hardware::graphics::mapper::StandardMetadata;

inline constexpr uint64_t kReadWriteOften = 0x33;

using T = StandardMetadataType;
using Bytes = std::vector<uint8_t>;

inline constexpr auto kNone = AIMAPPER_ERROR_NONE;
inline constexpr auto kBadBuffer = AIMAPPER_ERROR_BAD_BUFFER;
inline constexpr auto kBadValue = AIMAPPER_ERROR_BAD_VALUE;
inline constexpr auto kNoResources = AIMAPPER_ERROR_NO_RESOURCES;
inline constexpr auto kUnsupported = AIMAPPER_ERROR_UNSUPPORTED;

// The two lists of metadata share no number.
inline AIMapper_MetadataType metadataType(int64_t number) {
    return {number < 100 ? kStandardName : kPlexaName, number};
}

// A handle that nobody gave out and nobody may look into.
// NOLINTNEXTLINE(performance-no-int-to-ptr): an address without anything behind it is the point
inline const auto kMadeUp = reinterpret_cast<buffer_handle_t>(uintptr_t{0xdeadbef0});

template <typename Format>
BufferDescriptorInfo describe(Format format, int32_t width, int32_t height,
                              uint64_t usage = kReadWriteOften) {
    BufferDescriptorInfo info;
    info.width = width;
    info.height = height;
    info.layerCount = 1;
    info.format = static_cast<PixelFormat>(format);
    info.usage = static_cast<BufferUsage>(usage);
    return info;
}

inline BufferDescriptorInfo plain() {
    return describe(PixelFormat::RGBA_8888, 64, 64);
}

using LockResult = std::pair<AIMapper_Error, void*>;
inline LockResult lock(buffer_handle_t handle, uint64_t usage = kReadWriteOften, ARect region = {},
                       int fence = -1) {
    void* data = nullptr;
    const AIMapper_Error error = mapper().lock(handle, usage, region, fence, &data);
    return {error, data};
}

inline AIMapper_Error unlock(buffer_handle_t handle) {
    int fence = 77;
    const AIMapper_Error error = mapper().unlock(handle, &fence);
    const bool isGiven = error == kNone && isStrict();
    const ndk::ScopedFileDescriptor released(isGiven ? fence : -1);
    EXPECT_EQ(released.get() >= 0, isGiven);
    EXPECT_TRUE(isGiven || fence == (error == kNone ? -1 : 77)) << fence;
    return error;
}

// A fence to lock with: a copy where the mapper closes it, so that the test keeps its own.
inline int handOver(int fence) {
    return isStrict() ? fcntl(fence, F_DUPFD_CLOEXEC, 0) : fence;
}

inline std::pair<uint8_t*, uint64_t> reservedRegion(buffer_handle_t handle) {
    void* data = nullptr;
    uint64_t size = 0;
    EXPECT_EQ(mapper().getReservedRegion(handle, &data, &size), kNone);
    return {static_cast<uint8_t*>(data), size};
}

struct HandleDeleter {
    void operator()(native_handle_t* handle) const { native_handle_delete(handle); }
};

// An allocated buffer, not imported. The descriptors of raw() are the result's.
class RawBuffer {
  public:
    explicit RawBuffer(const BufferDescriptorInfo& info) {
        const auto status = allocator().allocate2(info, 1, &mResult);
        EXPECT_TRUE(status.isOk()) << status.getDescription();
        if (status.isOk()) {
            mRaw.reset(android::makeFromAidl(mResult.buffers.at(0)));
        }
    }

    native_handle_t* raw() const { return mRaw.get(); }
    int32_t stride() const { return mResult.stride; }

  private:
    AllocationResult mResult;
    std::unique_ptr<native_handle_t, HandleDeleter> mRaw;
};

// An import, freed at the end unless the test has done so.
class Import {
  public:
    explicit Import(const native_handle_t* raw) {
        EXPECT_EQ(mapper().importBuffer(raw, &mHandle), kNone);
    }
    explicit Import(const BufferDescriptorInfo& info) : Import(RawBuffer(info).raw()) {}
    Import(const Import&) = delete;
    ~Import() {
        if (mHandle != nullptr) {
            EXPECT_EQ(mapper().freeBuffer(mHandle), kNone);
        }
    }

    buffer_handle_t get() const { return mHandle; }
    buffer_handle_t release() { return std::exchange(mHandle, nullptr); }

    Bytes bytes(int64_t type) const {
        Bytes value(1);
        const int32_t size = mapper().getMetadata(mHandle, metadataType(type), value.data(), 0);
        value.resize(static_cast<size_t>(std::max(size, 0)));
        EXPECT_EQ(mapper().getMetadata(mHandle, metadataType(type), value.data(), value.size()),
                  size);
        return value;
    }

    template <StandardMetadataType Type>
    std::optional<typename StandardMetadata<Type>::value_type> value() const {
        const auto value = bytes(static_cast<int64_t>(Type));
        return StandardMetadata<Type>::value::decode(value.data(), value.size());
    }

    AIMapper_Error set(int64_t type, const Bytes& value) const {
        return mapper().setMetadata(mHandle, metadataType(type), value.data(), value.size());
    }

    // The first byte, locked for reading and writing.
    uint8_t* lock() const {
        const auto [error, data] = test::lock(mHandle);
        EXPECT_EQ(error, kNone);
        return static_cast<uint8_t*>(data);
    }

  private:
    buffer_handle_t mHandle = nullptr;
};

template <StandardMetadataType Type>
Bytes encode(const typename StandardMetadata<Type>::value_type& value) {
    using Encoding = typename StandardMetadata<Type>::value;
    Bytes bytes(static_cast<size_t>(Encoding::encode(value, nullptr, 0)));
    EXPECT_EQ(Encoding::encode(value, bytes.data(), bytes.size()),
              static_cast<int32_t>(bytes.size()));
    return bytes;
}

}  // namespace zelkcam::test
