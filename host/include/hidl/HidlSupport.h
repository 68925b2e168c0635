// The value types of HIDL: handles, strings, vectors and arrays whose layout is the same in every
// process, and what enumerations and death notices need.
#pragma once

#include <stdint.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <initializer_list>
#include <iterator>
#include <limits>
#include <ostream>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <cutils/native_handle.h>
#include <hidl/HidlInternal.h>
#include <hidl/Status.h>
#include <utils/Errors.h>
#include <utils/RefBase.h>
#include <utils/StrongPointer.h>

namespace android {

namespace hidl {
namespace base {
namespace V1_0 {
struct IBase;
}  // namespace V1_0
}  // namespace base
}  // namespace hidl

namespace hardware {

// Told once when the process of a linked object dies. Objects of this process never send it.
// No function ties this interface to one library, so every user of the header carries its tables;
// default visibility makes them one in the process, however the user hides its own.
struct __attribute__((visibility("default"))) hidl_death_recipient : public virtual RefBase {
    virtual void serviceDied(uint64_t cookie,
                             const ::android::wp<::android::hidl::base::V1_0::IBase>& who) = 0;
};

// A native handle that is owned or only referred to. A copy always owns: it duplicates the
// descriptors. Sixteen bytes; not safe for concurrent use.
struct hidl_handle {
    hidl_handle();
    ~hidl_handle();

    // Refers to the handle, which stays the caller's and has to outlive this object.
    hidl_handle(const native_handle_t* handle);
    hidl_handle& operator=(const native_handle_t* handle);

    // Clones. A clone that cannot be made (out of descriptors, bad counts) ends the process.
    hidl_handle(const hidl_handle& other);
    hidl_handle& operator=(const hidl_handle& other);

    // Takes pointer and ownership over; the source is null afterwards.
    hidl_handle(hidl_handle&& other) noexcept;
    hidl_handle& operator=(hidl_handle&& other) noexcept;

    // With shouldOwn the handle is closed and deleted by this object.
    void setTo(native_handle_t* handle, bool shouldOwn = false);

    const native_handle_t* operator->() const;
    operator const native_handle_t*() const;
    // Null when empty. Stays this object's, or whoever's it was before.
    const native_handle_t* getNativeHandle() const;

  private:
    void freeHandle();

    details::hidl_pointer<const native_handle_t> mHandle;
    bool mOwnsHandle;
    [[maybe_unused]] uint8_t mPad[7];
};

// A text with a terminating NUL. Sixteen bytes; at most UINT32_MAX characters, more end the
// process. Not safe for concurrent use.
struct hidl_string {
    hidl_string();
    ~hidl_string();

    hidl_string(const hidl_string& other);
    // Null is the empty text.
    hidl_string(const char* text);
    // The characters need no terminating NUL. Null is the empty text.
    hidl_string(const char* text, size_t length);
    hidl_string(const std::string& text);
    hidl_string(hidl_string&& other) noexcept;

    hidl_string& operator=(const hidl_string& other);
    hidl_string& operator=(const char* text);
    hidl_string& operator=(const std::string& text);
    hidl_string& operator=(hidl_string&& other) noexcept;

    operator std::string() const;

    // Never null. Valid until this object changes.
    const char* c_str() const;
    size_t size() const;
    bool empty() const;
    void clear();

    // Refers to size characters and the NUL behind them, which stay the caller's. Null, or a text
    // without that NUL, ends the process.
    void setToExternal(const char* data, size_t size);

  private:
    void copyFrom(const char* data, size_t size);
    void moveFrom(hidl_string& other);
    void release();

    details::hidl_pointer<const char> mBuffer;
    uint32_t mSize;
    bool mOwnsBuffer;
    [[maybe_unused]] uint8_t mPad[3];
};

namespace details {

int compareText(const char* left, const char* right);

inline const char* textOf(const hidl_string& text) {
    return text.c_str();
}
inline const char* textOf(const char* text) {
    return text;
}

}  // namespace details

// Compared as C strings, with each other and with plain text on either side.
#define ZELKCAM_HIDL_STRING_COMPARE_AS(op, Left, Right)                                  \
    inline bool operator op(Left left, Right right) {                                    \
        return details::compareText(details::textOf(left), details::textOf(right)) op 0; \
    }
#define ZELKCAM_HIDL_STRING_COMPARE(op)                                        \
    ZELKCAM_HIDL_STRING_COMPARE_AS(op, const hidl_string&, const hidl_string&) \
    ZELKCAM_HIDL_STRING_COMPARE_AS(op, const hidl_string&, const char*)        \
    ZELKCAM_HIDL_STRING_COMPARE_AS(op, const char*, const hidl_string&)

ZELKCAM_HIDL_STRING_COMPARE(==)
ZELKCAM_HIDL_STRING_COMPARE(!=)
ZELKCAM_HIDL_STRING_COMPARE(<)
ZELKCAM_HIDL_STRING_COMPARE(<=)
ZELKCAM_HIDL_STRING_COMPARE(>)
ZELKCAM_HIDL_STRING_COMPARE(>=)

#undef ZELKCAM_HIDL_STRING_COMPARE
#undef ZELKCAM_HIDL_STRING_COMPARE_AS

std::ostream& operator<<(std::ostream& stream, const hidl_string& text);

// An array that is owned or only referred to. Sixteen bytes on its own; at most UINT32_MAX
// elements, more end the process. Copies own their elements, so a copy of a vector of handles
// duplicates descriptors. Not safe for concurrent use.
template <typename T>
struct hidl_vec {
    using value_type = T;

