// Version marks for functions that vendor code may call. Off a device every one is available.
#pragma once

#ifndef __INTRODUCED_IN_LLNDK
#define __INTRODUCED_IN_LLNDK(vendor_api_level)
#endif

// Used without parentheses of one's own: if API_LEVEL_AT_LEAST(35, 202404) { ... }
#ifndef API_LEVEL_AT_LEAST
#ifdef __ANDROID_VENDOR_API__
#define API_LEVEL_AT_LEAST(sdk_api_level, vendor_api_level) \
    constexpr(__ANDROID_VENDOR_API__ >= vendor_api_level)
#else
#define API_LEVEL_AT_LEAST(sdk_api_level, vendor_api_level) (true)
#endif
#endif
