// The metadata that clients may set, and what they may set it to.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include <aidl/android/hardware/graphics/common/StandardMetadataType.h>
#include <android/hardware/graphics/mapper/IMapper.h>

#include "host/gralloc/ConstantMetadata.h"

namespace zelkcam::host::gralloc {

// What libplexa keeps with a buffer: the 64 bytes of its status record (100) and the 8 bytes of the
// start-of-frame time stamp (110). These values are plain bytes, without an encoding of their own.
inline constexpr std::string_view kPlexaTypeName = "zelkcam.plexa.BufferAttribute";

// The longest payload of a dynamic type. Streams carry some hundred bytes a frame.
inline constexpr uint32_t kMaxDynamicPayload = 64 * 1024;

// Every standard value begins with the name's length, the name and the type.
inline constexpr size_t kStandardHeaderSize =
        sizeof(int64_t) + kStandardTypeName.size() + sizeof(int64_t);

enum class Form : uint8_t {
    Value,     // header, then `payload` bytes; always present
    Optional,  // the same, or nothing
    Dynamic,   // header, int64 length and at most `payload` bytes; or nothing
    Plain,     // `payload` bytes; always present
};

struct SettableRule {
    std::string_view typeName;
    int64_t type;
    Form form;
    uint32_t payload;
    const char* description;  // null for standard types

    // The most bytes that a stored value takes.
    constexpr uint32_t capacity() const {
        const size_t header = form == Form::Plain ? 0 : kStandardHeaderSize;
        const size_t length = form == Form::Dynamic ? sizeof(int64_t) : 0;
        return static_cast<uint32_t>(header + length + payload);
    }
};

using aidl::android::hardware::graphics::common::StandardMetadataType;

constexpr SettableRule standardRule(StandardMetadataType type, Form form, uint32_t payload) {
    return {kStandardTypeName, static_cast<int64_t>(type), form, payload, nullptr};
}

// The large ones stand last: what a fresh buffer writes then lies in one page.
inline constexpr std::array kSettableRules = {
        standardRule(StandardMetadataType::DATASPACE, Form::Value, 4),
        standardRule(StandardMetadataType::BLEND_MODE, Form::Value, 4),
        standardRule(StandardMetadataType::SMPTE2086, Form::Optional, 40),
        standardRule(StandardMetadataType::CTA861_3, Form::Optional, 8),
        SettableRule{kPlexaTypeName, 100, Form::Plain, 64, "Status record of the buffer"},
        SettableRule{kPlexaTypeName, 110, Form::Plain, 8, "Start-of-frame time stamp"},
        standardRule(StandardMetadataType::SMPTE2094_40, Form::Dynamic, kMaxDynamicPayload),
        standardRule(StandardMetadataType::SMPTE2094_10, Form::Dynamic, kMaxDynamicPayload),
};

// Index of the type in kSettableRules, or -1.
int findSettable(std::string_view typeName, int64_t type);

// The bytes of a fresh buffer's value; empty for the types that are absent at first.
std::vector<uint8_t> initialValue(const SettableRule& rule);

// How many of the bytes that a client hands over are the value (any after it are left out).
// UNSUPPORTED for bytes that are no value of this type, NO_RESOURCES for a dynamic payload that is
// too long.
AIMapper_Error accept(const SettableRule& rule, std::span<const uint8_t> bytes, size_t* valueSize);

}  // namespace zelkcam::host::gralloc
