// Places in the tables of virtual functions, which is what a client's binary has compiled in.
#pragma once

#include <cstdint>
#include <cstring>

#include <gtest/gtest.h>

namespace zelkcam::test {

// Pointers to virtual members hold the offset in bytes, and on some processors a mark in the lowest
// bit.
template <typename Method>
size_t slotOf(Method method) {
    uintptr_t words[2];
    static_assert(sizeof(method) == sizeof(words));
    std::memcpy(words, &method, sizeof(words));
    return words[0] / sizeof(void*);
}

template <typename... Methods>
void expectSlots(size_t first, Methods... methods) {
    for (const size_t slot : {slotOf(methods)...}) {
        EXPECT_EQ(slot, first++);
    }
}

}  // namespace zelkcam::test
