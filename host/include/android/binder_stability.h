// Marks of how long a binder's interface stays as it is. Only generated code that supports them
// calls these.
#pragma once

#include <android/binder_ibinder.h>

__BEGIN_DECLS

enum {
    // Beside the flags of a call: both sides belong to the vendor.
    FLAG_PRIVATE_VENDOR = 0x10000000,
};

#ifdef __ANDROID_VENDOR__
void AIBinder_markVendorStability(AIBinder* _Nonnull binder);
static inline void AIBinder_markCompilationUnitStability(AIBinder* _Nonnull binder) {
    AIBinder_markVendorStability(binder);
}
#else
void AIBinder_markSystemStability(AIBinder* _Nonnull binder);
static inline void AIBinder_markCompilationUnitStability(AIBinder* _Nonnull binder) {
    AIBinder_markSystemStability(binder);
}
#endif

// The interface is one between the system and a device's own software.
void AIBinder_markVintfStability(AIBinder* _Nonnull binder) __INTRODUCED_IN(30);

__END_DECLS
