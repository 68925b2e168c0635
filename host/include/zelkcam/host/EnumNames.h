// Enumerations that know the names of their values. One list of rows makes both:
//
//     #define LIST(ROW) ROW(INVALID, 0) ROW(NONE, 1)
//     enum class BlendMode : int32_t { LIST(ZELKCAM_ENUMERATOR) };
//     ZELKCAM_ENUM_NAMES(BlendMode, LIST)
#pragma once

#include <array>
#include <cstddef>
#include <type_traits>

namespace zelkcam::host {

template <typename E>
struct EnumName {
    E value;
    const char* name;
};

// The rows in the order of the list. The function is declared next to the enumeration.
template <typename E>
inline constexpr auto kEnumNames = zelkcamEnumNames(E{});

template <typename E>
constexpr auto enumValues() {
    std::array<E, kEnumNames<E>.size()> values{};
    for (size_t i = 0; i < values.size(); ++i) {
        values[i] = kEnumNames<E>[i].value;
    }
    return values;
}

// Of several names of one value the first; null for a value without a name.
template <typename E>
constexpr const char* enumName(E value) {
    for (const EnumName<E>& row : kEnumNames<E>) {
        if (row.value == value) {
            return row.name;
        }
    }
    return nullptr;
}

// Whether an enumeration was made from a list.
template <typename E>
using HasEnumNames = std::void_t<decltype(zelkcamEnumNames(E{}))>;

}  // namespace zelkcam::host

#define ZELKCAM_ENUMERATOR(NAME, ...) NAME = __VA_ARGS__,
#define ZELKCAM_ENUM_ROW(NAME, ...) {Enum::NAME, #NAME},
#define ZELKCAM_ENUM_NAMES(E, LIST)                                                      \
    constexpr auto zelkcamEnumNames(E) {                                                 \
        using Enum = E;                                                                  \
        return std::to_array<::zelkcam::host::EnumName<Enum>>({LIST(ZELKCAM_ENUM_ROW)}); \
    }
