// Handles that another process might send. Each case starts from a good handle and spoils one
// thing; every one has to be refused with BAD_BUFFER, and nothing may stay open.
#include <fcntl.h>
#include <sys/eventfd.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstring>

#include "host/gralloc/Allocation.h"
#include "tests/host/gralloc/Buffers.h"

namespace zelkcam::test {
namespace {

using host::gralloc::SharedImage;
using ndk::ScopedFileDescriptor;

constexpr int kPixels = 0;
constexpr int kMetadata = 1;

class HostileHandle : public testing::Test {
  protected:
    HostileHandle() : mGood(describe(PixelFormat::YCRCB_420_SP, 640, 480)) {
        native_handle_init(mStorage, 2, 4);
        mapper();
        mBefore = holdings();
    }

    ~HostileHandle() override { EXPECT_EQ(holdings(), mBefore); }

    const native_handle_t* good() const { return mGood.raw(); }

    // A copy of the good handle, with room to lie about its size.
    native_handle_t* spoilt() {
        auto* handle = reinterpret_cast<native_handle_t*>(mStorage);
        std::memcpy(handle, good(), sizeof(native_handle_t) + 6 * sizeof(int));
        return handle;
    }

    void expectRefused(const native_handle_t* handle, const std::string& what) {
        buffer_handle_t imported = kMadeUp;
        EXPECT_EQ(mapper().importBuffer(handle, &imported), kBadBuffer) << what;
        EXPECT_EQ(imported, kMadeUp) << what;
    }

    void expectRefusedWith(int position, int value, const std::string& what) {
        native_handle_t* handle = spoilt();
        handle->data[position] = value;
        expectRefused(handle, what + " at " + std::to_string(position));
    }

