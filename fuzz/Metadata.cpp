// Encoded values of standard metadata, as a mapper answers them: what decodes has to encode to
// something that decodes to the same.
#include "fuzz/Fuzz.h"

namespace {

using namespace zelkcam::fuzz;
using android::hardware::graphics::mapper::applyStandardMetadata;
using android::hardware::graphics::mapper::StandardMetadata;

struct RoundTrip {
    template <StandardMetadataType T>
    AIMapper_Error operator()(typename StandardMetadata<T>::value_type&& value) {
        using Value = typename StandardMetadata<T>::value;
        const int32_t size = Value::encode(value, nullptr, 0);
        require(size >= 0);
        std::vector<uint8_t> bytes(static_cast<size_t>(size));
        require(Value::encode(value, bytes.data(), bytes.size()) == size);
        const auto again = Value::decode(bytes.data(), bytes.size());
        require(again.has_value());
        std::vector<uint8_t> twice(bytes.size());
        require(Value::encode(*again, twice.data(), twice.size()) == size && twice == bytes);
        // The size is answered whatever the room, and nothing is written behind it.
        for (const size_t room : {bytes.size() / 2, bytes.size() - (bytes.empty() ? 0 : 1)}) {
            std::vector<uint8_t> less(room);
            require(Value::encode(value, less.data(), room) == size);
        }
        return AIMAPPER_ERROR_NONE;
    }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) {
        return 0;
    }
    const auto type = static_cast<StandardMetadataType>(data[0] % 40);
    applyStandardMetadata(type, data + 1, size - 1, RoundTrip());
    return 0;
}
