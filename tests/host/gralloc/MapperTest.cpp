// The rules of a mapper, kept by the loaded version-5 library and by the HIDL service.
#include <fcntl.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <map>
#include <set>
#include <span>
#include <thread>

#include "tests/host/gralloc/Mappers.h"

namespace zelkcam::test {
namespace {

using ndk::ScopedFileDescriptor;
using T = StandardMetadataType;

constexpr int kWidth = 64;
constexpr int kHeight = 48;

BufferDescriptorInfo rgba(uint64_t usage = kReadWriteOften) {
    return describe(PixelFormat::RGBA_8888, kWidth, kHeight, usage);
}

template <typename Mapper>
class MapperRules : public testing::Test {};

struct MapperNames {
    template <typename Mapper>
    static std::string GetName(int) {
        return std::is_same_v<Mapper, HidlMapper> ? "Hidl" : "StableC";
    }
};
using BothMappers = testing::Types<StableMapper, HidlMapper>;
TYPED_TEST_SUITE(MapperRules, BothMappers, MapperNames);

// Handles that every operation has to refuse, none of which may be looked into.
TYPED_TEST(MapperRules, RefuseWhatIsNoImportedBuffer) {
    const RawBuffer raw(rgba());
    const buffer_handle_t freed = Import(raw.raw()).get();
    const buffer_handle_t none = nullptr;
    for (const buffer_handle_t bad : {none, buffer_handle_t{raw.raw()}, freed, kMadeUp}) {
        EXPECT_EQ(TypeParam::lock(bad, 3, {}, -1),
                  StableMapper::LockResult(AIMAPPER_ERROR_BAD_BUFFER, nullptr));
        EXPECT_EQ(TypeParam::unlock(bad), AIMAPPER_ERROR_BAD_BUFFER);
        EXPECT_EQ(TypeParam::flush(bad), AIMAPPER_ERROR_BAD_BUFFER);
        EXPECT_EQ(TypeParam::get(bad, kStandardName, 1), AIMAPPER_ERROR_BAD_BUFFER);
        EXPECT_EQ(TypeParam::set(bad, kStandardName, 17, encode<T::DATASPACE>({})),
                  AIMAPPER_ERROR_BAD_BUFFER);
        EXPECT_EQ(std::get<0>(TypeParam::reservedRegion(bad)), AIMAPPER_ERROR_BAD_BUFFER);
        EXPECT_EQ(mapper().freeBuffer(bad), AIMAPPER_ERROR_BAD_BUFFER);
        EXPECT_EQ(mapper().rereadLockedBuffer(bad), AIMAPPER_ERROR_BAD_BUFFER);
        EXPECT_EQ(mapper().getTransportSize(bad, nullptr, nullptr), AIMAPPER_ERROR_BAD_BUFFER);
        EXPECT_EQ(mapper().dumpBuffer(bad, nullptr, nullptr), AIMAPPER_ERROR_BAD_BUFFER);
    }
}

TYPED_TEST(MapperRules, JudgeUsageAndRegionOfALock) {
    constexpr uint64_t kCamera = 0x20000;
    const ARect whole{0, 0, kWidth, kHeight};
    const struct {
        const char* what;
        uint64_t bufferUsage;
        uint64_t cpuUsage;
        ARect region;
        AIMapper_Error error;
    } cases[] = {
            {"zeros are the whole", 0x33, 0x33, {}, AIMAPPER_ERROR_NONE},
            {"exact", 0x33, 3, whole, AIMAPPER_ERROR_NONE},
            {"part", 0x33, 0x20, {1, 2, 3, 4}, AIMAPPER_ERROR_NONE},
            {"one column more", 0x33, 3, {0, 0, kWidth + 1, kHeight}, AIMAPPER_ERROR_BAD_VALUE},
            {"one row more", 0x33, 3, {0, 0, kWidth, kHeight + 1}, AIMAPPER_ERROR_BAD_VALUE},
            {"one too far", 0x33, 3, {1, 0, kWidth + 1, kHeight}, AIMAPPER_ERROR_BAD_VALUE},
            {"negative", 0x33, 3, {-1, 0, kWidth, kHeight}, AIMAPPER_ERROR_BAD_VALUE},
            {"upside down", 0x33, 3, {0, kHeight, kWidth, 0}, AIMAPPER_ERROR_BAD_VALUE},
            {"extreme", 0x33, 3, {INT32_MIN, 0, INT32_MAX, 1}, AIMAPPER_ERROR_BAD_VALUE},
            {"no usage", 0x33, 0, whole, AIMAPPER_ERROR_BAD_VALUE},
            {"other usage too", 0x33, 3 | kCamera, whole, AIMAPPER_ERROR_BAD_VALUE},
            {"upper half", 0x33, 3 | uint64_t{1} << 40, whole, AIMAPPER_ERROR_BAD_VALUE},
            {"probe without usage, read", 0, 3, whole, AIMAPPER_ERROR_NONE},
            {"camera only, read", kCamera, 3, whole, AIMAPPER_ERROR_NONE},
            {"read only, write", 3, 0x33, whole, AIMAPPER_ERROR_BAD_VALUE},
            {"protected, read", 0x4000, 3, whole, AIMAPPER_ERROR_BAD_VALUE},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.what);
        const Import buffer(rgba(each.bufferUsage));
        const bool locked = each.error == AIMAPPER_ERROR_NONE;
        const auto [error, data] = TypeParam::lock(buffer.get(), each.cpuUsage, each.region, -1);
        EXPECT_EQ(error, each.error);
        EXPECT_EQ(data != nullptr, locked);
        EXPECT_EQ(TypeParam::unlock(buffer.get()),
                  locked ? AIMAPPER_ERROR_NONE : AIMAPPER_ERROR_BAD_BUFFER);
    }
}

TYPED_TEST(MapperRules, NestLocksOfOneImport) {
    const RawBuffer raw(rgba());
    const Import buffer(raw.raw()), other(raw.raw());
    const auto expectLocked = [&](bool locked) {
        const AIMapper_Error error = locked ? AIMAPPER_ERROR_NONE : AIMAPPER_ERROR_BAD_BUFFER;
        EXPECT_EQ(TypeParam::flush(buffer.get()), error);
        EXPECT_EQ(mapper().rereadLockedBuffer(buffer.get()), error);
    };
    expectLocked(false);
    EXPECT_EQ(buffer.lock(), buffer.lock());
    EXPECT_EQ(TypeParam::unlock(other.get()), AIMAPPER_ERROR_BAD_BUFFER) << "an import's own";
    EXPECT_EQ(TypeParam::unlock(buffer.get()), AIMAPPER_ERROR_NONE);
    expectLocked(true);
    EXPECT_EQ(TypeParam::unlock(buffer.get()), AIMAPPER_ERROR_NONE);
    expectLocked(false);
    EXPECT_EQ(TypeParam::unlock(buffer.get()), AIMAPPER_ERROR_BAD_BUFFER);
}

TYPED_TEST(MapperRules, LeaveTheAcquireFenceOpenWhateverTheyAnswer) {
    const Import buffer(rgba());
    int hungUp[2], broken[2];
    ASSERT_EQ(pipe2(hungUp, O_CLOEXEC) | pipe2(broken, O_CLOEXEC), 0);
    close(hungUp[1]);
    close(broken[0]);
    const ScopedFileDescriptor signalled(eventfd(1, EFD_CLOEXEC)), ended(hungUp[0]),
            failed(broken[1]);
    const buffer_handle_t good = buffer.get();
    const struct {
        const char* what;
        buffer_handle_t handle;
        uint64_t usage;
        int fence;
        AIMapper_Error error;
    } cases[] = {
            {"signalled", good, 3, signalled.get(), AIMAPPER_ERROR_NONE},
            {"hung up, as for sync_wait", good, 3, ended.get(), AIMAPPER_ERROR_NONE},
            {"failed", good, 3, failed.get(), AIMAPPER_ERROR_BAD_VALUE},
            {"usage of no processor", good, 0, signalled.get(), AIMAPPER_ERROR_BAD_VALUE},
            {"no buffer", nullptr, 3, signalled.get(), AIMAPPER_ERROR_BAD_BUFFER},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(TypeParam::lock(each.handle, each.usage, {}, each.fence).first, each.error)
                << each.what;
        EXPECT_GE(fcntl(each.fence, F_GETFD), 0) << each.what;
    }
    const int closed = eventfd(1, EFD_CLOEXEC);
    close(closed);
    EXPECT_EQ(TypeParam::lock(good, 3, {}, closed).first, AIMAPPER_ERROR_BAD_VALUE);
}

TYPED_TEST(MapperRules, WaitForTheAcquireFenceAndLockNothingThatWasFreedMeanwhile) {
    for (const bool isFreed : {false, true}) {
        Import buffer(rgba());
        const buffer_handle_t handle = buffer.release();
        const ScopedFileDescriptor fence(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
        std::thread device([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            if (isFreed) {
                EXPECT_EQ(mapper().freeBuffer(handle), AIMAPPER_ERROR_NONE);
            }
            eventfd_write(fence.get(), 1);
        });
        EXPECT_EQ(TypeParam::lock(handle, 3, {}, fence.get()).first,
                  isFreed ? AIMAPPER_ERROR_BAD_BUFFER : AIMAPPER_ERROR_NONE);
        uint64_t signals = 0;
        EXPECT_EQ(eventfd_read(fence.get(), &signals), 0) << "not waited for";
        device.join();
        EXPECT_EQ(mapper().freeBuffer(handle),
                  isFreed ? AIMAPPER_ERROR_BAD_BUFFER : AIMAPPER_ERROR_NONE);
    }
}

// What the request fixed is a wrong value, what the allocator decided cannot be set at all.
TYPED_TEST(MapperRules, RefuseToReadOrSetOtherMetadata) {
    const Import buffer(rgba());
    for (const int64_t type : {1, 2, 3, 4, 5, 6, 9, 7, 15, 23}) {
        const bool isRequested = type < 7 || type == 9;
        EXPECT_EQ(TypeParam::set(buffer.get(), kStandardName, type,
                                 buffer.bytes(kStandardName, type)),
                  isRequested ? AIMAPPER_ERROR_BAD_VALUE : AIMAPPER_ERROR_UNSUPPORTED)
                << type;
    }
    const std::pair<const char*, int64_t> unknown[] = {{kStandardName, 0},
                                                       {kStandardName, 24},
                                                       {kStandardName, INT64_MIN},
                                                       {kStandardName, INT64_MAX},
                                                       {"", 15},
                                                       {kPlexaName, 1}};
    for (const auto& [name, type] : unknown) {
        EXPECT_EQ(TypeParam::get(buffer.get(), name, type), AIMAPPER_ERROR_UNSUPPORTED) << type;
        EXPECT_EQ(TypeParam::set(buffer.get(), name, type, {}), AIMAPPER_ERROR_UNSUPPORTED);
    }
}

// The published tests ask for up to 1,000 pages.
TYPED_TEST(MapperRules, ShareAClearReservedRegion) {
    for (const uint64_t size : {0, 1, 1000 * 4096, 16 << 20}) {
        auto info = rgba();
        info.reservedSize = static_cast<int64_t>(size);
        const RawBuffer raw(info);
        const Import first(raw.raw()), second(raw.raw());
        const auto [error, region, given] = TypeParam::reservedRegion(first.get());
        EXPECT_EQ(error, AIMAPPER_ERROR_NONE);
        EXPECT_EQ(given, size);
        EXPECT_EQ(region == nullptr, size == 0);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(region) % sizeof(void*), 0U);
        if (size > 0) {
            uint8_t* const bytes = static_cast<uint8_t*>(region);
            EXPECT_EQ(bytes[0] | bytes[size - 1], 0);
            bytes[size - 1] = 9;
            const auto other = std::get<1>(TypeParam::reservedRegion(second.get()));
            EXPECT_EQ(static_cast<uint8_t*>(other)[size - 1], 9);
        }
    }
}

TEST(Mapper, ExportsItsVersionUnderBothNames) {
    for (const char* name : {"ANDROID_HAL_STABLEC_VERSION", "ANDROID_HAL_MAPPER_VERSION"}) {
        const auto* version = static_cast<const uint32_t*>(dlsym(mapperLibrary(), name));
        ASSERT_NE(version, nullptr) << name;
        EXPECT_EQ(*version, 5U);
    }
}

TEST(Mapper, GivesEveryImporterAHandleOfItsOwn) {
    const RawBuffer raw(rgba());
    mapper();  // loading it takes a descriptor of its own
    const Holdings before = holdings();
    {
        const Import first(raw.raw()), second(raw.raw()), ofImport(first.get());
        std::set<int> descriptors;
        for (const buffer_handle_t handle : {first.get(), second.get(), ofImport.get()}) {
            for (int i = 0; i < handle->numFds; ++i) {
                descriptors.insert(handle->data[i]);
                EXPECT_EQ(fcntl(handle->data[i], F_GETFD), FD_CLOEXEC);
            }
        }
        EXPECT_EQ(descriptors.size(), 6U);
        uint32_t fds = 0, ints = 0;
        EXPECT_EQ(mapper().getTransportSize(first.get(), &fds, &ints), AIMAPPER_ERROR_NONE);
        EXPECT_EQ(std::pair(fds, ints), std::pair(2U, 4U));
        first.lock();  // and is freed so
    }
    EXPECT_EQ(holdings(), before);
}

TEST(Mapper, WithoutDescriptorsLeftDoesNotBlameTheBuffer) {
    const RawBuffer raw(rgba());
    mapper();
    const Holdings before = holdings();
    for (const rlim_t left : {0, 1}) {
        const FewDescriptors few(left);
        buffer_handle_t imported = nullptr;
        EXPECT_EQ(mapper().importBuffer(raw.raw(), &imported), AIMAPPER_ERROR_NO_RESOURCES);
        EXPECT_EQ(imported, nullptr);
    }
    EXPECT_EQ(holdings(), before);
}

// Mapping costs a system call and page faults, so a buffer that nobody looks into pays neither.
TEST(Mapper, MapsSharedPixelsAtTheFirstLockOnly) {
    const RawBuffer raw(describe(PixelFormat::BLOB, 100000, 1));
    const Import writer(raw.raw()), reader(raw.raw());
    const long imported = holdings().mappings;
    const uint8_t* const seen = reader.lock();
    EXPECT_EQ(reader.lock(), seen);
    EXPECT_EQ(holdings().mappings, imported + 1);
    EXPECT_EQ(seen[99999], 0) << "fresh memory is clear";
    writer.lock()[99999] = 0x5a;
    EXPECT_EQ(seen[99999], 0x5a);
}

TEST(Mapper, AnswersTheSizeOfWhatDoesNotFitAndWritesNothing) {
    const Import buffer(rgba());
    for (const int64_t type : {15, 17}) {
        const auto size = static_cast<int32_t>(buffer.bytes(kStandardName, type).size());
        const Bytes untouched(static_cast<size_t>(size), 0xee);
        Bytes destination = untouched;
        EXPECT_EQ(mapper().getStandardMetadata(buffer.get(), type, destination.data(),
                                               destination.size() - 1),
                  size);
        EXPECT_EQ(destination, untouched);
        EXPECT_EQ(mapper().getStandardMetadata(buffer.get(), type, nullptr, 4096), size);
    }
    EXPECT_EQ(mapper().getMetadata(buffer.get(), {nullptr, 15}, nullptr, 0),
              -AIMAPPER_ERROR_UNSUPPORTED);
    EXPECT_EQ(mapper().setMetadata(buffer.get(), {nullptr, 17}, "", 0), AIMAPPER_ERROR_UNSUPPORTED);
}

TEST(Mapper, ListsAndDumpsWhatIsReadAndSet) {
    const Import buffer(rgba()), second(rgba());
    using Values = std::map<std::pair<std::string, int64_t>, Bytes>;
    std::vector<Values> dumps;
    const auto begin = [](void* all) { static_cast<std::vector<Values>*>(all)->emplace_back(); };
    const auto add = [](void* all, AIMapper_MetadataType type, const void* value, size_t size) {
        const auto* bytes = static_cast<const uint8_t*>(value);
        static_cast<std::vector<Values>*>(all)->back()[{type.name, type.value}] = {bytes,
                                                                                   bytes + size};
    };
    EXPECT_EQ(mapper().dumpAllBuffers(begin, add, &dumps), AIMAPPER_ERROR_NONE);
    EXPECT_EQ(dumps.size(), 2U);
    begin(&dumps);
    EXPECT_EQ(mapper().dumpBuffer(buffer.get(), add, &dumps), AIMAPPER_ERROR_NONE);
    EXPECT_EQ(std::count(dumps.begin(), dumps.end(), dumps.back()), 2) << "among all, and alone";

    const AIMapper_MetadataTypeDescription* list = nullptr;
    size_t count = 0;
    ASSERT_EQ(mapper().listSupportedMetadataTypes(&list, &count), AIMAPPER_ERROR_NONE);
    std::set<int64_t> settable;
    for (const auto& [type, description, isGettable, isSettable, reserved] :
         std::span(list, count)) {
        const Bytes value = buffer.bytes(type.name, type.value);
        EXPECT_EQ(dumps.back()[std::pair(type.name, type.value)], value);
        EXPECT_TRUE(isGettable);
        EXPECT_EQ(buffer.set(type.name, type.value, value) == AIMAPPER_ERROR_NONE, isSettable);
        if (isSettable) {
            settable.insert(type.value);
        }
        EXPECT_TRUE(type.value < 100 || description != nullptr);
        EXPECT_THAT(reserved, testing::Each(0));
    }
    EXPECT_EQ(dumps.back().size(), 25U);
    EXPECT_EQ(count, 25U);
    EXPECT_EQ(settable, (std::set<int64_t>{17, 18, 19, 20, 21, 22, 100, 110}));
}

TEST(HidlMapperAlone, ValidatesAgainstTheBufferAsLaidOut) {
    const Import buffer(describe(0x11, 1921, 1080));
    const uint32_t stride = *buffer.value<T::STRIDE>();
    const struct {
        int32_t format;
        uint32_t width, height, stride;
        Error error;
    } cases[] = {{0x11, 1921, 1080, stride, Error::NONE},
                 {0x11, 1921, 1082, stride, Error::BAD_VALUE},
                 {0x11, 4000, 100, stride, Error::BAD_VALUE},
                 {0x1, 1921, 1080, stride, Error::BAD_VALUE},
                 {0x11, 0, 1080, stride, Error::BAD_VALUE},
                 {0x11, 1921, 1080, stride + 64, Error::BAD_VALUE}};
    for (const auto& each : cases) {
        const auto info = describeHidl(
                describe(each.format, static_cast<int>(each.width), static_cast<int>(each.height)));
        EXPECT_EQ(Error(hidlMapper().validateBufferSize(hidl(buffer.get()), info, each.stride)),
                  each.error);
    }
}

TEST(HidlMapperAlone, TakesNoFenceThatIsMoreThanADescriptor) {
    const Import buffer(rgba());
    NATIVE_HANDLE_DECLARE_STORAGE(storage, 1, 1);
    native_handle_t* const fence = native_handle_init(storage, 1, 1);
    fence->data[0] = fence->data[1] = 0;
    const auto lockWith = [&](const hidl_handle& handle) {
        return std::get<0>(ask<void*>(&IMapper::lock, hidl(buffer.get()), uint64_t{3},
                                      IMapper::Rect{0, 0, 0, 0}, handle));
    };
    EXPECT_EQ(lockWith(hidl_handle(fence)), AIMAPPER_ERROR_BAD_VALUE);
    EXPECT_EQ(lockWith(hidl_handle()), AIMAPPER_ERROR_NONE);
}

}  // namespace
}  // namespace zelkcam::test
