// Programs without a fault that look as if they had one: proper WAY [PROGRAM].
#include <fcntl.h>
#include <setjmp.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <map>
#include <thread>
#include <vector>

#include "tests/check/Buffers.h"
#include "tests/support/Peer.h"
#include "utils/gralloc/IGrallocHelper.h"

namespace zelkcam::test {

namespace {

constexpr uint32_t kWidth = 641;
constexpr uint32_t kHeight = 363;

constexpr int32_t kP010 = 0x36;  // of more than 8 bits

// Every format that a processor may look into, flexible ones too.
constexpr int32_t kFormats[] = {0x1,   0x2,    0x3,        0x4,        0x5,       0x10, 0x11,
                                0x14,  0x16,   0x20,       0x21,       0x22,      0x23, 0x24,
                                0x25,  0x26,   0x2b,       0x36,       0x38,      0x39, 0x3a,
                                0x111, 0x1000, 0x20203859, 0x20363159, 0x32315659};

// Formats whose planes do not tell how far apart samples are.
const std::map<int32_t, double> kBytesPerPixel = {
        {0x24, 1.25}, {0x25, 1.25}, {0x26, 1.5}, {0x111, 1.25}};

// Ends a lock; some devices give a fence, which is the caller's.
void unlock(Buffers& buffers, const native_handle* handle) {
    if (const int fence = buffers.unlock(handle); fence >= 0) {
        close(fence);
    }
}

// Some devices have no odd sizes of some formats.
const native_handle* makeTricky(Buffers& buffers, int32_t format) {
    const native_handle* const odd = buffers.allocate(format, kWidth, kHeight);
    return odd != nullptr ? odd : buffers.allocate(format, kWidth + 1, kHeight + 1);
}

size_t bytesOfRow(const PlaneLayout& plane, int32_t format) {
    const int64_t bytes = plane.widthInSamples * plane.sampleIncrementInBits / 8;
    const auto packed = kBytesPerPixel.find(format);
    return packed != kBytesPerPixel.end() ? static_cast<size_t>(kWidth * packed->second)
                                          : static_cast<size_t>(bytes);
}

enum class Way { Exact, Rows, Cleared };

void writePlane(unsigned char* plane, const PlaneLayout& layout, int32_t format, Way way) {
    const auto stride = static_cast<size_t>(layout.strideInBytes);
    if (way == Way::Cleared) {
        memset(plane, 16, static_cast<size_t>(layout.totalSizeInBytes));
        return;
    }
    const std::vector<unsigned char> row(stride, 77);
    for (int64_t y = 0; y < layout.heightInSamples; ++y) {
        memcpy(plane + y * layout.strideInBytes, row.data(),
               way == Way::Exact ? bytesOfRow(layout, format) : stride);
    }
}

void writeAllFormats(Buffers& buffers, Way way) {
    for (const int32_t format : kFormats) {
        const native_handle* const handle = makeTricky(buffers, format);
        unsigned char* const pixels = buffers.lock(handle, kReadWrite);
        for (const PlaneLayout& plane : buffers.planes(handle)) {
            writePlane(pixels + plane.offsetInBytes, plane, format, way);
        }
        unlock(buffers, handle);
        buffers.free(handle);
    }
}

void writeExactly(Buffers& buffers) {
    writeAllFormats(buffers, Way::Exact);
}

void writeWholeRows(Buffers& buffers) {
    writeAllFormats(buffers, Way::Rows);
}

void clear(Buffers& buffers) {
    writeAllFormats(buffers, Way::Cleared);
}

const native_handle* make(Buffers& buffers) {
    return buffers.allocate(kNv21, 1000, 480);
}

// Some devices have room for more rows behind the last plane.
void copyAllRowsThatFit(Buffers& buffers) {
    const native_handle* const handle = make(buffers);
    zcam::GrallocStaticInfo layout;
    NSCam::IGrallocHelper::singleton()->query(handle, &layout, nullptr);
    const auto stride = layout.planes[1].rowStrideInBytes;
    unsigned char* const chroma =
            buffers.lock(handle, kReadWrite) + buffers.planes(handle).at(1).offsetInBytes;
    for (size_t i = 0; i < layout.planes[1].sizeInBytes / stride * stride; ++i) {
        chroma[i] = static_cast<unsigned char>(i % 251);
    }
    unlock(buffers, handle);
    buffers.free(handle);
}

void importTwice(Buffers& buffers) {
    const native_handle* const handle = make(buffers);
    const native_handle* const again = buffers.import(handle);
    buffers.free(handle);
    buffers.lock(again, kReadWrite)[0] = 1;
    unlock(buffers, again);
    buffers.free(again);
}

// The child ends by exit(), without what its parent holds.
int receiveInChild(Buffers& buffers, int socket) {
    const auto received = host::receiveHandle(socket);
    const native_handle* const imported = buffers.import(received.value);
    native_handle_close(received.value);
    native_handle_delete(received.value);
    buffers.lock(imported, kReadWrite)[0] = 1;
    unlock(buffers, imported);
    buffers.free(imported);
    exit(0);
}

void sendToChild(Buffers& buffers) {
    const native_handle* const handle = make(buffers);
    const Peer child = startPeer([&](int socket) { return receiveInChild(buffers, socket); });
    if (host::sendHandle(child.socket.get(), handle) != 0 || child.wait() != 0) {
        _exit(4);  // the child has nothing to be blamed for
    }
    buffers.free(handle);
}

void readInManyThreads(Buffers& buffers) {
    const native_handle* const handle = make(buffers);
    std::vector<std::thread> threads;
    for (int i = 0; i < 16; ++i) {
        threads.emplace_back([&] {
            int sum = 0;
            for (int n = 0; n < 20; ++n) {
                const unsigned char* const pixels = buffers.lock(handle, kRead);
                sum += pixels[n];
                unlock(buffers, handle);
            }
            return sum;
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    buffers.free(handle);
}

void handTheFenceOn(Buffers& buffers) {
    const native_handle* const handle = make(buffers);
    for (int i = 0; i < 3; ++i) {
        buffers.lock(handle, kReadWrite, eventfd(1, 0));
        const int fence = buffers.unlock(handle);
        buffers.lock(handle, kRead, fence);
        unlock(buffers, handle);
    }
    buffers.free(handle);
}

void unlockInAnotherThread(Buffers& buffers) {
    const native_handle* const handle = make(buffers);
    buffers.lock(handle, kReadWrite)[0] = 1;
    std::thread([&] {
        unlock(buffers, handle);
        buffers.free(handle);
    }).join();
}

// By contract the library drops the fence of the unlock.
void failToLockPlanes(Buffers& buffers) {
    const native_handle* const handle = buffers.allocate(kP010, 64, 64);
    buffers.lockPlanes(handle, kRead, -1);
    buffers.free(handle);
}

void nestLocks(Buffers& buffers) {
    const native_handle* const handle = make(buffers);
    unsigned char* const outer = buffers.lock(handle, kReadWrite);
    const unsigned char* const inner = buffers.lock(handle, kRead);
    outer[0] = inner[1];
    unlock(buffers, handle);
    outer[0] = inner[2];
    unlock(buffers, handle);
    buffers.free(handle);
}

struct FreedLate {
    Buffers* buffers = nullptr;
    const native_handle* handle = nullptr;
    ~FreedLate() {
        if (handle != nullptr) {
            buffers->free(handle);
        }
    }
} gFreedLate;

void freeInDestructor(Buffers& buffers) {
    gFreedLate.buffers = &buffers;
    gFreedLate.handle = make(buffers);
}

void freeByOtherMapper(Buffers& buffers) {
    Buffers& other = buffersBy(buffers.name() == "hidl" ? "aidl" : "hidl");
    const native_handle* const handle = make(buffers);
    other.lock(handle, kReadWrite)[0] = 1;
    unlock(buffers, handle);
    other.free(handle);
}

void useManyBuffers(Buffers& buffers) {
    for (int i = 0; i < 2000; ++i) {
        const native_handle* const handle = buffers.allocate(kNv21, 64, 64);
        buffers.lock(handle, kReadWrite)[0] = 1;
        unlock(buffers, handle);
        buffers.free(handle);
    }
}

template <typename CloseAll>
void becomeShell(Buffers& buffers, const CloseAll& closeAll) {
    const native_handle* const handle = make(buffers);
    if (fork() == 0) {
        closeAll();
        execlp("sh", "sh", "-c", "true | true && exec true 3>&1", nullptr);
    }
    wait(nullptr);
    buffers.free(handle);
}

void closeAllThenRunShell(Buffers& buffers) {
    becomeShell(buffers, [] {
        for (int fd = 3; fd < 256; ++fd) {
            close(fd);
        }
    });
    becomeShell(buffers, [] { close_range(3, ~0U, 0); });
    becomeShell(buffers, [] { closefrom(3); });
}

// A number that the library closed is somebody else's by now.
void reuseNumber(Buffers& buffers) {
    const native_handle* const handle = make(buffers);
    buffers.lock(handle, kRead, eventfd(1, 0));
    const int file = open("/dev/null", O_RDONLY);
    const int fence = buffers.unlock(handle);
    buffers.free(handle);
    const int again = fcntl(file, F_DUPFD, 0);
    close(fence);
    close(file);
    close(again);
    fclose(fdopen(eventfd(1, 0), "r"));
}

sigjmp_buf gBack;

void handleOwnFaults(Buffers& buffers) {
    struct sigaction action = {};
    action.sa_handler = [](int) { siglongjmp(gBack, 1); };
    sigaction(SIGSEGV, &action, nullptr);
    const native_handle* const handle = make(buffers);
    buffers.lock(handle, kReadWrite);
    if (sigsetjmp(gBack, 1) == 0) {
        *reinterpret_cast<volatile int*>(8) = 1;
        _exit(3);  // nothing handled it
    }
    unlock(buffers, handle);
    buffers.free(handle);
}

using Program = void (*)(Buffers&);

#define NAMED(program) \
    { #program, program }

const std::map<std::string, Program> kPrograms = {
        NAMED(writeExactly),          NAMED(writeWholeRows),  NAMED(clear),
        NAMED(copyAllRowsThatFit),    NAMED(importTwice),     NAMED(sendToChild),
        NAMED(readInManyThreads),     NAMED(handTheFenceOn),  NAMED(failToLockPlanes),
        NAMED(unlockInAnotherThread), NAMED(nestLocks),       NAMED(freeInDestructor),
        NAMED(freeByOtherMapper),     NAMED(useManyBuffers),  NAMED(reuseNumber),
        NAMED(closeAllThenRunShell),  NAMED(handleOwnFaults),
};

}  // namespace

}  // namespace zelkcam::test

int main(int argc, char** argv) {
    using namespace zelkcam::test;
    if (argc < 2) {
        fprintf(stderr, "usage: proper facade|aidl|hidl [PROGRAM]\n");
        return 2;
    }
    Buffers& buffers = buffersBy(argv[1]);
    for (const auto& [name, program] : kPrograms) {
        if (argc == 2 || name == argv[2]) {
            program(buffers);
        }
    }
    return 0;
}