    hidl_vec() : mBuffer(nullptr), mSize(0), mOwnsBuffer(false) { padding(); }
    hidl_vec(size_t size) : hidl_vec() { resize(size); }
    hidl_vec(const hidl_vec<T>& other) : hidl_vec() { *this = other; }
    hidl_vec(hidl_vec<T>&& other) noexcept : hidl_vec() { *this = std::move(other); }
    hidl_vec(const std::initializer_list<T> list) : hidl_vec(list.begin(), list.end()) {}
    hidl_vec(const std::vector<T>& other) : hidl_vec(other.begin(), other.end()) {}

    template <typename InputIterator,
              typename = std::enable_if_t<std::is_convertible<
                      typename std::iterator_traits<InputIterator>::iterator_category,
                      std::input_iterator_tag>::value>>
    hidl_vec(InputIterator first, InputIterator last) : hidl_vec() {
        copyFrom(first, last);
    }

    ~hidl_vec() { freeBuffer(); }

    // Leaves the source with the same elements, but no longer owning them: it must not outlive
    // this object's hold on them.
    hidl_vec& operator=(hidl_vec&& other) noexcept {
        if (this == &other) {
            return *this;
        }
        freeBuffer();
        mBuffer = other.mBuffer;
        mSize = other.mSize;
        mOwnsBuffer = other.mOwnsBuffer;
        other.mOwnsBuffer = false;
        return *this;
    }
    hidl_vec& operator=(const hidl_vec& other) {
        if (this != &other) {
            copyFrom(other.begin(), other.end());
        }
        return *this;
    }
    hidl_vec& operator=(const std::vector<T>& other) {
        copyFrom(other.begin(), other.end());
        return *this;
    }
    hidl_vec& operator=(const std::initializer_list<T> list) {
        copyFrom(list.begin(), list.end());
        return *this;
    }

    operator std::vector<T>() const { return std::vector<T>(begin(), end()); }

    bool operator==(const hidl_vec& other) const {
        return std::equal(begin(), end(), other.begin(), other.end());
    }
    bool operator!=(const hidl_vec& other) const { return !(*this == other); }

    // Refers to size elements at data. With shouldOwn they came from new[] and this object deletes
    // them; otherwise they stay the caller's.
    void setToExternal(T* data, size_t size, bool shouldOwn = false) {
        const uint32_t checked = checkedSize(size);
        if (data != mBuffer) {
            freeBuffer();
        }
        mBuffer = data;
        mSize = checked;
        mOwnsBuffer = shouldOwn;
    }

    T* data() { return mBuffer; }
    const T* data() const { return mBuffer; }

    // Gives the elements to the caller, who deletes them with delete[]. Elements that were only
    // referred to are copied first. This object goes on referring to them.
    T* releaseData() {
        if (!mOwnsBuffer && mBuffer != nullptr) {
            copyFrom(begin(), end());
        }
        mOwnsBuffer = false;
        return mBuffer;
    }

    // The index is not checked.
    T& operator[](size_t index) { return mBuffer[index]; }
    const T& operator[](size_t index) const { return mBuffer[index]; }

    size_t size() const { return mSize; }

    // Moves to new memory whatever the size. Elements that fit are kept, further ones are
    // value-initialised.
    void resize(size_t size) {
        const uint32_t checked = checkedSize(size);
        T* grown = new T[size]();
        std::move(begin(), begin() + std::min(mSize, checked), grown);
        freeBuffer();
        mBuffer = grown;
        mSize = checked;
        mOwnsBuffer = true;
    }

    using iterator = T*;
    using const_iterator = const T*;

