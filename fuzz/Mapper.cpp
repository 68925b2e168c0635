// The host's mapper: any metadata on a living buffer, whose shared page anybody writes over, and
// handles that lie.
#include <unistd.h>

#include <cstring>

#include "fuzz/Fuzz.h"
#include "tests/support/Device.h"

namespace {

using namespace zelkcam::fuzz;
using namespace zelkcam::test;

void readBack(buffer_handle_t buffer, AIMapper_MetadataType type, size_t room) {
    std::vector<uint8_t> bytes(room);
    const int32_t size = mapper().getMetadata(buffer, type, bytes.data(), bytes.size());
    require(size >= -7);
    if (size > 0) {
        bytes.resize(static_cast<size_t>(size));
    }
    require(size < 0 || mapper().getMetadata(buffer, type, bytes.data(), bytes.size()) == size);
}

// A good handle with some things changed. Whatever is imported of it must be whole.
void importSpoilt(const native_handle_t& good, FuzzedDataProvider& input) {
    alignas(native_handle_t) char storage[sizeof(native_handle_t) + 64 * sizeof(int)] = {};
    auto* const handle = reinterpret_cast<native_handle_t*>(storage);
    // Version, two counts, two descriptors, four integers.
    auto* const words = reinterpret_cast<int*>(storage);
    memcpy(handle, &good, sizeof(good) + 6 * sizeof(int));
    for (int left = input.ConsumeIntegralInRange(0, 3); left > 0; --left) {
        const int place = input.ConsumeIntegralInRange(0, 8);
        const bool isDescriptor = place == 3 || place == 4;
        const int value = input.ConsumeIntegral<int32_t>();
        // Descriptors that fuzzing itself needs are not to be guessed.
        words[place] = isDescriptor ? good.data[value & 1] : value;
    }
    buffer_handle_t imported = nullptr;
    if (mapper().importBuffer(handle, &imported) != AIMAPPER_ERROR_NONE) {
        return;
    }
    for (int64_t type = 0; type < 24; ++type) {
        readBack(imported, {kStandardName, type}, 0);
    }
    require(mapper().freeBuffer(imported) == AIMAPPER_ERROR_NONE);
}

// Bytes of the shared page as another process may leave them, before an import or under it.
void scribble(const native_handle_t& raw, FuzzedDataProvider& input) {
    const uint16_t offset = input.ConsumeIntegral<uint16_t>();
    const auto bytes = input.ConsumeBytes<uint8_t>(input.ConsumeIntegralInRange<size_t>(0, 16));
    const off_t size = lseek(raw.data[1], 0, SEEK_END);
    if (!bytes.empty() && offset + static_cast<off_t>(bytes.size()) <= size) {
        require(pwrite(raw.data[1], bytes.data(), bytes.size(), offset) >= 0);
    }
}

void operate(const native_handle_t& raw, buffer_handle_t buffer, FuzzedDataProvider& input) {
    const int what = input.ConsumeIntegralInRange(0, 3);
    if (what == 0) {
        importSpoilt(raw, input);
    } else if (what == 1) {
        scribble(raw, input);
    } else {
        const bool isNote = input.ConsumeBool();
        const AIMapper_MetadataType type = {isNote ? kPlexaName : kStandardName,
                                            input.ConsumeIntegralInRange<int64_t>(-2, 110)};
        const auto bytes = input.ConsumeBytes<uint8_t>(input.ConsumeIntegral<uint8_t>());
        mapper().setMetadata(buffer, type, bytes.data(), bytes.size());
        readBack(buffer, type, input.ConsumeIntegralInRange<size_t>(0, 600));
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider input(data, size);
    aidl::android::hardware::graphics::allocator::BufferDescriptorInfo info;
    info.width = info.height = 64;
    info.layerCount = 1;
    info.format = static_cast<decltype(info.format)>(0x11);
    aidl::android::hardware::graphics::allocator::AllocationResult result;
    require(allocator().allocate2(info, 1, &result).isOk());
    native_handle_t* const raw = android::makeFromAidl(result.buffers.at(0));
    buffer_handle_t buffer = nullptr;
    require(mapper().importBuffer(raw, &buffer) == AIMAPPER_ERROR_NONE);
    for (int left = 16; left > 0 && input.remaining_bytes() != 0; --left) {
        operate(*raw, buffer, input);
    }
    require(mapper().freeBuffer(buffer) == AIMAPPER_ERROR_NONE);
    native_handle_delete(raw);
    return 0;
}
