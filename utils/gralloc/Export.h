#pragma once

// The library is compiled with hidden visibility; what carries this is its binary interface. The
// version script cannot re-export what the compiler hid, so both name the same things.
#define ZELKCAM_EXPORT __attribute__((visibility("default")))
