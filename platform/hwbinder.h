// The calling thread's hardware binder state, and handles in HIDL form.
//
// The library uses: android::hardware::IPCThreadState (self, flushCommands) and hidl_handle.
#pragma once

#include <hidl/HidlSupport.h>
#include <hwbinder/IPCThreadState.h>
