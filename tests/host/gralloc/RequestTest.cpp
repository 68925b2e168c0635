// What can be asked for, and what a buffer then is given.
#include <aidl/android/hardware/graphics/allocator/AllocationError.h>

#include "host/gralloc/ConstantMetadata.h"
#include "tests/host/gralloc/Buffers.h"

namespace zelkcam::test {
namespace {

using aidl::android::hardware::graphics::allocator::AllocationError;
using aidl::android::hardware::graphics::common::Dataspace;

constexpr char kDataspaceOption[] = "android.hardware.graphics.common.Dataspace";

bool isSupported(const BufferDescriptorInfo& info) {
    bool supported = true;
    EXPECT_TRUE(allocator().isSupported(info, &supported).isOk());
    return supported;
}

void expectRefused(const BufferDescriptorInfo& info) {
    AllocationResult result;
    const auto status = allocator().allocate2(info, 1, &result);
    EXPECT_EQ(status.getExceptionCode(), EX_SERVICE_SPECIFIC);
    EXPECT_EQ(status.getServiceSpecificError(), static_cast<int32_t>(AllocationError::UNSUPPORTED));
    EXPECT_TRUE(result.buffers.empty());
    EXPECT_FALSE(isSupported(info));
}

TEST(Request, ThatCannotBeServedIsRefused) {
    const struct {
        const char* what;
        int32_t format, width, height, layers;
        uint64_t usage;
        int64_t reserved;
    } cases[] = {
            {"zero width", 0x1, 0, 64, 1, 0x33, 0},
            {"zero height", 0x1, 64, 0, 1, 0x33, 0},
            {"no layer", 0x1, 64, 64, 0, 0x33, 0},
            {"two layers", 0x1, 64, 64, 2, 0x33, 0},
            {"unspecified format", 0, 64, 64, 1, 0x33, 0},
            {"unknown format", 0x7777, 64, 64, 1, 0x33, 0},
            {"negative dimensions", 0x1, -1, -1, 1, 0x33, 0},
            {"size beyond 31 bits", 0x1, 1 << 15, 1 << 15, 1, 0x33, 0},
            {"planes beyond 31 bits together", 0x11, 40000, 40000, 1, 0x33, 0},
            {"product beyond 64 bits", 0x1, INT32_MAX, INT32_MAX, 1, 0x33, 0},
            {"product that wraps to zero", 0x16, INT32_MAX, 1 << 30, 1, 0x33, 0},
            {"negative reserved size", 0x1, 64, 64, 1, 0x33, -1},
            {"huge reserved size", 0x1, 64, 64, 1, 0x33, int64_t{1} << 40},
            {"usage bit 10", 0x1, 64, 64, 1, 1 << 10, 0},
            {"usage bit 13", 0x1, 64, 64, 1, 1 << 13, 0},
            {"usage bit 19", 0x1, 64, 64, 1, 1 << 19, 0},
            {"usage bit 21", 0x1, 64, 64, 1, 1 << 21, 0},
            {"usage bit 33", 0x1, 64, 64, 1, uint64_t{1} << 33, 0},
            {"usage bit 47", 0x1, 64, 64, 1, uint64_t{1} << 47, 0},
    };
    const Holdings before = holdings();
    for (const auto& each : cases) {
        if (isStrict() && (each.usage == 1 << 10 || each.usage == 1 << 13)) {
            continue;  // taken on purpose
        }
        SCOPED_TRACE(each.what);
        auto info = describe(each.format, each.width, each.height, each.usage);
        info.layerCount = each.layers;
        info.reservedSize = each.reserved;
        expectRefused(info);
    }
    EXPECT_EQ(holdings(), before);
}

TEST(Request, PresetsTheDataspaceByTheOneOptionThatIsKnown) {
    const auto with = [](const char* name, int64_t value) {
        auto info = plain();
        info.additionalOptions.push_back({name, value});
        return info;
    };
    const auto value = static_cast<int64_t>(Dataspace::DISPLAY_P3);
    EXPECT_TRUE(isSupported(with(kDataspaceOption, value)));
    EXPECT_EQ(Import(with(kDataspaceOption, value)).value<T::DATASPACE>(), Dataspace::DISPLAY_P3);
    expectRefused(with("android.hardware.graphics.common.DataSpace", value));
    expectRefused(with(kDataspaceOption, value | int64_t{1} << 32));
    auto both = with(kDataspaceOption, value);
    both.additionalOptions.push_back({"other", 1});
    expectRefused(both);
}

TEST(Request, MayHaveTheUsagesOfCameraAndVendors) {
    for (const uint64_t usage :
         {uint64_t{0}, uint64_t{0x20033}, uint64_t{0x60000}, uint64_t{0x10303}, uint64_t{0x4000},
          uint64_t{0xF0000000}, uint64_t{1} << 27, uint64_t{1} << 32, uint64_t{0xFFFF} << 48}) {
        const auto info = describe(PixelFormat::YCRCB_420_SP, 64, 64, usage);
        if (isStrict() && usage == 0) {
            expectRefused(info);
            continue;
        }
        EXPECT_TRUE(isSupported(info)) << std::hex << usage;
        EXPECT_NE(RawBuffer(info).raw(), nullptr) << std::hex << usage;
    }
}

TEST(Allocator, GivesAsManyBuffersAsAsked) {
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

TEST(Allocator, RunsOutOfDescriptorsWithoutLosingAny) {
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

TEST(Allocator, CutsANameThatDoesNotEnd) {
    auto info = plain();
    info.name.fill('n');
    EXPECT_EQ(Import(info).value<T::NAME>(), std::string(127, 'n'));
}

// What a device may decide is bounded by the bytes that a buffer has for telling it.
TEST(ConstantMetadata, OfALayoutThatTakesTooManyBytesIsNone) {
    host::gralloc::Plane plane{};
    for (int i = 0; i < 4; ++i) {
        plane.components.add({host::gralloc::PlaneLayoutComponentType::Y, 0, 8});
    }
    host::gralloc::Layout layout;
    EXPECT_TRUE(host::gralloc::encodeConstants({}, layout, 1));
    for (int i = 0; i < 4; ++i) {
        layout.planes.add(plane);
    }
    EXPECT_FALSE(host::gralloc::encodeConstants({}, layout, 1));
}

}  // namespace
}  // namespace zelkcam::test
