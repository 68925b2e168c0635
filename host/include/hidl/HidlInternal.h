// Building blocks that HIDL types and generated interfaces share.
#pragma once

#include <dirent.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace android::hardware::details {

// What a class is: an interface, a service's binder side, a client's proxy, a passthrough wrapper.
struct i_tag {};
struct bnhw_tag {};
struct bphw_tag {};
struct bs_tag {};

// Writes the message to the log at level FATAL and ends the process.
[[noreturn]] void logAlwaysFatal(const char* message);

// A pointer that takes eight bytes in 32-bit and in 64-bit processes, so that both lay records out
// alike. Null when made without an argument.
template <typename T>
struct hidl_pointer {
    hidl_pointer() : mBits(0) {}
    hidl_pointer(T* pointer) : mBits(0) { mPointer = pointer; }
    hidl_pointer(const hidl_pointer& other) : mBits(0) { mPointer = other.mPointer; }

    hidl_pointer& operator=(const hidl_pointer& other) {
        mPointer = other.mPointer;
        return *this;
    }
    hidl_pointer& operator=(T* pointer) {
        mPointer = pointer;
        return *this;
    }

    operator T*() const { return mPointer; }
    explicit operator void*() const { return mPointer; }
    T& operator*() const { return *mPointer; }
    T* operator->() const { return mPointer; }
    T& operator[](size_t index) const { return mPointer[index]; }

  private:
    union {
        T* mPointer;
        uint64_t mBits;
    };
};

}  // namespace android::hardware::details
