// The stable C mapper and the HIDL mapper behind one set of calls, for rules that both keep.
#pragma once

#include <tuple>

#include "platform/hidl.h"
#include "tests/host/gralloc/Buffers.h"

namespace zelkcam::test {

using android::hardware::hidl_handle;
using android::hardware::hidl_vec;
using android::hardware::graphics::mapper::V4_0::Error;
using android::hardware::graphics::mapper::V4_0::IMapper;

inline IMapper& hidlMapper() {
    static const android::sp<IMapper> service = IMapper::getService();
    return *service;
}

inline void* hidl(buffer_handle_t handle) {
    return const_cast<native_handle_t*>(handle);
}

// The same request in the HIDL interface's words.
inline IMapper::BufferDescriptorInfo describeHidl(const BufferDescriptorInfo& info) {
    using Format = android::hardware::graphics::common::V1_2::PixelFormat;
    return {reinterpret_cast<const char*>(info.name.data()),
            static_cast<uint32_t>(info.width),
            static_cast<uint32_t>(info.height),
            static_cast<uint32_t>(info.layerCount),
            static_cast<Format>(info.format),
            static_cast<uint64_t>(info.usage),
            static_cast<uint64_t>(info.reservedSize)};
}

struct StableMapper {
    using LockResult = std::pair<AIMapper_Error, void*>;
    static LockResult lock(buffer_handle_t handle, uint64_t usage, ARect region, int fence) {
        void* data = nullptr;
        const AIMapper_Error error = mapper().lock(handle, usage, region, fence, &data);
        return {error, data};
    }
    static AIMapper_Error unlock(buffer_handle_t handle) {
        int fence = 77;
        const AIMapper_Error error = mapper().unlock(handle, &fence);
        EXPECT_EQ(fence, error == AIMAPPER_ERROR_NONE ? -1 : 77);
        return error;
    }
    static AIMapper_Error flush(buffer_handle_t handle) {
        return mapper().flushLockedBuffer(handle);
    }
    static std::tuple<AIMapper_Error, void*, uint64_t> reservedRegion(buffer_handle_t handle) {
        void* data = nullptr;
        uint64_t size = 99;
        const AIMapper_Error error = mapper().getReservedRegion(handle, &data, &size);
        return {error, data, size};
    }
    static AIMapper_Error get(buffer_handle_t handle, const char* name, int64_t type) {
        const int32_t size = mapper().getMetadata(handle, {name, type}, nullptr, 0);
        return static_cast<AIMapper_Error>(size < 0 ? -size : 0);
    }
    static AIMapper_Error set(buffer_handle_t handle, const char* name, int64_t type,
                              const Bytes& value) {
        return mapper().setMetadata(handle, {name, type}, value.data(), value.size());
    }
};

// Calls an operation of the HIDL mapper and answers what its callback hears.
template <typename... Out, typename Method, typename... Arguments>
std::tuple<AIMapper_Error, Out...> ask(Method method, const Arguments&... arguments) {
    std::tuple<AIMapper_Error, Out...> heard;
    (hidlMapper().*method)(arguments..., [&](Error error, const Out&... out) {
        heard = {static_cast<AIMapper_Error>(error), out...};
    });
    return heard;
}

struct HidlMapper {
    static StableMapper::LockResult lock(buffer_handle_t handle, uint64_t usage, ARect region,
                                         int fence) {
        NATIVE_HANDLE_DECLARE_STORAGE(storage, 1, 0);
        native_handle_t* native = native_handle_init(storage, fence >= 0 ? 1 : 0, 0);
        native->data[0] = fence;
        const IMapper::Rect rect{region.left, region.top,
                                 static_cast<int32_t>(int64_t{region.right} - region.left),
                                 static_cast<int32_t>(int64_t{region.bottom} - region.top)};
        return std::make_from_tuple<StableMapper::LockResult>(
                ask<void*>(&IMapper::lock, hidl(handle), usage, rect, hidl_handle(native)));
    }
    static AIMapper_Error unlock(buffer_handle_t handle) {
        const auto [error, fence] = ask<hidl_handle>(&IMapper::unlock, hidl(handle));
        EXPECT_EQ(fence.getNativeHandle(), nullptr);
        return error;
    }
    static AIMapper_Error flush(buffer_handle_t handle) {
        return std::get<0>(ask<hidl_handle>(&IMapper::flushLockedBuffer, hidl(handle)));
    }
    static std::tuple<AIMapper_Error, void*, uint64_t> reservedRegion(buffer_handle_t handle) {
        return ask<void*, uint64_t>(&IMapper::getReservedRegion, hidl(handle));
    }
    static AIMapper_Error get(buffer_handle_t handle, const char* name, int64_t type) {
        return std::get<0>(ask<hidl_vec<uint8_t>>(&IMapper::get, hidl(handle),
                                                  IMapper::MetadataType{name, type}));
    }
    static AIMapper_Error set(buffer_handle_t handle, const char* name, int64_t type,
                              const Bytes& value) {
        const Error error = hidlMapper().set(hidl(handle), {name, type}, value);
        return static_cast<AIMapper_Error>(error);
    }
};

}  // namespace zelkcam::test
