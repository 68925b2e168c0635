// The host's mapper: any operation with any bytes on a living buffer, and handles that lie.
#include <fcntl.h>
#include <sys/eventfd.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <string>

#include "fuzz/Fuzz.h"
#include "tests/support/Device.h"

namespace {

using namespace zelkcam::fuzz;
using namespace zelkcam::test;
namespace alloc = aidl::android::hardware::graphics::allocator;

// A request as a client may send it; most are refused.
alloc::BufferDescriptorInfo anyRequest(FuzzedDataProvider& input) {
    constexpr int32_t kFormats[] = {0x1, 0x11, 0x20, 0x21, 0x22, 0x23, 0x36, 0x32315659, 0x111};
    alloc::BufferDescriptorInfo info;
    info.width = input.ConsumeBool() ? 64 : input.ConsumeIntegral<int32_t>();
    info.height = input.ConsumeBool() ? 32 : input.ConsumeIntegral<int32_t>();
    info.layerCount = input.ConsumeIntegralInRange(-1, 2);
    info.format = static_cast<decltype(info.format)>(input.ConsumeBool()
                                                             ? input.PickValueInArray(kFormats)
                                                             : input.ConsumeIntegral<int32_t>());
    info.usage = static_cast<decltype(info.usage)>(input.ConsumeIntegral<uint64_t>());
    info.reservedSize = input.ConsumeBool() ? 0 : input.ConsumeIntegral<int64_t>();
    return info;
}

// Pixels stay unmapped unless they are small: the machine is not what is tested.
bool isSmall(const alloc::BufferDescriptorInfo& info) {
    return int64_t{info.width} * info.height < 1 << 20 && info.reservedSize < 1 << 20;
}

AIMapper_MetadataType anyType(FuzzedDataProvider& input, std::string& name) {
    const int kind = input.ConsumeIntegralInRange(0, 4);
    name = kind < 3 ? kStandardName : kind == 3 ? kPlexaName : input.ConsumeRandomLengthString(9);
    constexpr int64_t kNotes[] = {100, 110};
    return {name.c_str(), kind == 3 ? input.PickValueInArray(kNotes)
                                    : input.ConsumeIntegralInRange<int64_t>(-2, 40)};
}

void readBack(buffer_handle_t buffer, AIMapper_MetadataType type, size_t room) {
    std::vector<uint8_t> bytes(room);
    const int32_t size = mapper().getMetadata(buffer, type, bytes.data(), bytes.size());
    require(size >= -7);
    if (size > 0) {
        bytes.resize(static_cast<size_t>(size));
    }
    require(size < 0 || mapper().getMetadata(buffer, type, bytes.data(), bytes.size()) == size);
}

void lockSomewhere(buffer_handle_t buffer, FuzzedDataProvider& input) {
    const auto usage = input.ConsumeIntegral<uint64_t>();
    const ARect region = {input.ConsumeIntegral<int32_t>(), input.ConsumeIntegral<int32_t>(),
                          input.ConsumeIntegral<int32_t>(), input.ConsumeIntegral<int32_t>()};
    void* address = nullptr;
    if (mapper().lock(buffer, usage, region, -1, &address) != AIMAPPER_ERROR_NONE) {
        return;
    }
    *static_cast<volatile uint8_t*>(address);
    int fence = -1;
    require(mapper().unlock(buffer, &fence) == AIMAPPER_ERROR_NONE && fence == -1);
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
    std::string name;
    switch (input.ConsumeIntegralInRange(0, 4)) {
        case 0: {
            const AIMapper_MetadataType type = anyType(input, name);
            const auto bytes = input.ConsumeBytes<uint8_t>(input.ConsumeIntegral<uint8_t>());
            mapper().setMetadata(buffer, type, bytes.data(), bytes.size());
            readBack(buffer, type, input.ConsumeIntegralInRange<size_t>(0, 600));
            break;
        }
        case 1:
            lockSomewhere(buffer, input);
            break;
        case 2:
            importSpoilt(raw, input);
            break;
        case 3:
            scribble(raw, input);
            break;
        case 4:
            mapper().dumpBuffer(
                    buffer, [](void*, AIMapper_MetadataType, const void*, size_t) {}, nullptr);
            break;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider input(data, size);
    const alloc::BufferDescriptorInfo info = anyRequest(input);
    alloc::AllocationResult result;
    if (!isSmall(info) || !allocator().allocate2(info, 1, &result).isOk()) {
        return 0;
    }
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
