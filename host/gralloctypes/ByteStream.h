// Native-order bytes of metadata values, written and read one field after the other.
#pragma once

#include <stdint.h>
#include <string.h>

#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include <hidl/HidlSupport.h>

namespace zelkcam::host {

class ByteWriter {
  public:
    template <typename T>
    void put(T value) {
        static_assert(std::is_arithmetic_v<T> || std::is_enum_v<T>);
        const auto* bytes = reinterpret_cast<const uint8_t*>(&value);
        mBytes.insert(mBytes.end(), bytes, bytes + sizeof(value));
    }

    // The length as int64, then the bytes without a terminator.
    template <typename Text>
    void putSized(const Text& bytes) {
        put(static_cast<int64_t>(bytes.size()));
        mBytes.insert(mBytes.end(), bytes.begin(), bytes.end());
    }

    const std::vector<uint8_t>& bytes() const { return mBytes; }

  private:
    std::vector<uint8_t> mBytes;
};

// Reads bytes that nobody has checked. Every read says whether the bytes sufficed, and none ever
// allocates more than they hold.
class ByteReader {
  public:
    explicit ByteReader(const android::hardware::hidl_vec<uint8_t>& bytes)
        : mNext(bytes.data()), mRemaining(bytes.size()) {}

    size_t remaining() const { return mRemaining; }

    template <typename T>
    [[nodiscard]] bool take(T* value) {
        static_assert(std::is_arithmetic_v<T> || std::is_enum_v<T>);
        if (mRemaining < sizeof(*value)) {
            return false;
        }
        memcpy(value, mNext, sizeof(*value));
        advance(sizeof(*value));
        return true;
    }

    // A length and that many bytes, which stay where they are.
    [[nodiscard]] bool takeSized(std::string_view* bytes) {
        int64_t length = 0;
        if (!take(&length) || length < 0 || static_cast<uint64_t>(length) > mRemaining) {
            return false;
        }
        *bytes = {reinterpret_cast<const char*>(mNext), static_cast<size_t>(length)};
        advance(static_cast<size_t>(length));
        return true;
    }

  private:
    void advance(size_t size) {
        mNext += size;
        mRemaining -= size;
    }

    const uint8_t* mNext;
    size_t mRemaining;
};

}  // namespace zelkcam::host
