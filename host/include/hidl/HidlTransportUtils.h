// What an object is, by its own chain of interfaces.
#pragma once

#include <string>

#include <android/hidl/base/1.0/IBase.h>

namespace android::hardware::details {

// The process as debugging tools may be told of it: -1, as on a device for users.
int32_t getPidIfSharable();

// Whether the object's chain holds the interface; every object is an IBase. With emitError a call
// that does not come through is reported as such instead of as false.
Return<bool> canCastInterface(::android::hidl::base::V1_0::IBase* object, const char* castTo,
                              bool emitError = false);

// The descriptor of the object's most derived interface; empty when the object does not answer.
std::string getDescriptor(::android::hidl::base::V1_0::IBase* object);

}  // namespace android::hardware::details
