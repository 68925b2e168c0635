#include "host/gralloc/SettableMetadata.h"

#include <stddef.h>  // IMapperMetadataTypes.h needs size_t and does not bring it everywhere

#include <algorithm>

#include <android/hardware/graphics/mapper/utils/IMapperMetadataTypes.h>

#include "host/gralloc/Device.h"

namespace zelkcam::host::gralloc {
namespace {

using android::hardware::graphics::mapper::applyStandardMetadata;
using android::hardware::graphics::mapper::provideStandardMetadata;
using android::hardware::graphics::mapper::StandardMetadata;

// The size of the value at the front of the bytes; negative when there is none.
int32_t measureStandard(int64_t type, std::span<const uint8_t> bytes) {
    int32_t size = -AIMAPPER_ERROR_UNSUPPORTED;
    applyStandardMetadata(static_cast<StandardMetadataType>(type), bytes.data(), bytes.size(),
                          [&]<StandardMetadataType T>(const auto& value) {
                              size = StandardMetadata<T>::value::encode(value, nullptr, 0);
                              return AIMAPPER_ERROR_NONE;
                          });
    return size;
}

int32_t measurePlain(const SettableRule& rule, std::span<const uint8_t> bytes) {
    return bytes.size() == rule.capacity ? static_cast<int32_t>(bytes.size())
                                         : -AIMAPPER_ERROR_UNSUPPORTED;
}

bool isStandard(const SettableRule& rule) {
    return rule.typeName == kStandardTypeName;
}

}  // namespace

int findSettable(std::string_view typeName, int64_t type) {
    const auto rule = std::ranges::find_if(kSettableRules, [&](const SettableRule& candidate) {
        return candidate.type == type && candidate.typeName == typeName;
    });
    return rule != kSettableRules.end() ? static_cast<int>(rule - kSettableRules.begin()) : -1;
}

// All but the data space start as their type's default: blend mode INVALID, no dynamic metadata,
// and zeros for libplexa.
bool isSettable(std::string_view typeName, int64_t type) {
    const auto& settable = deviceTraits().settable;
    return findSettable(typeName, type) >= 0 &&
           (typeName != kStandardTypeName || std::ranges::find(settable, type) != settable.end());
}

std::vector<uint8_t> initialValue(const SettableRule& rule, Dataspace dataspace) {
    std::vector<uint8_t> value(rule.capacity);
    if (isStandard(rule)) {
        const int32_t size = provideStandardMetadata(
                static_cast<StandardMetadataType>(rule.type), value.data(), value.size(),
                [dataspace]<StandardMetadataType T>(const auto& provide) {
                    typename StandardMetadata<T>::value_type first{};
                    if constexpr (T == StandardMetadataType::DATASPACE) {
                        first = dataspace;
                    }
                    return provide(first);
                });
        value.resize(static_cast<size_t>(size));
    }
    return value;
}

AIMapper_Error accept(const SettableRule& rule, std::span<const uint8_t> bytes, size_t* valueSize) {
    const int32_t size =
            isStandard(rule) ? measureStandard(rule.type, bytes) : measurePlain(rule, bytes);
    if (size < 0) {
        return AIMAPPER_ERROR_UNSUPPORTED;
    }
    *valueSize = static_cast<size_t>(size);
    return *valueSize <= rule.capacity ? AIMAPPER_ERROR_NONE : AIMAPPER_ERROR_NO_RESOURCES;
}

}  // namespace zelkcam::host::gralloc
