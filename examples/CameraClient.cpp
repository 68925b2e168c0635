// A camera in small: asks for a layout, fills a frame, and shows it to another process, which reads
// it by its planes and saves it as a PNG file.
//
//   camera_client PICTURE [--width-as-stride]
//
// With --width-as-stride the frame is written with the classic bug: rows as long as the picture is
// wide. That is right wherever rows are not padded, and torn everywhere else; run it under
// ZELKCAM_HOST_PROFILE=default and under aligned-128.
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <iostream>
#include <string>
#include <vector>

#include <png.h>

#include "utils/gralloc/IGrallocHelper.h"
#include "utils/gralloc/aidl/v2/allocator/allocator.h"
#include "utils/gralloc/aidl/v2/mapper/mapper.h"
#include "zelkcam/host/HandleTransport.h"

namespace {

using NSCam::GrallocAllocatorAidlV2::AllocatorAidl;
using NSCam::GrallocMapperAidlV2::MapperV5;

// Written by the camera, looked at by the processor: such buffers every device gives.
constexpr uint32_t kUsage = 0x20033;
constexpr int32_t kFlexibleYCbCr = 0x23;
constexpr int32_t kWidth = 704;
constexpr int32_t kHeight = 480;

using Planes = std::vector<zcam::GrallocStaticInfo::Plane>;

uint8_t* chromaOf(uint8_t* data, const Planes& planes) {
    return data + planes[0].sizeInBytes;
}

// Grey bars on a slope, with a red and a blue half: slipping rows show at once.
void fill(uint8_t* data, const Planes& planes, bool widthAsStride) {
    const size_t row = widthAsStride ? kWidth : planes[0].rowStrideInBytes;
    const size_t chromaRow = widthAsStride ? kWidth : planes[1].rowStrideInBytes;
    for (int32_t y = 0; y < kHeight; ++y) {
        for (int32_t x = 0; x < kWidth; ++x) {
            data[y * row + x] = static_cast<uint8_t>(64 + (x + y) / 40 % 4 * 48);
        }
    }
    for (int32_t y = 0; y < kHeight / 2; ++y) {
        for (int32_t x = 0; x < kWidth / 2; ++x) {
            uint8_t* const crCb = chromaOf(data, planes) + y * chromaRow + size_t{2} * x;
            crCb[0] = x < kWidth / 4 ? 176 : 96;
            crCb[1] = x < kWidth / 4 ? 96 : 176;
        }
    }
}

uint8_t clamped(double value) {
    return static_cast<uint8_t>(value < 0 ? 0 : value > 255 ? 255 : value);
}

// Y, then interleaved Cr and Cb for every two by two pixels, as RGB.
std::vector<uint8_t> toRgb(uint8_t* data, const Planes& planes) {
    std::vector<uint8_t> rgb;
    rgb.reserve(size_t{3} * kWidth * kHeight);
    for (int32_t y = 0; y < kHeight; ++y) {
        for (int32_t x = 0; x < kWidth; ++x) {
            const double luma = data[y * planes[0].rowStrideInBytes + x];
            const uint8_t* const crCb = chromaOf(data, planes) +
                                        y / 2 * planes[1].rowStrideInBytes + size_t{2} * (x / 2);
            const double red = crCb[0] - 128.0;
            const double blue = crCb[1] - 128.0;
            rgb.push_back(clamped(luma + 1.402 * red));
            rgb.push_back(clamped(luma - 0.344136 * blue - 0.714136 * red));
            rgb.push_back(clamped(luma + 1.772 * blue));
        }
    }
    return rgb;
}

bool savePng(const char* path, const std::vector<uint8_t>& rgb) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = kWidth;
    image.height = kHeight;
    image.format = PNG_FORMAT_RGB;
    return png_image_write_to_file(&image, path, 0, rgb.data(), 0, nullptr) != 0;
}

int fail(const char* what) {
    std::cerr << "camera_client: " << what << "\n";
    return 1;
}

// The second process: knows the buffer by its handle alone.
int show(int socket, const char* path) {
    auto received = zelkcam::host::receiveHandle(socket);
    if (!received.ok()) {
        return fail("no buffer came");
    }
    NSCam::IGrallocHelper& helper = *NSCam::IGrallocHelper::singleton();
    const native_handle* buffer = received.value;
    const bool imported = helper.importBuffer(buffer) == 1;
    native_handle_close(received.value);
    native_handle_delete(received.value);
    zcam::GrallocStaticInfo layout;
    NSCam::GrallocDynamicInfo dynamic;
    void* data = nullptr;
    if (!imported || helper.query(buffer, &layout, &dynamic) != 0 || layout.planes.size() != 2 ||
        helper.lock(buffer, 0x3, kWidth, kHeight, &data) != 0) {
        return fail("the buffer cannot be read");
    }
    const bool saved = savePng(path, toRgb(static_cast<uint8_t*>(data), layout.planes));
    helper.unlock(buffer);
    helper.freeBuffer(buffer);
    return saved ? 0 : fail("the picture cannot be written");
}

// The first process: asks what a frame looks like, allocates one and fills it.
int shoot(int socket, bool widthAsStride) {
    NSCam::IGrallocHelper& helper = *NSCam::IGrallocHelper::singleton();
    const zcam::GrallocRequest request{kUsage, kFlexibleYCbCr, kWidth, kHeight};
    zcam::GrallocStaticInfo layout;
    const auto service = AllocatorAidl::createInstance();
    if (service == nullptr || helper.query(&request, &layout, false) != 0) {
        return fail("the device does not tell what a frame looks like");
    }
    const MapperV5 mapper(service);
    const AllocatorAidl allocator(service, mapper);
    const native_handle* buffer = nullptr;
    uint32_t stride = 0;
    if (allocator.allocate(kWidth, kHeight,
                           static_cast<NSCam::GrallocAllocatorAidlV2::PixelFormat>(layout.format),
                           1, kUsage, &buffer, &stride, 0, "frame") != 0) {
        return fail("there is no frame");
    }
    void* data = nullptr;
    const bool filled = helper.lock(buffer, 0x33, kWidth, kHeight, &data) == 0;
    if (filled) {
        fill(static_cast<uint8_t*>(data), layout.planes, widthAsStride);
        helper.unlock(buffer);
    }
    const bool sent = filled && zelkcam::host::sendHandle(socket, buffer) == 0;
    allocator.free(buffer);
    return sent ? 0 : fail("the frame cannot be handed over");
}

}  // namespace

int main(int argc, char** argv) {
    const bool widthAsStride = argc == 3 && strcmp(argv[2], "--width-as-stride") == 0;
    if (argc != 2 && !widthAsStride) {
        return fail("expected PICTURE [--width-as-stride]") + 1;
    }
    int sockets[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets) != 0) {
        return fail("there is no socket");
    }
    const pid_t viewer = fork();
    if (viewer == 0) {
        close(sockets[0]);
        return show(sockets[1], argv[1]);
    }
    close(sockets[1]);
    const int shot = viewer > 0 ? shoot(sockets[0], widthAsStride) : fail("there is no viewer");
    close(sockets[0]);
    int shown = 1;
    waitpid(viewer, &shown, 0);
    return shot != 0 || shown != 0 ? 1 : 0;
}
