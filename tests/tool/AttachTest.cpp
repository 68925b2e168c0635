// share and attach: one buffer, two processes.
#include <sys/mman.h>
#include <unistd.h>

#include <filesystem>
#include <map>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <png.h>

#include "tests/tool/Tool.h"
#include "utils/gralloc/IGrallocHelper.h"
#include "utils/gralloc/aidl/v2/allocator/allocator.h"
#include "zelkcam/host/HandleTransport.h"

namespace zelkcam::test {

namespace {

using aidl::android::hardware::graphics::common::Cta861_3;
using aidl::android::hardware::graphics::common::Smpte2086;
using NSCam::GrallocAllocatorAidlV2::AllocatorAidl;
using NSCam::GrallocAllocatorAidlV2::PixelFormat;
using NSCam::GrallocMapperAidlV2::MapperV5;
using testing::HasSubstr;

constexpr uint64_t kReadWriteOften = 0x33;
constexpr uint32_t kWidth = 321;
constexpr uint32_t kHeight = 183;

// A buffer of this process.
class Buffer {
  public:
    explicit Buffer(int32_t format, uint64_t usage = kReadWriteOften) {
        uint32_t stride = 0;
        EXPECT_EQ(allocator.allocate(kWidth, kHeight, static_cast<PixelFormat>(format), 1, usage,
                                     &handle, &stride, 0, ""),
                  0);
    }
    ~Buffer() { allocator.free(handle); }

    MapperV5 mapper{AllocatorAidl::createInstance()};
    AllocatorAidl allocator{AllocatorAidl::createInstance(), mapper};
    const native_handle* handle = nullptr;
};

// Hands `handle` to one client.
class Server {
  public:
    Server(const std::string& path, const native_handle* handle)
        : mListener(host::listenAt(path).value), mThread([this, handle] {
              const auto client = mListener.accept();
              EXPECT_TRUE(client.ok());
              EXPECT_EQ(host::sendHandle(client.value.get(), handle), 0);
          }) {}
    ~Server() { mThread.join(); }

