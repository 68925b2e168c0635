// Fences (libsync).
//
// The library uses: sync_wait, which answers -1 with EINVAL for a negative descriptor.
#pragma once

#include <sync/sync.h>
