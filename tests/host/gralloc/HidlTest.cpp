// The HIDL pair over the same buffers.
#include <sys/eventfd.h>
#include <unistd.h>

#include "platform/hidl.h"
#include "tests/host/gralloc/Buffers.h"

namespace zelkcam::test {
namespace {

using android::hardware::hidl_handle;
using android::hardware::hidl_vec;
using HidlAllocator = android::hardware::graphics::allocator::V4_0::IAllocator;
using android::hardware::graphics::mapper::V4_0::Error;
using android::hardware::graphics::mapper::V4_0::IMapper;
using HidlFormat = android::hardware::graphics::common::V1_2::PixelFormat;

IMapper& hidlMapper() {
    static const android::sp<IMapper> service = IMapper::getService();
    return *service;
}

IMapper::BufferDescriptorInfo describeHidl(int32_t format, uint32_t width, uint32_t height,
                                           uint64_t usage = kReadWriteOften) {
    return {"hidl", width, height, 1, static_cast<HidlFormat>(format), usage, 0};
}

void* hidl(const Import& buffer) {
    return const_cast<native_handle_t*>(buffer.get());
}

std::pair<Error, std::vector<uint8_t>> get(void* buffer, const IMapper::MetadataType& type) {
    std::pair<Error, std::vector<uint8_t>> result;
    hidlMapper().get(buffer, type, [&](Error error, const hidl_vec<uint8_t>& bytes) {
        result = {error, bytes};
    });
    return result;
}

std::vector<uint8_t> getStable(const Import& buffer, const IMapper::MetadataType& type) {
    return buffer.bytes(type.name.c_str(), type.value);
}

std::vector<IMapper::MetadataType> listedTypes() {
    std::vector<IMapper::MetadataType> types;
    hidlMapper().listSupportedMetadataTypes(
            [&](Error error, const hidl_vec<IMapper::MetadataTypeDescription>& descriptions) {
                EXPECT_EQ(error, Error::NONE);
                for (const auto& each : descriptions) {
                    types.push_back(each.metadataType);
                }
            });
    return types;
}

TEST(Hidl, servicesAreMissingWhileTheDefaultsAreSwitchedOff) {
    setenv("ZELKCAM_HOST_SERVICES", "none", 1);
    EXPECT_EQ(IMapper::getService(), nullptr);
    EXPECT_EQ(HidlAllocator::getService(), nullptr);
    unsetenv("ZELKCAM_HOST_SERVICES");
    EXPECT_NE(IMapper::getService(), nullptr);
    EXPECT_NE(HidlAllocator::getService(), nullptr);
}

TEST(Hidl, saysTheSameOfABufferAsTheStableMapperAndOfItsDescriptionBeforehand) {
    EXPECT_EQ(listedTypes().size(), 25U);
    for (const int32_t format : {0x1, 0x11, 0x14, 0x20, 0x22, 0x23, 0x25, 0x36, 0x32315659}) {
        auto asked = describe(format, 1921, 1083);
        asked.name = {'h', 'i', 'd', 'l'};
        const Import buffer(asked);
        for (const IMapper::MetadataType& type : listedTypes()) {
            SCOPED_TRACE(testing::Message() << std::hex << format << " " << type.value);
            const auto read = get(hidl(buffer), type);
            EXPECT_EQ(read, std::pair(Error::NONE, getStable(buffer, type)));

            const bool isId = type == android::gralloc4::MetadataType_BufferId;
            hidlMapper().getFromBufferDescriptorInfo(
                    describeHidl(format, 1921, 1083), type,
                    [&](Error error, const hidl_vec<uint8_t>& predicted) {
                        EXPECT_EQ(error, isId ? Error::UNSUPPORTED : Error::NONE);
                        EXPECT_TRUE(isId || std::vector<uint8_t>(predicted) == read.second);
                    });
        }
    }
}

TEST(Hidl, setsWhatTheStableMapperReads) {
    const Import buffer(describe(0x1, 64, 64));
    const auto dataspace = encode<StandardMetadataType::DATASPACE>({});
    const auto& type = android::gralloc4::MetadataType_Dataspace;
    const struct {
        void* buffer;
        IMapper::MetadataType type;
        Error error;
    } cases[] = {{hidl(buffer), type, Error::NONE},
                 {hidl(buffer), android::gralloc4::MetadataType_Width, Error::BAD_VALUE},
                 {hidl(buffer), {"other", 1}, Error::UNSUPPORTED},
                 {nullptr, type, Error::BAD_BUFFER}};
    for (const auto& each : cases) {
        EXPECT_EQ(Error(hidlMapper().set(each.buffer, each.type, dataspace)), each.error);
    }
    EXPECT_EQ(getStable(buffer, type), dataspace);
    EXPECT_EQ(get(hidl(buffer), {"other", 1}).first, Error::UNSUPPORTED);
}

TEST(Hidl, refusesDescriptionsWithThePublishedCodes) {
    auto layered = describeHidl(0x1, 64, 64);
    layered.layerCount = 2;
    const struct {
        IMapper::BufferDescriptorInfo info;
        Error error;
    } cases[] = {{describeHidl(0x1, 0, 64), Error::BAD_VALUE},
                 {layered, Error::UNSUPPORTED},
                 {describeHidl(0x7777, 64, 64), Error::UNSUPPORTED},
                 {describeHidl(0x1, 64, 64, uint64_t{1} << 40), Error::UNSUPPORTED},
                 {describeHidl(0x1, UINT32_MAX, UINT32_MAX), Error::UNSUPPORTED}};
    for (const auto& each : cases) {
        hidlMapper().createDescriptor(each.info,
                                      [&](Error error, const hidl_vec<uint8_t>& descriptor) {
                                          EXPECT_EQ(error, each.error);
                                          EXPECT_EQ(descriptor.size(), 0U);
                                      });
        hidlMapper().isSupported(each.info, [](Error error, bool supported) {
            EXPECT_EQ(error, Error::NONE);
            EXPECT_FALSE(supported);
        });
    }
    for (const size_t size : {0, 1, 40}) {
        HidlAllocator::getService()->allocate(
                hidl_vec<uint8_t>(size), 1,
                [](Error error, uint32_t, const hidl_vec<hidl_handle>& buffers) {
                    EXPECT_EQ(error, Error::BAD_DESCRIPTOR);
                    EXPECT_EQ(buffers.size(), 0U);
                });
    }
}

TEST(Hidl, validatesAgainstTheBufferAsLaidOut) {
    const Import buffer(describe(0x11, 1921, 1080));
    const uint32_t stride = *buffer.value<StandardMetadataType::STRIDE>();
    const struct {
        int32_t format;
        uint32_t width, height, stride;
        Error error;
    } cases[] = {{0x11, 1921, 1080, stride, Error::NONE},
                 {0x11, 1921, 1082, stride, Error::BAD_VALUE},
                 {0x11, 4000, 100, stride, Error::BAD_VALUE},
                 {0x1, 1921, 1080, stride, Error::BAD_VALUE},
                 {0x11, 1921, 1080, stride + 64, Error::BAD_VALUE}};
    for (const auto& each : cases) {
        const auto info = describeHidl(each.format, each.width, each.height);
        EXPECT_EQ(Error(hidlMapper().validateBufferSize(hidl(buffer), info, each.stride)),
                  each.error);
    }
}

Error lockWith(void* buffer, const IMapper::Rect& rect, const hidl_handle& fence) {
    Error result = Error::NONE;
    hidlMapper().lock(buffer, 3, rect, fence, [&](Error error, void* data) {
        result = error;
        EXPECT_EQ(data != nullptr, error == Error::NONE);
    });
    return result;
}

Error unlock(void* buffer) {
    Error result = Error::NONE;
    hidlMapper().unlock(buffer, [&](Error error, const hidl_handle& fence) {
        result = error;
        EXPECT_EQ(fence.getNativeHandle(), nullptr);
    });
    return result;
}

TEST(Hidl, locksWithASizeAndLeavesTheFenceToItsOwner) {
    const Import import(describe(0x1, 64, 48));
    void* const buffer = hidl(import);
    const ndk::ScopedFileDescriptor signalled(eventfd(1, EFD_CLOEXEC));
    NATIVE_HANDLE_DECLARE_STORAGE(storage, 2, 1);
    native_handle_t* fence = native_handle_init(storage, 1, 0);
    fence->data[0] = signalled.get();
    EXPECT_EQ(lockWith(buffer, {0, 0, 64, 48}, hidl_handle(fence)), Error::NONE);
    EXPECT_EQ(eventfd_write(signalled.get(), 1), 0) << "still open";
    EXPECT_EQ(unlock(buffer), Error::NONE);
    EXPECT_EQ(unlock(buffer), Error::BAD_BUFFER);

    fence = native_handle_init(storage, 1, 1);
    fence->data[0] = signalled.get();
    EXPECT_EQ(lockWith(buffer, {}, hidl_handle(fence)), Error::BAD_VALUE);
    EXPECT_EQ(lockWith(buffer, {}, hidl_handle(native_handle_init(storage, 0, 0))), Error::NONE);
    EXPECT_EQ(lockWith(buffer, {1, 0, 64, 48}, nullptr), Error::BAD_VALUE);
    EXPECT_EQ(lockWith(buffer, {INT32_MAX, 0, INT32_MAX, 1}, nullptr), Error::BAD_VALUE);
    EXPECT_EQ(lockWith(nullptr, {}, nullptr), Error::BAD_BUFFER);
    EXPECT_EQ(unlock(buffer), Error::NONE);
}

}  // namespace
}  // namespace zelkcam::test
