// The HIDL pair over the same buffers.
#include <sys/eventfd.h>
#include <unistd.h>

#include <map>

#include "platform/hidl.h"
#include "tests/gralloc/Buffers.h"

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

Error createDescriptor(const IMapper::BufferDescriptorInfo& info, hidl_vec<uint8_t>* out) {
    Error result = Error::NONE;
    EXPECT_TRUE(hidlMapper()
                        .createDescriptor(info,
                                          [&](Error error, const hidl_vec<uint8_t>& descriptor) {
                                              result = error;
                                              *out = descriptor;
                                          })
                        .isOk());
    return result;
}

// Allocates through the HIDL allocator and imports in its callback, as clients do.
struct HidlBuffer {
    explicit HidlBuffer(const IMapper::BufferDescriptorInfo& info) {
        hidl_vec<uint8_t> descriptor;
        EXPECT_EQ(createDescriptor(info, &descriptor), Error::NONE);
        HidlAllocator::getService()->allocate(
                descriptor, 1, [&](Error error, uint32_t given, const hidl_vec<hidl_handle>& raw) {
                    ASSERT_EQ(error, Error::NONE);
                    ASSERT_EQ(raw.size(), 1U);
                    stride = given;
                    hidlMapper().importBuffer(raw[0], [&](Error imported, void* handle) {
                        EXPECT_EQ(imported, Error::NONE);
                        buffer = handle;
                    });
                });
    }
    HidlBuffer(const HidlBuffer&) = delete;
    ~HidlBuffer() { EXPECT_EQ(Error(hidlMapper().freeBuffer(buffer)), Error::NONE); }

    buffer_handle_t handle() const { return static_cast<buffer_handle_t>(buffer); }

    void* buffer = nullptr;
    uint32_t stride = 0;
};

std::pair<Error, std::vector<uint8_t>> get(void* buffer, const IMapper::MetadataType& type) {
    std::pair<Error, std::vector<uint8_t>> result;
    hidlMapper().get(buffer, type, [&](Error error, const hidl_vec<uint8_t>& bytes) {
        result = {error, bytes};
    });
    return result;
}

std::vector<uint8_t> getStable(buffer_handle_t buffer, const IMapper::MetadataType& type) {
    const AIMapper_MetadataType stable{type.name.c_str(), type.value};
    std::vector<uint8_t> bytes(
            static_cast<size_t>(std::max(mapper().getMetadata(buffer, stable, nullptr, 0), 0)));
    mapper().getMetadata(buffer, stable, bytes.data(), bytes.size());
    return bytes;
}

TEST(Hidl, bothMappersSayTheSameOfABufferOfEitherAllocator) {
    for (const int32_t format : {0x1, 0x11, 0x14, 0x20, 0x21, 0x22, 0x23, 0x24, 0x25, 0x36, 0x111,
                                 0x1000, 0x20203859, 0x32315659}) {
        SCOPED_TRACE(format);
        const HidlBuffer ofHidl(describeHidl(format, 1921, 1083));
        const Import ofAidl(describe(format, 1921, 1083));
        hidlMapper().listSupportedMetadataTypes(
                [&](Error error, const hidl_vec<IMapper::MetadataTypeDescription>& types) {
                    EXPECT_EQ(error, Error::NONE);
                    EXPECT_EQ(types.size(), 25U);
                    for (const auto& [type, description, isGettable, isSettable] : types) {
                        for (const buffer_handle_t handle : {ofHidl.handle(), ofAidl.get()}) {
                            const auto [code, bytes] =
                                    get(const_cast<native_handle_t*>(handle), type);
                            EXPECT_EQ(code, Error::NONE);
                            EXPECT_EQ(bytes, getStable(handle, type)) << type.value;
                        }
                    }
                });
        const auto layouts = android::gralloc4::MetadataType_PlaneLayouts;
        EXPECT_EQ(getStable(ofHidl.handle(), layouts), getStable(ofAidl.get(), layouts));
    }
}

TEST(Hidl, setsWhatTheStableMapperReads) {
    const HidlBuffer buffer(describeHidl(0x1, 64, 64));
    const auto dataspace = encode<StandardMetadataType::DATASPACE>({});
    const auto& type = android::gralloc4::MetadataType_Dataspace;
    EXPECT_EQ(Error(hidlMapper().set(buffer.buffer, type, dataspace)), Error::NONE);
    EXPECT_EQ(getStable(buffer.handle(), type), dataspace);
    EXPECT_EQ(Error(hidlMapper().set(buffer.buffer, android::gralloc4::MetadataType_Width, {})),
              Error::BAD_VALUE);
    EXPECT_EQ(Error(hidlMapper().set(buffer.buffer, {"other", 1}, {})), Error::UNSUPPORTED);
    EXPECT_EQ(Error(hidlMapper().set(nullptr, type, dataspace)), Error::BAD_BUFFER);
    EXPECT_EQ(get(buffer.buffer, {"other", 1}).first, Error::UNSUPPORTED);
    EXPECT_EQ(get(buffer.buffer, android::gralloc4::MetadataType_Cta861_3),
              std::pair(Error::NONE, std::vector<uint8_t>()));
}

