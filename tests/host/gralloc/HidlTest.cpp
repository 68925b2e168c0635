// The HIDL mapper and allocator, which translate for the same buffers: each argument and result
// once. The rules themselves are asked through the stable C mapper.
#include <fcntl.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <gralloctypes/Gralloc4.h>

#include "platform/hidl.h"
#include "tests/host/gralloc/Buffers.h"

namespace zelkcam::test {
namespace {

using android::hardware::hidl_handle;
using android::hardware::hidl_vec;
using android::hardware::graphics::mapper::V4_0::Error;
using android::hardware::graphics::mapper::V4_0::IMapper;
using HidlAllocator = android::hardware::graphics::allocator::V4_0::IAllocator;
using HidlBytes = hidl_vec<uint8_t>;

IMapper& hidlMapper() {
    static const android::sp<IMapper> service = IMapper::getService();
    return *service;
}

void* hidl(buffer_handle_t handle) {
    return const_cast<native_handle_t*>(handle);
}

AIMapper_Error stable(Error error) {
    return static_cast<AIMapper_Error>(error);
}

// The same request in the HIDL interface's words.
IMapper::BufferDescriptorInfo describeHidl(const BufferDescriptorInfo& info) {
    using Format = android::hardware::graphics::common::V1_2::PixelFormat;
    return {reinterpret_cast<const char*>(info.name.data()),
            static_cast<uint32_t>(info.width),
            static_cast<uint32_t>(info.height),
            static_cast<uint32_t>(info.layerCount),
            static_cast<Format>(info.format),
            static_cast<uint64_t>(info.usage),
            static_cast<uint64_t>(info.reservedSize)};
}

// Calls an operation of the HIDL mapper and answers what its callback hears.
template <typename... Out, typename Method, typename... Arguments>
std::tuple<AIMapper_Error, Out...> ask(Method method, const Arguments&... arguments) {
    std::tuple<AIMapper_Error, Out...> heard;
    (hidlMapper().*method)(arguments..., [&](Error error, const Out&... out) {
        heard = {stable(error), out...};
    });
    return heard;
}

TEST(Hidl, RefusesRequestsByTheirKind) {
    const struct {
        int32_t width, height, layers;
        uint64_t usage;
        int64_t reserved;
        AIMapper_Error error;
    } cases[] = {{0, 64, 1, 0x33, 0, kBadValue},
                 {64, 0, 1, 0x33, 0, kBadValue},
                 {64, 64, 0, 0x33, 0, kBadValue},
                 {64, 64, 2, 0x33, 0, kUnsupported},
                 {-1, -1, 1, 0x33, 0, kUnsupported},
                 {64, 64, 1, uint64_t{1} << 33, 0, kUnsupported},
                 {64, 64, 1, 0x33, int64_t{1} << 40, kUnsupported}};
    for (const auto& each : cases) {
        auto info = describe(0x1, each.width, each.height, each.usage);
        info.layerCount = each.layers;
        info.reservedSize = each.reserved;
        EXPECT_EQ(ask<HidlBytes>(&IMapper::createDescriptor, describeHidl(info)),
                  std::tuple(each.error, HidlBytes()));
        EXPECT_EQ(ask<bool>(&IMapper::isSupported, describeHidl(info)), std::tuple(kNone, false));
    }
}

// Both allocators take the bytes that createDescriptor gave, and no others.
TEST(Hidl, DescribesARequestForBothAllocators) {
    const auto [error, descriptor] =
            ask<HidlBytes>(&IMapper::createDescriptor, describeHidl(plain()));
    ASSERT_EQ(error, kNone);
    for (const size_t cut : {size_t{0}, size_t{1}, descriptor.size()}) {
        std::vector<uint8_t> bytes = descriptor;
        bytes.resize(bytes.size() - cut);
        const bool isGood = cut == 0;
        AllocationResult result;
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
        const auto status = allocator().allocate(bytes, 1, &result);
#pragma GCC diagnostic pop
        EXPECT_EQ(status.getExceptionCode(), isGood ? EX_NONE : EX_SERVICE_SPECIFIC);
        EXPECT_EQ(status.getServiceSpecificError(), 0) << "BAD_DESCRIPTOR is 0";
        EXPECT_EQ(result.buffers.size(), isGood ? 1U : 0U);
        HidlAllocator::getService()->allocate(
                bytes, 2, [&](Error error, uint32_t stride, const hidl_vec<hidl_handle>& buffers) {
                    EXPECT_EQ(error, isGood ? Error::NONE : Error::BAD_DESCRIPTOR);
                    EXPECT_EQ(stride, isGood ? 64U : 0U);
                    EXPECT_EQ(buffers.size(), isGood ? 2U : 0U);
                });
    }
}

TEST(Hidl, ReadsAndPredictsAndDumpsWhatTheStableMapperReads) {
    const auto [error, list] =
            ask<hidl_vec<IMapper::MetadataTypeDescription>>(&IMapper::listSupportedMetadataTypes);
    EXPECT_EQ(list.size(), 25U);
    for (const int32_t format : {0x1, 0x11, 0x14, 0x20, 0x22, 0x25, 0x32315659}) {
        const int odd = isStrict() ? 0 : 1;
        auto info = describe(format, 1920 + odd, 1082 + odd);
        info.name = {'h', 'i', 'd', 'l'};
        const Import buffer(info);
        const auto dump =
                std::get<1>(ask<IMapper::BufferDump>(&IMapper::dumpBuffer, hidl(buffer.get())));
        ASSERT_EQ(dump.metadataDump.size(), list.size());
        for (size_t i = 0; i < list.size(); ++i) {
            const IMapper::MetadataType& type = list[i].metadataType;
            SCOPED_TRACE(testing::Message() << std::hex << format << " " << type.value);
            const HidlBytes value = buffer.bytes(type.value);
            const auto read = ask<HidlBytes>(&IMapper::get, hidl(buffer.get()), type);
            EXPECT_EQ(read, std::tuple(kNone, value));
            EXPECT_EQ(dump.metadataDump[i].metadata, value);
            const bool isId = type.value == 1;
            EXPECT_EQ(
                    ask<HidlBytes>(&IMapper::getFromBufferDescriptorInfo, describeHidl(info), type),
                    isId ? std::tuple(kUnsupported, HidlBytes()) : read);
            EXPECT_EQ(list[i].isSettable, type.value > 16 && type.value != 23);
        }
    }
}

TEST(Hidl, RefusesWhatIsNoImportedBuffer) {
    const RawBuffer raw(plain());
    void* const bad = raw.raw();
    const IMapper::MetadataType type{kStandardName, 17};
    const AIMapper_Error answers[] = {
            std::get<0>(ask<void*>(&IMapper::lock, bad, uint64_t{3}, IMapper::Rect{0, 0, 0, 0},
                                   hidl_handle())),
            std::get<0>(ask<hidl_handle>(&IMapper::unlock, bad)),
            std::get<0>(ask<hidl_handle>(&IMapper::flushLockedBuffer, bad)),
            std::get<0>(ask<HidlBytes>(&IMapper::get, bad, type)),
            std::get<0>(ask<void*, uint64_t>(&IMapper::getReservedRegion, bad)),
            std::get<0>(ask<uint32_t, uint32_t>(&IMapper::getTransportSize, bad)),
            std::get<0>(ask<IMapper::BufferDump>(&IMapper::dumpBuffer, bad)),
            stable(hidlMapper().set(bad, type, {})),
            stable(hidlMapper().rereadLockedBuffer(bad)),
            stable(hidlMapper().validateBufferSize(bad, describeHidl(plain()), 64)),
            stable(hidlMapper().freeBuffer(bad))};
    EXPECT_THAT(answers, testing::Each(kBadBuffer));
}

TEST(Hidl, LocksARegionByItsSizeAndLeavesTheFenceOpen) {
    const Import buffer(plain());
    const ndk::ScopedFileDescriptor fence(eventfd(1, EFD_CLOEXEC));
    const struct {
        IMapper::Rect region;
        int fence, ints;
        AIMapper_Error error;
    } cases[] = {{{0, 0, 0, 0}, -1, 0, kNone},
                 {{1, 2, 63, 62}, fence.get(), 0, kNone},
                 {{1, 2, 64, 62}, fence.get(), 0, kBadValue},
                 {{1, 2, 63, 63}, fence.get(), 0, kBadValue},
                 {{1, 0, INT32_MAX, 1}, -1, 0, kBadValue},
                 {{0, 0, 0, 0}, 100000, 0, kBadValue},
                 {{0, 0, 0, 0}, fence.get(), 1, kBadValue}};
    for (const auto& each : cases) {
        NATIVE_HANDLE_DECLARE_STORAGE(storage, 1, 1);
        native_handle_t* const native =
                native_handle_init(storage, each.fence >= 0 ? 1 : 0, each.ints);
        native->data[0] = each.fence;
        const auto [error, data] = ask<void*>(&IMapper::lock, hidl(buffer.get()), uint64_t{3},
                                              each.region, hidl_handle(native));
        EXPECT_EQ(error, each.error);
        EXPECT_EQ(data != nullptr, error == kNone);
        const auto [unlocked, released] = ask<hidl_handle>(&IMapper::unlock, hidl(buffer.get()));
        EXPECT_EQ(unlocked == kNone, error == kNone);
        EXPECT_EQ(released.getNativeHandle() != nullptr, error == kNone && isStrict());
    }
    EXPECT_GE(fcntl(fence.get(), F_GETFD), 0);
}

TEST(Hidl, SharesMetadataAndRegionWithTheStableMapper) {
    auto info = plain();
    info.reservedSize = 5;
    const Import buffer(info);
    const auto set = [&](int64_t type, const Bytes& value) {
        return stable(hidlMapper().set(hidl(buffer.get()), {kStandardName, type}, value));
    };
    const Bytes value = encode<T::BLEND_MODE>({});
    EXPECT_EQ(set(18, value), kNone);
    EXPECT_EQ(buffer.bytes(18), value);
    EXPECT_EQ(set(3, buffer.bytes(3)), kBadValue);
    EXPECT_EQ(ask<HidlBytes>(&IMapper::get, hidl(buffer.get()),
                             IMapper::MetadataType{kStandardName, 24}),
              std::tuple(kUnsupported, HidlBytes()));
    const auto [error, region, size] =
            ask<void*, uint64_t>(&IMapper::getReservedRegion, hidl(buffer.get()));
    EXPECT_EQ(std::pair(static_cast<uint8_t*>(region), size), reservedRegion(buffer.get()));
}

TEST(Hidl, ValidatesAgainstTheBufferAsLaidOut) {
    const Import buffer(describe(0x11, 1920, 1080));
    const uint32_t stride = *buffer.value<T::STRIDE>();
    const struct {
        int32_t format, width, height;
        uint32_t stride;
        Error error = Error::BAD_VALUE;
    } cases[] = {{0x11, 1920, 1080, stride, Error::NONE},
                 {0x11, 1920, 1144, stride},
                 {0x11, 4000, 100, stride},
                 {0x1, 1920, 1080, stride},
                 {0x11, 0, 1080, stride},
                 {0x11, 1920, 1080, stride + 64}};
    for (const auto& each : cases) {
        const auto info = describeHidl(describe(each.format, each.width, each.height));
        EXPECT_EQ(Error(hidlMapper().validateBufferSize(hidl(buffer.get()), info, each.stride)),
                  each.error);
    }
}

// What was asked for once stays: the child of a death test starts anew.
TEST(DefaultServices, AreMissingWhileTheyAreSwitchedOff) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto ask = [] {
        for (const bool isOff : {true, false}) {
            isOff ? setenv("ZELKCAM_HOST_SERVICES", "none", 1) : unsetenv("ZELKCAM_HOST_SERVICES");
            const ndk::SpAIBinder binder(AServiceManager_checkService(kAllocatorName));
            EXPECT_EQ(binder.get() == nullptr, isOff);
            EXPECT_EQ(IMapper::getService() == nullptr, isOff);
            EXPECT_EQ(HidlAllocator::getService() == nullptr, isOff);
        }
        _exit(testing::Test::HasFailure() ? 1 : 0);
    };
    EXPECT_EXIT(ask(), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace zelkcam::test