  private:
    host::TransportListener mListener;
    std::thread mThread;
};

Outcome attachTo(const native_handle* handle, Words arguments) {
    const ScratchFolder folder;
    const Server server(folder / "socket", handle);
    arguments.insert(arguments.begin(), {"attach", folder / "socket"});
    return runTool(arguments);
}

}  // namespace

TEST(Attach, APictureThatOneProcessDrawsIsWhatAnotherSaves) {
    const ScratchFolder folder;
    const std::string socket = folder / "socket";
    RunningTool server({"share", "YCBCR_P010", "321x183", socket}, "serving");
    EXPECT_EQ(runTool({"attach", socket, "--fill", "ramp"}).status, 0);
    EXPECT_EQ(runTool({"attach", socket, "--png", folder / "p.png"}).status, 0);
    EXPECT_EQ(server.end().status, 0);
    EXPECT_FALSE(std::filesystem::exists(socket));
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    ASSERT_TRUE(png_image_begin_read_from_file(&image, (folder / "p.png").c_str()));
    EXPECT_EQ(image.format, unsigned{PNG_FORMAT_LINEAR_RGB});  // 16 bits
    image.format = PNG_FORMAT_RGB;
    std::vector<uint8_t> bytes(PNG_IMAGE_SIZE(image));
    ASSERT_TRUE(png_image_finish_read(&image, nullptr, bytes.data(), 0, nullptr));
    // Red to the right, green to the bottom, blue to the left.
    const uint8_t* const pixel = &bytes[(kHeight / 3 * kWidth + kWidth / 4) * 3];
    EXPECT_NEAR(pixel[0], 64, 3);
    EXPECT_NEAR(pixel[1], 85, 3);
    EXPECT_NEAR(pixel[2], 191, 3);
}

// The tool could read and write chroma in the same wrong place; the mapper knows the right one.
TEST(Attach, FillsTheComponentsWhereTheMapperHasThem) {
    // Full-range BT.601 of the pattern's red bar, between its ellipse and its diagonal.
    constexpr uint32_t kRedX = kWidth * 11 / 16;
    constexpr uint32_t kRedY = 4;
    constexpr int kY = 76, kCb = 85, kCr = 255;
    for (const int32_t format : {0x11, 0x1000, 0x32315659}) {
        SCOPED_TRACE(format);
        const Buffer buffer(format);
        EXPECT_EQ(attachTo(buffer.handle, {"--fill", "bars"}).status, 0);
        android_ycbcr planes = {};
        const ARect all{0, 0, kWidth, kHeight};
        ASSERT_EQ(buffer.mapper.lock(buffer.handle, 3, all, -1, &planes), 0);
        const auto at = [](void* plane, size_t offset) {
            return static_cast<const uint8_t*>(plane)[offset];
        };
        const size_t chroma = kRedY / 2 * planes.cstride + kRedX / 2 * planes.chroma_step;
        EXPECT_NEAR(at(planes.y, kRedY * planes.ystride + kRedX), kY, 1);
        EXPECT_NEAR(at(planes.cb, chroma), kCb, 2);
        EXPECT_NEAR(at(planes.cr, chroma), kCr, 2);
        const int fence = buffer.mapper.unlock(buffer.handle);
        if (fence >= 0) {
            close(fence);
        }
    }
}

TEST(Attach, DescribesTheBufferAsARequestDoesAndShareToo) {
    const ScratchFolder folder;
    const Json request = runForDocument({"query", "YV12", "321x183"});
    RunningTool server({"share", "YV12", "321x183", folder / "socket", "--json"}, "\n}\n");
    const Json buffer = runForDocument({"attach", folder / "socket"});
    for (const char* const field : {"format", "formatName", "width", "height", "planes"}) {
        EXPECT_EQ(buffer[field], request[field]);
    }
    EXPECT_EQ(buffer["sharedMemoryDescriptors"].size(), 1u);
    EXPECT_EQ(buffer["hdr"]["smpte2086"], nullptr);
}

TEST(Attach, PrintsTheHdrMetadataThatTheBufferCarries) {
    const Buffer buffer(0x36);
    Smpte2086 display;
    display.primaryRed.x = 0.75f;
    display.whitePoint.y = 0.25f;
    display.maxLuminance = 1000;
    display.minLuminance = 0.5f;
    Cta861_3 light;
    light.maxContentLightLevel = 500;
    light.maxFrameAverageLightLevel = 250;
    std::vector<uint8_t> dynamic(600, 0xA5);
    using namespace NSCam::GrallocMapperAidlV2;
    buffer.mapper.setGrallocMeta(buffer.handle, GRALLOC_META_SMPTE2086, &display, sizeof(display));
    buffer.mapper.setGrallocMeta(buffer.handle, GRALLOC_META_CTA861_3, &light, sizeof(light));
    buffer.mapper.setGrallocMeta(buffer.handle, GRALLOC_META_SMPTE2094_40, &dynamic, 0);

    const Json hdr = attachTo(buffer.handle, {"--json"}).document()["hdr"];
    EXPECT_EQ(hdr["smpte2086"]["primaryRed"]["x"], 0.75);
    EXPECT_EQ(hdr["cta861_3"]["maxFrameAverageLightLevel"], 250.0);
    EXPECT_THAT(hdr["smpte2094_40"]["bytesHex"].get<std::string>(), testing::StartsWith("a5a5"));
    const std::string text = attachTo(buffer.handle, {}).out;
    EXPECT_THAT(text, HasSubstr("luminance 0.5 to 1000 cd/m2"));
    EXPECT_THAT(text, HasSubstr("content 500, frame average 250 cd/m2"));
    EXPECT_THAT(text, HasSubstr("SMPTE2094_40  600 bytes"));
}

TEST(Attach, ABufferWithoutAPictureOrForOthersEyesIsRefused) {
    EXPECT_EQ(attachTo(Buffer(0x24).handle, {"--png", "/dev/null"}).status, 2);
    constexpr uint64_t kReadOften = 0x3, kProtected = 0x4000;
    for (const Outcome& locked :
         {attachTo(Buffer(0x11, kReadOften).handle, {"--fill", "bars"}),
          attachTo(Buffer(0x11, kProtected).handle, {"--png", "/dev/null"})}) {
        EXPECT_EQ(locked.status, 1);
        EXPECT_THAT(locked.err, HasSubstr("the lock answered 3 (BAD_VALUE)"));
    }
}

TEST(Attach, WhatIsNoBufferIsRefusedByTheImport) {
    native_handle_t* const handle = native_handle_create(2, 4);
    handle->data[0] = memfd_create("pixels", MFD_CLOEXEC);
    handle->data[1] = memfd_create("metadata", MFD_CLOEXEC);
    std::fill_n(handle->data + 2, 4, -1);
    const Outcome outcome = attachTo(handle, {"--json"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.document()["error"]["code"], "IMPORT_REFUSED");
    native_handle_close(handle);
    native_handle_delete(handle);
}

TEST(Attach, ABuffersBytesAreSavedAndLoaded) {
    const ScratchFolder folder;
    const Buffer buffer(0x26);  // a format without a layout rule: the mapper's planes serve
    const std::string raw = folder / "raw";
    EXPECT_EQ(attachTo(buffer.handle, {"--fill", "ramp"}).status, 0);
    EXPECT_EQ(attachTo(buffer.handle, {"--raw", raw, "--png", folder / "a.png"}).status, 0);
    EXPECT_EQ(attachTo(buffer.handle, {"--fill", "bars"}).status, 0);
    EXPECT_EQ(attachTo(buffer.handle, {"--load", raw, "--png", folder / "b.png"}).status, 0);
    EXPECT_EQ(contentsOf(folder / "a.png"), contentsOf(folder / "b.png"));
    writeContents(raw, contentsOf(raw) + "x");
    const Outcome tooLong = attachTo(buffer.handle, {"--load", raw});
    EXPECT_EQ(tooLong.status, 2);
    EXPECT_THAT(tooLong.err, HasSubstr("expected the buffer's"));
}

TEST(Attach, ABufferOfAnotherProfileIsRefusedAndALineTellsWhy) {
    const ScratchFolder folder;
    const std::string socket = folder / "socket";
    RunningTool server({"share", "NV12", "64x64", socket}, "serving",
                       {"ZELKCAM_HOST_PROFILE=aligned-128"});
    const Outcome outcome = runTool({"attach", socket});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, HasSubstr("made under another device profile than that of this"));
}

// By the mapper's planes and by the profile's, of which the library is asked in neither.
TEST(View, DrawsTheDumpOfABufferAsTheBufferItself) {
    std::map<std::string, std::string> pictures;  // by format: the same on every device
    for (const char* const profile : {"default", "aligned-128"}) {
        for (const char* const format :
             {"RGBA_8888", "RGBX_8888", "RGB_888", "BGRA_8888", "YCbCr_422_SP", "YCrCb_420_SP",
              "YCbCr_422_I", "RAW16", "RAW10", "0x26", "YCBCR_P010", "NV12", "Y8", "YV12"}) {
            SCOPED_TRACE(std::string(format) + " under " + profile);
            const ScratchFolder folder;
            const std::string socket = folder / "socket", dump = folder / "dump";
            const Words device{std::string("ZELKCAM_HOST_PROFILE=") + profile};
            RunningTool server({"share", format, "321x183", socket}, "serving", device);
            EXPECT_EQ(runTool({"attach", socket, "--fill", "ramp"}, device).status, 0);
            EXPECT_EQ(runTool({"attach", socket, "--png", folder / "a.png", "--raw", dump}, device)
                              .status,
                      0);
            const Outcome view = runTool({"view", dump, format, "321x183", "--profile", profile,
                                          "-o", folder / "b.png"});
            EXPECT_EQ(view.status, 0) << view.err;
            const std::string picture = contentsOf(folder / "a.png");
            EXPECT_EQ(contentsOf(folder / "b.png"), picture);
            EXPECT_EQ(pictures.emplace(format, picture).first->second, picture);
        }
    }
}

TEST(Attach, WhatIsNoHandleAndSilenceHaveNamesOfTheirOwn) {
    const struct {
        const char* sent;
        bool waits;
        const char* code;
    } cases[] = {{"GET / HTTP/1.1\r\n\r\n and more than a header", true, "NOT_A_BUFFER"},
                 {"", true, "SERVER_TIMEOUT"},
                 {"", false, "SYSTEM_FAILURE"}};
    for (const auto& [sent, waits, code] : cases) {
        const ScratchFolder folder;
        const auto listener = host::listenAt(folder / "socket");
        std::thread server([&, bytes = std::string(sent), waits = waits] {
            const auto client = listener.value.accept();
            EXPECT_EQ(write(client.value.get(), bytes.data(), bytes.size()), ssize_t(bytes.size()));
            char end;
            (void)!(waits && read(client.value.get(), &end, 1));  // until the tool has gone
        });
        const Json document = runForDocument({"attach", folder / "socket"}, {}, 1);
        EXPECT_EQ(document["error"]["code"], code);
        server.join();
    }
}

}  // namespace zelkcam::test
