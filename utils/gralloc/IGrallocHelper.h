// Layouts, names and operations of graphics buffers for the modules of the camera stack.
#pragma once

#include "platform/utils.h"
#include "utils/gralloc/IGrallocInfoProvider.h"

namespace NSCam {

// What differs from buffer to buffer of one layout.
struct GrallocDynamicInfo {
    // Shared-memory descriptors, one appended by every successful query. They belong to the buffer:
    // the caller must not close them, and they are valid as long as the buffer is.
    android::Vector<int> ionFds;
};

// Handles are imported ones (see importBuffer) unless an operation says otherwise. Every operation
// may be called from any thread.
class IGrallocHelper : public zcam::IGrallocInfoProvider {
  public:
    // The process-wide helper. Built by the first call from any thread, destroyed at process exit;
    // never null, also when start-up failed: operations that need a missing backend then fail as a
    // failed platform call does. Not to be deleted.
    //
    // Contract: a YV12 or an unprotected YCrCb_420_SP buffer is described by locking it, and a lock
    // that fails there ends the process: so does query by handle of such a buffer on a helper whose
    // start-up failed.
    ZELKCAM_EXPORT static IGrallocHelper* singleton();

    using zcam::IGrallocInfoProvider::query;

    // Describes a buffer that somebody else allocated (slot 3). The layout is taken from the cache
    // when a buffer of the same format and size has been seen, without looking at this one's
    // strides. `pDynamicInfo` may be null.
    //
    // Contract: `pStaticInfo` may be null only while the layout is not cached yet; on a hit it is
    // written without a test.
    //
    // Returns 0; -22 for a null handle; INT32_MIN when the attributes, the layout or the descriptor
    // cannot be read (a failed descriptor leaves `*pStaticInfo` written); -2 for a format without a
    // layout rule.
    virtual int query(const native_handle* handle, zcam::GrallocStaticInfo* pStaticInfo,
                      GrallocDynamicInfo* pDynamicInfo) const = 0;

    // Mark the buffer for the display side: written by the camera (slot 4), JFIF colour space
    // (slot 5), start of frame at `sof` (slot 6). Return the buffer-attribute extension's result, 0
    // on success.
    virtual int setDirtyCamera(const native_handle* handle) const = 0;
    virtual int setColorspace_JFIF(const native_handle* handle) const = 0;
    virtual int setBufferSOF(const native_handle* handle, unsigned long sof) const = 0;

    // Readable names (slots 7 to 9). An unknown pixel format gives an empty text; usages read
    // "0|NAME|NAME", bits without a name left out; an unnamed dataspace reads as its hexadecimal
    // code and the names of its fields.
    virtual android::String8 queryPixelFormatName(int format) const = 0;
    virtual android::String8 queryGrallocUsageName(int usage) const = 0;
    virtual android::String8 queryDataspaceName(int dataspace) const = 0;

    // Writes every cached layout to the log, at debug level (slot 10).
    virtual void dumpToLog() const = 0;

    // Replaces `handle`, a raw handle that must not be null, by an imported one (slot 11). The raw
    // handle stays the caller's; the imported one is released with freeBuffer. A handle without
    // descriptors and integers imports to null.
    //
    // Contract: answers a truth value, 1 when the handle is usable afterwards, 0 on failure
    // (`handle` is unchanged then).
    virtual int importBuffer(const native_handle*& handle) = 0;

    // Releases an imported handle (slot 12): -1 for null, otherwise the mapper's error code, 0 on
    // success.
    virtual int freeBuffer(const native_handle* handle) = 0;

    // Maps the buffer for CPU access (slot 13): `usage` holds CPU usage bits, the region is (0, 0,
    // width, height), in pixels. `*vaddr` is the first byte of the buffer until unlock. Returns the
    // mapper's error code, 0 on success.
    virtual int lock(const native_handle* handle, unsigned int usage, int width, int height,
                     void** vaddr) = 0;

    // Ends a lock and waits until the buffer's writes are complete (slot 14). Always 0.
    virtual int unlock(const native_handle* handle) = 0;

    // Replaces the bits of the buffer's status word that `mask` selects by those of `value`
    // (slot 15). A read-modify-write without a lock: two threads that mark one buffer at once can
    // lose a change. Returns the extension's result of the store, 0 on success.
    virtual int setBufferStatus(const native_handle* handle, int mask, int value) const = 0;

    // Empties the layout cache (slot 16).
    virtual void clearMap() = 0;
};

}  // namespace NSCam