  private:
    RawBuffer mGood;
    alignas(8) char mStorage[sizeof(native_handle_t) + 64 * sizeof(int)] = {};
    Holdings mBefore;
};

TEST_F(HostileHandle, OfAnotherShape) {
    expectRefused(nullptr, "null");
    const struct {
        int version, numFds, numInts;
    } shapes[] = {{12, 1, 4}, {12, 3, 3}, {12, 2, 5}, {12, -1, 4}, {12, 2, INT32_MAX}, {13, 2, 4}};
    for (const auto& shape : shapes) {
        native_handle_t* handle = spoilt();
        handle->version = shape.version;
        handle->numFds = shape.numFds;
        handle->numInts = shape.numInts;
        expectRefused(handle, "shape");
    }
    for (int i = 2; i < 6; ++i) {
        expectRefusedWith(i, good()->data[i] ^ 0x100, "an integer");
    }
}

constexpr int kAllSeals = F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL;

// Memory of so many bytes.
ScopedFileDescriptor memory(size_t size, int seals = kAllSeals, unsigned flags = 0) {
    ScopedFileDescriptor fd(memfd_create("hostile", MFD_CLOEXEC | MFD_ALLOW_SEALING | flags));
    EXPECT_EQ(ftruncate(fd.get(), static_cast<off_t>(size)), 0);
    EXPECT_EQ(fcntl(fd.get(), F_ADD_SEALS, seals), 0);
    return fd;
}

// What is behind a good descriptor, or the first part of it.
ScopedFileDescriptor copyOf(int good, int seals, off_t cut = 0) {
    Bytes bytes(static_cast<size_t>(lseek(good, 0, SEEK_END) - cut));
    EXPECT_EQ(pread(good, bytes.data(), bytes.size(), 0), static_cast<ssize_t>(bytes.size()));
    ScopedFileDescriptor fd = memory(bytes.size(), 0);
    EXPECT_EQ(pwrite(fd.get(), bytes.data(), bytes.size(), 0), static_cast<ssize_t>(bytes.size()));
    EXPECT_EQ(fcntl(fd.get(), F_ADD_SEALS, seals), 0);
    return fd;
}

ScopedFileDescriptor opened(const std::string& path, int flags) {
    return ScopedFileDescriptor(open(path.c_str(), flags | O_CLOEXEC));
}

TEST_F(HostileHandle, WithDescriptorsThatAreNotTheMemory) {
    const RawBuffer twin(describe(PixelFormat::YCRCB_420_SP, 640, 480));
    FILE* const file = tmpfile();
    ASSERT_EQ(ftruncate(fileno(file), 1 << 20), 0);
    const ScopedFileDescriptor others[] = {ScopedFileDescriptor(eventfd(0, EFD_CLOEXEC)),
                                           opened("/dev/zero", O_RDWR),
                                           opened("/tmp", O_RDONLY | O_DIRECTORY)};
    for (const int position : {kPixels, kMetadata}) {
        for (const ScopedFileDescriptor& fd : others) {
            expectRefusedWith(position, fd.get(), "something else");
        }
        const int right = good()->data[position];
        expectRefusedWith(position, fileno(file), "a file");
        expectRefusedWith(position, -1, "no descriptor");
        expectRefusedWith(position, 100000, "no open descriptor");
        expectRefusedWith(position, good()->data[1 - position], "the other one");
        expectRefusedWith(position, twin.raw()->data[position], "another buffer's memory");
        const auto readOnly = opened("/proc/self/fd/" + std::to_string(right), O_RDONLY);
        expectRefusedWith(position, readOnly.get(), "the memory, read-only");
        for (const int seals :
             {F_SEAL_SHRINK | F_SEAL_GROW, F_SEAL_GROW | F_SEAL_SEAL, F_SEAL_SHRINK | F_SEAL_SEAL,
              kAllSeals | F_SEAL_WRITE, kAllSeals | F_SEAL_FUTURE_WRITE}) {
            expectRefusedWith(position, copyOf(right, seals).get(), "memory of other seals");
        }
        expectRefusedWith(position, copyOf(right, kAllSeals, 4096).get(), "less memory");
    }
    EXPECT_EQ(fclose(file), 0);
}

SharedImage imageOf(const native_handle_t* handle) {
    SharedImage image;
    EXPECT_EQ(pread(handle->data[kMetadata], &image, sizeof(image), 0),
              static_cast<ssize_t>(sizeof(image)));
    return image;
}

// Metadata memory of the right size with that image at its front.
ScopedFileDescriptor forge(const SharedImage& image) {
    ScopedFileDescriptor fd = memory(host::gralloc::metadataSize({}));
    EXPECT_EQ(pwrite(fd.get(), &image, sizeof(image), 0), static_cast<ssize_t>(sizeof(image)));
    return fd;
}

// Forgers who make both memories themselves and know how they refer to each other.
TEST_F(HostileHandle, MadeWholeByAForger) {
    Import counted(good());
    const size_t pixelBytes = *counted.value<T::ALLOCATION_SIZE>();
    const auto forgeFor = [&](const ScopedFileDescriptor& pixels) {
        SharedImage image = imageOf(good());
        image.header.pixelInode = inodeOf(pixels.get());
        return forge(image);
    };
    const auto handleOf = [&](int pixels, int metadata) {
        native_handle_t* handle = spoilt();
        handle->data[kPixels] = pixels;
        handle->data[kMetadata] = metadata;
        return handle;
    };
    {
        const ScopedFileDescriptor enough = memory(pixelBytes);
        const Import control(handleOf(enough.get(), forgeFor(enough).get()));
    }
    const ScopedFileDescriptor small = memory(pixelBytes - 1);
    expectRefused(handleOf(small.get(), forgeFor(small).get()), "pixels one byte short");

    const ScopedFileDescriptor both = memory(4 * pixelBytes);
    SharedImage image = imageOf(good());
    image.header.pixelInode = inodeOf(both.get());
    pwrite(both.get(), &image, sizeof(image), 0);
    expectRefused(handleOf(both.get(), both.get()), "one memory for pixels and metadata");

    if (const int hugePages = memfd_create("huge", MFD_CLOEXEC | MFD_HUGETLB); hugePages >= 0) {
        close(hugePages);
        const ScopedFileDescriptor huge = memory(size_t{1} << 30, kAllSeals, MFD_HUGETLB);
        expectRefused(handleOf(huge.get(), forgeFor(huge).get()), "huge pages");
    }
}

// Only two things may differ, since the sender may choose them: what comes after the end of the
// name, and how much of the memory's last page is called reserved.
bool maySenderChoose(size_t offset) {
    constexpr size_t kDescription = offsetof(SharedImage, header.description);
    constexpr size_t kName = kDescription + offsetof(host::gralloc::Description, name);
    constexpr size_t kReserved = kDescription + offsetof(host::gralloc::Description, reservedSize);
    return (offset > kName && offset < kName + 128) ||
           (offset >= kReserved && offset < kReserved + 8);
}

TEST_F(HostileHandle, WhoseMetadataLies) {
    const auto expectForgedRefused = [&](const SharedImage& forged, const std::string& what) {
        expectRefusedWith(kMetadata, forge(forged).get(), what);
    };
    const SharedImage image = imageOf(good());
    SharedImage forged = image;
    for (size_t offset = 0; offset < sizeof(image); ++offset) {
        if (!maySenderChoose(offset)) {
            forged = image;
            reinterpret_cast<uint8_t*>(&forged)[offset] ^= 0x41;
            expectForgedRefused(forged, "byte " + std::to_string(offset) + " changed");
        }
    }
    forged = image;
    for (const uint64_t size : {uint64_t{1} << 20, UINT64_MAX}) {
        forged.header.description.reservedSize = size;
        expectForgedRefused(forged, "reserved size beyond the memory");
    }
    forged = image;
    forged.header.description.name.fill('x');
    expectForgedRefused(forged, "name without an end");
}

}  // namespace
}  // namespace zelkcam::test
