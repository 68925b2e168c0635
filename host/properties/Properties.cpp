#include <errno.h>
#include <inttypes.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <string>
#include <string_view>

#include <cutils/properties.h>

#include "host/properties/PropertyStore.h"

namespace {

// The value that a caller of the typed readers sees: empty when unset.
std::string valueOf(const char* key) {
    return key == nullptr ? "" : zelkcam::host::readProperty(key).value_or("");
}

template <typename T>
T readNumber(const char* key, T defaultValue) {
    const std::string value = valueOf(key);
    const int callersErrno = errno;
    char* end = nullptr;
    errno = 0;
    const intmax_t number = strtoimax(value.c_str(), &end, 0);
    const bool isOutOfRange = errno == ERANGE || number < std::numeric_limits<T>::min() ||
                              number > std::numeric_limits<T>::max();
    errno = callersErrno;
    return end == value.c_str() || isOutOfRange ? defaultValue : static_cast<T>(number);
}

bool isOneOf(std::string_view value, std::initializer_list<std::string_view> words) {
    return std::find(words.begin(), words.end(), value) != words.end();
}

}  // namespace

int property_get(const char* key, char* value, const char* default_value) {
    std::string text = valueOf(key);
    if (text.empty() && default_value != nullptr) {
        text = default_value;
    }
    const size_t length = std::min<size_t>(text.size(), PROPERTY_VALUE_MAX - 1);
    std::memcpy(value, text.data(), length);
    value[length] = '\0';
    return static_cast<int>(length);
}

int8_t property_get_bool(const char* key, int8_t default_value) {
    const std::string value = valueOf(key);
    if (isOneOf(value, {"1", "y", "yes", "true", "on"})) {
        return true;
    }
    if (isOneOf(value, {"0", "n", "no", "false", "off"})) {
        return false;
    }
    return default_value;
}

int64_t property_get_int64(const char* key, int64_t default_value) {
    return readNumber(key, default_value);
}

int32_t property_get_int32(const char* key, int32_t default_value) {
    return readNumber(key, default_value);
}

int property_set(const char* key, const char* value) {
    if (key == nullptr || *key == '\0') {
        return -1;
    }
    const std::string text = value == nullptr ? "" : value;
    if (text.size() >= PROPERTY_VALUE_MAX) {
        return -1;
    }
    zelkcam::host::writeProperty(key, text);
    return 0;
}

int property_list(void (*propfn)(const char* key, const char* value, void* cookie), void* cookie) {
    if (propfn == nullptr) {
        return -1;
    }
    for (const auto& [name, value] : zelkcam::host::listProperties()) {
        propfn(name.c_str(), value.c_str(), cookie);
    }
    return 0;
}
