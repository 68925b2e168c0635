// The host's buffers with a checker in front: finds the program's misuse of them.
//
// Handles are the checker's own copies, which stay in memory after the free, so that a freed
// handle is never mistaken for a new buffer at the same address. Locks give mappings of their own.
#pragma once

#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "host/check/Findings.h"
#include "host/check/Mappings.h"
#include "host/check/Padding.h"
#include "host/gralloc/Gralloc.h"

namespace zelkcam::host::check {

class CheckedGralloc : public gralloc::Gralloc {
  public:
    // `next` does the work and lives as long as the process.
    explicit CheckedGralloc(gralloc::Gralloc& next) : mNext(next) {}

    AIMapper_Error allocate(const gralloc::AllocationRequest& request,
                            gralloc::Allocation* out) override;
    AIMapper_Error importBuffer(const native_handle_t* raw, buffer_handle_t* outHandle) override;
    AIMapper_Error freeBuffer(buffer_handle_t handle) override;
    AIMapper_Error lock(buffer_handle_t handle, uint64_t cpuUsage, const gralloc::Region& region,
                        int acquireFence, void** outData) override;
    AIMapper_Error unlock(buffer_handle_t handle,
                          gralloc::ScopedFileDescriptor* releaseFence) override;
    int32_t getMetadata(buffer_handle_t handle, std::string_view typeName, int64_t type,
                        void* destination, size_t size) override;
    std::shared_ptr<gralloc::ImportedBuffer> find(buffer_handle_t handle) override;

    // Tells what this process still holds, at its end.
    void tellLeaks();

    // Around fork(): the child's copy is in order, and is not blamed for what its parent holds.
    std::mutex& mutex() { return mMutex; }

  private:
    struct DeleteHandle {
        void operator()(native_handle_t* handle) const { native_handle_delete(handle); }
    };
    struct HeldLock {
        std::shared_ptr<GuardedMapping> mapping;
        std::unique_ptr<Padding> padding;  // filled by this lock; null when it does not write
        std::byte* pixels = nullptr;       // the platform's own mapping
        gralloc::Region region{};
        CallStack stack;
    };
    struct Import {
        std::unique_ptr<native_handle_t, DeleteHandle> handle;
        buffer_handle_t next = nullptr;  // what mNext calls it
        uint64_t bufferId = 0;
        std::string name;  // "buffer 3 (YV12, 640x480, 460800 bytes)"
        pid_t process = 0;
        CallStack imported;
        CallStack freed;
        bool isFreed = false;
        ParkedPages pages;
        std::vector<HeldLock> locks;
        size_t openLocks = 0;  // of them; the mappings of all stay until the last is unlocked
    };
    using ImportPointer = std::shared_ptr<Import>;

    ImportPointer lookUp(buffer_handle_t handle, const char* operation);
    void tellStranger(buffer_handle_t handle, const char* operation, const ImportPointer& freed);
    ImportPointer makeImport(const native_handle_t* raw, buffer_handle_t next);
    void rememberAllocation(uint64_t bufferId, const CallStack& stack);
    std::optional<Earlier> allocationOf(uint64_t bufferId) const;
    void* hold(Import& import, bool writes, const gralloc::Region& region, void* pixels);
    std::optional<Finding> admitWriter(const Import& import, HeldLock& lock);
    std::optional<Finding> enter(Import& import, HeldLock lock);
    std::vector<HeldLock> endLock(Import& import);
    std::vector<HeldLock> takeLocks(Import& import);
    void forgetWriters(const Import& import, const std::vector<HeldLock>& ended);
    void checkWrites(const Import& import, const std::vector<HeldLock>& locks,
                     const CallStack& stack) const;
    static void tellUnlock(const Import& import, const CallStack& stack);
    void tellPadding(const Import& import, const HeldLock& lock, const CallStack& stack) const;
    void forget(const ImportPointer& import, const CallStack& stack);

    gralloc::Gralloc& mNext;
    mutable std::mutex mMutex;  // guards all that follows
    std::unordered_map<buffer_handle_t, ImportPointer> mImports;
    std::deque<ImportPointer> mFreed;  // the last ones, which are in mImports, too
    std::map<uint64_t, CallStack> mAllocations;
    std::map<uint64_t, CallStack> mWriters;  // of buffers that are locked for writing
};

}  // namespace zelkcam::host::check
