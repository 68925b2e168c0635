// What clients compiled into themselves: sizes, offsets, values and virtual slots. Whoever breaks
// one of these breaks binaries that nobody here can rebuild.
#include <gtest/gtest.h>

#include "platform/plexa.h"
#include "tests/support/Slots.h"
#include "utils/gralloc/IGrallocHelper.h"
#include "utils/gralloc/aidl/v2/allocator/allocator.h"
#include "utils/gralloc/aidl/v2/mapper/mapper.h"
#include "utils/gralloc/hidl/allocator/allocator.h"
#include "utils/gralloc/hidl/mapper/mapper.h"

namespace {

using NSCam::GrallocDynamicInfo;
using NSCam::IGrallocHelper;
using zcam::GrallocRequest;
using zcam::GrallocStaticInfo;
using zcam::IGrallocInfoProvider;
using zelkcam::test::expectSlots;

static_assert(sizeof(void*) == 8 && sizeof(long) == 8, "the library is built for LP64 only");

#define HAS_SIZE(type, size) static_assert(sizeof(type) == (size), #type " changed size")

HAS_SIZE(GrallocRequest, 16);

HAS_SIZE(GrallocStaticInfo::Plane, 16);

HAS_SIZE(GrallocStaticInfo, 40);

static_assert(sizeof(GrallocDynamicInfo) == sizeof(android::Vector<int>),
              "GrallocDynamicInfo holds more than its descriptors");

// Nothing but the table pointer: clients derive doubles of their own from these.
static_assert(sizeof(IGrallocInfoProvider) == sizeof(void*), "IGrallocInfoProvider has fields");
static_assert(sizeof(IGrallocHelper) == sizeof(void*), "IGrallocHelper has fields");

// Clients build the backends themselves, on their own stack or heap.
HAS_SIZE(NSCam::GrallocMapperAidlV2::MapperV5, 40);
HAS_SIZE(NSCam::GrallocAllocatorAidlV2::AllocatorAidl, 24);
HAS_SIZE(NSCam::GrallocMapper::Mapper, 8);
HAS_SIZE(NSCam::GrallocAllocator::Allocator, 16);

using NSCam::GrallocMapperAidlV2::GRALLOC_STANDARD_METADATA_TYPE;
HAS_SIZE(GRALLOC_STANDARD_METADATA_TYPE, 4);
static_assert(NSCam::GrallocMapperAidlV2::GRALLOC_META_SMPTE2086 == 0 &&
                      NSCam::GrallocMapperAidlV2::GRALLOC_META_CTA861_3 == 1 &&
                      NSCam::GrallocMapperAidlV2::GRALLOC_META_SMPTE2094_40 == 2 &&
                      NSCam::GrallocMapperAidlV2::GRALLOC_META_SMPTE2094_10 == 3,
              "an HDR metadata kind changed its value");

HAS_SIZE(plexa_sf_record_t, 64);
HAS_SIZE(plexa_hdr10p_dynamic_metadata_t, 224);
static_assert(PLEXA_GET_ION_FD == 1 && PLEXA_GET_WIDTH == 10 && PLEXA_GET_HEIGHT == 11 &&
                      PLEXA_GET_STRIDE == 12 && PLEXA_GET_VERTICAL_STRIDE == 13 &&
                      PLEXA_GET_ALLOC_SIZE == 14 && PLEXA_GET_FORMAT == 15 &&
                      PLEXA_GET_USAGE == 17 && PLEXA_GET_BUFFER_FLAGS == 52 &&
                      PLEXA_GET_SF_INFO == 100 && PLEXA_SET_SF_INFO == 100 && PLEXA_SET_SOF == 110,
              "an extension code changed its value");

TEST(BinaryInterface, HoldsEachOperationOfTheHelperInTheSlotThatClientsCall) {
    using ByRequest =
            int (IGrallocInfoProvider::*)(const GrallocRequest*, GrallocStaticInfo*, bool) const;
    using ByHandle = int (IGrallocInfoProvider::*)(const native_handle*, GrallocStaticInfo*,
                                                   GrallocDynamicInfo*) const;
    // Behind the two of the destructor.
    expectSlots(2, ByRequest(&IGrallocInfoProvider::query), ByHandle(&IGrallocHelper::query),
                &IGrallocHelper::setDirtyCamera, &IGrallocHelper::setColorspace_JFIF,
                &IGrallocHelper::setBufferSOF, &IGrallocHelper::queryPixelFormatName,
                &IGrallocHelper::queryGrallocUsageName, &IGrallocHelper::queryDataspaceName,
                &IGrallocHelper::dumpToLog, &IGrallocHelper::importBuffer,
                &IGrallocHelper::freeBuffer, &IGrallocHelper::lock, &IGrallocHelper::unlock,
                &IGrallocHelper::setBufferStatus, &IGrallocHelper::clearMap);
}

// A service of another build answers through these.
TEST(BinaryInterface, HoldsTheAllocatorsOperationsWhereThePublishedOneDoes) {
    using aidl::android::hardware::graphics::allocator::IAllocator;
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
    // Behind the two of the destructor.
    expectSlots(2, &IAllocator::asBinder, &IAllocator::isRemote, &IAllocator::dump,
                &IAllocator::handleShellCommand, &IAllocator::allocate, &IAllocator::allocate2,
                &IAllocator::isSupported, &IAllocator::getIMapperLibrarySuffix,
                &IAllocator::getInterfaceVersion, &IAllocator::getInterfaceHash);
}

}  // namespace
