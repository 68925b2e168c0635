// The loaded mapper library against the rules of a version-5 mapper.
#include <fcntl.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <atomic>
#include <cstring>
#include <set>
#include <thread>

#include "tests/host/gralloc/Buffers.h"

namespace zelkcam::test {
namespace {

using aidl::android::hardware::graphics::common::BlendMode;
using aidl::android::hardware::graphics::common::Dataspace;

constexpr int kWidth = 64;
constexpr int kHeight = 48;

BufferDescriptorInfo rgba(uint64_t usage = kReadWriteOften) {
    return describe(PixelFormat::RGBA_8888, kWidth, kHeight, usage);
}

TEST(Mapper, exportsItsVersionUnderBothNamesAndTheSameFunctionsEachTime) {
    for (const char* name : {"ANDROID_HAL_STABLEC_VERSION", "ANDROID_HAL_MAPPER_VERSION"}) {
        const auto* version = static_cast<const uint32_t*>(dlsym(mapperLibrary(), name));
        ASSERT_NE(version, nullptr) << name;
        EXPECT_EQ(*version, 5U);
    }
    const auto load = reinterpret_cast<decltype(&AIMapper_loadIMapper)>(
            dlsym(mapperLibrary(), "AIMapper_loadIMapper"));
    AIMapper* again = nullptr;
    EXPECT_EQ(load(&again), AIMAPPER_ERROR_NONE);
    EXPECT_EQ(again->version, AIMAPPER_VERSION_5);
    EXPECT_EQ(std::memcmp(&again->v5, &mapper(), sizeof(AIMapperV5)), 0);
}

// Handles that every operation has to refuse, none of which may be looked into.
void expectRefused(buffer_handle_t bad, const char* what) {
    SCOPED_TRACE(what);
    const auto& m = mapper();
    void* data = nullptr;
    int fence = -1;
    uint32_t count = 0;
    uint64_t size = 0;
    const auto dataspace = encode<StandardMetadataType::DATASPACE>(Dataspace::SRGB);
    const auto ignore = [](void*, AIMapper_MetadataType, const void*, size_t) {};
    EXPECT_EQ(m.freeBuffer(bad), AIMAPPER_ERROR_BAD_BUFFER);
    EXPECT_EQ(m.getTransportSize(bad, &count, &count), AIMAPPER_ERROR_BAD_BUFFER);
    EXPECT_EQ(m.lock(bad, 3, {}, -1, &data), AIMAPPER_ERROR_BAD_BUFFER);
    EXPECT_EQ(m.unlock(bad, &fence), AIMAPPER_ERROR_BAD_BUFFER);
    EXPECT_EQ(m.flushLockedBuffer(bad), AIMAPPER_ERROR_BAD_BUFFER);
    EXPECT_EQ(m.rereadLockedBuffer(bad), AIMAPPER_ERROR_BAD_BUFFER);
    EXPECT_EQ(m.setStandardMetadata(bad, 17, dataspace.data(), dataspace.size()),
              AIMAPPER_ERROR_BAD_BUFFER);
    EXPECT_EQ(m.dumpBuffer(bad, ignore, nullptr), AIMAPPER_ERROR_BAD_BUFFER);
    EXPECT_EQ(m.getReservedRegion(bad, &data, &size), AIMAPPER_ERROR_BAD_BUFFER);
    for (int64_t type = 1; type <= 23; ++type) {
        EXPECT_EQ(m.getStandardMetadata(bad, type, nullptr, 0), -AIMAPPER_ERROR_BAD_BUFFER);
    }
    EXPECT_EQ(fence, -1);
    EXPECT_EQ(data, nullptr);
}

TEST(NotABuffer, isRefusedByEveryOperation) {
    const RawBuffer raw(rgba());
    const buffer_handle_t freed = Import(raw.raw()).get();
    expectRefused(nullptr, "null");
    expectRefused(raw.raw(), "raw");
    expectRefused(freed, "freed");
    expectRefused(kMadeUp, "made up");
}

TEST(Import, givesEveryImporterAHandleOfItsOwnWithClosedOnExecDescriptors) {
    const RawBuffer raw(rgba());
    const Import first(raw.raw());
    const Import second(raw.raw());
    const Import ofImport(first.get());
    EXPECT_EQ((std::set<buffer_handle_t>{raw.raw(), first.get(), second.get(), ofImport.get()})
                      .size(),
              4U);
    std::set<int> descriptors;
    for (const buffer_handle_t handle : {first.get(), second.get(), ofImport.get()}) {
        for (int i = 0; i < handle->numFds; ++i) {
            descriptors.insert(handle->data[i]);
            EXPECT_EQ(fcntl(handle->data[i], F_GETFD), FD_CLOEXEC);
        }
    }
    EXPECT_EQ(descriptors.size(), 6U);
    uint32_t fds = 0;
    uint32_t ints = 0;
    EXPECT_EQ(mapper().getTransportSize(first.get(), &fds, &ints), AIMAPPER_ERROR_NONE);
    EXPECT_LE(fds, static_cast<uint32_t>(first.get()->numFds));
    EXPECT_LE(ints, static_cast<uint32_t>(first.get()->numInts));
}

TEST(Import, freedWhileItIsLockedLeavesNothingBehind) {
    const RawBuffer raw(rgba());
    mapper();
    const Holdings before = holdings();
    Import(raw.raw()).lock();
    EXPECT_EQ(holdings(), before);
}

TEST(Import, withoutDescriptorsLeftIsNoFaultOfTheBuffer) {
    const RawBuffer raw(rgba());
    mapper();  // loading it takes a descriptor of its own
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
TEST(Import, mapsPixelsAtTheFirstLockOnly) {
    const Import buffer(rgba());
    const long imported = holdings().mappings;
    const uint8_t* first = buffer.lock();
    EXPECT_EQ(holdings().mappings, imported + 1);
    buffer.unlock();
    EXPECT_EQ(buffer.lock(), first);
    EXPECT_EQ(holdings().mappings, imported + 1);
    buffer.unlock();
}

TEST(Lock, judgesUsageAndRegion) {
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
            {"negative", 0x33, 3, {-1, 0, kWidth, kHeight}, AIMAPPER_ERROR_BAD_VALUE},
            {"upside down", 0x33, 3, {0, kHeight, kWidth, 0}, AIMAPPER_ERROR_BAD_VALUE},
            {"extreme", 0x33, 3, {INT32_MIN, 0, INT32_MAX, 1}, AIMAPPER_ERROR_BAD_VALUE},
            {"no usage", 0x33, 0, whole, AIMAPPER_ERROR_BAD_VALUE},
            {"other usage too", 0x33, 3 | kCamera, whole, AIMAPPER_ERROR_BAD_VALUE},
            {"upper half", 0x33, 3 | uint64_t{1} << 40, whole, AIMAPPER_ERROR_BAD_VALUE},
            {"probe without usage, read", 0, 3, whole, AIMAPPER_ERROR_NONE},
            {"camera only, read", kCamera, 3, whole, AIMAPPER_ERROR_NONE},
            {"read only, read", 3, 3, whole, AIMAPPER_ERROR_NONE},
            {"read only, write", 3, 0x33, whole, AIMAPPER_ERROR_BAD_VALUE},
            {"protected, read", 0x4000, 3, whole, AIMAPPER_ERROR_BAD_VALUE},
            {"protected, write", 0x4033, 0x30, whole, AIMAPPER_ERROR_BAD_VALUE},
    };
    for (const auto& each : cases) {
        const Import buffer(rgba(each.bufferUsage));
        void* data = nullptr;
        EXPECT_EQ(mapper().lock(buffer.get(), each.cpuUsage, each.region, -1, &data), each.error)
                << each.what;
        const bool locked = each.error == AIMAPPER_ERROR_NONE;
        EXPECT_EQ(data != nullptr, locked) << each.what;
        EXPECT_EQ(buffer.unlock(), locked ? AIMAPPER_ERROR_NONE : AIMAPPER_ERROR_BAD_BUFFER)
                << each.what;
    }
}

TEST(Lock, nestsAndNeedsAsManyUnlocks) {
    const RawBuffer raw(rgba());
    const Import buffer(raw.raw());
    const Import other(raw.raw());
    const auto flushAndReread = [](const Import& import) {
        const AIMapper_Error flush = mapper().flushLockedBuffer(import.get());
        EXPECT_EQ(mapper().rereadLockedBuffer(import.get()), flush);
        return flush;
    };
    EXPECT_EQ(flushAndReread(buffer), AIMAPPER_ERROR_BAD_BUFFER);
    EXPECT_EQ(buffer.lock(), buffer.lock());
    EXPECT_EQ(flushAndReread(buffer), AIMAPPER_ERROR_NONE);
    EXPECT_EQ(other.unlock(), AIMAPPER_ERROR_BAD_BUFFER) << "locks are an import's own";
    EXPECT_EQ(buffer.unlock(), AIMAPPER_ERROR_NONE);
    EXPECT_EQ(flushAndReread(buffer), AIMAPPER_ERROR_NONE);
    EXPECT_EQ(buffer.unlock(), AIMAPPER_ERROR_NONE);
    EXPECT_EQ(buffer.unlock(), AIMAPPER_ERROR_BAD_BUFFER);
}

TEST(Lock, showsWhatAnotherImportWrote) {
    const RawBuffer raw(describe(PixelFormat::BLOB, 100000, 1));
    const Import writer(raw.raw());
    const Import reader(raw.raw());
    const uint8_t* seen = reader.lock();
    EXPECT_EQ(seen[99999], 0) << "fresh memory is clear";
    writer.lock()[99999] = 0x5a;
    EXPECT_EQ(mapper().flushLockedBuffer(writer.get()), AIMAPPER_ERROR_NONE);
    EXPECT_EQ(mapper().rereadLockedBuffer(reader.get()), AIMAPPER_ERROR_NONE);
    EXPECT_EQ(seen[99999], 0x5a);
}

TEST(LockFence, isWaitedForAndLeftOpenForItsOwner) {
    const Import buffer(rgba());
    const ndk::ScopedFileDescriptor fence(eventfd(0, EFD_CLOEXEC));
    std::atomic<bool> signalled{false};
    std::thread device([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        signalled = true;
        eventfd_write(fence.get(), 1);
    });
    void* data = nullptr;
    EXPECT_EQ(mapper().lock(buffer.get(), 3, {}, fence.get(), &data), AIMAPPER_ERROR_NONE);
    EXPECT_TRUE(signalled);
    EXPECT_GE(fcntl(fence.get(), F_GETFD), 0);
    device.join();
    int release = 77;
    EXPECT_EQ(mapper().unlock(buffer.get(), &release), AIMAPPER_ERROR_NONE);
    EXPECT_EQ(release, -1);
}

TEST(LockFence, thatCanNeverSignalIsAnErrorAndStaysOpen) {
    const Import buffer(rgba());
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    close(ends[1]);
    void* data = nullptr;
    EXPECT_EQ(mapper().lock(buffer.get(), 3, {}, ends[0], &data), AIMAPPER_ERROR_BAD_VALUE);
    EXPECT_EQ(buffer.unlock(), AIMAPPER_ERROR_BAD_BUFFER);
    EXPECT_EQ(close(ends[0]), 0);
    EXPECT_EQ(mapper().lock(buffer.get(), 3, {}, ends[0], &data), AIMAPPER_ERROR_BAD_VALUE)
            << "closed already";
}

TEST(LockFence, whoseBufferIsFreedMeanwhileLocksNothing) {
    Import buffer(rgba());
    const ndk::ScopedFileDescriptor fence(eventfd(0, EFD_CLOEXEC));
    const buffer_handle_t handle = buffer.release();
    AIMapper_Error error = AIMAPPER_ERROR_NONE;
    std::thread locker([&] {
        void* data = nullptr;
        error = mapper().lock(handle, 3, {}, fence.get(), &data);
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ(mapper().freeBuffer(handle), AIMAPPER_ERROR_NONE);
    eventfd_write(fence.get(), 1);
    locker.join();
    EXPECT_EQ(error, AIMAPPER_ERROR_BAD_BUFFER);
}

TEST(Metadata, ofAFreshBufferIsWhatWasAskedFor) {
    auto info = describe(PixelFormat::YCRCB_420_SP, 640, 480, 0x4033);
    std::strcpy(reinterpret_cast<char*>(info.name.data()), "preview");
    using T = StandardMetadataType;
    const Import buffer(info);
    EXPECT_EQ(buffer.value<T::NAME>(), "preview");
    EXPECT_EQ(buffer.value<T::WIDTH>(), 640U);
    EXPECT_EQ(buffer.value<T::HEIGHT>(), 480U);
    EXPECT_EQ(buffer.value<T::LAYER_COUNT>(), 1U);
    EXPECT_EQ(buffer.value<T::PIXEL_FORMAT_REQUESTED>(), PixelFormat::YCRCB_420_SP);
    EXPECT_EQ(buffer.value<T::PIXEL_FORMAT_MODIFIER>(), 0U);
    EXPECT_EQ(buffer.value<T::USAGE>(), static_cast<BufferUsage>(0x4033));
    EXPECT_EQ(buffer.value<T::PROTECTED_CONTENT>(), 1U);
    EXPECT_EQ(buffer.value<T::COMPRESSION>(), android::gralloc4::Compression_None);
    EXPECT_EQ(buffer.value<T::INTERLACED>(), android::gralloc4::Interlaced_None);
    EXPECT_EQ(buffer.value<T::CHROMA_SITING>(), android::gralloc4::ChromaSiting_Unknown);
    EXPECT_EQ(Import(rgba()).value<T::CHROMA_SITING>(), android::gralloc4::ChromaSiting_None);
    EXPECT_EQ(buffer.value<T::DATASPACE>(), Dataspace::UNKNOWN);
    EXPECT_EQ(buffer.value<T::BLEND_MODE>(), BlendMode::INVALID);
    for (const int64_t type : {19, 20, 21, 22}) {
        EXPECT_EQ(mapper().getStandardMetadata(buffer.get(), type, nullptr, 0), 0) << type;
    }
    EXPECT_EQ(buffer.bytes(kPlexaName, 100), std::vector<uint8_t>(64));
    EXPECT_EQ(buffer.bytes(kPlexaName, 110), std::vector<uint8_t>(8));
}

TEST(Metadata, bufferIdIsTheBuffersAndNobodyElses) {
    std::set<uint64_t> ids;
    for (int i = 0; i < 100; ++i) {
        const RawBuffer raw(rgba());
        const Import first(raw.raw());
        const Import second(raw.raw());
        const auto id = first.value<StandardMetadataType::BUFFER_ID>();
        EXPECT_EQ(id, second.value<StandardMetadataType::BUFFER_ID>());
        ids.insert(*id);
    }
    EXPECT_EQ(ids.size(), 100U);
}

TEST(Metadata, thatDoesNotFitAnswersItsSizeAndWritesNothing) {
    const Import buffer(rgba());
    for (const int64_t type : {15, 17}) {
        const auto size = static_cast<int32_t>(buffer.bytes(kStandardName, type).size());
        std::vector<uint8_t> destination(static_cast<size_t>(size), 0xee);
        const auto untouched = destination;
        EXPECT_EQ(mapper().getStandardMetadata(buffer.get(), type, destination.data(),
                                               destination.size() - 1),
                  size);
        EXPECT_EQ(destination, untouched);
        EXPECT_EQ(mapper().getStandardMetadata(buffer.get(), type, nullptr, 4096), size);
    }
}

TEST(Metadata, ofAnUnknownTypeIsUnsupported) {
    const Import buffer(rgba());
    const AIMapper_MetadataType unknown[] = {{kStandardName, 0},
                                             {kStandardName, 24},
                                             {kStandardName, INT64_MIN},
                                             {kStandardName, INT64_MAX},
                                             {"", 15},
                                             {kPlexaName, 1},
                                             {nullptr, 15}};
    for (const auto& type : unknown) {
        SCOPED_TRACE(testing::Message() << (type.name ? type.name : "null") << " " << type.value);
        EXPECT_EQ(mapper().getMetadata(buffer.get(), type, nullptr, 0),
                  -AIMAPPER_ERROR_UNSUPPORTED);
        EXPECT_EQ(mapper().setMetadata(buffer.get(), type, "", 0), AIMAPPER_ERROR_UNSUPPORTED);
    }
}

TEST(Metadata, fixedByTheRequestCannotBeSet) {
    const Import buffer(rgba());
    for (const int64_t type : {1, 2, 3, 4, 5, 6, 9, 7, 15, 23}) {
        const auto before = buffer.bytes(kStandardName, type);
        const bool isRequested = type < 7 || type == 9;
        EXPECT_EQ(buffer.set(kStandardName, type, before),
                  isRequested ? AIMAPPER_ERROR_BAD_VALUE : AIMAPPER_ERROR_UNSUPPORTED)
                << type;
    }
}

TEST(Metadata, thatIsListedHoldsWhatTheListSays) {
    const AIMapper_MetadataTypeDescription* list = nullptr;
    size_t count = 0;
    ASSERT_EQ(mapper().listSupportedMetadataTypes(&list, &count), AIMAPPER_ERROR_NONE);
    const Import buffer(rgba());
    std::set<int64_t> settable, listed;
    for (size_t i = 0; i < count; ++i) {
        const auto& [type, description, isGettable, isSettable, reserved] = list[i];
        EXPECT_TRUE(listed.insert(type.value).second);
        EXPECT_STREQ(type.name, type.value < 100 ? kStandardName : kPlexaName);
        EXPECT_TRUE(isGettable);
        EXPECT_TRUE(type.value < 100 || description != nullptr);
        const auto value = buffer.bytes(type.name, type.value);
        EXPECT_EQ(buffer.set(type.name, type.value, value) == AIMAPPER_ERROR_NONE, isSettable)
                << type.name << " " << type.value;
        if (isSettable) {
            settable.insert(type.value);
        }
        EXPECT_EQ(std::count(std::begin(reserved), std::end(reserved), 0), 32);
    }
    EXPECT_EQ(listed.size(), 25U);
    EXPECT_EQ(settable, (std::set<int64_t>{17, 18, 19, 20, 21, 22, 100, 110}));
}

TEST(Metadata, isDumpedAsItIsRead) {
    const Import buffer(rgba());
    const Import second(rgba());
    using Dump = std::map<std::pair<std::string, int64_t>, std::vector<uint8_t>>;
    std::vector<Dump> dumps;
    const auto begin = [](void* context) {
        static_cast<std::vector<Dump>*>(context)->emplace_back();
    };
    const auto add = [](void* context, AIMapper_MetadataType type, const void* value, size_t size) {
        const auto* bytes = static_cast<const uint8_t*>(value);
        static_cast<std::vector<Dump>*>(context)->back()[{type.name, type.value}] = {bytes,
                                                                                     bytes + size};
    };
    begin(&dumps);
    EXPECT_EQ(mapper().dumpBuffer(buffer.get(), add, &dumps), AIMAPPER_ERROR_NONE);
    EXPECT_EQ(dumps[0].size(), 25U);
    for (const auto& [type, value] : dumps[0]) {
        EXPECT_EQ(value, buffer.bytes(type.first.c_str(), type.second));
    }
    const Dump one = dumps[0];
    dumps.clear();
    EXPECT_EQ(mapper().dumpAllBuffers(begin, add, &dumps), AIMAPPER_ERROR_NONE);
    EXPECT_EQ(dumps.size(), 2U);
    EXPECT_EQ(std::count(dumps.begin(), dumps.end(), one), 1);
}

TEST(ReservedRegion, isClearAndSharedByTheImportersOfOneBuffer) {
    for (const int64_t size : {0, 1, 1 << 20}) {
        auto info = rgba();
        info.reservedSize = size;
        const RawBuffer raw(info);
        const Import first(raw.raw());
        const Import second(raw.raw());
        uint8_t* region = nullptr;
        uint8_t* other = nullptr;
        uint64_t given = 99;
        const auto get = [&](const Import& import, uint8_t** out) {
            return mapper().getReservedRegion(import.get(), reinterpret_cast<void**>(out), &given);
        };
        ASSERT_EQ(get(first, &region), AIMAPPER_ERROR_NONE);
        ASSERT_EQ(get(second, &other), AIMAPPER_ERROR_NONE);
        EXPECT_EQ(given, static_cast<uint64_t>(size));
        EXPECT_EQ(region == nullptr, size == 0);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(region) % sizeof(void*), 0U);
        EXPECT_EQ(std::count(region, region + size, 0), size);
        if (size > 0) {
            region[size - 1] = 9;
            EXPECT_EQ(other[size - 1], 9);
        }
    }
}

}  // namespace
}  // namespace zelkcam::test
