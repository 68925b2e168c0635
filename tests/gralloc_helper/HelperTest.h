// The fixture of the facade's tests: the helper over a scripted platform.
#pragma once

#include <fcntl.h>

#include <sstream>

#include "tests/support/DoublesTest.h"
#include "tests/support/PlatformDoubles.h"
#include "tests/support/ScriptedGralloc.h"
#include "utils/gralloc/IGrallocHelper.h"

namespace zelkcam::test {

constexpr int kUnknownError = INT32_MIN;

// A raw handle of somebody else's buffer: one descriptor and one integer.
struct OneFdHandle {
    native_handle header = {sizeof(native_handle), 1, 1, {}};
    int data[2] = {0, 0};
};

class HelperTest : public DoublesTest {
  protected:
    void SetUp() override {
        DoublesTest::SetUp();
        resetScripts();
        [[maybe_unused]] static const bool once = (registerScriptedAllocator(), true);
        helper = NSCam::IGrallocHelper::singleton();
        touchEveryDouble();
        resetScripts();
    }

    void TearDown() override {
        EXPECT_TRUE(mapperScript().imports.empty()) << "a buffer was not freed";
        EXPECT_EQ(platformScript().wrongPresets, 0);
        for (const int fd : allocatorScript().descriptors)
            EXPECT_EQ(fcntl(fd, F_GETFD), -1) << "a raw buffer's descriptor was not closed";
    }

    // Both put the answer into `info`.
    int request(const zcam::GrallocRequest& asked, bool force = false) {
        return helper->query(&asked, &info, force);
    }
    int describe(NSCam::GrallocDynamicInfo* dynamicInfo = nullptr) {
        return helper->query(handle, &info, dynamicInfo);
    }

    // `info` as "0x1 64x32 8192/256": format, size, and each plane's bytes and row stride.
    std::string layout() const {
        std::ostringstream text;
        text << std::hex << "0x" << info.format << std::dec << " " << info.widthInPixels << "x"
             << info.heightInPixels;
        for (const auto& plane : info.planes)
            text << " " << plane.sizeInBytes << "/" << plane.rowStrideInBytes;
        return text.str();
    }

    const OneFdHandle foreign = {};
    const native_handle* const handle = &foreign.header;
    NSCam::IGrallocHelper* helper = nullptr;
    zcam::GrallocStaticInfo info;

  private:
    static void resetScripts() {
        platformScript() = {};
        mapperScript() = {};
        allocatorScript() = {};
    }

    void touchEveryDouble() {
        describeBuffers({.format = 1, .width = 1, .height = 1});
        EXPECT_EQ(request({0, 1, 1, 1}), 0);
        helper->query(nullptr, nullptr, nullptr);
        helper->unlock(handle);
        helper->setBufferStatus(handle, 0, 0);
        expectConnected({"plexa_query", "plexa_perform", "plexa_sf_set_status", "allocate2",
                         "importBuffer", "freeBuffer", "flush", "sync_wait", "close", "systemTime",
                         "property_get_int32", "__android_log_print", "ULogger::write"});
        helper->clearMap();
        forget();
    }
};

}  // namespace zelkcam::test
