// Programs without a fault that look as if they had one: proper WAY PROGRAM.
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
#include "utils/gralloc/IGrallocHelper.h"

namespace zelkcam::test {

namespace {

constexpr uint32_t kWidth = 1921;
constexpr uint32_t kHeight = 1083;

struct Format {
    int32_t code;
    std::vector<size_t> bytesPerSixteenPixels;  // of each plane's row
};
const Format kFormats[] = {
        {0x1, {64}},        {0x11, {16, 16}}, {0x1000, {16, 16}},      {0x14, {32}},
        {0x20, {32}},       {0x25, {20}},     {0x36, {32, 32}},        {0x111, {20}},
        {0x20203859, {16}}, {0x21, {16}},     {0x32315659, {16, 8, 8}}};

zcam::GrallocStaticInfo layoutOf(int32_t format) {
    zcam::GrallocStaticInfo info{};
    const zcam::GrallocRequest request{static_cast<uint32_t>(kReadWrite), format, kWidth, kHeight};
    NSCam::IGrallocHelper::singleton()->query(&request, &info);
    return info;
}

enum class Way { Exact, Rows, Cleared };

void writePlane(unsigned char* plane, size_t size, size_t stride, size_t bytes, Way way) {
    if (way == Way::Cleared) {
        memset(plane, 16, size);
        return;
    }
    const std::vector<unsigned char> row(stride, 77);
    for (size_t y = 0; y < size / stride; ++y) {
        memcpy(plane + y * stride, row.data(), way == Way::Exact ? bytes : stride);
    }
}

void writeAllFormats(Buffers& buffers, Way way) {
    for (const Format& format : kFormats) {
        const zcam::GrallocStaticInfo info = layoutOf(format.code);
        const native_handle* const handle = buffers.allocate(format.code, kWidth, kHeight);
        unsigned char* plane = buffers.lock(handle, kReadWrite);
        for (size_t i = 0; i < info.planes.size(); ++i) {
            const size_t bytes = kWidth * format.bytesPerSixteenPixels[i] / 16;
            writePlane(plane, info.planes[i].sizeInBytes, info.planes[i].rowStrideInBytes, bytes,
                       way);
            plane += info.planes[i].sizeInBytes;
        }
        buffers.unlock(handle);
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
    return buffers.allocate(kNv21, kWidth, kHeight);
}

void importTwice(Buffers& buffers) {
    const native_handle* const handle = make(buffers);
    const native_handle* const again = buffers.import(handle);
    buffers.free(handle);
    buffers.lock(again, kReadWrite)[0] = 1;
    buffers.unlock(again);
    buffers.free(again);
}

// The child frees what it imported and ends without what its parent holds.
void importInChild(Buffers& buffers) {
    const native_handle* const handle = make(buffers);
    if (const pid_t child = fork(); child == 0) {
        const native_handle* const imported = buffers.import(handle);
        buffers.lock(imported, kReadWrite)[0] = 1;
        buffers.unlock(imported);
        buffers.free(imported);
        exit(0);
    } else {
        waitpid(child, nullptr, 0);
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
                buffers.unlock(handle);
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
        if (const int last = buffers.unlock(handle); last >= 0) {
            close(last);
        }
    }
    buffers.free(handle);
}

void unlockInAnotherThread(Buffers& buffers) {
    const native_handle* const handle = make(buffers);
    buffers.lock(handle, kReadWrite)[0] = 1;
    std::thread([&] {
        buffers.unlock(handle);
        buffers.free(handle);
    }).join();
}

void nestLocks(Buffers& buffers) {
    const native_handle* const handle = make(buffers);
    unsigned char* const outer = buffers.lock(handle, kReadWrite);
    const unsigned char* const inner = buffers.lock(handle, kRead);
    outer[0] = inner[1];
    buffers.unlock(handle);
    outer[0] = inner[2];
    buffers.unlock(handle);
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
    const native_handle* const handle = make(buffers);
    buffersBy("hidl").lock(handle, kReadWrite)[0] = 1;
    buffers.unlock(handle);
    buffersBy("hidl").free(handle);
}

void useManyBuffers(Buffers& buffers) {
    for (int i = 0; i < 2000; ++i) {
        const native_handle* const handle = buffers.allocate(kNv21, 64, 64);
        buffers.lock(handle, kReadWrite)[0] = 1;
        buffers.unlock(handle);
        buffers.free(handle);
    }
}

// As programs do before they become another one.
void closeAllThenRunShell(Buffers& buffers) {
    const native_handle* const handle = make(buffers);
    if (fork() == 0) {
        for (int fd = 3; fd < 256; ++fd) {
            close(fd);
        }
        execlp("sh", "sh", "-c", "true | true && exec true 3>&1", nullptr);
    }
    wait(nullptr);
    buffers.free(handle);
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
    buffers.unlock(handle);
    buffers.free(handle);
}

using Program = void (*)(Buffers&);

#define NAMED(program) \
    { #program, program }

const std::map<std::string, Program> kPrograms = {
        NAMED(writeExactly),         NAMED(writeWholeRows),        NAMED(clear),
        NAMED(importTwice),          NAMED(importInChild),         NAMED(readInManyThreads),
        NAMED(handTheFenceOn),       NAMED(unlockInAnotherThread), NAMED(nestLocks),
        NAMED(freeInDestructor),     NAMED(freeByOtherMapper),     NAMED(useManyBuffers),
        NAMED(closeAllThenRunShell), NAMED(handleOwnFaults),
};

}  // namespace

}  // namespace zelkcam::test

int main(int argc, char** argv) {
    using namespace zelkcam::test;
    if (argc != 2) {
        fprintf(stderr, "usage: proper facade|aidl|hidl\n");
        return 2;
    }
    Buffers& buffers = buffersBy(argv[1]);
    for (const auto& [name, program] : kPrograms) {
        program(buffers);
    }
    return 0;
}
