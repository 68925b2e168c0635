// The fixture of the facade's tests: the helper over a scripted platform.
#pragma once

#include <fcntl.h>

#include "tests/support/DoublesTest.h"
#include "tests/support/PlatformDoubles.h"
#include "tests/support/PlexaDouble.h"
#include "tests/support/ScriptedGralloc.h"
#include "utils/gralloc/IGrallocHelper.h"

namespace zelkcam::test {

constexpr int kUnknownError = INT32_MIN;

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
        EXPECT_EQ(plexaScript().wrongPresets, 0);
        for (const int fd : allocatorScript().descriptors)
            EXPECT_EQ(fcntl(fd, F_GETFD), -1) << "a raw buffer's descriptor was not closed";
    }

    int request(const zcam::GrallocRequest& asked, bool force = false) {
        return helper->query(&asked, &info, force);
    }
    int describe(NSCam::GrallocDynamicInfo* dynamicInfo = nullptr) {
        return helper->query(handle, &info, dynamicInfo);
    }

    // A handle of somebody else's buffer: one descriptor and one integer.
    const OneFdHandle foreign;
    const native_handle* const handle = &foreign.header;
    NSCam::IGrallocHelper* helper = nullptr;
    zcam::GrallocStaticInfo info;

  private:
    static void resetScripts() {
        platformScript() = {};
        plexaScript() = {};
        mapperScript() = {};
        allocatorScript() = {};
    }

    void touchEveryDouble() {
        describeBuffers({.format = 1, .width = 1, .height = 1});
        EXPECT_EQ(request({.format = 1, .widthInPixels = 1, .heightInPixels = 1}), 0);
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
