// The metadata that clients may set, and what they may set it to.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include <aidl/android/hardware/graphics/common/Dataspace.h>
#include <aidl/android/hardware/graphics/common/StandardMetadataType.h>
#include <android/hardware/graphics/mapper/IMapper.h>

#include "host/gralloc/ConstantMetadata.h"

namespace zelkcam::host::gralloc {

using aidl::android::hardware::graphics::common::Dataspace;
using aidl::android::hardware::graphics::common::StandardMetadataType;

// What libplexa keeps with a buffer: the 64 bytes of its status record (100) and the 8 bytes of the
// start-of-frame time stamp (110). These values are plain bytes, without an encoding of their own.
inline constexpr std::string_view kPlexaTypeName = "zelkcam.plexa.BufferAttribute";

// The longest payload of a dynamic type. Streams carry some hundred bytes a frame.
inline constexpr uint32_t kMaxDynamicPayload = 64 * 1024;

// Every standard value begins with the name's length, the name and the type.
inline constexpr size_t kStandardHeaderSize =
        sizeof(int64_t) + kStandardTypeName.size() + sizeof(int64_t);

struct SettableRule {
    std::string_view typeName;
    int64_t type;
    uint32_t capacity;        // the most bytes that a stored value takes
    const char* description;  // null for standard types, which need none
};

constexpr SettableRule standardRule(StandardMetadataType type, size_t payload) {
    return {kStandardTypeName, static_cast<int64_t>(type),
            static_cast<uint32_t>(kStandardHeaderSize + payload), nullptr};
}

// The large ones stand last: what a fresh buffer writes then lies in one page.
inline constexpr std::array kSettableRules = {
        standardRule(StandardMetadataType::DATASPACE, sizeof(int32_t)),
        standardRule(StandardMetadataType::BLEND_MODE, sizeof(int32_t)),
        standardRule(StandardMetadataType::SMPTE2086, 10 * sizeof(float)),
        standardRule(StandardMetadataType::CTA861_3, 2 * sizeof(float)),
        SettableRule{kPlexaTypeName, 100, 64, "Status record of the buffer"},
        SettableRule{kPlexaTypeName, 110, 8, "Start-of-frame time stamp"},
        standardRule(StandardMetadataType::SMPTE2094_40, sizeof(int64_t) + kMaxDynamicPayload),
        standardRule(StandardMetadataType::SMPTE2094_10, sizeof(int64_t) + kMaxDynamicPayload),
};

// Index of the type in kSettableRules, or -1.
int findSettable(std::string_view typeName, int64_t type);

// Whether the device lets clients set the type. What libplexa keeps can always be set.
bool isSettable(std::string_view typeName, int64_t type);

// The bytes of a fresh buffer's value; none for the types that are absent at first. `dataspace` is
// what DATASPACE starts with.
std::vector<uint8_t> initialValue(const SettableRule& rule, Dataspace dataspace);

// How many of the bytes that a client hands over are the value (any after it are left out).
// UNSUPPORTED for bytes that are no value of this type, NO_RESOURCES for one that is too long to
// keep.
AIMapper_Error accept(const SettableRule& rule, std::span<const uint8_t> bytes, size_t* valueSize);

}  // namespace zelkcam::host::gralloc
