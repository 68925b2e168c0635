// A scripted AIDL allocator and a scripted version-5 mapper. The mapper's functions live in the
// test program; the loaded library, mapper.scripted.so, only hands them out.
#pragma once

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "platform/allocator.h"
#include "platform/mapper.h"

namespace zelkcam::test {

using aidl::android::hardware::graphics::common::PlaneLayout;
using aidl::android::hardware::graphics::common::PlaneLayoutComponent;
using aidl::android::hardware::graphics::common::PlaneLayoutComponentType;
using aidl::android::hardware::graphics::common::StandardMetadataType;

// Where every lock answers that the buffer lies.
inline char* const kMapped = reinterpret_cast<char*>(0x7000'0000);

// What the mapper answers. Calls reach the journal as "importBuffer", "freeBuffer", "lock usage=3
// rect=0,0,640,480 fence=-1", "unlock", "getStandardMetadata 15 512", "setStandardMetadata 19 109",
// "getMetadata 100", "setMetadata 100".
struct MapperScript {
    bool entryGivesNull = false;
    uint32_t version = AIMAPPER_VERSION_5;
    std::deque<int32_t> importResults;  // one a call; 0 when it has run dry
    // What a failed import leaves in the slot.
    const native_handle* failedImport = nullptr;
    bool importGivesNull = false;  // a success without a handle
    int32_t freeResult = 0;
    int32_t lockResult = 0;
    int32_t unlockResult = 0;
    int unlockFence = -1;  // written by unlock unless -1, also by a failing one
    int32_t setResult = 0;
    std::vector<uint8_t> lastSet;                      // bytes of the last setStandardMetadata
    std::map<int64_t, std::vector<uint8_t>> metadata;  // encoded; what is not here answers -7
    // Replaces `metadata`.
    std::function<int32_t(int64_t type, void* destination, size_t size)> getMetadata;
    std::function<void()> onLock;
    // Metadata of a vendor's own, by type: what is not here is read as no bytes.
    struct {
        int32_t readError = 0, setError = 0;  // an AIMapper_Error
        std::map<std::pair<std::string, int64_t>, std::vector<uint8_t>> values;
    } notes;
    std::set<const native_handle*> imports;  // imported and not freed
};

MapperScript& mapperScript();

// What the allocator answers, and what it was asked. Calls reach the journal as "allocate2".
struct AllocatorScript {
    std::string suffix = "scripted";
    std::function<ndk::ScopedAStatus()> suffixStatus;    // OK unless set
    std::function<ndk::ScopedAStatus()> allocateStatus;  // OK unless set
    int32_t allocateResult = 0;                          // the service's own error
    int32_t stride = 0;
    int32_t surplus = 0;  // buffers beyond those asked for
    std::vector<aidl::android::hardware::graphics::allocator::BufferDescriptorInfo> requests;
    std::vector<int32_t> counts;
    std::vector<int> descriptors;  // every descriptor that a result carried, one a buffer
    std::function<void()> onAllocate;
};

AllocatorScript& allocatorScript();

// The service itself, not registered.
std::shared_ptr<aidl::android::hardware::graphics::allocator::IAllocator> scriptedAllocator();

// Makes it the device's allocator, for the life of the process.
void registerScriptedAllocator();

// Encoded plane layouts for the mapper to answer.
PlaneLayoutComponent component(PlaneLayoutComponentType type, int64_t offsetInBits,
                               int64_t sizeInBits = 8);
PlaneLayout plane(int64_t offset, int64_t increment, int64_t stride,
                  std::vector<PlaneLayoutComponent> components);
std::vector<uint8_t> encoded(const std::vector<PlaneLayout>& planes);
void describePlanes(const std::vector<PlaneLayout>& planes);

}  // namespace zelkcam::test
