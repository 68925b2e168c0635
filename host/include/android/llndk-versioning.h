// Version marks for functions that vendor code may call. Off a device every one is available.
#pragma once

#ifndef __INTRODUCED_IN_LLNDK
#define __INTRODUCED_IN_LLNDK(vendor_api_level)
#endif
