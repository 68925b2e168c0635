// The buffer-attribute extension over a mapper that answers anything.
#include "platform/plexa.h"

#include <algorithm>
#include <cstring>

#include "fuzz/Fuzz.h"
#include "platform/utils.h"
#include "plexa/MapperLibrary.h"

namespace {

using namespace zelkcam::fuzz;

FuzzedDataProvider* gInput = nullptr;

// Bytes, and a size that need not be theirs. Contract: no more than was announced is read, so a
// size within the room is one that the mapper has written.
int32_t answer(void* destination, size_t room) {
    const auto bytes = gInput->ConsumeBytes<uint8_t>(
            gInput->ConsumeIntegralInRange<size_t>(0, std::min<size_t>(room, 1024)));
    if (!bytes.empty()) {
        memcpy(destination, bytes.data(), bytes.size());
    }
    return gInput->ConsumeBool() ? static_cast<int32_t>(bytes.size())
                                 : gInput->ConsumeIntegral<int32_t>();
}

// A value that decodes, so that what is made of it is reached.
int32_t wellFormed(int64_t type, void* destination, size_t room) {
    using android::hardware::graphics::mapper::provideStandardMetadata;
    return provideStandardMetadata(
            static_cast<StandardMetadataType>(type), destination, room,
            []<StandardMetadataType T>(auto&& provide) {
                typename android::hardware::graphics::mapper::StandardMetadata<T>::value_type
                        value{};
                if constexpr (T == StandardMetadataType::PLANE_LAYOUTS) {
                    value = anyPlanes(*gInput);
                } else if constexpr (std::is_integral_v<decltype(value)>) {
                    value = gInput->ConsumeIntegral<decltype(value)>();
                }
                return provide(value);
            });
}

void readEverything(const native_handle_t& handle) {
    constexpr int kAttributes[] = {1, 10, 11, 12, 13, 14, 15, 17, 52, 100, 110};
    for (int left = 24; left > 0; --left) {
        alignas(8) uint8_t out[64];
        memset(out, 0xa5, sizeof(out));
        const int attribute = gInput->PickValueInArray(kAttributes);
        // Contract: written on success only.
        if (plexa_query(&handle, attribute, out) != 0) {
            require(std::count(out, out + sizeof(out), 0xa5) == sizeof(out));
        }
        plexa_sf_record_t record = {};
        plexa_perform(&handle, gInput->ConsumeBool() ? 100 : 110, &record);
    }
    plexa_query(&handle, gInput->ConsumeIntegral<int>(), nullptr);
}

}  // namespace

const AIMapperV5* zelkcam::plexa::mapperFunctions() {
    static const AIMapperV5 mapper = [] {
        AIMapperV5 functions = {};
        functions.getStandardMetadata = [](buffer_handle_t, int64_t type, void* out, size_t room) {
            return gInput->ConsumeBool() ? wellFormed(type, out, room) : answer(out, room);
        };
        functions.getMetadata = [](buffer_handle_t, AIMapper_MetadataType, void* out, size_t room) {
            return answer(out, room);
        };
        functions.setMetadata = [](buffer_handle_t, AIMapper_MetadataType, const void*, size_t) {
            return static_cast<AIMapper_Error>(gInput->ConsumeIntegralInRange(0, 8));
        };
        return functions;
    }();
    return &mapper;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider input(data, size);
    gInput = &input;
    NATIVE_HANDLE_DECLARE_STORAGE(storage, 1, 0);
    native_handle_t* const handle = native_handle_init(storage, 1, 0);
    handle->data[0] = 0;
    readEverything(*handle);
    return 0;
}
