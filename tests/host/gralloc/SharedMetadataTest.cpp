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
using T = StandardMetadataType;

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
        const char* name;
        int64_t type;
        Bytes value;
        bool optional;
    } cases[] = {
            {kStandardName, 17, encode<T::DATASPACE>(Dataspace::BT2020_PQ), false},
            {kStandardName, 18, encode<T::BLEND_MODE>({}), false},
            {kStandardName, 19, encode<T::SMPTE2086>({{{}, {}, {}, {}, 1000, 0.05f}}), true},
            {kStandardName, 20, encode<T::CTA861_3>({{400, 200}}), true},
            {kStandardName, 21, encodedPayload(600, 7), true},
            {kStandardName, 21, encodedPayload(0, 7), true},
            {kStandardName, 21, encodedPayload(kMaxPayload, 7), true},
            {kStandardName, 22, encode<T::SMPTE2094_10>(Bytes{1, 2, 3}), true},
            {kPlexaName, 100, Bytes(64, 0xa5), false},
            {kPlexaName, 110, Bytes(8, 0x5a), false},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(testing::Message() << each.name << " " << each.type);
        EXPECT_EQ(writer.set(each.name, each.type, each.value), AIMAPPER_ERROR_NONE);
        EXPECT_EQ(reader.bytes(each.name, each.type), each.value);
        EXPECT_EQ(Import(raw.raw()).bytes(each.name, each.type), each.value);
        EXPECT_EQ(writer.set(each.name, each.type, {}),
                  each.optional ? AIMAPPER_ERROR_NONE : AIMAPPER_ERROR_UNSUPPORTED);
        EXPECT_EQ(reader.bytes(each.name, each.type), each.optional ? Bytes() : each.value);
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
        const char* name;
        int64_t type;
        Bytes value;
        AIMapper_Error error = AIMAPPER_ERROR_UNSUPPORTED;
    } cases[] = {
            {"short", kStandardName, 17, cut(dataspace)},
            {"junk", kStandardName, 17, Bytes(10, 3)},
            {"another type", kStandardName, 18, dataspace},
            {"another name", kStandardName, 17, otherName},
            {"short record", kStandardName, 20, cut(encode<T::CTA861_3>({{1, 2}}))},
            {"short payload", kStandardName, 21, cut(encodedPayload(16, 1))},
            {"negative length", kStandardName, 21, withLength(-1)},
            {"length one too long", kStandardName, 21, withLength(17)},
            {"too long to keep", kStandardName, 21, encodedPayload(kMaxPayload + 1, 1),
             AIMAPPER_ERROR_NO_RESOURCES},
            {"record too short", kPlexaName, 100, Bytes(63)},
            {"record too long", kPlexaName, 100, Bytes(65)},
    };
    for (const auto& each : cases) {
        const Bytes before = buffer.bytes(each.name, each.type);
        EXPECT_EQ(buffer.set(each.name, each.type, each.value), each.error) << each.what;
        EXPECT_EQ(buffer.bytes(each.name, each.type), before) << each.what;
    }
    // Bytes after a whole value are not part of it.
    Bytes longer = dataspace;
    longer.push_back(1);
    EXPECT_EQ(buffer.set(kStandardName, 17, longer), AIMAPPER_ERROR_NONE);
    EXPECT_EQ(buffer.bytes(kStandardName, 17), dataspace);
}

// From small ones, of which many are written, to large ones, whose copies overlap. The size tells
// what they are filled with.
Bytes filledWith(uint8_t fill) {
    return encodedPayload(1 + fill * fill, fill);
}

bool isWhole(const Bytes& value) {
    return value.empty() || value == filledWith(value.back());
}

TEST(SharedMetadata, IsNeverTornByThreads) {
    const RawBuffer raw(blob());
    const Import first(raw.raw()), second(raw.raw());
    std::atomic<bool> stop{false};
    const auto write = [&](const Import& import, uint8_t fill) {
        for (; !stop; ++fill) {
            import.set(kStandardName, 21, filledWith(fill));
            if (fill % 8 == 0) {
                usleep(50);  // what two writers made is there to be read
            }
        }
    };
    std::thread writers[] = {std::thread([&] { write(first, 1); }),
                             std::thread([&] { write(second, 99); })};
    Bytes value(kMaxPayload + 100);
    int torn = 0, read = 0;
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(500);
    while (read == 0 || std::chrono::steady_clock::now() < end) {
        const int32_t size =
                mapper().getStandardMetadata(first.get(), 21, value.data(), value.size());
        // Writers that never pause may keep a reader from its value; it is told so.
        torn += size < 0 ? size != -AIMAPPER_ERROR_NO_RESOURCES
                         : !isWhole({value.begin(), value.begin() + size});
        read += size > 0;
    }
    EXPECT_EQ(torn, 0);
    stop = true;
    for (std::thread& writer : writers) {
        writer.join();
    }
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
        EXPECT_EQ(buffer.set(kStandardName, 17, dataspace), AIMAPPER_ERROR_NO_RESOURCES);
        EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(500));
        EXPECT_EQ(buffer.value<T::DATASPACE>(), Dataspace::UNKNOWN);
    }
    EXPECT_EQ(buffer.set(kStandardName, 17, dataspace), AIMAPPER_ERROR_NONE);
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
    EXPECT_EQ(buffer.set(kStandardName, 17, encode<T::DATASPACE>(Dataspace::SRGB)),
              AIMAPPER_ERROR_NONE);
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
        constants[type] = buffer.bytes(kStandardName, type);
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
            EXPECT_TRUE(answer == -AIMAPPER_ERROR_BAD_BUFFER ||
                        (answer >= 0 && static_cast<size_t>(answer) <= kMaxPayload + 77));
        }
        EXPECT_EQ(buffer.set(kStandardName, 17, encode<T::DATASPACE>(Dataspace::SRGB)),
                  AIMAPPER_ERROR_NONE);
        EXPECT_EQ(buffer.value<T::DATASPACE>(), Dataspace::SRGB);
        for (const auto& [type, constant] : constants) {
            EXPECT_EQ(buffer.bytes(kStandardName, type), constant);
        }
    }
    munmap(shared, size);
}

}  // namespace
}  // namespace zelkcam::test
