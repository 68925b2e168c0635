// The rules of a mapper, asked through the loaded version-5 library.
#include <fcntl.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <map>
#include <set>
#include <span>
#include <thread>

#include "tests/host/gralloc/Buffers.h"

namespace zelkcam::test {
namespace {

using ndk::ScopedFileDescriptor;

constexpr int kWidth = 64;
constexpr int kHeight = 48;

BufferDescriptorInfo rgba(uint64_t usage = kReadWriteOften) {
    return describe(PixelFormat::RGBA_8888, kWidth, kHeight, usage);
}

// Handles that every operation has to refuse, none of which may be looked into.
TEST(Mapper, RefusesWhatIsNoImportedBuffer) {
    const RawBuffer raw(rgba());
    const buffer_handle_t freed = Import(raw.raw()).get();
    const Bytes value = encode<T::DATASPACE>({});
    const buffer_handle_t none = nullptr;
    void* region = nullptr;
    uint64_t size = 0;
    uint32_t fds = 0;
    uint32_t ints = 0;
    const AIMapper_DumpBufferCallback ignore = [](void*, AIMapper_MetadataType, const void*,
                                                  size_t) {};
    for (const buffer_handle_t bad : {none, buffer_handle_t{raw.raw()}, freed, kMadeUp}) {
        const AIMapper_Error answers[] = {
                lock(bad).first,
                unlock(bad),
                mapper().flushLockedBuffer(bad),
                mapper().rereadLockedBuffer(bad),
                AIMapper_Error(-mapper().getStandardMetadata(bad, 1, nullptr, 0)),
                mapper().setStandardMetadata(bad, 17, value.data(), value.size()),
                mapper().getReservedRegion(bad, &region, &size),
                mapper().freeBuffer(bad),
                mapper().getTransportSize(bad, &fds, &ints),
                mapper().dumpBuffer(bad, ignore, nullptr)};
        EXPECT_THAT(answers, testing::Each(kBadBuffer));
    }
}

TEST(Mapper, JudgesUsageAndRegionOfALock) {
    constexpr uint64_t kCamera = 0x20000;
    const ARect whole{0, 0, kWidth, kHeight};
    const struct {
        const char* what;
        uint64_t bufferUsage;
        uint64_t cpuUsage;
        ARect region;
        AIMapper_Error error = kBadValue;
    } cases[] = {
            {"zeros are the whole", 0x33, 0x33, {}, kNone},
            {"exact", 0x33, 3, whole, kNone},
            {"part", 0x33, 0x20, {1, 2, 3, 4}, kNone},
            {"one column more", 0x33, 3, {0, 0, kWidth + 1, kHeight}},
            {"one row more", 0x33, 3, {0, 0, kWidth, kHeight + 1}},
            {"negative", 0x33, 3, {-1, 0, kWidth, kHeight}},
            {"upside down", 0x33, 3, {0, kHeight, kWidth, 0}},
            {"extreme", 0x33, 3, {INT32_MIN, 0, INT32_MAX, 1}},
            {"no usage", 0x33, 0, whole},
            {"other usage too", 0x33, 3 | kCamera, whole},
            {"upper half", 0x33, 3 | uint64_t{1} << 40, whole},
            {"probe without usage, read", isStrict() ? 3 : uint64_t{0}, 3, whole, kNone},
            {"camera only, read", kCamera, 3, whole, isStrict() ? kBadValue : kNone},
            {"read only, write", 3, 0x33, whole},
            {"protected, read", 0x4000, 3, whole},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.what);
        const Import buffer(rgba(each.bufferUsage));
        const bool locked = each.error == kNone;
        const auto [error, data] = lock(buffer.get(), each.cpuUsage, each.region);
        EXPECT_EQ(error, each.error);
        EXPECT_EQ(data != nullptr, locked);
        EXPECT_EQ(unlock(buffer.get()), locked ? kNone : kBadBuffer);
    }
}

TEST(Mapper, NestsLocksOfOneImport) {
    const RawBuffer raw(rgba());
    const Import buffer(raw.raw()), other(raw.raw());
    const auto expectLocked = [&](bool locked) {
        const AIMapper_Error error = locked ? kNone : kBadBuffer;
        EXPECT_EQ(mapper().flushLockedBuffer(buffer.get()), error);
        EXPECT_EQ(mapper().rereadLockedBuffer(buffer.get()), error);
    };
    expectLocked(false);
    EXPECT_EQ(buffer.lock(), buffer.lock());
    EXPECT_EQ(unlock(other.get()), kBadBuffer) << "an import's own";
    for (const bool stillLocked : {true, false}) {
        EXPECT_EQ(unlock(buffer.get()), kNone);
        expectLocked(stillLocked);
    }
    EXPECT_EQ(unlock(buffer.get()), kBadBuffer);
}

TEST(Mapper, LeavesTheAcquireFenceOpenOrClosesItWhateverItAnswers) {
    const Import buffer(rgba());
    const std::tuple<buffer_handle_t, uint64_t, AIMapper_Error> cases[] = {
            {buffer.get(), 3, kNone}, {buffer.get(), 0, kBadValue}, {nullptr, 3, kBadBuffer}};
    for (const auto& [handle, usage, error] : cases) {
        const int fence = eventfd(1, EFD_CLOEXEC);
        EXPECT_EQ(lock(handle, usage, {}, fence).first, error);
        EXPECT_EQ(close(fence) == 0, !isStrict());
    }
    EXPECT_EQ(lock(buffer.get(), 3, {}, 100000).first, kBadValue);
}

TEST(Mapper, WaitsForTheAcquireFenceAndLocksNothingThatWasFreedMeanwhile) {
    for (const bool isFreed : {false, true}) {
        const AIMapper_Error expected = isFreed ? kBadBuffer : kNone;
        const buffer_handle_t handle = Import(rgba()).release();
        const ScopedFileDescriptor fence(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
        std::thread device([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            if (isFreed) {
                EXPECT_EQ(mapper().freeBuffer(handle), kNone);
            }
            eventfd_write(fence.get(), 1);
        });
        EXPECT_EQ(lock(handle, 3, {}, handOver(fence.get())).first, expected);
        uint64_t signals = 0;
        EXPECT_EQ(eventfd_read(fence.get(), &signals), 0) << "not waited for";
        device.join();
        EXPECT_EQ(mapper().freeBuffer(handle), expected);
    }
}

// What the request fixed is a wrong value, what the allocator decided cannot be set at all.
TEST(Mapper, RefusesToReadOrSetOtherMetadata) {
    const Import buffer(rgba());
    for (const int64_t type : {1, 2, 3, 4, 5, 6, 9, 7, 15, 23}) {
        const bool isRequested = type < 7 || type == 9;
        EXPECT_EQ(buffer.set(type, buffer.bytes(type)), isRequested ? kBadValue : kUnsupported)
                << type;
    }
    const AIMapper_MetadataType unknown[] = {
            {kStandardName, 0}, {kStandardName, 24}, {kStandardName, INT64_MIN},
            {"", 15},           {kPlexaName, 1},     {nullptr, 17}};
    for (const AIMapper_MetadataType& type : unknown) {
        EXPECT_EQ(mapper().getMetadata(buffer.get(), type, nullptr, 0), -kUnsupported);
        EXPECT_EQ(mapper().setMetadata(buffer.get(), type, "", 0), kUnsupported);
    }
}

// The published tests ask for up to 1,000 pages.
TEST(Mapper, SharesAClearReservedRegion) {
    for (const uint64_t size : {0, 1, 1000 * 4096, 16 << 20}) {
        auto info = rgba();
        info.reservedSize = static_cast<int64_t>(size);
        const RawBuffer raw(info);
        const Import first(raw.raw()), second(raw.raw());
        const auto [region, given] = reservedRegion(first.get());
        EXPECT_EQ(given, size);
        EXPECT_EQ(region == nullptr, size == 0);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(region) % sizeof(void*), 0U);
        if (size > 0) {
            EXPECT_EQ(region[0] | region[size - 1], 0);
            region[size - 1] = 9;
            EXPECT_EQ(reservedRegion(second.get()).first[size - 1], 9);
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
        EXPECT_EQ(mapper().getTransportSize(first.get(), &fds, &ints), kNone);
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
        EXPECT_EQ(mapper().importBuffer(raw.raw(), &imported), kNoResources);
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
        const auto size = static_cast<int32_t>(buffer.bytes(type).size());
        const Bytes untouched(static_cast<size_t>(size), 0xee);
        Bytes destination = untouched;
        EXPECT_EQ(mapper().getStandardMetadata(buffer.get(), type, destination.data(),
                                               destination.size() - 1),
                  size);
        EXPECT_EQ(destination, untouched);
        EXPECT_EQ(mapper().getStandardMetadata(buffer.get(), type, nullptr, 4096), size);
    }
}

TEST(Mapper, ListsAndDumpsWhatIsReadAndSet) {
    const Import buffer(rgba()), second(rgba());
    using Values = std::map<int64_t, Bytes>;
    std::vector<Values> dumps;
    const auto begin = [](void* all) { static_cast<std::vector<Values>*>(all)->emplace_back(); };
    const auto add = [](void* all, AIMapper_MetadataType type, const void* value, size_t size) {
        const auto* bytes = static_cast<const uint8_t*>(value);
        static_cast<std::vector<Values>*>(all)->back()[type.value] = {bytes, bytes + size};
    };
    EXPECT_EQ(mapper().dumpAllBuffers(begin, add, &dumps), kNone);
    EXPECT_EQ(dumps.size(), 2U);
    begin(&dumps);
    EXPECT_EQ(mapper().dumpBuffer(buffer.get(), add, &dumps), kNone);
    EXPECT_EQ(std::count(dumps.begin(), dumps.end(), dumps.back()), 2) << "among all, and alone";

    const AIMapper_MetadataTypeDescription* list = nullptr;
    size_t count = 0;
    ASSERT_EQ(mapper().listSupportedMetadataTypes(&list, &count), kNone);
    std::set<int64_t> settable;
    for (const auto& [type, description, isGettable, isSettable, reserved] :
         std::span(list, count)) {
        const Bytes value = buffer.bytes(type.value);
        EXPECT_EQ(dumps.back()[type.value], value);
        EXPECT_STREQ(type.name, metadataType(type.value).name);
        EXPECT_TRUE(isGettable);
        EXPECT_EQ(buffer.set(type.value, value) == kNone, isSettable);
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

}  // namespace
}  // namespace zelkcam::test
