// The enumerators of a generated enum, in the order of their declaration.
#pragma once

#include <iterator>
#include <type_traits>

#include "zelkcam/host/EnumNames.h"

namespace ndk {

namespace internal {

// Every generated enum has a std::array of its enumerators here.
template <typename EnumType, typename = std::enable_if_t<std::is_enum<EnumType>::value>>
constexpr void* enum_values = nullptr;

template <typename EnumType>
constexpr inline auto enum_values<EnumType, ::zelkcam::host::HasEnumNames<EnumType>> =
        ::zelkcam::host::enumValues<EnumType>();

}  // namespace internal

// Lets a loop run over an enum: for (E e : ndk::enum_range<E>()).
template <typename EnumType, typename = std::enable_if_t<std::is_enum<EnumType>::value>>
struct enum_range {
    constexpr auto begin() const { return std::begin(internal::enum_values<EnumType>); }
    constexpr auto end() const { return std::end(internal::enum_values<EnumType>); }
};

}  // namespace ndk
