#include "tests/plexa/ScriptedBuffer.h"

extern "C" AIMapper* zelkcam_test_scriptedMapper();

namespace zelkcam::test {
namespace {

int32_t getMetadata(buffer_handle_t, AIMapper_MetadataType type, void* out, size_t size) {
    journal().add("getMetadata " + std::to_string(type.value));
    if (vendorScript().readError != 0) {
        return -vendorScript().readError;
    }
    const std::vector<uint8_t>& value = vendorScript().values[{type.name, type.value}];
    if (value.size() <= size) {
        std::copy(value.begin(), value.end(), static_cast<uint8_t*>(out));
    }
    return static_cast<int32_t>(value.size());
}

AIMapper_Error setMetadata(buffer_handle_t, AIMapper_MetadataType type, const void* bytes,
                           size_t size) {
    journal().add("setMetadata " + std::to_string(type.value));
    const auto* first = static_cast<const uint8_t*>(bytes);
    if (vendorScript().setError == 0) {
        vendorScript().values[{type.name, type.value}].assign(first, first + size);
    }
    return static_cast<AIMapper_Error>(vendorScript().setError);
}

}  // namespace

VendorScript& vendorScript() {
    static VendorScript& instance = *new VendorScript;
    return instance;
}

ScriptedBufferTest::ScriptedBufferTest() : mHandle(native_handle_create(2, 1)) {
    mHandle->data[0] = 41;
    mHandle->data[1] = 42;
    mapperScript() = {};
    vendorScript() = {};
    static const bool registered = (registerScriptedAllocator(), true);
    static_cast<void>(registered);
    AIMapper* mapper = zelkcam_test_scriptedMapper();
    mapper->v5.getMetadata = getMetadata;
    mapper->v5.setMetadata = setMetadata;
    uint32_t flags;
    plexa_query(mHandle, PLEXA_GET_BUFFER_FLAGS, &flags);  // the mapper is found from here on
    journal().take();
}

}  // namespace zelkcam::test