    iterator begin() { return data(); }
    iterator end() { return data() + mSize; }
    const_iterator begin() const { return data(); }
    const_iterator end() const { return data() + mSize; }

    iterator find(const T& value) { return std::find(begin(), end(), value); }
    const_iterator find(const T& value) const { return std::find(begin(), end(), value); }
    bool contains(const T& value) const { return find(value) != end(); }

  private:
    static uint32_t checkedSize(size_t size) {
        if (size > std::numeric_limits<uint32_t>::max()) {
            details::logAlwaysFatal("hidl_vec holds at most 2^32 - 1 elements");
        }
        return static_cast<uint32_t>(size);
    }

    template <typename Iterator>
    void copyFrom(Iterator first, Iterator last) {
        const size_t size = static_cast<size_t>(std::distance(first, last));
        const uint32_t checked = checkedSize(size);
        // The source may refer into this object's own elements, which therefore go last.
        T* copies = size != 0 ? new T[size]() : nullptr;
        std::copy(first, last, copies);
        freeBuffer();
        mBuffer = copies;
        mSize = checked;
        mOwnsBuffer = copies != nullptr;
    }

    void freeBuffer() {
        if (mOwnsBuffer) {
            delete[] static_cast<T*>(mBuffer);
        }
        mBuffer = nullptr;
        mSize = 0;
        mOwnsBuffer = false;
    }

    // The record crosses process borders, so its unused bytes must not carry anything out.
    void padding() { std::fill(std::begin(mPad), std::end(mPad), uint8_t{0}); }

    details::hidl_pointer<T> mBuffer;
    uint32_t mSize;
    bool mOwnsBuffer;
    [[maybe_unused]] uint8_t mPad[3];
};

// A fixed array of one dimension, laid out as the elements alone.
template <typename T, size_t SIZE>
struct hidl_array {
    hidl_array() = default;
    hidl_array(const T* source) { std::copy(source, source + SIZE, mBuffer); }
    hidl_array(const std::array<T, SIZE>& source) {
        std::copy(source.begin(), source.end(), mBuffer);
    }
    hidl_array& operator=(const T* source) {
        std::copy(source, source + SIZE, mBuffer);
        return *this;
    }

    operator std::array<T, SIZE>() const {
        std::array<T, SIZE> copy;
        std::copy(mBuffer, mBuffer + SIZE, copy.begin());
        return copy;
    }

    T* data() { return mBuffer; }
    const T* data() const { return mBuffer; }
    // The index is not checked.
    T& operator[](size_t index) { return mBuffer[index]; }
    const T& operator[](size_t index) const { return mBuffer[index]; }
    static constexpr size_t size() { return SIZE; }
    static constexpr size_t elementCount() { return SIZE; }

    bool operator==(const hidl_array& other) const {
        return std::equal(mBuffer, mBuffer + SIZE, other.mBuffer);
    }
    bool operator!=(const hidl_array& other) const { return !(*this == other); }

  private:
    T mBuffer[SIZE];
};

// The integer that carries any union of an enumeration's bits.
template <typename Enum>
using hidl_bitfield = std::underlying_type_t<Enum>;

namespace details {

template <typename E, typename = std::enable_if_t<std::is_enum<E>::value>>
inline constexpr std::array<E, 0> hidl_enum_values = {};

}  // namespace details

// for (auto value : hidl_enum_range<E>()): every enumerator in declaration order.
template <typename E, typename = std::enable_if_t<std::is_enum<E>::value>>
struct hidl_enum_range {
    constexpr auto begin() const { return details::hidl_enum_values<E>.begin(); }
    constexpr auto cbegin() const { return begin(); }
    constexpr auto end() const { return details::hidl_enum_values<E>.end(); }
    constexpr auto cend() const { return end(); }
};

// Texts of the value types, as generated records print their fields.
std::string toString(const hidl_string& text);
inline std::string toString(bool value) {
    return value ? "true" : "false";
}
// A number as 0x and its hexadecimal digits without leading zeros.
std::string toHexString(uint64_t value);

template <typename T, typename = std::enable_if_t<std::is_arithmetic<T>::value &&
                                                  !std::is_same<T, bool>::value>>
std::string toString(T value) {
    return std::to_string(value);
}

// The elements' own texts, found beside their types.
template <typename T>
std::string toString(const hidl_vec<T>& elements) {
    std::string text = "[" + std::to_string(elements.size()) + "]{";
    const char* separator = "";
    for (const T& element : elements) {
        text += separator + toString(element);
        separator = ", ";
    }
    return text + "}";
}

}  // namespace hardware
}  // namespace android
