// The value types of HIDL: handles, strings, vectors and arrays whose layout is the same in every
// process, and what enumerations and death notices need.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <algorithm>
#include <array>
#include <initializer_list>
#include <iterator>
#include <limits>
#include <map>
#include <sstream>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include <cutils/native_handle.h>
#include <hidl/HidlInternal.h>
#include <hidl/Status.h>
#include <utils/Errors.h>
#include <utils/RefBase.h>
#include <utils/StrongPointer.h>

#include "zelkcam/host/EnumNames.h"

namespace android {

namespace hidl::base::V1_0 {
struct IBase;
}  // namespace hidl::base::V1_0

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
    // Null when empty. The handle's owner does not change.
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
    hidl_vec(const std::initializer_list<T> list) : hidl_vec() { *this = list; }
    hidl_vec(const std::vector<T>& other) : hidl_vec() { *this = other; }

    template <typename InputIterator,
              typename = std::enable_if_t<std::is_convertible<
                      typename std::iterator_traits<InputIterator>::iterator_category,
                      std::input_iterator_tag>::value>>
    hidl_vec(InputIterator first, InputIterator last) : hidl_vec() {
        copyFrom(first, last, Empty::kAllocated);
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
            copyFrom(other.begin(), other.end(), Empty::kNull);
        }
        return *this;
    }
    hidl_vec& operator=(const std::vector<T>& other) {
        copyFrom(other.begin(), other.end(), Empty::kNull);
        return *this;
    }
    hidl_vec& operator=(const std::initializer_list<T> list) {
        copyFrom(list.begin(), list.end(), Empty::kAllocated);
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
            copyFrom(begin(), end(), Empty::kNull);
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

  private:
    template <bool IS_CONST>
    class iter;

  public:
    using iterator = iter<false>;
    using const_iterator = iter<true>;

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

    // What data() is without elements: it differs by where they come from.
    enum class Empty { kNull, kAllocated };

    template <typename Iterator>
    void copyFrom(Iterator first, Iterator last, Empty empty) {
        const size_t size = static_cast<size_t>(std::distance(first, last));
        const uint32_t checked = checkedSize(size);
        // The source may refer into this object's own elements, which therefore go last.
        T* copies = size != 0 || empty == Empty::kAllocated ? new T[size]() : nullptr;
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

// A class, not a pointer: it converts neither to one nor between its two kinds.
template <typename T>
template <bool IS_CONST>
class hidl_vec<T>::iter {
  public:
    using iterator_category = std::random_access_iterator_tag;
    using value_type = T;
    using difference_type = ptrdiff_t;
    using pointer = std::conditional_t<IS_CONST, const T*, T*>;
    using reference = std::conditional_t<IS_CONST, const T&, T&>;

    iter(pointer position) : mPosition(position) {}

    iter& operator++() { return *this += 1; }
    iter& operator--() { return *this -= 1; }
    iter operator++(int) { return mPosition++; }
    iter operator--(int) { return mPosition--; }
    iter& operator+=(difference_type n) {
        mPosition += n;
        return *this;
    }
    iter& operator-=(difference_type n) {
        mPosition -= n;
        return *this;
    }
    iter operator+(difference_type n) const { return mPosition + n; }
    iter operator-(difference_type n) const { return mPosition - n; }
    difference_type operator-(const iter& other) const { return mPosition - other.mPosition; }
    friend iter operator+(difference_type n, const iter& it) { return it + n; }

    reference operator*() const { return *mPosition; }
    pointer operator->() const { return mPosition; }
    reference operator[](size_t index) const { return mPosition[index]; }

    bool operator==(const iter& other) const = default;
    auto operator<=>(const iter& other) const = default;

  private:
    pointer mPosition;
};

namespace details {

// Nested std::arrays, the outermost extent first.
template <typename T, size_t SIZE, size_t... SIZES>
struct NestedArray {
    using type = std::array<typename NestedArray<T, SIZES...>::type, SIZE>;
};
template <typename T, size_t SIZE>
struct NestedArray<T, SIZE> {
    using type = std::array<T, SIZE>;
};

template <size_t... SIZES>
inline constexpr size_t kProduct = (size_t{1} * ... * SIZES);

// The elements of a nested array, which lie one behind the other.
template <typename T, typename Nested>
auto* elementsOf(Nested& nested) {
    static_assert(sizeof(Nested) % sizeof(T) == 0);
    return reinterpret_cast<std::conditional_t<std::is_const_v<Nested>, const T, T>*>(&nested);
}

// One row of a hidl_array, or one of its rows' rows.
template <typename T, size_t SIZE, size_t... SIZES>
class accessor {
  public:
    using std_array_type = typename NestedArray<T, SIZE, SIZES...>::type;

    explicit accessor(T* elements) : mElements(elements) {}

    accessor& operator=(const std_array_type& source) {
        std::copy_n(elementsOf<T>(source), kProduct<SIZE, SIZES...>, mElements);
        return *this;
    }
    decltype(auto) operator[](size_t index) {
        if constexpr (sizeof...(SIZES) == 0) {
            return (mElements[index]);
        } else {
            return accessor<T, SIZES...>(mElements + index * kProduct<SIZES...>);
        }
    }

  private:
    T* mElements;
};

template <typename T, size_t SIZE, size_t... SIZES>
class const_accessor {
  public:
    using std_array_type = typename NestedArray<T, SIZE, SIZES...>::type;

    explicit const_accessor(const T* elements) : mElements(elements) {}

    operator std_array_type() {
        std_array_type copy;
        std::copy_n(mElements, kProduct<SIZE, SIZES...>, elementsOf<T>(copy));
        return copy;
    }
    decltype(auto) operator[](size_t index) const {
        if constexpr (sizeof...(SIZES) == 0) {
            return (mElements[index]);
        } else {
            return const_accessor<T, SIZES...>(mElements + index * kProduct<SIZES...>);
        }
    }

  private:
    const T* mElements;
};

template <typename T, bool IS_ONE_DIMENSION>
struct ArrayValueType {};
template <typename T>
struct ArrayValueType<T, true> {
    using value_type = T;
};

}  // namespace details

// A fixed array, laid out as the elements alone, row by row.
template <typename T, size_t SIZE1, size_t... SIZES>
struct hidl_array : details::ArrayValueType<T, sizeof...(SIZES) == 0> {
    using std_array_type = typename details::NestedArray<T, SIZE1, SIZES...>::type;

    hidl_array() = default;
    // All elements, row by row.
    hidl_array(const T* source) { std::copy_n(source, elementCount(), mBuffer); }
    hidl_array(const std_array_type& source) : hidl_array(details::elementsOf<T>(source)) {}

    operator std_array_type() const { return details::const_accessor<T, SIZE1, SIZES...>(mBuffer); }

    T* data() { return mBuffer; }
    const T* data() const { return mBuffer; }
    // An element, or the accessor of a row. The index is not checked.
    decltype(auto) operator[](size_t index) {
        return details::accessor<T, SIZE1, SIZES...>(mBuffer)[index];
    }
    decltype(auto) operator[](size_t index) const {
        return details::const_accessor<T, SIZE1, SIZES...>(mBuffer)[index];
    }
    // The extents as a tuple; of one dimension the plain number.
    static constexpr auto size() {
        if constexpr (sizeof...(SIZES) == 0) {
            return SIZE1;
        } else {
            return std::make_tuple(SIZE1, SIZES...);
        }
    }
    static constexpr size_t elementCount() { return details::kProduct<SIZE1, SIZES...>; }

    bool operator==(const hidl_array& other) const {
        return std::equal(mBuffer, mBuffer + elementCount(), other.mBuffer);
    }

  private:
    T mBuffer[details::kProduct<SIZE1, SIZES...>];
};

// Memory that another process may map: a handle, a size in bytes, and which mapper understands it.
// A copy clones the handle. Not safe for concurrent use.
struct hidl_memory {
    hidl_memory() = default;
    // Takes the handle over.
    hidl_memory(const hidl_string& name, hidl_handle&& handle, size_t size)
        : mHandle(std::move(handle)), mSize(size), mName(name) {}
    // Refers to the handle, which stays the caller's.
    hidl_memory(const hidl_string& name, const native_handle_t* handle, size_t size)
        : mHandle(handle), mSize(size), mName(name) {}
    hidl_memory(const hidl_memory& other) = default;
    hidl_memory& operator=(const hidl_memory& other) = default;
    // The source is empty afterwards.
    hidl_memory(hidl_memory&& other) noexcept
        : mHandle(std::move(other.mHandle)),
          mSize(std::exchange(other.mSize, 0)),
          mName(std::move(other.mName)) {}
    hidl_memory& operator=(hidl_memory&& other) noexcept {
        if (this != &other) {
            mHandle = std::move(other.mHandle);
            mSize = std::exchange(other.mSize, 0);
            mName = std::move(other.mName);
        }
        return *this;
    }

    const native_handle_t* handle() const { return mHandle; }
    const hidl_string& name() const { return mName; }
    uint64_t size() const { return mSize; }
    bool valid() const { return handle() != nullptr; }

    static const size_t kOffsetOfHandle = 0;
    static const size_t kOffsetOfName = 24;

  private:
    hidl_handle mHandle __attribute__((aligned(8)));
    uint64_t mSize __attribute__((aligned(8))) = 0;
    hidl_string mName __attribute__((aligned(8)));
};

// The same, shared.
class HidlMemory : public virtual hidl_memory, public virtual RefBase {
  public:
    static sp<HidlMemory> getInstance(const hidl_memory& memory);
    static sp<HidlMemory> getInstance(hidl_memory&& memory);
    static sp<HidlMemory> getInstance(const hidl_string& name, hidl_handle&& handle, uint64_t size);
    // Takes the descriptor over.
    static sp<HidlMemory> getInstance(const hidl_string& name, int fd, uint64_t size);

  private:
    explicit HidlMemory(hidl_memory&& memory) : hidl_memory(std::move(memory)) {}
};

struct hidl_version {
    constexpr hidl_version(uint16_t major, uint16_t minor) : mMajor(major), mMinor(minor) {}
    constexpr auto operator<=>(const hidl_version&) const = default;
    constexpr uint16_t get_major() const { return mMajor; }
    constexpr uint16_t get_minor() const { return mMinor; }

  private:
    uint16_t mMajor;
    uint16_t mMinor;
};

inline constexpr hidl_version make_hidl_version(uint16_t major, uint16_t minor) {
    return hidl_version(major, minor);
}

// The integer that carries any union of an enumeration's bits.
template <typename Enum>
using hidl_bitfield = std::underlying_type_t<Enum>;

namespace details {

template <typename E, typename = std::enable_if_t<std::is_enum<E>::value>>
inline constexpr std::array<E, 0> hidl_enum_values = {};

template <typename E>
inline constexpr auto hidl_enum_values<E, ::zelkcam::host::HasEnumNames<E>> =
        ::zelkcam::host::enumValues<E>();

// Hexadecimal digits, led by 0x if prefix and the value is not 0.
template <typename T>
std::string toHexString(T value, bool prefix = true) {
    std::ostringstream text;
    text << std::hex << (prefix ? std::showbase : std::noshowbase)
         << static_cast<std::conditional_t<sizeof(T) == 1, int32_t, T>>(value);
    return text.str();
}

}  // namespace details

// for (auto value : hidl_enum_range<E>()): every enumerator in declaration order.
template <typename E, typename = std::enable_if_t<std::is_enum<E>::value>>
struct hidl_enum_range {
    using value_type = E;

    constexpr auto begin() const { return details::hidl_enum_values<E>.begin(); }
    constexpr auto cbegin() const { return begin(); }
    constexpr auto rbegin() const { return details::hidl_enum_values<E>.rbegin(); }
    constexpr auto crbegin() const { return rbegin(); }
    constexpr auto end() const { return details::hidl_enum_values<E>.end(); }
    constexpr auto cend() const { return end(); }
    constexpr auto rend() const { return details::hidl_enum_values<E>.rend(); }
    constexpr auto crend() const { return rend(); }
};

template <typename E>
struct hidl_enum_iterator {
    static_assert(sizeof(E) == 0, "withdrawn: use hidl_enum_range");
};

// Texts of the value types, as generated records print their fields. A bool is a number here.
template <typename T, typename = std::enable_if_t<std::is_arithmetic<T>::value>>
std::string toString(T value) {
    return std::to_string(value);
}
inline std::string toString(const void* pointer) {
    return details::toHexString(reinterpret_cast<uintptr_t>(pointer));
}
inline std::string toString(const hidl_handle& handle) {
    return toString(static_cast<const void*>(handle.getNativeHandle()));
}
template <typename T>
std::string toString(const sp<T>& object) {
    return toString(static_cast<const void*>(object.get()));
}
inline std::string toString(const sp<hidl_death_recipient>& recipient) {
    return "death_recipient@" + toString(static_cast<const void*>(recipient.get()));
}
std::string toString(const hidl_string& text);
std::string toString(const hidl_memory& memory);

namespace details {

// "{1, 2}": the elements' own texts, found beside their types.
template <typename Elements>
std::string listToString(const Elements& elements, size_t count) {
    using ::android::hardware::toString;
    std::string text = "{";
    for (size_t i = 0; i < count; ++i) {
        text.append(i == 0 ? "" : ", ").append(toString(elements[i]));
    }
    return text + "}";
}

template <typename T, size_t SIZE, size_t... SIZES>
std::string toString(const const_accessor<T, SIZE, SIZES...>& elements) {
    return listToString(elements, SIZE);
}

}  // namespace details

template <typename T>
std::string toString(const hidl_vec<T>& elements) {
    return "[" + std::to_string(elements.size()) + "]" +
           details::listToString(elements, elements.size());
}

template <typename T, size_t SIZE1, size_t... SIZES>
std::string toString(const hidl_array<T, SIZE1, SIZES...>& array) {
    const std::string inner = (std::string() + ... + ("[" + std::to_string(SIZES) + "]"));
    return "[" + std::to_string(SIZE1) + "]" + inner +
           toString(details::const_accessor<T, SIZE1, SIZES...>(array.data()));
}

}  // namespace hardware
}  // namespace android
