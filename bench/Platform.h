// The platform as the floors use it: the allocator service and the mapper, called without the
// library.
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "platform/allocator.h"
#include "platform/hwbinder.h"
#include "platform/mapper.h"

namespace zelkcam::bench {

using aidl::android::hardware::graphics::allocator::BufferDescriptorInfo;
using aidl::android::hardware::graphics::allocator::IAllocator;
using aidl::android::hardware::graphics::common::PlaneLayout;
using aidl::android::hardware::graphics::common::StandardMetadataType;
using android::hardware::graphics::mapper::StandardMetadata;

// Looks the service up and loads the mapper that it names, again on every call.
std::shared_ptr<IAllocator> findAllocator();
const AIMapperV5* loadMapper(IAllocator& allocator);

// The process's own, found once.
const std::shared_ptr<IAllocator>& allocator();
const AIMapperV5& mapper();

BufferDescriptorInfo describe(int32_t format, int32_t width, int32_t height, uint64_t usage);

// Allocates and imports one buffer; null when the platform refuses.
const native_handle* allocateAndImport(const BufferDescriptorInfo& description);

// What the library does after every mapper call.
inline void flush() {
    android::hardware::IPCThreadState::self()->flushCommands();
}

// A buffer for the length of a benchmark. Ends the program when there is none to be had.
class Buffer {
  public:
    explicit Buffer(const BufferDescriptorInfo& description);
    ~Buffer() { mapper().freeBuffer(mHandle); }
    Buffer(const Buffer&) = delete;
    Buffer& operator=(const Buffer&) = delete;

    const native_handle* get() const { return mHandle; }

  private:
    const native_handle* const mHandle;
};

// Reads a value of standard metadata through the stack, by the steps that the library is to take:
// 512 bytes first, and again with room enough when the mapper asks for more.
template <StandardMetadataType T>
auto readMetadata(const native_handle* handle) {
    const auto read = [&](uint8_t* bytes, size_t room) {
        const int32_t size =
                mapper().getStandardMetadata(handle, static_cast<int64_t>(T), bytes, room);
        flush();
        return static_cast<size_t>(size);
    };
    uint8_t few[512];
    const size_t size = read(few, sizeof(few));
    if (size <= sizeof(few)) {
        return StandardMetadata<T>::value::decode(few, size);
    }
    uint8_t many[4096];
    return StandardMetadata<T>::value::decode(many, read(many, sizeof(many)));
}

// The same, into the vector of zeros that the library is to make, grown when the mapper asks for
// more.
template <StandardMetadataType T>
auto readMetadataByTheRule(const native_handle* handle) {
    std::vector<uint8_t> bytes(512);
    const auto read = [&] {
        const int32_t size = mapper().getStandardMetadata(handle, static_cast<int64_t>(T),
                                                          bytes.data(), bytes.size());
        flush();
        return static_cast<size_t>(size);
    };
    size_t size = read();
    if (size > bytes.size()) {
        bytes.resize(size);
        size = read();
    }
    return StandardMetadata<T>::value::decode(bytes.data(), size);
}

inline std::optional<std::vector<PlaneLayout>> readPlaneLayouts(const native_handle* handle) {
    return readMetadata<StandardMetadataType::PLANE_LAYOUTS>(handle);
}

inline std::optional<std::vector<PlaneLayout>> readPlaneLayoutsByTheRule(
        const native_handle* handle) {
    return readMetadataByTheRule<StandardMetadataType::PLANE_LAYOUTS>(handle);
}

}  // namespace zelkcam::bench
