// A device's allocator and mapper through their published interfaces, beside the library: what a
// profile records of them.
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "platform/allocator.h"
#include "platform/mapper.h"
#include "profile/Record.h"

namespace grallocinfo {

using aidl::android::hardware::common::NativeHandle;
using aidl::android::hardware::graphics::allocator::BufferDescriptorInfo;
using aidl::android::hardware::graphics::allocator::IAllocator;
using aidl::android::hardware::graphics::common::StandardMetadataType;

class DeviceSession {
  public:
    // Throws a Failure when there is no allocator service or its mapper cannot be loaded.
    DeviceSession();

    // The library may end the process over a buffer.
    zelkcam::profile::Observation observe(const zelkcam::profile::Request& request, bool locks,
                                          bool library);

    const AIMapperV5& mapper() const { return *mMapper; }

    static BufferDescriptorInfo describe(const zelkcam::profile::Request& request);
    // kGranted or the refusal. The buffers, raw, are added to `out` unless that is null.
    int32_t allocate(const BufferDescriptorInfo& info, int64_t* stride,
                     std::vector<NativeHandle>* out) const;

  private:
    std::shared_ptr<IAllocator> mService;
    const AIMapperV5* mMapper = nullptr;
};

// One imported buffer of a session; null where the device refused it.
class SessionBuffer {
  public:
    SessionBuffer(const DeviceSession& session, const BufferDescriptorInfo& info);
    ~SessionBuffer();
    SessionBuffer(const SessionBuffer&) = delete;
    SessionBuffer& operator=(const SessionBuffer&) = delete;

    buffer_handle_t handle() const { return mHandle; }
    const native_handle_t* raw() const { return mRaw; }
    int32_t answer() const { return mAnswer; }
    int64_t answeredStride() const { return mStride; }

    // The mapper's error; the address is thrown away and the lock ended at once.
    int32_t tryLock(uint64_t cpuUsage) const;
    // Ends a lock and closes the fence that comes with it.
    void unlock() const;

    // Nothing when the mapper refuses; its answer is in `code` then.
    template <StandardMetadataType T>
    auto read(int32_t* code) const {
        using Value = typename android::hardware::graphics::mapper::StandardMetadata<T>::value;
        std::vector<uint8_t> bytes = readBytes(static_cast<int64_t>(T), code);
        return *code < 0 || bytes.empty() ? decltype(Value::decode(nullptr, 0))()
                                          : Value::decode(bytes.data(), bytes.size());
    }
    std::vector<uint8_t> readBytes(int64_t type, int32_t* code) const;

  private:
    const DeviceSession& mSession;
    std::vector<NativeHandle> mBuffers;
    native_handle_t* mRaw = nullptr;
    buffer_handle_t mHandle = nullptr;
    int64_t mStride = 0;
    int32_t mAnswer = zelkcam::profile::kOtherException;
};

}  // namespace grallocinfo