TEST(Hidl, predictsTheMetadataOfABufferFromItsDescription) {
    const auto info = describeHidl(0x11, 640, 480);
    const HidlBuffer buffer(info);
    hidlMapper().listSupportedMetadataTypes(
            [&](Error, const hidl_vec<IMapper::MetadataTypeDescription>& types) {
                for (const auto& description : types) {
                    const auto& type = description.metadataType;
                    const bool isId = type == android::gralloc4::MetadataType_BufferId;
                    hidlMapper().getFromBufferDescriptorInfo(
                            info, type, [&](Error error, const hidl_vec<uint8_t>& bytes) {
                                EXPECT_EQ(error, isId ? Error::UNSUPPORTED : Error::NONE);
                                EXPECT_TRUE(isId || std::vector<uint8_t>(bytes) ==
                                                            getStable(buffer.handle(), type))
                                        << type.value;
                            });
                }
            });
}

TEST(Hidl, refusesDescriptionsWithThePublishedCodes) {
    auto wide = describeHidl(0x1, 64, 64);
    wide.width = 0;
    auto layered = describeHidl(0x1, 64, 64);
    layered.layerCount = 2;
    const struct {
        IMapper::BufferDescriptorInfo info;
        Error error;
    } cases[] = {{wide, Error::BAD_VALUE},
                 {layered, Error::UNSUPPORTED},
                 {describeHidl(0x7777, 64, 64), Error::UNSUPPORTED},
                 {describeHidl(0x1, 64, 64, uint64_t{1} << 40), Error::UNSUPPORTED},
                 {describeHidl(0x1, UINT32_MAX, UINT32_MAX), Error::UNSUPPORTED}};
    for (const auto& each : cases) {
        hidl_vec<uint8_t> descriptor;
        EXPECT_EQ(createDescriptor(each.info, &descriptor), each.error);
        EXPECT_EQ(descriptor.size(), 0U);
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
    const HidlBuffer buffer(describeHidl(0x11, 1921, 1080));
    const auto validate = [&](int32_t format, uint32_t width, uint32_t height, uint32_t stride) {
        return Error(hidlMapper().validateBufferSize(buffer.buffer,
                                                     describeHidl(format, width, height), stride));
    };
    EXPECT_EQ(validate(0x11, 1921, 1080, buffer.stride), Error::NONE);
    EXPECT_EQ(validate(0x11, 1921, 1082, buffer.stride), Error::BAD_VALUE);
    EXPECT_EQ(validate(0x11, 4000, 100, buffer.stride), Error::BAD_VALUE);
    EXPECT_EQ(validate(0x1, 1921, 1080, buffer.stride), Error::BAD_VALUE);
    EXPECT_EQ(validate(0x11, 1921, 1080, buffer.stride + 64), Error::BAD_VALUE);
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
    const HidlBuffer buffer(describeHidl(0x1, 64, 48));
    const ndk::ScopedFileDescriptor signalled(eventfd(1, EFD_CLOEXEC));
    NATIVE_HANDLE_DECLARE_STORAGE(storage, 2, 1);
    native_handle_t* fence = native_handle_init(storage, 1, 0);
    fence->data[0] = signalled.get();
    EXPECT_EQ(lockWith(buffer.buffer, {0, 0, 64, 48}, hidl_handle(fence)), Error::NONE);
    EXPECT_EQ(eventfd_write(signalled.get(), 1), 0) << "still open";
    EXPECT_EQ(unlock(buffer.buffer), Error::NONE);
    EXPECT_EQ(unlock(buffer.buffer), Error::BAD_BUFFER);

    fence = native_handle_init(storage, 1, 1);
    fence->data[0] = signalled.get();
    EXPECT_EQ(lockWith(buffer.buffer, {}, hidl_handle(fence)), Error::BAD_VALUE);
    EXPECT_EQ(lockWith(buffer.buffer, {}, hidl_handle(native_handle_init(storage, 0, 0))),
              Error::NONE);
    EXPECT_EQ(lockWith(buffer.buffer, {1, 0, 64, 48}, nullptr), Error::BAD_VALUE);
    EXPECT_EQ(lockWith(buffer.buffer, {INT32_MAX, 0, INT32_MAX, 1}, nullptr), Error::BAD_VALUE);
    EXPECT_EQ(lockWith(nullptr, {}, nullptr), Error::BAD_BUFFER);
    EXPECT_EQ(unlock(buffer.buffer), Error::NONE);
}

TEST(Hidl, leavesNothingBehind) {
    { const HidlBuffer warmUp(describeHidl(0x1, 64, 64)); }
    const size_t descriptors = openDescriptors();
    const size_t mappings = bufferMappings();
    for (int i = 0; i < 1000; ++i) {
        const HidlBuffer buffer(describeHidl(0x11, 64, 64));
        lockWith(buffer.buffer, {}, nullptr);
        unlock(buffer.buffer);
    }
    EXPECT_EQ(openDescriptors(), descriptors);
    EXPECT_EQ(bufferMappings(), mappings);
}

}  // namespace
}  // namespace zelkcam::test
