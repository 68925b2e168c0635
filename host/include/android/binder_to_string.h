// Text of any value that a generated record may hold.
#pragma once

#include <codecvt>
#include <locale>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <type_traits>

#include <android/binder_auto_utils.h>
#include <android/binder_interface_utils.h>

namespace android::internal {

template <typename T, typename = void>
struct HasToStringMember : std::false_type {};
template <typename T>
struct HasToStringMember<T, std::void_t<decltype(std::declval<const T&>().toString())>>
    : std::true_type {};

template <typename T, typename = void>
struct HasToStringFunction : std::false_type {};
template <typename T>
struct HasToStringFunction<T, std::void_t<decltype(toString(std::declval<const T&>()))>>
    : std::true_type {};

template <typename T, typename = void>
struct IsIterable : std::false_type {};
template <typename T>
struct IsIterable<T, std::void_t<decltype(std::begin(std::declval<const T&>())),
                                 decltype(std::end(std::declval<const T&>()))>> : std::true_type {};

// Values that refer to another one and may refer to nothing.
template <typename T>
struct IsPointerLike : std::is_pointer<T> {};
template <typename T>
struct IsPointerLike<std::optional<T>> : std::true_type {};
template <typename T, typename D>
struct IsPointerLike<std::unique_ptr<T, D>> : std::true_type {};
template <typename T>
struct IsPointerLike<std::shared_ptr<T>> : std::true_type {};

template <typename T>
std::string ToString(const T& value);

template <typename T>
std::string ElementsToString(const T& list) {
    std::string text = "[";
    const char* separator = "";
    for (const typename T::value_type& element : list) {
        text += separator + ToString(element);
        separator = ", ";
    }
    return text + "]";
}

template <typename T>
std::string ToString(const T& value) {
    if constexpr (std::is_same_v<T, bool>) {
        return value ? "true" : "false";
    } else if constexpr (std::is_same_v<T, char16_t>) {
        return std::to_string(static_cast<unsigned>(value));
    } else if constexpr (std::is_arithmetic_v<T>) {
        return std::to_string(value);
    } else if constexpr (std::is_same_v<T, std::string>) {
        return value;
    } else if constexpr (std::is_same_v<T, ::ndk::SpAIBinder>) {
        std::stringstream text;
        text << "binder:" << std::hex << value.get();
        return text.str();
    } else if constexpr (std::is_same_v<T, ::ndk::ScopedFileDescriptor>) {
        return "fd:" + std::to_string(value.get());
    } else if constexpr (std::is_base_of_v<::ndk::ICInterface, T>) {
        return "<interface>";
    } else if constexpr (IsPointerLike<T>::value) {
        return value ? ToString(*value) : "(null)";
    } else if constexpr (HasToStringMember<T>::value) {
        return value.toString();
    } else if constexpr (HasToStringFunction<T>::value) {
        return toString(value);
    } else {
        static_assert(IsIterable<T>::value, "this type has no text");
        return ElementsToString(value);
    }
}

}  // namespace android::internal
