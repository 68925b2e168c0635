// The fixture of tests over the scripted allocator and mapper: every case begins with empty scripts
// and ends with nothing left of the buffers that were made.
#pragma once

#include <fcntl.h>

#include "tests/support/DoublesTest.h"
#include "tests/support/PlatformDoubles.h"
#include "tests/support/ScriptedGralloc.h"

namespace zelkcam::test {

class GrallocTest : public DoublesTest {
  protected:
    void SetUp() override {
        DoublesTest::SetUp();
        platformScript() = {};
        mapperScript() = {};
        allocatorScript() = {};
    }

    void TearDown() override {
        EXPECT_TRUE(mapperScript().imports.empty()) << "a buffer was not freed";
        EXPECT_EQ(platformScript().wrongPresets, 0);
        for (const int fd : allocatorScript().descriptors) {
            EXPECT_EQ(fcntl(fd, F_GETFD), -1) << "a raw buffer's descriptor was not closed";
        }
    }
};

}  // namespace zelkcam::test
