// A HIDL mapper over the functions of a stable-C one, so that a test scripts only one of them.
#pragma once

#include <vector>

#include "host/hidl_gralloc/MapperService.h"
#include "platform/mapper.h"

namespace zelkcam::test {

class HidlOverStable : public host::MapperService {
  public:
    using Error = android::hardware::graphics::mapper::V4_0::Error;
    using Status = android::hardware::Status;
    template <typename T>
    using Return = android::hardware::Return<T>;

    explicit HidlOverStable(const AIMapperV5& functions) : mStable(functions) {}

    Return<void> importBuffer(const android::hardware::hidl_handle& raw,
                              importBuffer_cb callback) override {
        return carry([&] {
            buffer_handle_t imported = nullptr;
            const auto error = mStable.importBuffer(raw.getNativeHandle(), &imported);
            callback(Error(error), const_cast<native_handle*>(imported));
        });
    }

    Return<Error> freeBuffer(void* buffer) override {
        AIMapper_Error error = AIMAPPER_ERROR_NONE;
        const Return<void> carried =
                carry([&] { error = mStable.freeBuffer(static_cast<buffer_handle_t>(buffer)); });
        return carried.isOk() ? Return<Error>(Error(error))
                              : Return<Error>(Status::fromStatusT(android::DEAD_OBJECT));
    }

    Return<void> lock(void* buffer, uint64_t usage, const Rect& region,
                      const android::hardware::hidl_handle& fence, lock_cb callback) override {
        return carry([&] {
            const native_handle_t* const handle = fence.getNativeHandle();
            const bool isFence = handle != nullptr && handle->numFds == 1 && handle->numInts == 0;
            void* data = nullptr;
            const auto error = mStable.lock(static_cast<buffer_handle_t>(buffer), usage,
                                            {region.left, region.top, region.width, region.height},
                                            isFence             ? handle->data[0]
                                            : handle == nullptr ? -1
                                                                : -2,
                                            &data);
            callback(Error(error), data);
        });
    }

    Return<void> unlock(void* buffer, unlock_cb callback) override {
        return carry([&] {
            int fence = -1;
            const auto error = mStable.unlock(static_cast<buffer_handle_t>(buffer), &fence);
            callback(Error(error), releaseHandle(fence));
        });
    }

    Return<void> get(void* buffer, const MetadataType& type, get_cb callback) override {
        return carry([&] {
            std::vector<uint8_t> bytes(4096);
            const int32_t size = mStable.getStandardMetadata(
                    static_cast<buffer_handle_t>(buffer), type.value, bytes.data(), bytes.size());
            bytes.resize(size < 0 ? 0 : std::min<size_t>(bytes.size(), size));
            callback(size < 0 ? Error(-size) : Error::NONE, bytes);
        });
    }

  protected:
    // Makes the call, or loses it on the way or on the way back.
    virtual Return<void> carry(const std::function<void()>& call) = 0;

    // The form in which unlock hands out the fence, which becomes the handle's.
    virtual android::hardware::hidl_handle releaseHandle(int fence) {
        android::hardware::hidl_handle handle;
        if (fence >= 0) {
            native_handle_t* const native = native_handle_create(1, 0);
            native->data[0] = fence;
            handle.setTo(native, true);
        }
        return handle;
    }

  private:
    const AIMapperV5& mStable;
};

}  // namespace zelkcam::test
