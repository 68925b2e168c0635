// A buffer of the scripted mapper, with vendor metadata besides the standard one.
#pragma once

#include <cstring>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "platform/plexa.h"
#include "tests/support/Journal.h"
#include "tests/support/ScriptedGralloc.h"

namespace zelkcam::test {

// Calls reach the journal as "getMetadata <number>" and "setMetadata <number>".
struct VendorScript {
    int32_t readError = 0;  // an AIMapper_Error; 0 answers from `values`
    int32_t setError = 0;
    std::map<std::pair<std::string, int64_t>, std::vector<uint8_t>> values;  // absent: 0 bytes
};

VendorScript& vendorScript();

// Encodes a value for the mapper to answer.
template <StandardMetadataType T, typename V>
void describe(const V& value) {
    using Encoder = typename android::hardware::graphics::mapper::StandardMetadata<T>::value;
    std::vector<uint8_t> bytes(Encoder::encode(value, nullptr, 0));
    static_cast<void>(Encoder::encode(value, bytes.data(), bytes.size()));
    mapperScript().metadata[static_cast<int64_t>(T)] = bytes;
}

// Each test begins with an empty script and an empty journal.
class ScriptedBufferTest : public testing::Test {
  protected:
    ScriptedBufferTest();
    ~ScriptedBufferTest() override { native_handle_delete(mHandle); }

    const native_handle_t* handle() const { return mHandle; }

  private:
    native_handle_t* mHandle;
};

}  // namespace zelkcam::test
