// A buffer that this process has imported.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string_view>

#include <cutils/native_handle.h>

#include "host/gralloc/Allocation.h"
#include "host/gralloc/Device.h"

namespace zelkcam::host::gralloc {

// The part of the picture that a lock is for, in pixels; right and bottom are exclusive.
struct Region {
    int64_t left, top, right, bottom;

    bool operator==(const Region&) const = default;
};

// Safe from any thread. Everything that import learned about the buffer is copied, so what another
// process does to the shared memory later can change the settable values and the pixels, and
// nothing else.
class ImportedBuffer {
  public:
    // Makes an import of `raw`, which stays the caller's. BAD_BUFFER for a handle that is no buffer
    // of this host in every detail, NO_RESOURCES when descriptors or memory are short.
    static AIMapper_Error import(const native_handle_t* raw, std::shared_ptr<ImportedBuffer>* out);

    buffer_handle_t handle() const { return mHandle.get(); }
    const Description& description() const { return mDescription; }
    const Layout& layout() const { return mLayout; }

    // Waits for the fence (-1: none), maps the pixels if nobody has yet, and answers the address of
    // the first byte. Locks nest.
    //
    // What the device answers, mostly BAD_VALUE, for a usage that is not one of the processor or
    // that the buffer was not made for; BAD_VALUE for a region outside the buffer and for a fence
    // that cannot be waited for; NO_RESOURCES when
    // the pixels cannot be mapped; BAD_BUFFER when the buffer was freed meanwhile.
    //
    // Contract: `acquireFence` is only waited for. The caller closes it, on errors too.
    AIMapper_Error lock(uint64_t cpuUsage, const Region& region, int acquireFence, void** outData);

    // Ends one lock; BAD_BUFFER when there is none. The fence tells when the processor's writes are
    // complete, which they are by then: it is empty, or signalled on a device that always gives
    // one.
    AIMapper_Error unlock(ScopedFileDescriptor* releaseFence);

    // BAD_BUFFER, or what the device has for it, when the buffer is not locked.
    AIMapper_Error flush() const;
    AIMapper_Error reread() const;

    // As AIMapper's getMetadata and setMetadata.
    int32_t getMetadata(std::string_view typeName, int64_t type, void* destination,
                        size_t destinationSize) const;
    AIMapper_Error setMetadata(std::string_view typeName, int64_t type,
                               std::span<const uint8_t> value);

    // The memory that the description reserved; empty when it reserved none. Zeros at first, shared
    // by all importers, valid as long as this import.
    std::span<std::byte> reservedRegion() const;

    // Marks the import as freed: no lock succeeds from then on.
    void retire();

  private:
    struct DeleteHandle {
        void operator()(native_handle_t* handle) const { native_handle_delete(handle); }
    };

    ImportedBuffer() = default;
    AIMapper_Error adopt(const native_handle_t* raw);
    AIMapper_Error copyHandle(const native_handle_t* raw);
    AIMapper_Error checkContents(uint64_t bufferId);
    AIMapper_Error mapPixels();
    AIMapper_Error mayLock(uint64_t cpuUsage, const Region& region) const;
    bool contains(const Region& region) const;
    SharedCell cell(size_t index) const;
    int32_t refusalToRead(std::string_view typeName, int64_t type) const;
    std::optional<uint32_t> attribute(int64_t number) const;
    int32_t getAttribute(int64_t number, void* destination, size_t room) const;

    const profile::Traits& mTraits = deviceTraits();
    // The handle's numbers are those of the two descriptors, which are owned here.
    std::unique_ptr<native_handle_t, DeleteHandle> mHandle;
    ScopedFileDescriptor mFds[kFdCount];
    Description mDescription;
    Layout mLayout;
    ConstantMetadata mConstants;
    Mapping mShared;

    mutable std::mutex mMutex;  // guards what follows
    Mapping mPixels;
    uint32_t mLockCount = 0;
    uint64_t mLockedFor = 0;  // usages of the locks that are open
    bool mRetired = false;
};

}  // namespace zelkcam::host::gralloc
