#include "host/gralloc/SettableMetadata.h"

#include <algorithm>
#include <cstring>

namespace zelkcam::host::gralloc {
namespace {

using Header = std::array<uint8_t, kStandardHeaderSize>;

Header standardHeader(int64_t type) {
    Header header;
    const int64_t length = kStandardTypeName.size();
    std::memcpy(header.data(), &length, sizeof(length));
    std::ranges::copy(kStandardTypeName, header.begin() + sizeof(length));
    std::memcpy(header.data() + kStandardHeaderSize - sizeof(type), &type, sizeof(type));
    return header;
}

bool hasHeader(std::span<const uint8_t> bytes, int64_t type) {
    return bytes.size() >= kStandardHeaderSize &&
           std::ranges::equal(bytes.first<kStandardHeaderSize>(), standardHeader(type));
}

AIMapper_Error acceptFixed(uint32_t payload, std::span<const uint8_t> bytes, size_t* valueSize) {
    *valueSize = kStandardHeaderSize + payload;
    return bytes.size() >= *valueSize ? AIMAPPER_ERROR_NONE : AIMAPPER_ERROR_UNSUPPORTED;
}

AIMapper_Error acceptDynamic(uint32_t maxPayload, std::span<const uint8_t> bytes,
                             size_t* valueSize) {
    int64_t length = 0;
    if (bytes.size() < kStandardHeaderSize + sizeof(length)) {
        return AIMAPPER_ERROR_UNSUPPORTED;
    }
    std::memcpy(&length, bytes.data() + kStandardHeaderSize, sizeof(length));
    const size_t available = bytes.size() - kStandardHeaderSize - sizeof(length);
    if (length < 0 || static_cast<uint64_t>(length) > available) {
        return AIMAPPER_ERROR_UNSUPPORTED;
    }
    *valueSize = kStandardHeaderSize + sizeof(length) + static_cast<size_t>(length);
    return length <= maxPayload ? AIMAPPER_ERROR_NONE : AIMAPPER_ERROR_NO_RESOURCES;
}

bool mayBeAbsent(const SettableRule& rule) {
    return rule.form == Form::Optional || rule.form == Form::Dynamic;
}

AIMapper_Error acceptAbsent(const SettableRule& rule, size_t* valueSize) {
    *valueSize = 0;
    return mayBeAbsent(rule) ? AIMAPPER_ERROR_NONE : AIMAPPER_ERROR_UNSUPPORTED;
}

}  // namespace

int findSettable(std::string_view typeName, int64_t type) {
    const auto rule = std::ranges::find_if(kSettableRules, [&](const SettableRule& candidate) {
        return candidate.type == type && candidate.typeName == typeName;
    });
    return rule != kSettableRules.end() ? static_cast<int>(rule - kSettableRules.begin()) : -1;
}

// The first data space is UNKNOWN and the first blend mode INVALID, both 0, and libplexa's values
// start as zeros as well: after the header, a first value is made of zeros.
std::vector<uint8_t> initialValue(const SettableRule& rule) {
    if (mayBeAbsent(rule)) {
        return {};
    }
    std::vector<uint8_t> value(rule.capacity());
    if (rule.form == Form::Value) {
        std::ranges::copy(standardHeader(rule.type), value.begin());
    }
    return value;
}

AIMapper_Error accept(const SettableRule& rule, std::span<const uint8_t> bytes, size_t* valueSize) {
    if (bytes.empty()) {
        return acceptAbsent(rule, valueSize);
    }
    if (rule.form == Form::Plain) {
        *valueSize = rule.payload;
        return bytes.size() == rule.payload ? AIMAPPER_ERROR_NONE : AIMAPPER_ERROR_UNSUPPORTED;
    }
    if (!hasHeader(bytes, rule.type)) {
        return AIMAPPER_ERROR_UNSUPPORTED;
    }
    return rule.form == Form::Dynamic ? acceptDynamic(rule.payload, bytes, valueSize)
                                      : acceptFixed(rule.payload, bytes, valueSize);
}

}  // namespace zelkcam::host::gralloc
