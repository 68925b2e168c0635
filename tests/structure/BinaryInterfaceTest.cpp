// What clients compiled into themselves: sizes, offsets, values and virtual slots. Whoever breaks
// one of these breaks binaries that nobody here can rebuild.
#include <cstddef>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "platform/plexa.h"
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

static_assert(sizeof(void*) == 8 && sizeof(long) == 8, "the library is built for LP64 only");

#define HAS_SIZE(type, size) static_assert(sizeof(type) == (size), #type " changed size")
#define STANDS_AT(type, field, offset) \
    static_assert(offsetof(type, field) == (offset), #type "::" #field " moved")

HAS_SIZE(GrallocRequest, 16);
STANDS_AT(GrallocRequest, usage, 0);
STANDS_AT(GrallocRequest, format, 4);
STANDS_AT(GrallocRequest, widthInPixels, 8);
STANDS_AT(GrallocRequest, heightInPixels, 12);

HAS_SIZE(GrallocStaticInfo::Plane, 16);
STANDS_AT(GrallocStaticInfo::Plane, sizeInBytes, 0);
STANDS_AT(GrallocStaticInfo::Plane, rowStrideInBytes, 8);

HAS_SIZE(GrallocStaticInfo, 40);
STANDS_AT(GrallocStaticInfo, format, 0);
STANDS_AT(GrallocStaticInfo, widthInPixels, 4);
STANDS_AT(GrallocStaticInfo, heightInPixels, 8);
STANDS_AT(GrallocStaticInfo, planes, 16);

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

// Every operation writes down its own name.
class Recorder final : public IGrallocHelper {
  public:
    mutable std::string called;

    ~Recorder() override = default;
    int query(const GrallocRequest*, GrallocStaticInfo*, bool) const override {
        return note("query by request");
    }
    int query(const native_handle*, GrallocStaticInfo*, GrallocDynamicInfo*) const override {
        return note("query by handle");
    }
    int setDirtyCamera(const native_handle*) const override { return note("setDirtyCamera"); }
    int setColorspace_JFIF(const native_handle*) const override {
        return note("setColorspace_JFIF");
    }
    int setBufferSOF(const native_handle*, unsigned long) const override {
        return note("setBufferSOF");
    }
    android::String8 queryPixelFormatName(int) const override {
        return text("queryPixelFormatName");
    }
    android::String8 queryGrallocUsageName(int) const override {
        return text("queryGrallocUsageName");
    }
    android::String8 queryDataspaceName(int) const override { return text("queryDataspaceName"); }
    void dumpToLog() const override { note("dumpToLog"); }
    int importBuffer(const native_handle*&) override { return note("importBuffer"); }
    int freeBuffer(const native_handle*) override { return note("freeBuffer"); }
    int lock(const native_handle*, unsigned int, int, int, void**) override { return note("lock"); }
    int unlock(const native_handle*) override { return note("unlock"); }
    int setBufferStatus(const native_handle*, int, int) const override {
        return note("setBufferStatus");
    }
    void clearMap() override { note("clearMap"); }

  private:
    int note(const char* name) const {
        called = name;
        return 0;
    }
    android::String8 text(const char* name) const {
        note(name);
        return android::String8(name);
    }
};

struct Slot {
    size_t index;
    const char* operation;
    bool returnsText = false;
};

constexpr Slot kSlots[] = {
        {2, "query by request"},
        {3, "query by handle"},
        {4, "setDirtyCamera"},
        {5, "setColorspace_JFIF"},
        {6, "setBufferSOF"},
        {7, "queryPixelFormatName", true},
        {8, "queryGrallocUsageName", true},
        {9, "queryDataspaceName", true},
        {10, "dumpToLog"},
        {11, "importBuffer"},
        {12, "freeBuffer"},
        {13, "lock"},
        {14, "unlock"},
        {15, "setBufferStatus"},
        {16, "clearMap"},
};

// Calls as a client's machine code does: through the object's table, by number. Operations that
// return a text take the place for it where the others take no argument at all.
void callSlot(const IGrallocInfoProvider& object, const Slot& slot) {
    using Plain = int (*)(const void*, const void*, const void*, const void*, const void*, void*);
    using Text = android::String8 (*)(const void*, int);
    void* const* table = nullptr;
    std::memcpy(&table, static_cast<const void*>(&object), sizeof(table));
    if (slot.returnsText) {
        reinterpret_cast<Text>(table[slot.index])(&object, 0);
    } else {
        reinterpret_cast<Plain>(table[slot.index])(&object, nullptr, nullptr, nullptr, nullptr,
                                                   nullptr);
    }
}

TEST(BinaryInterface, HoldsEachOperationInTheSlotThatClientsCall) {
    for (const Slot& slot : kSlots) {
        const Recorder recorder;
        callSlot(recorder, slot);
        EXPECT_EQ(recorder.called, slot.operation) << "in slot " << slot.index;
    }
}

}  // namespace
