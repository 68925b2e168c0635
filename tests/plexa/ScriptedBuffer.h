// A buffer of the scripted mapper, whose standard metadata the test describes.
#pragma once

#include <cstring>
#include <optional>

#include <gtest/gtest.h>

#include "platform/plexa.h"
#include "tests/support/Journal.h"
#include "tests/support/ScriptedGralloc.h"

namespace zelkcam::test {

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
    ScriptedBufferTest() {
        mHandle->data[0] = 41;
        mapperScript() = {};
        [[maybe_unused]] static const bool registered = (registerScriptedAllocator(), true);
        uint32_t flags;
        plexa_query(mHandle, PLEXA_GET_BUFFER_FLAGS, &flags);  // the mapper is found from here on
        journal().take();
    }
    ~ScriptedBufferTest() override { native_handle_delete(mHandle); }

    const native_handle_t* handle() const { return mHandle; }

  private:
    native_handle_t* const mHandle = native_handle_create(2, 1);
};

}  // namespace zelkcam::test
