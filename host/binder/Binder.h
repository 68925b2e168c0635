// What the host platform itself uses of binders: these bypass the published functions, which a
// test may replace.
#pragma once

#include <android/binder_ibinder.h>
#include <android/log.h>

namespace zelkcam::host {

// One strong reference more; `binder` is not null.
void retain(AIBinder* binder);

// One strong reference less; the last one destroys the user data. `binder` is not null.
void release(AIBinder* binder);

// The argument of a published function that may not be null; null ends the process.
template <typename T>
T* required(T* argument, const char* what) {
    if (argument == nullptr) {
        __android_log_assert(nullptr, "binder", "a binder function needs the %s", what);
    }
    return argument;
}

}  // namespace zelkcam::host
