// What every HIDL enumeration and record offers beside its values.
#pragma once

#include <ostream>
#include <string>
#include <string_view>
#include <type_traits>

#include <hidl/HidlSupport.h>

#include "zelkcam/host/EnumNames.h"

namespace zelkcam::host {

// The value's name, or its hexadecimal number when it has none.
template <typename E>
std::string hidlEnumToString(E value) {
    const char* name = enumName(value);
    return name != nullptr ? name
                           : ::android::hardware::details::toHexString(
                                     static_cast<std::underlying_type_t<E>>(value));
}

// Every name whose bits are all set, then the unnamed rest, then the whole number.
template <typename E>
std::string hidlBitfieldToString(std::underlying_type_t<E> bits) {
    using Bits = std::underlying_type_t<E>;
    std::string text;
    const auto append = [&text](const std::string& part) {
        text.append(text.empty() ? "" : " | ").append(part);
    };
    Bits named = 0;
    for (const EnumName<E>& row : kEnumNames<E>) {
        const auto mask = static_cast<Bits>(row.value);
        if ((bits & mask) == mask) {
            append(row.name);
            named = static_cast<Bits>(named | mask);
        }
    }
    if (bits != named) {
        append(::android::hardware::details::toHexString(static_cast<Bits>(bits & ~named)));
    }
    return text + " (" + ::android::hardware::details::toHexString(bits) + ")";
}

// "{.first = 1, .second = 2}" from the names in one text, separated by ", ", and the values.
template <typename... Values>
std::string hidlRecordToString(std::string_view names, const Values&... values) {
    using ::android::hardware::toString;
    std::string text;
    const auto append = [&](const std::string& value) {
        const size_t end = names.find(", ");
        text.append(text.empty() ? "{." : ", .").append(names.substr(0, end));
        text.append(" = ").append(value);
        names.remove_prefix(end == names.npos ? names.size() : end + 2);
    };
    (append(toString(values)), ...);
    return text + "}";
}

}  // namespace zelkcam::host

// `|` and `&` give integers, and take one on either side.
#define ZELKCAM_HIDL_BIT_OPERATOR(E, OP)                                                     \
    constexpr std::underlying_type_t<E> operator OP(const E left, const E right) {           \
        using Bits = std::underlying_type_t<E>;                                              \
        return static_cast<Bits>(left) OP static_cast<Bits>(right);                          \
    }                                                                                        \
    constexpr std::underlying_type_t<E> operator OP(const std::underlying_type_t<E> left,    \
                                                    const E right) {                         \
        return left OP static_cast<std::underlying_type_t<E>>(right);                        \
    }                                                                                        \
    constexpr std::underlying_type_t<E> operator OP(const E left,                            \
                                                    const std::underlying_type_t<E> right) { \
        return static_cast<std::underlying_type_t<E>>(left) OP right;                        \
    }                                                                                        \
    constexpr std::underlying_type_t<E>& operator OP##=(std::underlying_type_t<E>& left,     \
                                                        const E right) {                     \
        return left = left OP right;                                                         \
    }

// In the enumeration's own namespace.
#define ZELKCAM_HIDL_ENUM(E, LIST)                                   \
    ZELKCAM_ENUM_NAMES(E, LIST)                                      \
    ZELKCAM_HIDL_BIT_OPERATOR(E, |)                                  \
    ZELKCAM_HIDL_BIT_OPERATOR(E, &)                                  \
    template <typename>                                              \
    std::string toString(std::underlying_type_t<E> bits);            \
    template <>                                                      \
    inline std::string toString<E>(std::underlying_type_t<E> bits) { \
        return ::zelkcam::host::hidlBitfieldToString<E>(bits);       \
    }                                                                \
    inline std::string toString(E value) {                           \
        return ::zelkcam::host::hidlEnumToString(value);             \
    }                                                                \
    inline void PrintTo(E value, ::std::ostream* stream) {           \
        *stream << toString(value);                                  \
    }

// In the record's namespace, with all its fields in the order of their declaration.
#define ZELKCAM_HIDL_RECORD_TEXT(RECORD, ...)                                  \
    inline std::string toString(const RECORD& record) {                        \
        const auto& [__VA_ARGS__] = record;                                    \
        return ::zelkcam::host::hidlRecordToString(#__VA_ARGS__, __VA_ARGS__); \
    }                                                                          \
    inline void PrintTo(const RECORD& record, ::std::ostream* stream) {        \
        *stream << toString(record);                                           \
    }

// In the interface's namespace, after its class. A null object is dereferenced.
#define ZELKCAM_HIDL_INTERFACE_TEXT(I)                                        \
    static inline std::string toString(const ::android::sp<I>& object) {      \
        return "[class or subclass of " + std::string(I::descriptor) + "]@" + \
               (object->isRemote() ? "remote" : "local");                     \
    }
