// What counts as a signalled fence, for sync_wait and for the mappers alike.
#pragma once

namespace zelkcam::host {

// Waits until the borrowed descriptor is ready, for at most `timeout` milliseconds or, when that is
// negative, without limit. A kernel's sync file works as on a device; besides, any descriptor
// stands in for a fence: an eventfd, the read end of a pipe.
//
// Answers 0 when the fence is signalled, ETIME when the time ran out, EINVAL for a descriptor that
// is negative, not open or has an error, else the errno of poll. A hang-up alone counts as
// signalled.
int waitForFence(int fd, int timeout);

}  // namespace zelkcam::host
