// The HIDL pair over scripted services.
#include "utils/gralloc/hidl/allocator/allocator.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/host/RecordingMapper.h"
#include "tests/support/DoublesTest.h"
#include "tests/support/PlatformDoubles.h"
#include "tests/support/ScriptedGralloc.h"
#include "utils/gralloc/hidl/mapper/mapper.h"

namespace zelkcam::test {

namespace {

using namespace recording;
using enum PlaneLayoutComponentType;
using android::hardware::graphics::common::V1_2::PixelFormat;
using NSCam::GrallocAllocator::Allocator;
using NSCam::GrallocMapper::Mapper;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// What both services answer, and what they were asked.
struct HidlScript {
    bool transportFails = false;
    bool answersAllTheSame = false;  // although the transport failed
    Error error = Error::NONE;
    std::vector<PlaneLayout> planes = {};
    bool garbledPlanes = false;
    std::vector<int> releaseFences = {};
    int failingImport = -1;  // the number of the one that answers BAD_BUFFER
    int imports = 0;
    bool dupFails = false, wrapFails = false;
    // What was asked: the last description and count, and of the last lock the fence's watched
    // name, "none" for an empty handle.
    Description description = {};
    uint32_t count = 0;
    std::string fence = "";
};

HidlScript& script() {
    static HidlScript& instance = *new HidlScript;
    return instance;
}

template <typename Callback>
Return<void> answer(const char* call, const Callback& callback) {
    journal().add(call);
    if (!script().transportFails || script().answersAllTheSame)
        callback();
    if (!script().transportFails)
        return Void();
    return Return<void>(android::hardware::Status::fromExceptionCode(
            android::hardware::Status::EX_TRANSACTION_FAILED));
}

char kMapped[16];
char kImported[4];
const native_handle* const kBuffer = reinterpret_cast<const native_handle*>(0x77);

class ScriptedHidlMapper final : public RecordingMapper {
  public:
    Return<void> createDescriptor(const Description& description,
                                  createDescriptor_cb callback) override {
        script().description = description;
        return answer("createDescriptor", [&] { callback(script().error, Bytes{1, 2, 3}); });
    }
    Return<void> importBuffer(const hidl_handle&, importBuffer_cb callback) override {
        const int number = script().imports++;
        return answer("importBuffer", [&] {
            if (number == script().failingImport)
                callback(Error::BAD_BUFFER, nullptr);
            else
                callback(script().error, &kImported[number]);
        });
    }
    Return<Error> freeBuffer(void* buffer) override {
        const ptrdiff_t number = static_cast<char*>(buffer) - kImported;
        journal().add(number == 0 || number == 1 ? "freeBuffer " + std::to_string(number)
                                                 : "freeBuffer");
        if (script().transportFails)
            return Return<Error>(android::hardware::Status::fromExceptionCode(-129));
        return script().error;
    }
    Return<void> lock(void*, uint64_t, const Rect&, const hidl_handle& fence,
                      lock_cb callback) override {
        const native_handle* const handle = fence.getNativeHandle();
        script().fence = handle ? descriptorName(handle->data[0]) : "none";
        EXPECT_TRUE(!handle || (handle->numFds == 1 && handle->numInts == 0));
        return answer("lock", [&] { callback(script().error, kMapped); });
    }
    Return<void> unlock(void*, unlock_cb callback) override {
        return answer("unlock", [&] {
            const auto fds = static_cast<int>(script().releaseFences.size());
            native_handle_t* const handle = native_handle_create(fds, 0);
            std::copy(script().releaseFences.begin(), script().releaseFences.end(), handle->data);
            callback(script().error, hidl_handle(handle));
            native_handle_delete(handle);
        });
    }
    Return<void> get(void*, const MetadataType& type, get_cb callback) override {
        EXPECT_EQ(type.value, 15);
        return answer("get", [&] {
            hidl_vec<uint8_t> bytes(encoded(script().planes));
            if (script().garbledPlanes)
                bytes[0] ^= 1;
            callback(script().error, bytes);
        });
    }
};

class ScriptedHidlAllocator final : public RecordingAllocator {
  public:
    Return<void> allocate(const Bytes& descriptor, uint32_t count, allocate_cb callback) override {
        EXPECT_EQ(descriptor, (Bytes{1, 2, 3}));
        script().count = count;
        return answer("allocate",
                      [&] { callback(script().error, 128, hidl_vec<hidl_handle>(count)); });
    }
};

ScriptedHidlMapper& mapperService() {
    static const android::sp<ScriptedHidlMapper>& service =
            *new android::sp<ScriptedHidlMapper>(new ScriptedHidlMapper);
    return *service;
}

class HidlPairTest : public DoublesTest {
  protected:
    void SetUp() override {
        DoublesTest::SetUp();
        script() = {};
        ASSERT_EQ(mapperService().registerAsService(), android::OK);
        ASSERT_EQ(android::sp<IAllocator>(new ScriptedHidlAllocator)->registerAsService(),
                  android::OK);
        mapper.emplace();
        allocator.emplace(*mapper);
        touchEveryDouble();
    }
    void TearDown() override { EXPECT_EQ(journal().calls("flush"), 0) << "nothing here flushes"; }

