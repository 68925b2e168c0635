// The fixture of the facade's tests: the helper over a scripted platform.
#pragma once

#include <sstream>

#include "tests/support/GrallocTest.h"
#include "utils/gralloc/IGrallocHelper.h"

namespace zelkcam::test {

constexpr int kUnknownError = INT32_MIN;

// A raw handle of somebody else's buffer: one descriptor and one integer.
struct OneFdHandle {
    native_handle header = {sizeof(native_handle), 1, 1, {}};
    int data[2] = {0, 0};
};

class HelperTest : public GrallocTest {
  protected:
    void SetUp() override {
        GrallocTest::SetUp();
        [[maybe_unused]] static const bool once = (registerScriptedAllocator(), true);
        helper = NSCam::IGrallocHelper::singleton();
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
    NSCam::IGrallocHelper* helper = nullptr;
    zcam::GrallocStaticInfo info;
};

}  // namespace zelkcam::test
