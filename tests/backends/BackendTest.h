// The fixture of the AIDL pair's tests: a mapper backend over the scripted mapper.
#pragma once

#include <fcntl.h>

#include <optional>

#include "tests/support/DoublesTest.h"
#include "tests/support/PlatformDoubles.h"
#include "tests/support/ScriptedGralloc.h"
#include "utils/gralloc/aidl/v2/mapper/mapper.h"

namespace zelkcam::test {

class BackendTest : public DoublesTest {
  protected:
    void SetUp() override {
        DoublesTest::SetUp();
        resetScripts();
        mapper.emplace(scriptedAllocator());
        mapper->freeBuffer(nullptr);
        mapper->unlock(nullptr);
        expectConnected({"getIMapperLibrarySuffix", "AIMapper_loadIMapper", "property_get_int32",
                         "freeBuffer", "unlock", "flush"});
    }

    void TearDown() override {
        EXPECT_TRUE(mapperScript().imports.empty()) << "a buffer was not freed";
        for (const int fd : allocatorScript().descriptors)
            EXPECT_EQ(fcntl(fd, F_GETFD), -1) << "a raw buffer's descriptor was not closed";
        resetScripts();
    }

    std::optional<NSCam::GrallocMapperAidlV2::MapperV5> mapper;
    // Nobody looks behind it.
    const native_handle* const buffer = reinterpret_cast<const native_handle*>(0x77);

  private:
    static void resetScripts() {
        platformScript() = {};
        mapperScript() = {};
        allocatorScript() = {};
    }
};

}  // namespace zelkcam::test