    enum class Shape { kPlain, kLayout, kYcbcr };
    int32_t lock(Shape shape, int fence = -1) {
        if (shape == Shape::kPlain)
            return mapper->lock(kBuffer, 3, {}, fence, &data);
        if (shape == Shape::kLayout)
            return mapper->lock(kBuffer, 3, {}, fence, &data, &pixel, &stride);
        return mapper->lock(kBuffer, 3, {}, fence, &ycbcr);
    }
    int32_t allocate(uint32_t count) {
        return allocator->allocate(hidl_vec<uint8_t>{1, 2, 3}, count, &stride32, handles);
    }
    int32_t allocateOne(uint32_t width, uint32_t height, uint32_t layers) {
        return allocator->allocate(width, height, PixelFormat::RGBA_8888, layers, 0x33, handles,
                                   &stride32, 99, "some name");
    }

    void touchEveryDouble() {
        const WatchedFd fence("acquire");
        lock(Shape::kPlain, fence.get());
        script() = {.releaseFences = {STDERR_FILENO}, .dupFails = true};
        mapper->unlock(kBuffer);
        script() = {};
        expectConnected({"lock", "native_handle_init", "close", "dup", "sync_wait"});
    }

    std::optional<Mapper> mapper;
    std::optional<Allocator> allocator;
    void* data = nullptr;
    int pixel = 77, stride = 77;
    android_ycbcr ycbcr = {};
    uint32_t stride32 = 7;
    const native_handle* handles[3] = {kBuffer, kBuffer, kBuffer};
};

TEST_F(HidlPairTest, ACallAnswersTheCallbacksCodeOr5WhenTheTransportFails) {
    using Call = std::function<int32_t()>;
    hidl_vec<uint8_t> descriptor;
    const native_handle* imported = kBuffer;
    std::vector<PlaneLayout> layouts(1);
    const Call calls[] = {
            [&] { return mapper->createDescriptor({}, &descriptor); },
            [&] { return mapper->importBuffer(hidl_handle(), &imported); },
            [&] { return mapper->freeBuffer(kBuffer); },
            [&] { return lock(Shape::kPlain); },
            [&] { return lock(Shape::kLayout); },
            [&] { return lock(Shape::kYcbcr); },
            [&] { return mapper->getPlaneLayouts(kBuffer, &layouts); },
    };
    script().error = Error::BAD_VALUE;
    for (const Call& call : calls)
        EXPECT_EQ(call(), 3);
    for (const bool answers : {false, true}) {
        script() = {.transportFails = true, .answersAllTheSame = answers};
        for (const Call& call : calls) {
            data = nullptr;
            EXPECT_EQ(call(), 5);
        }
    }
    script() = {.error = Error::UNSUPPORTED};
    imported = kBuffer;
    data = nullptr;
    for (const Call& call : calls)
        EXPECT_EQ(call(), 7);
    EXPECT_EQ(imported, kBuffer) << "written on success only";
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(layouts.size(), 1u);
    script().error = Error::NONE;
    for (const Call& call : calls)
        EXPECT_EQ(call(), 0);
    EXPECT_EQ(descriptor.size(), 3u);
    EXPECT_EQ(data, kMapped);
}

TEST_F(HidlPairTest, FailuresAreLoggedByTheirOperation) {
    script().error = Error::BAD_BUFFER;
    std::vector<PlaneLayout> layouts;
    mapper->freeBuffer(kBuffer);
    mapper->unlock(kBuffer);
    lock(Shape::kPlain);
    mapper->getPlaneLayouts(kBuffer, &layouts);
    lock(Shape::kLayout);
    const std::string get =
            "E(android) GrallocMapper get(android.hardware.graphics.common.StandardMetadataType, "
            "15, ...) failed with 2 without its location";
    EXPECT_THAT(takeLog(),
                ElementsAre("E GrallocMapper [freeBuffer] freeBuffer(0x77) failed with 2",
                            "E GrallocMapper [unlock] unlock(0x77) failed with 2",
                            "E GrallocMapper [operator()] IMapper->lock error happen, err=2", get,
                            get, "W(android) GrallocMapper lock(0x77, ...) failed: 2"));
    script() = {.transportFails = true};
    mapper->unlock(kBuffer);
    lock(Shape::kPlain);
    EXPECT_THAT(takeLog(), ElementsAre("E GrallocMapper [unlock] unlock(0x77) failed with 5"));
}

TEST_F(HidlPairTest, EveryLockWrapsItsFenceAndConsumesIt) {
    for (const Shape shape : {Shape::kPlain, Shape::kLayout, Shape::kYcbcr}) {
        lock(shape);
        EXPECT_EQ(script().fence, "none");
        for (const Error error : {Error::NONE, Error::BAD_VALUE}) {
            if (shape == Shape::kYcbcr && error != Error::NONE)
                continue;  // fails before its lock
            const WatchedFd fence("acquire");
            script().error = error;
            EXPECT_EQ(lock(shape, fence.get()), static_cast<int32_t>(error));
            EXPECT_EQ(script().fence, "acquire");
            EXPECT_FALSE(fence.isOpen());
            EXPECT_EQ(journal().times("close acquire"), 1u);
            journal().take();
            script().error = Error::NONE;
        }
    }
    const WatchedFd fence("acquire");
    script().transportFails = true;
    lock(Shape::kPlain, fence.get());
    EXPECT_FALSE(fence.isOpen());
}

TEST_F(HidlPairTest, WhenTheFenceCannotBeWrappedTheMapperIsNotCalledAndItStaysOpen) {
    const WatchedFd fence("acquire");
    script().wrapFails = true;
    EXPECT_EQ(lock(Shape::kPlain, fence.get()), 5);
    EXPECT_EQ(lock(Shape::kLayout, fence.get()), 5);
    EXPECT_EQ(journal().times("lock"), 0u);
    EXPECT_TRUE(fence.isOpen());
    const auto log = takeLog();
    EXPECT_THAT(log, testing::Contains("E GrallocMapper [lock] native_handle_init return null, "
                                       "err=5")
                             .Times(2));
    EXPECT_EQ(lock(Shape::kPlain), 0) << "no fence, nothing to wrap";
}

TEST_F(HidlPairTest, UnlockAnswersACopyOfTheOneFence) {
    const WatchedFd first("first"), second("second");
    EXPECT_EQ(mapper->unlock(kBuffer), -1);
    script().releaseFences = {first.get(), second.get()};
    EXPECT_EQ(mapper->unlock(kBuffer), -1) << "a handle of several descriptors is no fence";
    script().releaseFences = {first.get()};
    const int copy = mapper->unlock(kBuffer);
    struct stat expected = {}, actual = {};
    EXPECT_EQ(fstat(first.get(), &expected) | fstat(copy, &actual), 0);
    EXPECT_NE(copy, first.get());
    EXPECT_EQ(actual.st_ino, expected.st_ino);
    close(copy);
    EXPECT_TRUE(first.isOpen());
    script().error = Error::BAD_BUFFER;
    EXPECT_EQ(mapper->unlock(kBuffer), -1);
    journal().take();

    script() = {.releaseFences = {first.get()}, .dupFails = true};
    setLog(kDebugLog);
    takeLog();
    EXPECT_EQ(mapper->unlock(kBuffer), -1);
    EXPECT_THAT(takeLog(),
                ElementsAre("D GrallocMapper [operator()] failed to dup unlock release fence"));
    EXPECT_THAT(journal().take(), ElementsAre("unlock", "sync_wait first"));
    EXPECT_TRUE(first.isOpen());
}

TEST_F(HidlPairTest, LayoutsNeedAPlaceAndAreAppendedToIt) {
    EXPECT_EQ(mapper->getPlaneLayouts(kBuffer, nullptr), -22);
    EXPECT_THAT(journal().take(), IsEmpty());
    std::vector<PlaneLayout> layouts(1);
    script().planes = {plane(1, 8, 64, {}), plane(2, 8, 64, {})};
    EXPECT_EQ(mapper->getPlaneLayouts(kBuffer, &layouts), 0);
    EXPECT_EQ(layouts.size(), 3u);
    script().garbledPlanes = true;
    EXPECT_NE(mapper->getPlaneLayouts(kBuffer, &layouts), 0);
    EXPECT_THAT(takeLog(), IsEmpty());
    EXPECT_EQ(lock(Shape::kLayout), 0);
    EXPECT_EQ(pixel, 77) << "left alone";
    script() = {.planes = {plane(0, 24, 64, {}), plane(0, 24, 32, {})}};
    EXPECT_EQ(lock(Shape::kLayout), 0);
    EXPECT_EQ(pixel, 3);
    EXPECT_EQ(stride, -1);
}

TEST_F(HidlPairTest, YcbcrDescribesWhatItCanAndAnswersMinus22ForTheRest) {
    const WatchedFd fence("acquire");
    EXPECT_EQ(mapper->lock(kBuffer, 3, {}, fence.get(), static_cast<android_ycbcr*>(nullptr)), -22);
    EXPECT_THAT(journal().take(), IsEmpty());
    script().error = Error::BAD_BUFFER;
    EXPECT_EQ(lock(Shape::kYcbcr, fence.get()), 2);
    EXPECT_TRUE(fence.isOpen()) << "not consumed on these two paths";
    journal().take();

    const PlaneLayout luma = plane(2, 8, 64, {component(Y, 0)});
    script() = {.planes = {luma, plane(8, 16, 32, {component(CR, 0), component(CB, 8)})}};
    memset(&ycbcr, 0xFF, sizeof(ycbcr));
    EXPECT_EQ(lock(Shape::kYcbcr), 0);
    EXPECT_THAT(journal().take(), ElementsAre("get", "get", "lock"));
    EXPECT_EQ(ycbcr.y, kMapped + 2);
    EXPECT_EQ(ycbcr.cb, kMapped + 9);
    EXPECT_EQ(ycbcr.cr, kMapped + 8);
    EXPECT_THAT(ycbcr.reserved, testing::Each(0u));

    for (const PlaneLayout& odd :
         {plane(0, 24, 64, {component(CB, 0)}), plane(0, 32, 64, {component(R, 4)}), luma}) {
        const WatchedFd release("release");
        script() = {.planes = {luma, odd}, .releaseFences = {release.get()}};
        const size_t before = openDescriptors();
        EXPECT_EQ(lock(Shape::kYcbcr), -22);
        EXPECT_THAT(journal().take(), ElementsAre("get", "get", "lock", "unlock"));
        EXPECT_EQ(openDescriptors(), before + 1) << "the copied fence is dropped unclosed";
    }
}

TEST_F(HidlPairTest, ABufferThatDescribesNoComponentsGivesNullPointersAndSuccess) {
    script().planes = {plane(48, 8, 4096, {})};
    memset(&ycbcr, 0xFF, sizeof(ycbcr));
    EXPECT_EQ(lock(Shape::kYcbcr), 0);
    const android_ycbcr nothing = {};
    EXPECT_EQ(memcmp(&ycbcr, &nothing, sizeof(ycbcr)), 0);
}

TEST_F(HidlPairTest, ADescriptionIsFilledInAndReservedSizeAndNameAreNotUsed) {
    const uint32_t cases[][6] = {
            {640, 480, 2, 640, 480, 2}, {640, 0, 0, 1, 1, 1}, {0, 480, 1, 1, 1, 1}};
    for (const auto& c : cases) {
        script().imports = 0;
        EXPECT_EQ(allocateOne(c[0], c[1], c[2]), 0);
        const Description& sent = script().description;
        EXPECT_EQ(sent.width, c[3]);
        EXPECT_EQ(sent.height, c[4]);
        EXPECT_EQ(sent.layerCount, c[5]);
        EXPECT_EQ(sent.name.size() + sent.reservedSize, 0u);
        EXPECT_EQ(sent.format, PixelFormat::RGBA_8888);
        EXPECT_EQ(sent.usage, 0x33u);
        EXPECT_EQ(script().count, 1u);
    }
    EXPECT_EQ(stride32, 128u);
}

TEST_F(HidlPairTest, AFailedImportFreesTheOnesBeforeAndAnswersItsOwnCode) {
    script().failingImport = 2;
    EXPECT_EQ(allocate(3), 2);
    EXPECT_THAT(journal().take(), ElementsAre("allocate", "importBuffer", "importBuffer",
                                              "importBuffer", "freeBuffer 0", "freeBuffer 1"));
    EXPECT_THAT(handles, ElementsAre(nullptr, nullptr, kBuffer));
    EXPECT_EQ(stride32, 7u);
}

TEST_F(HidlPairTest, ARefusedAllocationImportsNothing) {
    script().error = Error::UNSUPPORTED;
    EXPECT_EQ(allocate(2), 7);
    script() = {.transportFails = true};
    EXPECT_EQ(allocate(2), 5);
    EXPECT_THAT(journal().take(), ElementsAre("allocate", "allocate"));
    EXPECT_EQ(stride32, 7u);
    EXPECT_EQ(handles[0], kBuffer);
    EXPECT_THAT(takeLog(), IsEmpty());
    script() = {};
    EXPECT_EQ(allocate(0), 0);
    EXPECT_EQ(stride32, 128u);

    script().error = Error::BAD_DESCRIPTOR;
    EXPECT_EQ(allocateOne(640, 0, 0), -12);
    EXPECT_EQ(journal().times("allocate"), 1u) << "only the one of no buffers";
    script() = {.failingImport = 0};
    EXPECT_EQ(allocateOne(640, 0, 0), -12);
    EXPECT_THAT(takeLog(),
                ElementsAre("E GrallocAllocator [allocate] Failed to createDescriptor",
                            "E GrallocAllocator [allocate] Failed to allocate (1 x 1) layerCount 1 "
                            "format 1 usage 33: 2"));
    script().error = Error::BAD_BUFFER;
    EXPECT_EQ(allocator->free(kBuffer), 0);
}

TEST_F(HidlPairTest, AMapperOfAnotherProcessEndsTheProcess) {
    EXPECT_FATAL(
            {
                mapperService().remote = true;
                Mapper();
            },
            AllOf(HasSubstr("testLog ZelkCam/GrallocMapper 69\nandroid 6 ZelkCam/GrallocMapper "
                            "[Fatal] [Mapper] gralloc-mapper must be in passthrough mode (Mapper)"),
                  HasSubstr("assert(1) ZelkCam/GrallocMapper (Mapper){#")));
}

TEST(HidlPairStartTest, AMissingMapperIsNotReportedAMissingAllocatorEndsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    setenv("ZELKCAM_HOST_SERVICES", "none", 1);
    setLog({});
    if (IMapper::getService("default", false) != nullptr)
        GTEST_SKIP() << "needs a process of its own: run it with ctest";
    const Mapper mapper;
    EXPECT_THAT(takeLog(), IsEmpty());
    EXPECT_FATAL(Allocator{mapper},
                 HasSubstr("android 6 ZelkCam/GrallocAllocator [Fatal] [Allocator] gralloc-alloc "
                           "is missing  (Allocator){#"));
}

}  // namespace

}  // namespace zelkcam::test

extern "C" {

int dup(int fd) {
    zelkcam::test::journal().count("dup");
    return zelkcam::test::script().dupFails ? -1 : fcntl(fd, F_DUPFD, 0);
}

native_handle_t* native_handle_init(char* storage, int numFds, int numInts) {
    zelkcam::test::journal().count("native_handle_init");
    if (zelkcam::test::script().wrapFails)
        return nullptr;
    auto* const handle = reinterpret_cast<native_handle_t*>(storage);
    handle->version = sizeof(native_handle_t);
    handle->numFds = numFds;
    handle->numInts = numInts;
    return handle;
}

}  // extern "C"
