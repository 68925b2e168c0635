// The enumerators of a generated enum, in the order of their declaration.
#pragma once

#include <array>
#include <iterator>
#include <type_traits>

namespace ndk {

namespace internal {

// Every generated enum specialises this with a std::array of its enumerators.
template <typename EnumType, typename = std::enable_if_t<std::is_enum<EnumType>::value>>
constexpr void* enum_values = nullptr;

}  // namespace internal

// Lets a loop run over an enum: for (E e : ndk::enum_range<E>()).
template <typename EnumType, typename = std::enable_if_t<std::is_enum<EnumType>::value>>
struct enum_range {
    constexpr auto begin() const { return std::begin(internal::enum_values<EnumType>); }
    constexpr auto end() const { return std::end(internal::enum_values<EnumType>); }
};

}  // namespace ndk
