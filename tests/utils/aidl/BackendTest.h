// The fixture of the AIDL pair's tests: a mapper backend over the scripted mapper.
#pragma once

#include <optional>

#include "tests/support/GrallocTest.h"
#include "utils/gralloc/aidl/v2/mapper/mapper.h"

namespace zelkcam::test {

class BackendTest : public GrallocTest {
  protected:
    void SetUp() override {
        GrallocTest::SetUp();
        mapperScript().version = 4;  // nobody looks at it
        mapper.emplace(scriptedAllocator());
        forget();
    }

    std::optional<NSCam::GrallocMapperAidlV2::MapperV5> mapper;
    // Nobody looks behind it.
    const native_handle* const buffer = reinterpret_cast<const native_handle*>(0x77);
};

}  // namespace zelkcam::test
