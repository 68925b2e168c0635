// Fences: descriptors that signal the end of work on a buffer.
//
// Descriptors that are passed in stay the caller's.
#pragma once

#include <linux/sync_file.h>
#include <stdint.h>
#include <sys/cdefs.h>

#ifndef __INTRODUCED_IN
#define __INTRODUCED_IN(api_level)
#endif

__BEGIN_DECLS

// Waits for the fence, up to `timeout` milliseconds or, when that is negative, for ever. 0 once it
// is signalled; -1 with errno ETIME when time is over, EINVAL for what is no fence.
int sync_wait(int fd, int timeout);

// A new fence that signals when both have, the caller's to close; -1 and errno on failure. The name
// is cut to 31 characters.
int32_t sync_merge(const char* name, int32_t fd1, int32_t fd2) __INTRODUCED_IN(26);

// What the kernel knows of a fence, to be released with sync_file_info_free; null and errno on
// failure. Status: 0 pending, 1 signalled, negative an error.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wshadow"  // the function and the record share their name
struct sync_file_info* sync_file_info(int32_t fd) __INTRODUCED_IN(26);
#pragma GCC diagnostic pop

// The records of the single fences, which lie inside `info`.
static inline struct sync_fence_info* sync_get_fence_info(const struct sync_file_info* info) {
    return (struct sync_fence_info*)(uintptr_t)info->sync_fence_info;
}

void sync_file_info_free(struct sync_file_info* info) __INTRODUCED_IN(26);

__END_DECLS
