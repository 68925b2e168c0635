// Native handles as they cross a binder, and back. The order is kept: descriptors, then integers.
#pragma once

#include <aidl/android/hardware/common/NativeHandle.h>
#include <cutils/native_handle.h>

namespace android {

bool isAidlNativeHandleEmpty(const aidl::android::hardware::common::NativeHandle& handle);

// A handle of the same descriptors, which stay the AIDL handle's: release it with
// native_handle_delete only. Null for more than 1024 descriptors or integers.
native_handle_t* makeFromAidl(const aidl::android::hardware::common::NativeHandle& handle);

// A handle of descriptors of its own: release it with native_handle_close and native_handle_delete.
// A descriptor that cannot be duplicated becomes -1. Null for more than 1024 descriptors or
// integers.
native_handle_t* dupFromAidl(const aidl::android::hardware::common::NativeHandle& handle);

// An AIDL handle that takes over the descriptors: the handle may be deleted, but not closed.
aidl::android::hardware::common::NativeHandle makeToAidl(const native_handle_t* handle);

// An AIDL handle of descriptors of its own. One that cannot be duplicated becomes -1.
aidl::android::hardware::common::NativeHandle dupToAidl(const native_handle_t* handle);

}  // namespace android
