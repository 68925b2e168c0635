// What clients compiled into themselves: sizes, offsets, values and virtual slots. Whoever breaks
// one of these breaks binaries that nobody here can rebuild.
#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstring>
#include <ostream>
#include <string>

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

static_assert(sizeof(GrallocRequest) == 16, "GrallocRequest changed size");
static_assert(offsetof(GrallocRequest, usage) == 0, "GrallocRequest::usage moved");
static_assert(offsetof(GrallocRequest, format) == 4, "GrallocRequest::format moved");
static_assert(offsetof(GrallocRequest, widthInPixels) == 8, "GrallocRequest::widthInPixels moved");
static_assert(offsetof(GrallocRequest, heightInPixels) == 12,
              "GrallocRequest::heightInPixels moved");

using Plane = GrallocStaticInfo::Plane;
static_assert(sizeof(Plane) == 16, "GrallocStaticInfo::Plane changed size");
static_assert(offsetof(Plane, sizeInBytes) == 0, "Plane::sizeInBytes moved");
static_assert(offsetof(Plane, rowStrideInBytes) == 8, "Plane::rowStrideInBytes moved");

static_assert(sizeof(GrallocStaticInfo) == 40, "GrallocStaticInfo changed size");
static_assert(offsetof(GrallocStaticInfo, format) == 0, "GrallocStaticInfo::format moved");
static_assert(offsetof(GrallocStaticInfo, widthInPixels) == 4,
              "GrallocStaticInfo::widthInPixels moved");
static_assert(offsetof(GrallocStaticInfo, heightInPixels) == 8,
              "GrallocStaticInfo::heightInPixels moved");
static_assert(offsetof(GrallocStaticInfo, planes) == 16, "GrallocStaticInfo::planes moved");

static_assert(sizeof(GrallocDynamicInfo) == sizeof(android::Vector<int>),
              "GrallocDynamicInfo holds more than its descriptors");

// Nothing but the table pointer: clients derive doubles of their own from these.
static_assert(sizeof(IGrallocInfoProvider) == sizeof(void*), "IGrallocInfoProvider has fields");
static_assert(sizeof(IGrallocHelper) == sizeof(void*), "IGrallocHelper has fields");

// Clients build the backends themselves, on their own stack or heap.
static_assert(sizeof(NSCam::GrallocMapperAidlV2::MapperV5) == 40, "MapperV5 changed size");
static_assert(sizeof(NSCam::GrallocAllocatorAidlV2::AllocatorAidl) == 24,
              "AllocatorAidl changed size");
static_assert(sizeof(NSCam::GrallocMapper::Mapper) == 8, "Mapper changed size");
static_assert(sizeof(NSCam::GrallocAllocator::Allocator) == 16, "Allocator changed size");

using NSCam::GrallocMapperAidlV2::GRALLOC_STANDARD_METADATA_TYPE;
static_assert(sizeof(GRALLOC_STANDARD_METADATA_TYPE) == 4, "HDR metadata kinds are 32-bit");
static_assert(NSCam::GrallocMapperAidlV2::GRALLOC_META_SMPTE2086 == 0 &&
                      NSCam::GrallocMapperAidlV2::GRALLOC_META_CTA861_3 == 1 &&
                      NSCam::GrallocMapperAidlV2::GRALLOC_META_SMPTE2094_40 == 2 &&
                      NSCam::GrallocMapperAidlV2::GRALLOC_META_SMPTE2094_10 == 3,
              "an HDR metadata kind changed its value");

static_assert(sizeof(plexa_sf_record_t) == 64, "plexa_sf_record_t changed size");
static_assert(sizeof(plexa_hdr10p_dynamic_metadata_t) == 224,
              "plexa_hdr10p_dynamic_metadata_t changed size");
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

std::ostream& operator<<(std::ostream& out, const Slot& slot) {
    return out << "slot " << slot.index << ", " << slot.operation;
}

constexpr std::array<Slot, 15> kSlots = {{
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
}};

// Calls as a client's machine code does: through the object's table, by number. Operations that
// return a text take the place for it where the others take no argument at all.
void callSlot(const IGrallocInfoProvider& object, const Slot& slot) {
    using Plain = int (*)(const void*, const void*, const void*, const void*, const void*, void*);
    using Text = android::String8 (*)(const void*, int);
    void* const* table = nullptr;
    std::memcpy(&table, &object, sizeof(table));
    if (slot.returnsText) {
        reinterpret_cast<Text>(table[slot.index])(&object, 0);
    } else {
        reinterpret_cast<Plain>(table[slot.index])(&object, nullptr, nullptr, nullptr, nullptr,
                                                   nullptr);
    }
}

class VirtualSlots : public testing::TestWithParam<Slot> {};

TEST_P(VirtualSlots, hold_the_operation_that_clients_call_through_them) {
    const Recorder recorder;
    callSlot(recorder, GetParam());
    EXPECT_EQ(recorder.called, GetParam().operation)
            << "clients that call " << GetParam() << ", now reach another operation";
}

INSTANTIATE_TEST_SUITE_P(BinaryInterface, VirtualSlots, testing::ValuesIn(kSlots),
                         [](const auto& info) {
                             return "slot" + std::to_string(info.param.index);
                         });

TEST(BinaryInterface, one_address_serves_both_interfaces) {
    const Recorder recorder;
    const IGrallocHelper* helper = &recorder;
    const IGrallocInfoProvider* provider = helper;
    EXPECT_EQ(static_cast<const void*>(helper), static_cast<const void*>(provider));
}

}  // namespace
