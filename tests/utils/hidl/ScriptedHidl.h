// A HIDL mapper and allocator that answer what a test says, and the fixture over them.
//
// Linked, this takes the place of dup and native_handle_init.
#pragma once

#include <functional>
#include <optional>

#include "tests/support/DoublesTest.h"
#include "tests/support/PlatformDoubles.h"
#include "tests/support/ScriptedGralloc.h"
#include "utils/gralloc/hidl/allocator/allocator.h"
#include "utils/gralloc/hidl/mapper/mapper.h"

namespace zelkcam::test {

using android::hardware::hidl_handle;
using android::hardware::hidl_vec;
using android::hardware::graphics::mapper::V4_0::Error;
using android::hardware::graphics::mapper::V4_0::IMapper;
using Bytes = hidl_vec<uint8_t>;
using Description = IMapper::BufferDescriptorInfo;

// Calls reach the journal by their names: "get", "lock", "freeBuffer 0x1001".
struct HidlScript {
    // A transport that fails may do so on the way back, when the callback has run already.
    enum class Transport { kWorks, kFailsOnTheWay, kFailsOnTheWayBack };
    Transport transport = Transport::kWorks;
    Error error = Error::NONE;      // of every call but these:
    Error lockError = Error::NONE;  // of lock
    int failingImport = -1;         // the number of the import that answers BAD_BUFFER

    std::optional<Bytes> metadata = {};  // instead of `planes`
    std::vector<PlaneLayout> planes = {};
    const native_handle_t* releaseFence = nullptr;
    std::vector<const native_handle_t*> allocated = {};
    bool wrapFails = false;
    bool dupFails = false;

    // What was asked.
    std::vector<Description> descriptions = {};
    std::vector<Bytes> descriptors = {};
    std::vector<uint32_t> counts = {};
    std::vector<const native_handle_t*> imported = {};  // the raw handles
    struct Lock {
        const void* buffer = nullptr;
        uint64_t usage = 0;
        IMapper::Rect region = {};
        std::string fence = "";  // the watched name, "none" for an empty handle
        bool fenceIsOpen = false;
    };
    Lock lock = {};
};

HidlScript& hidlScript();

// What a mapper makes of its n-th import.
const native_handle* importOf(size_t number);

// Says that the registered mapper lives in another process.
void makeMapperRemote();

class HidlBackendTest : public DoublesTest {
  protected:
    using Transport = HidlScript::Transport;
    enum class Shape { kPlain, kLayout, kYcbcr };
    static constexpr Shape kShapes[] = {Shape::kPlain, Shape::kLayout, Shape::kYcbcr};

    void SetUp() override;

    int32_t lock(Shape shape, int fence = -1);

    std::optional<NSCam::GrallocMapper::Mapper> mapper;
    std::optional<NSCam::GrallocAllocator::Allocator> allocator;
    const native_handle* const buffer = reinterpret_cast<const native_handle*>(0x77);
    void* data = nullptr;
    int pixel = 77, stride = 77;
    android_ycbcr ycbcr = {};
};

}  // namespace zelkcam::test
