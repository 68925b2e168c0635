// HDR metadata through the host's own mapper, between two processes.
#include <dlfcn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <numeric>

#include <gtest/gtest.h>

#include "tests/utils/hdr/HdrTest.h"
#include "utils/gralloc/aidl/v2/allocator/allocator.h"
#include "zelkcam/host/HandleTransport.h"

namespace zelkcam::test {

namespace {

using NSCam::GrallocAllocatorAidlV2::AllocatorAidl;

struct Platform {
    MapperV5 mapper{AllocatorAidl::createInstance()};
    AllocatorAidl allocator{AllocatorAidl::createInstance(), mapper};

    const native_handle* allocate() const {
        const native_handle* handle = nullptr;
        uint32_t stride = 0;
        EXPECT_EQ(allocator.allocate(64, 64,
                                     aidl::android::hardware::graphics::common::PixelFormat{0x11},
                                     1, 0x33, &handle, &stride, 0, "hdr"),
                  0);
        return handle;
    }
};

Payload counted(size_t size, int first) {
    Payload payload(size);
    std::iota(payload.begin(), payload.end(), static_cast<uint8_t>(first));
    return payload;
}

// Kind 3 has no reading side in the library: the mapper is asked directly.
std::string readDolby(const native_handle* handle) {
    void* const library = android_load_sphal_library("mapper.default.so", RTLD_NOW);
    AIMapper* mapper = nullptr;
    reinterpret_cast<decltype(&AIMapper_loadIMapper)>(dlsym(library, "AIMapper_loadIMapper"))(
            &mapper);
    std::string bytes(1000, 0);
    const int32_t size = mapper->v5.getStandardMetadata(handle, 22, bytes.data(), bytes.size());
    return size < 0 ? "" : bytes.substr(0, static_cast<size_t>(size));
}

bool holds(const MapperV5& mapper, const native_handle* handle, int kind, unsigned size,
           const std::string& expected) {
    std::string data(1000, 'u');
    return get(mapper, handle, kind, data.data(), size) == 0 &&
           data == expected + std::string(1000 - expected.size(), 'u');
}

// In the other process: reads what the first one has set, and sets a kind anew. The exit status
// says how far it came.
int readAsPeer(int socket) {
    const auto received = host::receiveHandle(socket);
    if (!received.ok()) {
        return 1;
    }
    const Platform platform;
    const native_handle* buffer = nullptr;
    if (platform.mapper.importBuffer(received.value, &buffer) != 0) {
        return 2;
    }
    if (!holds(platform.mapper, buffer, 0, 40, text(kOddFloats, 40))) {
        return 3;
    }
    if (!holds(platform.mapper, buffer, 1, 8, text(kOddFloats + 2, 8))) {
        return 4;
    }
    if (!holds(platform.mapper, buffer, 2, 224, text(counted(600, 7)))) {
        return 5;
    }
    if (readDolby(buffer) != headerOf(0x16) + literal("\x05\0\0\0\0\0\0\0\1\2\3\4\5")) {
        return 6;
    }
    if (set(platform.mapper, buffer, 1, kOddFloats + 8, 8) != 0) {
        return 7;
    }
    if (platform.mapper
                .setStandardMetadata<NSCam::GrallocMapperAidlV2::StandardMetadataType::SMPTE2086>(
                        buffer, std::nullopt) != 0) {
        return 8;
    }
    return platform.mapper.freeBuffer(buffer) == 0 ? 0 : 9;
}

TEST(HdrHostTest, WhatOneProcessSetsAnotherReadsBitForBit) {
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
    const host::TransportSocket mine(ends[0]), other(ends[1]);
    const pid_t peer = fork();
    if (peer == 0) {
        _exit(readAsPeer(other.get()));
    }

    const Platform platform;
    const native_handle* const buffer = platform.allocate();
    for (const auto& [kind, size] : {std::pair(0, 40u), {1, 8u}, {2, 224u}}) {
        EXPECT_TRUE(holds(platform.mapper, buffer, kind, size, "")) << "a new buffer has none";
    }
    const Payload hdr10Plus = counted(600, 7), dolby = counted(5, 1);
    EXPECT_EQ(set(platform.mapper, buffer, 0, kOddFloats, 40), 0);
    EXPECT_EQ(set(platform.mapper, buffer, 1, kOddFloats + 2, 8), 0);
    EXPECT_EQ(set(platform.mapper, buffer, 2, &hdr10Plus, 0), 0);
    EXPECT_EQ(set(platform.mapper, buffer, 3, &dolby, 0), 0);
    EXPECT_EQ(host::sendHandle(mine.get(), buffer), 0);

    int status = -1;
    ASSERT_EQ(waitpid(peer, &status, 0), peer);
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
    EXPECT_TRUE(holds(platform.mapper, buffer, 1, 8, text(kOddFloats + 8, 8)));
    EXPECT_TRUE(holds(platform.mapper, buffer, 0, 40, "")) << "taken away by the other";
    EXPECT_TRUE(holds(platform.mapper, buffer, 2, 224, text(hdr10Plus))) << "left alone";
    platform.allocator.free(buffer);
}

}  // namespace

}  // namespace zelkcam::test
