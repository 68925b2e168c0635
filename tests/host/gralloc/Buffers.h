// The device's allocator and stable C mapper as a client finds them, and buffers that clean up
// after themselves.
#pragma once

#include <dlfcn.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/allocator.h"
#include "platform/mapper.h"
#include "tests/support/Holdings.h"

namespace zelkcam::test {

using aidl::android::hardware::graphics::allocator::AllocationResult;
using aidl::android::hardware::graphics::allocator::BufferDescriptorInfo;
using aidl::android::hardware::graphics::allocator::IAllocator;
using aidl::android::hardware::graphics::common::BufferUsage;
using aidl::android::hardware::graphics::common::PixelFormat;
using aidl::android::hardware::graphics::common::StandardMetadataType;
using android::hardware::graphics::mapper::StandardMetadata;

inline constexpr char kAllocatorName[] = "android.hardware.graphics.allocator.IAllocator/default";
inline constexpr char kStandardName[] = "android.hardware.graphics.common.StandardMetadataType";
inline constexpr char kPlexaName[] = "zelkcam.plexa.BufferAttribute";
inline constexpr uint64_t kReadWriteOften = 0x33;

using Bytes = std::vector<uint8_t>;

// A handle that nobody gave out and nobody may look into.
// NOLINTNEXTLINE(performance-no-int-to-ptr): an address without anything behind it is the point
inline const auto kMadeUp = reinterpret_cast<buffer_handle_t>(uintptr_t{0xdeadbef0});

inline IAllocator& allocator() {
    static const auto service =
            IAllocator::fromBinder(ndk::SpAIBinder(AServiceManager_checkService(kAllocatorName)));
    return *service;
}

inline void* mapperLibrary() {
    static void* library = [] {
        std::string suffix;
        allocator().getIMapperLibrarySuffix(&suffix);
        return android_load_sphal_library(("mapper." + suffix + ".so").c_str(), RTLD_NOW);
    }();
    return library;
}

inline const AIMapperV5& mapper() {
    static const AIMapper* loaded = [] {
        AIMapper* implementation = nullptr;
        reinterpret_cast<decltype(&AIMapper_loadIMapper)>(
                dlsym(mapperLibrary(), "AIMapper_loadIMapper"))(&implementation);
        return implementation;
    }();
    return loaded->v5;
}

inline BufferDescriptorInfo describe(int32_t format, int32_t width, int32_t height,
                                     uint64_t usage = kReadWriteOften) {
    BufferDescriptorInfo info;
    info.width = width;
    info.height = height;
    info.layerCount = 1;
    info.format = static_cast<PixelFormat>(format);
    info.usage = static_cast<BufferUsage>(usage);
    return info;
}

inline BufferDescriptorInfo describe(PixelFormat format, int32_t width, int32_t height,
                                     uint64_t usage = kReadWriteOften) {
    return describe(static_cast<int32_t>(format), width, height, usage);
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
        EXPECT_EQ(mapper().importBuffer(raw, &mHandle), AIMAPPER_ERROR_NONE);
    }
    explicit Import(const BufferDescriptorInfo& info) : Import(RawBuffer(info).raw()) {}
    Import(const Import&) = delete;
    ~Import() {
        if (mHandle != nullptr) {
            EXPECT_EQ(mapper().freeBuffer(mHandle), AIMAPPER_ERROR_NONE);
        }
    }

    buffer_handle_t get() const { return mHandle; }
    buffer_handle_t release() { return std::exchange(mHandle, nullptr); }

    Bytes bytes(const char* name, int64_t type) const {
        Bytes value(1);
        const int32_t size = mapper().getMetadata(mHandle, {name, type}, value.data(), 0);
        value.resize(static_cast<size_t>(std::max(size, 0)));
        EXPECT_EQ(mapper().getMetadata(mHandle, {name, type}, value.data(), value.size()), size);
        return value;
    }

    template <StandardMetadataType T>
    std::optional<typename StandardMetadata<T>::value_type> value() const {
        const auto value = bytes(kStandardName, static_cast<int64_t>(T));
        return StandardMetadata<T>::value::decode(value.data(), value.size());
    }

    AIMapper_Error set(const char* name, int64_t type, const Bytes& value) const {
        return mapper().setMetadata(mHandle, {name, type}, value.data(), value.size());
    }

    // The first byte, locked for reading and writing.
    uint8_t* lock(uint64_t usage = kReadWriteOften) const {
        void* data = nullptr;
        EXPECT_EQ(mapper().lock(mHandle, usage, {}, -1, &data), AIMAPPER_ERROR_NONE);
        return static_cast<uint8_t*>(data);
    }

    AIMapper_Error unlock() const {
        int fence = -1;
        return mapper().unlock(mHandle, &fence);
    }

  private:
    buffer_handle_t mHandle = nullptr;
};

template <StandardMetadataType T>
Bytes encode(const typename StandardMetadata<T>::value_type& value) {
    using Encoding = typename StandardMetadata<T>::value;
    Bytes bytes(static_cast<size_t>(Encoding::encode(value, nullptr, 0)));
    EXPECT_EQ(Encoding::encode(value, bytes.data(), bytes.size()),
              static_cast<int32_t>(bytes.size()));
    return bytes;
}

}  // namespace zelkcam::test
