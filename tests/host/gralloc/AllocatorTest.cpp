// The AIDL allocator service: what it serves, what it refuses and how.
#include <aidl/android/hardware/graphics/allocator/AllocationError.h>
#include <gralloctypes/Gralloc4.h>

#include "tests/host/gralloc/Buffers.h"

namespace zelkcam::test {
namespace {

using aidl::android::hardware::graphics::allocator::AllocationError;

BufferDescriptorInfo plain() {
    return describe(PixelFormat::RGBA_8888, 64, 64);
}

template <typename Change>
BufferDescriptorInfo plainBut(Change change) {
    BufferDescriptorInfo info = plain();
    change(info);
    return info;
}

bool isSupported(const BufferDescriptorInfo& info) {
    bool supported = true;
    EXPECT_TRUE(allocator().isSupported(info, &supported).isOk());
    return supported;
}

struct Refusal {
    const char* what;
    BufferDescriptorInfo info;
};

std::vector<Refusal> refusals() {
    std::vector<Refusal> cases;
    const auto add = [&](const char* what, auto change) {
        cases.push_back({what, plainBut(change)});
    };
    add("zero width", [](auto& info) { info.width = 0; });
    add("zero height", [](auto& info) { info.height = 0; });
    add("negative width", [](auto& info) { info.width = -1; });
    add("no layer", [](auto& info) { info.layerCount = 0; });
    add("two layers", [](auto& info) { info.layerCount = 2; });
    add("unspecified format", [](auto& info) { info.format = PixelFormat::UNSPECIFIED; });
    add("unknown format", [](auto& info) { info.format = static_cast<PixelFormat>(0x7777); });
    add("size beyond 31 bits", [](auto& info) { info.width = info.height = 1 << 15; });
    add("product beyond 64 bits", [](auto& info) { info.width = info.height = INT32_MAX; });
    add("product that wraps to zero", [](auto& info) {
        info.format = PixelFormat::RGBA_FP16;
        info.width = INT32_MAX;
        info.height = 1 << 30;
    });
    add("negative reserved size", [](auto& info) { info.reservedSize = -1; });
    add("huge reserved size", [](auto& info) { info.reservedSize = int64_t{1} << 40; });
    add("option", [](auto& info) { info.additionalOptions.push_back({"anything", 1}); });
    for (const int bit : {10, 13, 19, 21, 33, 40, 47}) {
        add("usage bit that must be zero", [bit](auto& info) {
            info.usage = static_cast<BufferUsage>(kReadWriteOften | uint64_t{1} << bit);
        });
    }
    return cases;
}

TEST(Allocator, refusesWhatItDoesNotSupportWithANonZeroCode) {
    const Holdings before = holdings();
    for (const auto& [what, info] : refusals()) {
        AllocationResult result;
        const auto status = allocator().allocate2(info, 1, &result);
        EXPECT_EQ(status.getExceptionCode(), EX_SERVICE_SPECIFIC) << what;
        EXPECT_EQ(status.getServiceSpecificError(),
                  static_cast<int32_t>(AllocationError::UNSUPPORTED))
                << what;
        EXPECT_TRUE(result.buffers.empty()) << what;
        EXPECT_FALSE(isSupported(info)) << what;
    }
    EXPECT_EQ(holdings(), before);
}

TEST(Allocator, supportsTheUsagesOfCameraAndVendors) {
    for (const uint64_t usage :
         {uint64_t{0}, uint64_t{0x20033}, uint64_t{0x60000}, uint64_t{0x10303}, uint64_t{0x4000},
          uint64_t{0xF0000000}, uint64_t{1} << 27, uint64_t{1} << 32, uint64_t{0xFFFF} << 48}) {
        const auto info = describe(PixelFormat::YCRCB_420_SP, 64, 64, usage);
        EXPECT_TRUE(isSupported(info)) << std::hex << usage;
        EXPECT_NE(RawBuffer(info).raw(), nullptr) << std::hex << usage;
    }
}

TEST(Allocator, givesAsManyBuffersAsAsked) {
    for (const int32_t count : {0, 1, 5}) {
        AllocationResult result;
        ASSERT_TRUE(allocator().allocate2(plain(), count, &result).isOk());
        EXPECT_EQ(result.buffers.size(), static_cast<size_t>(count));
        EXPECT_EQ(result.stride, 64);
    }
    for (const int32_t count : {-1, INT32_MIN, INT32_MAX}) {
        AllocationResult result;
        const auto status = allocator().allocate2(plain(), count, &result);
        EXPECT_EQ(status.getExceptionCode(), EX_SERVICE_SPECIFIC);
        EXPECT_NE(status.getServiceSpecificError(), 0);
    }
}

TEST(Allocator, runsOutOfDescriptorsWithoutLosingAny) {
    const Holdings before = holdings();
    AllocationResult result;
    ndk::ScopedAStatus status;
    {
        const FewDescriptors few(8);
        status = allocator().allocate2(plain(), 32, &result);
    }
    EXPECT_EQ(status.getServiceSpecificError(),
              static_cast<int32_t>(AllocationError::NO_RESOURCES));
    EXPECT_TRUE(result.buffers.empty());
    EXPECT_EQ(holdings(), before);
}

TEST(Allocator, takesTheOldDescriptorOfTheHidlMapper) {
    android::hardware::hidl_vec<uint8_t> descriptor;
    ASSERT_EQ(android::gralloc4::encodeBufferDescriptorInfo(
                      {"old", 64, 64, 1,
                       android::hardware::graphics::common::V1_2::PixelFormat::RGBA_8888,
                       kReadWriteOften, 0},
                      &descriptor),
              android::OK);
    std::vector<uint8_t> bytes = descriptor;
    AllocationResult result;
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
    EXPECT_TRUE(allocator().allocate(bytes, 1, &result).isOk());
    EXPECT_EQ(result.buffers.size(), 1U);
    bytes.pop_back();
    const auto status = allocator().allocate(bytes, 1, &result);
#pragma GCC diagnostic pop
    EXPECT_EQ(status.getExceptionCode(), EX_SERVICE_SPECIFIC);
    EXPECT_EQ(status.getServiceSpecificError(),
              static_cast<int32_t>(AllocationError::BAD_DESCRIPTOR));
}

TEST(Allocator, cutsANameThatDoesNotEnd) {
    const Import buffer(plainBut([](auto& info) { info.name.fill('n'); }));
    EXPECT_EQ(buffer.value<StandardMetadataType::NAME>(), std::string(127, 'n'));
}

}  // namespace
}  // namespace zelkcam::test
