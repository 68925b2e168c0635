// Values that the importers of one buffer share, and what hostile ones can do to them.
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <cstring>
#include <thread>

#include "host/gralloc/Allocation.h"
#include "tests/host/gralloc/Buffers.h"

namespace zelkcam::test {
namespace {

using aidl::android::hardware::graphics::common::Dataspace;
using Payload = std::vector<uint8_t>;
using T = StandardMetadataType;

constexpr size_t kMaxPayload = 64 * 1024;

BufferDescriptorInfo blob() {
    return describe(PixelFormat::BLOB, 4096, 1);
}

std::vector<uint8_t> encodedPayload(size_t size, uint8_t fill) {
    return encode<T::SMPTE2094_40>(Payload(size, fill));
}

TEST(SharedMetadata, setThroughOneImportShowsInAllAndCanBeTakenAway) {
    const RawBuffer raw(blob());
    const Import writer(raw.raw());
    const Import reader(raw.raw());
    const struct {
        const char* name;
        int64_t type;
        std::vector<uint8_t> value;
        bool optional;
    } cases[] = {
            {kStandardName, 17, encode<T::DATASPACE>(Dataspace::BT2020_PQ), false},
            {kStandardName, 18, encode<T::BLEND_MODE>({}), false},
            {kStandardName, 19, encode<T::SMPTE2086>({{{}, {}, {}, {}, 1000, 0.05f}}), true},
            {kStandardName, 20, encode<T::CTA861_3>({{400, 200}}), true},
            {kStandardName, 21, encodedPayload(600, 7), true},
            {kStandardName, 21, encodedPayload(0, 7), true},
            {kStandardName, 21, encodedPayload(kMaxPayload, 7), true},
            {kStandardName, 22, encode<T::SMPTE2094_10>(Payload{1, 2, 3}), true},
            {kPlexaName, 100, std::vector<uint8_t>(64, 0xa5), false},
            {kPlexaName, 110, std::vector<uint8_t>(8, 0x5a), false},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(testing::Message() << each.name << " " << each.type);
        EXPECT_EQ(writer.set(each.name, each.type, each.value), AIMAPPER_ERROR_NONE);
        EXPECT_EQ(reader.bytes(each.name, each.type), each.value);
        EXPECT_EQ(Import(raw.raw()).bytes(each.name, each.type), each.value);
        EXPECT_EQ(writer.set(each.name, each.type, {}),
                  each.optional ? AIMAPPER_ERROR_NONE : AIMAPPER_ERROR_UNSUPPORTED);
        EXPECT_EQ(reader.bytes(each.name, each.type),
                  each.optional ? std::vector<uint8_t>() : each.value);
    }
}

// Each row changes a good value into one that must be refused without a trace.
TEST(SharedMetadata, thatIsNoValueOfItsTypeIsRefused) {
    const Import buffer(blob());
    using Bytes = std::vector<uint8_t>;
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
        AIMapper_Error error;
    } cases[] = {
            {"short", kStandardName, 17, cut(dataspace), AIMAPPER_ERROR_UNSUPPORTED},
            {"header only",
             kStandardName,
             17,
             {dataspace.begin(), dataspace.begin() + 69},
             AIMAPPER_ERROR_UNSUPPORTED},
            {"junk", kStandardName, 17, Bytes(10, 3), AIMAPPER_ERROR_UNSUPPORTED},
            {"another type", kStandardName, 18, dataspace, AIMAPPER_ERROR_UNSUPPORTED},
            {"another name", kStandardName, 17, otherName, AIMAPPER_ERROR_UNSUPPORTED},
            {"short record", kStandardName, 20, cut(encode<T::CTA861_3>({{1, 2}})),
             AIMAPPER_ERROR_UNSUPPORTED},
            {"short payload", kStandardName, 21, cut(encodedPayload(16, 1)),
             AIMAPPER_ERROR_UNSUPPORTED},
            {"negative length", kStandardName, 21, withLength(-1), AIMAPPER_ERROR_UNSUPPORTED},
            {"huge length", kStandardName, 21, withLength(INT64_MAX), AIMAPPER_ERROR_UNSUPPORTED},
            {"length one too long", kStandardName, 21, withLength(17), AIMAPPER_ERROR_UNSUPPORTED},
            {"payload too long to keep", kStandardName, 21, encodedPayload(kMaxPayload + 1, 1),
             AIMAPPER_ERROR_NO_RESOURCES},
            {"record too short", kPlexaName, 100, Bytes(63), AIMAPPER_ERROR_UNSUPPORTED},
            {"record too long", kPlexaName, 100, Bytes(65), AIMAPPER_ERROR_UNSUPPORTED},
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

// From small ones, of which many are written, to large ones, whose copies overlap. The size says
// the filling.
std::vector<uint8_t> filledWith(uint8_t fill) {
    return encodedPayload(1 + fill * fill, fill);
}

bool isWhole(const std::vector<uint8_t>& value) {
    return value.empty() || value == filledWith(value.back());
}

TEST(SharedMetadata, isNeverTornByThreads) {
    const RawBuffer raw(blob());
    const Import first(raw.raw());
    const Import second(raw.raw());
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
    std::vector<uint8_t> value(kMaxPayload + 100);
    int torn = 0, read = 0;
    for (const time_t end = time(nullptr) + 2; time(nullptr) < end;) {
        const int32_t size =
                mapper().getStandardMetadata(first.get(), 21, value.data(), value.size());
        // Writers that never pause may keep a reader from its value; it is told so.
        torn += size < 0 ? size != -AIMAPPER_ERROR_NO_RESOURCES
                         : !isWhole({value.begin(), value.begin() + size});
        read += size > 0;
    }
    EXPECT_GT(read, 0);
    EXPECT_EQ(torn, 0);
    stop = true;
    for (std::thread& writer : writers) {
        writer.join();
    }
}

// A stopped writer may hold the cell's lock: then a set gives up after a while, and reads go on.
TEST(SharedMetadata, isReadableWhileAnotherProcessHoldsItsLock) {
    const RawBuffer raw(blob());
    const Import buffer(raw.raw());
    const std::string path = "/proc/self/fd/" + std::to_string(raw.raw()->data[1]);
    const ndk::ScopedFileDescriptor other(open(path.c_str(), O_RDWR | O_CLOEXEC));
    struct flock lock {};
    lock.l_type = F_WRLCK;
    ASSERT_EQ(fcntl(other.get(), F_OFD_SETLK, &lock), 0);
    const auto dataspace = encode<T::DATASPACE>(Dataspace::SRGB);
    EXPECT_EQ(buffer.set(kStandardName, 17, dataspace), AIMAPPER_ERROR_NO_RESOURCES);
    EXPECT_EQ(buffer.value<T::DATASPACE>(), Dataspace::UNKNOWN);
    lock.l_type = F_UNLCK;
    ASSERT_EQ(fcntl(other.get(), F_OFD_SETLK, &lock), 0);
    EXPECT_EQ(buffer.set(kStandardName, 17, dataspace), AIMAPPER_ERROR_NONE);
}

// Whatever another holder of the memory writes over it after the import: answers are errors or
// bytes within bounds, and what the allocation fixed stays as it was.
TEST(SharedMetadata, trampledUponChangesNoConstantAndCrashesNothing) {
    const RawBuffer raw(blob());
    const Import buffer(raw.raw());
    std::map<int64_t, std::vector<uint8_t>> constants;
    for (int64_t type = 1; type <= 16; ++type) {
        constants[type] = buffer.bytes(kStandardName, type);
    }
    const size_t size = host::gralloc::kSharedLayout.reserved;
    auto* shared = static_cast<uint8_t*>(
            mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, raw.raw()->data[1], 0));
    ASSERT_NE(shared, MAP_FAILED);
    for (const int fill : {0xff, 0x80, 0x7f, 0x01, 0x00}) {
        std::memset(shared, fill, size);
        std::vector<uint8_t> value(100000);
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
