// One face for the three ways by which a program reaches its buffers.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/mapper.h"

namespace zelkcam::test {

using aidl::android::hardware::graphics::common::PlaneLayout;

constexpr int32_t kNv21 = 0x11;
constexpr uint64_t kRead = 0x3;
constexpr uint64_t kReadWrite = 0x33;

class Buffers {
  public:
    virtual ~Buffers() = default;
    virtual std::string name() const = 0;
    virtual const native_handle* allocate(int32_t format, uint32_t width, uint32_t height,
                                          uint64_t usage = kReadWrite) = 0;
    virtual const native_handle* import(const native_handle* raw) = 0;
    virtual void free(const native_handle* handle) = 0;
    // Null when it fails. The fence is for the callee.
    virtual unsigned char* lock(const native_handle* handle, uint64_t usage, int fence = -1) = 0;
    // The release fence; -1 for none, and where it has been waited for.
    virtual int unlock(const native_handle* handle) = 0;
    // Where the planes lie. The facade does not tell: its clients ask a mapper.
    virtual std::vector<PlaneLayout> planes(const native_handle* handle) = 0;
    // The status of a lock that describes the planes; `fence` as above.
    virtual int32_t lockPlanes(const native_handle* handle, uint64_t usage, int fence) = 0;
};

// "facade", "aidl" or "hidl". Lives as long as the process.
Buffers& buffersBy(const std::string& name);

}  // namespace zelkcam::test
