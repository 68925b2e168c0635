// Values that the importers of one buffer share, and what hostile ones can do to them.
#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <map>
#include <thread>

#include "host/gralloc/Allocation.h"
#include "tests/host/gralloc/Buffers.h"

namespace zelkcam::test {
namespace {

using aidl::android::hardware::graphics::common::Dataspace;

constexpr size_t kMaxPayload = 64 * 1024;

BufferDescriptorInfo blob() {
    return describe(PixelFormat::BLOB, 4096, 1);
}

Bytes encodedPayload(size_t size, uint8_t fill) {
    return encode<T::SMPTE2094_40>(Bytes(size, fill));
}

TEST(SharedMetadata, SetThroughOneImportShowsInAllAndCanBeTakenAway) {
    const RawBuffer raw(blob());
    const Import writer(raw.raw());
    const Import reader(raw.raw());
    const struct {
        int64_t type;
        Bytes value;
        bool optional;
    } cases[] = {
            {17, encode<T::DATASPACE>(Dataspace::BT2020_PQ), false},
            {18, encode<T::BLEND_MODE>({}), false},
            {19, encode<T::SMPTE2086>({{{}, {}, {}, {}, 1000, 0.05f}}), true},
            {20, encode<T::CTA861_3>({{400, 200}}), true},
            {21, encodedPayload(600, 7), true},
            {21, encodedPayload(0, 7), true},
            {21, encodedPayload(kMaxPayload, 7), true},
            {22, encode<T::SMPTE2094_10>(Bytes{1, 2, 3}), true},
            {100, Bytes(64, 0xa5), false},
            {110, Bytes(8, 0x5a), false},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(testing::Message() << each.type);
        EXPECT_EQ(writer.set(each.type, each.value), kNone);
        EXPECT_EQ(reader.bytes(each.type), each.value);
        EXPECT_EQ(Import(raw.raw()).bytes(each.type), each.value);
        EXPECT_EQ(writer.set(each.type, {}), each.optional ? kNone : kUnsupported);
        EXPECT_EQ(reader.bytes(each.type), each.optional ? Bytes() : each.value);
    }
}

// Each row changes a good value into one that must be refused without a trace.
TEST(SharedMetadata, ThatIsNoValueOfItsTypeIsRefused) {
    const Import buffer(blob());
    const auto cut = [](Bytes bytes) {
        bytes.pop_back();
        return bytes;
    };
    const auto withLength = [](int64_t length) {
        Bytes bytes = encodedPayload(16, 1);
        std::memcpy(bytes.data() + 69, &length, sizeof(length));
        return bytes;
    };
    const Bytes dataspace = encode<T::DATASPACE>(Dataspace::SRGB);
    Bytes otherName = dataspace;
    otherName[20] ^= 1;
    const struct {
        const char* what;
        int64_t type;
        Bytes value;
        AIMapper_Error error = kUnsupported;
    } cases[] = {
            {"short", 17, cut(dataspace)},
            {"junk", 17, Bytes(10, 3)},
            {"another type", 18, dataspace},
            {"another name", 17, otherName},
            {"short record", 20, cut(encode<T::CTA861_3>({{1, 2}}))},
            {"short payload", 21, cut(encodedPayload(16, 1))},
            {"negative length", 21, withLength(-1)},
            {"length one too long", 21, withLength(17)},
            {"too long to keep", 21, encodedPayload(kMaxPayload + 1, 1), kNoResources},
            {"record too short", 100, Bytes(63)},
            {"record too long", 100, Bytes(65)},
    };
    for (const auto& each : cases) {
        const Bytes before = buffer.bytes(each.type);
        EXPECT_EQ(buffer.set(each.type, each.value), each.error) << each.what;
        EXPECT_EQ(buffer.bytes(each.type), before) << each.what;
    }
    // Bytes after a whole value are not part of it.
    Bytes longer = dataspace;
    longer.push_back(1);
    EXPECT_EQ(buffer.set(17, longer), kNone);
    EXPECT_EQ(buffer.bytes(17), dataspace);
}

// From small ones, of which many are written, to large ones, whose copies overlap. The size tells
// what they are filled with.
Bytes filledWith(uint8_t fill) {
    return encodedPayload(1 + fill * fill, fill);
}

TEST(SharedMetadata, IsNeverTornByThreads) {
    const RawBuffer raw(blob());
    std::atomic<bool> stop{false};
    const auto write = [&](uint8_t fill) {
        const Import import(raw.raw());
        for (; !stop; ++fill) {
            import.set(21, filledWith(fill));
            if (fill % 8 == 0) {
                usleep(50);  // what two writers made is there to be read
            }
        }
    };
    std::thread first(write, 1), second(write, 99);
    const Import reader(raw.raw());
    Bytes value;
    int torn = 0, read = 0;
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(500);
    while (read == 0 || std::chrono::steady_clock::now() < end) {
        value.resize(kMaxPayload + 100);
        const int32_t size =
                mapper().getStandardMetadata(reader.get(), 21, value.data(), value.size());
        value.resize(static_cast<size_t>(std::max(size, 0)));
        // Writers that never pause may keep a reader from its value; it is told so.
        torn += size < 0 ? size != -kNoResources : size > 0 && value != filledWith(value.back());
        read += size > 0;
    }
    EXPECT_EQ(torn, 0);
    stop = true;
    first.join();
    second.join();
}

// A stopped writer may hold the cell's lock: then a set gives up after a while, and reads go on.
TEST(SharedMetadata, IsReadableWhileAnotherProcessHoldsItsLock) {
    using host::gralloc::CellWriteLock;
    const RawBuffer raw(blob());
    const Import buffer(raw.raw());
    const Bytes dataspace = encode<T::DATASPACE>(Dataspace::SRGB);
    {
        const CellWriteLock lock(raw.raw()->data[1], host::gralloc::kSharedLayout.cells[0]);
        ASSERT_TRUE(lock.held());
        const auto before = std::chrono::steady_clock::now();
        EXPECT_EQ(buffer.set(17, dataspace), kNoResources);
        EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(500));
        EXPECT_EQ(buffer.value<T::DATASPACE>(), Dataspace::UNKNOWN);
    }
    EXPECT_EQ(buffer.set(17, dataspace), kNone);
}

// A child that is forked while a value is set inherits the descriptor that carries the lock.
TEST(SharedMetadata, StaysSettableWhenAChildWasForkedDuringASet) {
    const RawBuffer raw(blob());
    const Import buffer(raw.raw());
    std::optional<host::gralloc::CellWriteLock> lock;
    lock.emplace(raw.raw()->data[1], host::gralloc::kSharedLayout.cells[0]);
    const pid_t child = fork();
    if (child == 0) {
        pause();
        _exit(0);
    }
    lock.reset();
    EXPECT_EQ(buffer.set(17, encode<T::DATASPACE>(Dataspace::SRGB)), kNone);
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
}

// Whatever another holder of the memory writes over it after the import: answers are errors or
// bytes within bounds, and what the allocation fixed stays as it was.
TEST(SharedMetadata, WrittenOverWithNonsenseChangesNoConstantAndCrashesNothing) {
    const RawBuffer raw(blob());
    const Import buffer(raw.raw());
    std::map<int64_t, Bytes> constants;
    for (int64_t type = 1; type <= 16; ++type) {
        constants[type] = buffer.bytes(type);
    }
    const size_t size = host::gralloc::kSharedLayout.reserved;
    auto* shared = static_cast<uint8_t*>(
            mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, raw.raw()->data[1], 0));
    ASSERT_NE(shared, MAP_FAILED);
    for (const int fill : {0xff, 0x80, 0x7f, 0x01, 0x00}) {
        std::memset(shared, fill, size);
        Bytes value(100000);
        for (int64_t type = 17; type <= 22; ++type) {
            const int32_t answer =
                    mapper().getStandardMetadata(buffer.get(), type, value.data(), value.size());
            EXPECT_TRUE(answer == -kBadBuffer ||
                        (answer >= 0 && static_cast<size_t>(answer) <= kMaxPayload + 77));
        }
        EXPECT_EQ(buffer.set(17, encode<T::DATASPACE>(Dataspace::SRGB)), kNone);
        EXPECT_EQ(buffer.value<T::DATASPACE>(), Dataspace::SRGB);
        for (const auto& [type, constant] : constants) {
            EXPECT_EQ(buffer.bytes(type), constant);
        }
    }
    munmap(shared, size);
}

}  // namespace
}  // namespace zelkcam::test
