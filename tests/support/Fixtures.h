// The fixtures over the scripted platform: every case begins with empty scripts and ends with
// nothing left of the buffers that were made.
#pragma once

#include <fcntl.h>

#include <sstream>

#include "tests/support/Journal.h"
#include "tests/support/LogCapture.h"
#include "tests/support/PlatformDoubles.h"
#include "tests/support/ScriptedGralloc.h"
#include "utils/gralloc/IGrallocHelper.h"

namespace zelkcam::test {

class ScriptedTest : public testing::Test {
  protected:
    ScriptedTest() {
        setLog({});
        setErrorOutputWanted(true);
        platformScript() = {};
        mapperScript() = {};
        allocatorScript() = {};
        forget();
    }

    void TearDown() override {
        EXPECT_TRUE(mapperScript().imports.empty()) << "a buffer was not freed";
        EXPECT_EQ(platformScript().wrongPresets, 0);
        for (const int fd : allocatorScript().descriptors) {
            EXPECT_EQ(fcntl(fd, F_GETFD), -1) << "a raw buffer's descriptor was not closed";
        }
    }

    static void forget() {
        journal().take();
        takeRawLog();
    }
};

constexpr int kUnknownError = INT32_MIN;

// A raw handle of somebody else's buffer: one descriptor and one integer.
struct OneFdHandle {
    native_handle header = {sizeof(native_handle), 1, 1, {}};
    int data[2] = {0, 0};
};

// The helper over the scripted platform.
class HelperTest : public ScriptedTest {
  protected:
    HelperTest() {
        helper->clearMap();
        forget();
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
        for (const auto& plane : info.planes) {
            text << " " << plane.sizeInBytes << "/" << plane.rowStrideInBytes;
        }
        return text.str();
    }

    const OneFdHandle foreign = {};
    const native_handle* const handle = &foreign.header;
    NSCam::IGrallocHelper* const helper = [] {
        static const bool once = (registerScriptedAllocator(), true);
        return once ? NSCam::IGrallocHelper::singleton() : nullptr;
    }();
    zcam::GrallocStaticInfo info;
};

}  // namespace zelkcam::test
