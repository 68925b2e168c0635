// What every HIDL enumeration offers beside its enumerators, made from one table of names.
#pragma once

#include <array>
#include <cstddef>
#include <ostream>
#include <string>
#include <type_traits>

#include <hidl/HidlSupport.h>

namespace zelkcam::host {

template <typename E>
struct EnumName {
    E value;
    const char* name;
};

// The table of an enumeration that extends another: what it inherits, then its own.
template <typename E, typename Base, size_t INHERITED, size_t OWN>
constexpr std::array<EnumName<E>, INHERITED + OWN> extendEnumNames(
        const std::array<EnumName<Base>, INHERITED>& inherited,
        const std::array<EnumName<E>, OWN>& own) {
    std::array<EnumName<E>, INHERITED + OWN> all{};
    for (size_t i = 0; i < INHERITED; ++i) {
        all[i] = {static_cast<E>(inherited[i].value), inherited[i].name};
    }
    for (size_t i = 0; i < OWN; ++i) {
        all[INHERITED + i] = own[i];
    }
    return all;
}

template <typename E, size_t COUNT>
constexpr std::array<E, COUNT> enumValuesOf(const std::array<EnumName<E>, COUNT>& names) {
    std::array<E, COUNT> values{};
    for (size_t i = 0; i < COUNT; ++i) {
        values[i] = names[i].value;
    }
    return values;
}

template <typename T>
std::string toHex(T value) {
    return ::android::hardware::toHexString(static_cast<std::make_unsigned_t<T>>(value));
}

// The first name of the value; its hexadecimal number when it has none.
template <typename E, size_t COUNT>
std::string enumToString(E value, const std::array<EnumName<E>, COUNT>& names) {
    for (const EnumName<E>& entry : names) {
        if (entry.value == value) {
            return entry.name;
        }
    }
    return toHex(static_cast<std::underlying_type_t<E>>(value));
}

// Every name whose bits are all set, then the unnamed rest, then the whole number.
template <typename E, size_t COUNT>
std::string bitfieldToString(std::underlying_type_t<E> bits,
                             const std::array<EnumName<E>, COUNT>& names) {
    using Bits = std::underlying_type_t<E>;
    std::string text;
    Bits named = 0;
    for (const EnumName<E>& entry : names) {
        const auto mask = static_cast<Bits>(entry.value);
        if ((bits & mask) == mask) {
            text += (text.empty() ? "" : " | ") + std::string(entry.name);
            named = static_cast<Bits>(named | mask);
        }
    }
    if (bits != named) {
        text += (text.empty() ? "" : " | ") + toHex<Bits>(bits & ~named);
    }
    return text + " (" + toHex(bits) + ")";
}

}  // namespace zelkcam::host

// In the enumeration's own namespace: bit operators, whose results are integers, and texts.
#define ZELKCAM_HIDL_ENUM(E, NAMES)                                                        \
    constexpr std::underlying_type_t<E> operator|(const E left, const E right) {           \
        return static_cast<std::underlying_type_t<E>>(left) |                              \
               static_cast<std::underlying_type_t<E>>(right);                              \
    }                                                                                      \
    constexpr std::underlying_type_t<E> operator|(const std::underlying_type_t<E> left,    \
                                                  const E right) {                         \
        return left | static_cast<std::underlying_type_t<E>>(right);                       \
    }                                                                                      \
    constexpr std::underlying_type_t<E> operator|(const E left,                            \
                                                  const std::underlying_type_t<E> right) { \
        return static_cast<std::underlying_type_t<E>>(left) | right;                       \
    }                                                                                      \
    constexpr std::underlying_type_t<E> operator&(const E left, const E right) {           \
        return static_cast<std::underlying_type_t<E>>(left) &                              \
               static_cast<std::underlying_type_t<E>>(right);                              \
    }                                                                                      \
    constexpr std::underlying_type_t<E> operator&(const std::underlying_type_t<E> left,    \
                                                  const E right) {                         \
        return left & static_cast<std::underlying_type_t<E>>(right);                       \
    }                                                                                      \
    constexpr std::underlying_type_t<E> operator&(const E left,                            \
                                                  const std::underlying_type_t<E> right) { \
        return static_cast<std::underlying_type_t<E>>(left) & right;                       \
    }                                                                                      \
    constexpr std::underlying_type_t<E>& operator|=(std::underlying_type_t<E>& bits,       \
                                                    const E added) {                       \
        return bits |= static_cast<std::underlying_type_t<E>>(added);                      \
    }                                                                                      \
    constexpr std::underlying_type_t<E>& operator&=(std::underlying_type_t<E>& bits,       \
                                                    const E kept) {                        \
        return bits &= static_cast<std::underlying_type_t<E>>(kept);                       \
    }                                                                                      \
    template <typename>                                                                    \
    std::string toString(std::underlying_type_t<E> bits);                                  \
    template <>                                                                            \
    inline std::string toString<E>(std::underlying_type_t<E> bits) {                       \
        return ::zelkcam::host::bitfieldToString<E>(bits, NAMES);                          \
    }                                                                                      \
    inline std::string toString(E value) {                                                 \
        return ::zelkcam::host::enumToString(value, NAMES);                                \
    }                                                                                      \
    inline void PrintTo(E value, ::std::ostream* stream) {                                 \
        *stream << toString(value);                                                        \
    }

// At global scope: the enumerators for hidl_enum_range.
#define ZELKCAM_HIDL_ENUM_VALUES(E, NAMES)                                  \
    template <>                                                             \
    inline constexpr auto android::hardware::details::hidl_enum_values<E> = \
            ::zelkcam::host::enumValuesOf(NAMES);
