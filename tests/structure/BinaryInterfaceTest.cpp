// What clients compiled into themselves and the dump of the binary interface does not hold: the
// extension's sizes and values, and virtual slots. Whoever breaks one of these breaks binaries that
// nobody here can rebuild.
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

// Nothing but the table pointer: clients derive doubles of their own from these.
static_assert(sizeof(IGrallocInfoProvider) == sizeof(void*), "IGrallocInfoProvider has fields");
static_assert(sizeof(IGrallocHelper) == sizeof(void*), "IGrallocHelper has fields");

static_assert(sizeof(plexa_sf_record_t) == 64 && sizeof(plexa_hdr10p_dynamic_metadata_t) == 224,
              "a record of the extension changed its size");
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
