#include "host/check/CheckedGralloc.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

#include <aidl/android/hardware/graphics/common/BufferUsage.h>
#include <aidl/android/hardware/graphics/common/PixelFormat.h>

#include "host/check/Descriptors.h"
#include "host/check/Symbols.h"

namespace zelkcam::host::check {
namespace {

using aidl::android::hardware::graphics::common::BufferUsage;
using aidl::android::hardware::graphics::common::PixelFormat;
using gralloc::ImportedBuffer;
using gralloc::Region;

constexpr auto kCpuWrite = static_cast<uint64_t>(BufferUsage::CPU_WRITE_MASK);

// So many freed handles, and places of allocation, are remembered.
constexpr size_t kFreedCount = 16384;
constexpr size_t kAllocationCount = 16384;

uint64_t bufferIdOf(const native_handle_t& handle) {
    const int* const ints = handle.data + handle.numFds;
    return static_cast<uint64_t>(static_cast<uint32_t>(ints[gralloc::kIdHighInt])) << 32 |
           static_cast<uint32_t>(ints[gralloc::kIdLowInt]);
}

// The low half of an id counts the buffers of the process that allocated them.
std::string nameOf(const ImportedBuffer& buffer, uint64_t id) {
    const gralloc::Description& description = buffer.description();
    return "buffer " + std::to_string(static_cast<uint32_t>(id)) + " (" +
           toString(static_cast<PixelFormat>(description.format)) + ", " +
           std::to_string(description.width) + "x" + std::to_string(description.height) + ", " +
           std::to_string(buffer.layout().allocationSize) + " bytes)";
}

// Who writes to a buffer is known to all its processes by a record lock of its pixels, which the
// kernel takes away when one of them ends. Answers the process that has it already, or 0.
pid_t announceWriter(int pixelFd) {
    struct flock record = {};
    record.l_type = F_WRLCK;
    record.l_len = 1;
    if (fcntl(pixelFd, F_SETLK, &record) == 0 || fcntl(pixelFd, F_GETLK, &record) != 0) {
        return 0;
    }
    return record.l_type != F_UNLCK ? record.l_pid : 0;
}

void withdrawWriter(int pixelFd) {
    struct flock record = {};
    record.l_type = F_UNLCK;
    record.l_len = 1;
    fcntl(pixelFd, F_SETLK, &record);
}

std::string hex(const void* address) {
    char text[32];
    (void)snprintf(text, sizeof(text), "%p", address);  // a pointer has at most 18 characters
    return text;
}

}  // namespace

// An id that a process allocated again, as after many allocations, has its last place.
void CheckedGralloc::rememberAllocation(uint64_t bufferId, const CallStack& stack) {
    mAllocations[bufferId] = stack;
    if (mAllocations.size() > kAllocationCount) {
        mAllocations.erase(mAllocations.begin());
    }
}

std::optional<Earlier> CheckedGralloc::allocationOf(uint64_t bufferId) const {
    const auto found = mAllocations.find(bufferId);
    return found != mAllocations.end() ? std::optional(Earlier{"allocated here", found->second})
                                       : std::nullopt;
}

AIMapper_Error CheckedGralloc::allocate(const gralloc::AllocationRequest& request,
                                        gralloc::Allocation* out) {
    tellPendingCloses();
    const CallStack stack = CallStack::here();
    const AIMapper_Error error = mNext.allocate(request, out);
    if (error == AIMAPPER_ERROR_NONE) {
        const std::lock_guard guard(mMutex);
        for (const gralloc::RawBuffer& buffer : out->buffers) {
            const uint64_t high = static_cast<uint32_t>(buffer.ints[gralloc::kIdHighInt]);
            rememberAllocation(high << 32 | static_cast<uint32_t>(buffer.ints[gralloc::kIdLowInt]),
                               stack);
        }
    }
    return error;
}

CheckedGralloc::ImportPointer CheckedGralloc::makeImport(const native_handle_t* raw,
                                                         buffer_handle_t next) {
    const auto buffer = mNext.find(next);
    auto import = std::make_shared<Import>();
    import->handle.reset(native_handle_create(next->numFds, next->numInts));
    if (buffer == nullptr || import->handle == nullptr) {
        return nullptr;
    }
    std::copy_n(next->data, next->numFds + next->numInts, import->handle->data);
    import->next = next;
    import->bufferId = bufferIdOf(*raw);
    import->name = nameOf(*buffer, import->bufferId);
    import->process = getpid();
    import->imported = CallStack::here();
    return import;
}

AIMapper_Error CheckedGralloc::importBuffer(const native_handle_t* raw,
                                            buffer_handle_t* outHandle) {
    tellPendingCloses();
    ImportPointer freed;
    {
        const std::lock_guard guard(mMutex);
        const auto found = mImports.find(raw);
        freed = found != mImports.end() && found->second->isFreed ? found->second : nullptr;
    }
    if (freed != nullptr) {
        tellStranger(raw, "imported", freed);
        return AIMAPPER_ERROR_BAD_BUFFER;
    }
    buffer_handle_t next = nullptr;
    const AIMapper_Error error = mNext.importBuffer(raw, &next);
    if (error != AIMAPPER_ERROR_NONE) {
        return error;
    }
    const ImportPointer import = makeImport(raw, next);
    if (import == nullptr) {
        mNext.freeBuffer(next);
        return AIMAPPER_ERROR_NO_RESOURCES;
    }
    addBorrowed(*import->handle, import->name, import->imported);
    const std::lock_guard guard(mMutex);
    mImports[import->handle.get()] = import;
    *outHandle = import->handle.get();
    return AIMAPPER_ERROR_NONE;
}

// Null handles are for the callee to refuse: nobody takes one for a buffer.
CheckedGralloc::ImportPointer CheckedGralloc::lookUp(buffer_handle_t handle,
                                                     const char* operation) {
    tellPendingCloses();
    watchFaults();
    ImportPointer import;
    {
        const std::lock_guard guard(mMutex);
        const auto found = mImports.find(handle);
        import = found != mImports.end() ? found->second : nullptr;
        if (import != nullptr && !import->isFreed) {
            return import;
        }
    }
    if (handle != nullptr) {
        tellStranger(handle, operation, import);
    }
    return nullptr;
}

void CheckedGralloc::tellStranger(buffer_handle_t handle, const char* operation,
                                  const ImportPointer& freed) {
    const CallStack stack = CallStack::here();
    if (freed == nullptr) {
        return tell({"raw-handle",
                     std::string("a handle was ") + operation + " that was never imported (" +
                             hex(handle) + ")",
                     stack, std::nullopt});
    }
    const bool again = std::string_view(operation) == "freed";
    tell({again ? "double-free" : "use-after-free",
          freed->name + " was " + operation + (again ? " again" : " after it was freed"), stack,
          Earlier{"freed here", freed->freed}});
}

// The handle's memory stays, and so do its addresses, until many more have been freed.
void CheckedGralloc::forget(const ImportPointer& import, const CallStack& stack) {
    import->isFreed = true;
    import->freed = stack;
    mFreed.push_back(import);
    if (mFreed.size() > kFreedCount) {
        mImports.erase(mFreed.front()->handle.get());
        mFreed.pop_front();
    }
}

AIMapper_Error CheckedGralloc::freeBuffer(buffer_handle_t handle) {
    const ImportPointer import = lookUp(handle, "freed");
    if (import == nullptr) {
        return AIMAPPER_ERROR_BAD_BUFFER;
    }
    const CallStack stack = CallStack::here();
    std::vector<HeldLock> locks;
    {
        const std::lock_guard guard(mMutex);
        if (import->isFreed) {
            return AIMAPPER_ERROR_BAD_BUFFER;
        }
        locks = takeLocks(*import);
        forget(import, stack);
    }
    forgetWriters(*import, locks);
    if (!locks.empty()) {
        tell({"freed-while-locked", import->name + " was freed while it was locked", stack,
              Earlier{"locked here", locks.front().stack}});
    }
    for (HeldLock& lock : locks) {
        GuardedMapping::retire(std::move(lock.mapping), "freed here", stack, nullptr);
    }
    import->pages.drop();
    removeBorrowed(*import->handle, stack);
    return mNext.freeBuffer(import->next);
}

// Only the first of several locks for writing fills the padding and looks at it. The caller holds
// mMutex.
std::optional<Finding> CheckedGralloc::admitWriter(const Import& import, HeldLock& lock) {
    const auto [writer, isFirst] = mWriters.emplace(import.bufferId, lock.stack);
    if (!isFirst) {
        lock.padding = nullptr;
        return Finding{"conflicting-locks",
                       import.name + " was locked for writing while it was so already", lock.stack,
                       Earlier{"locked here", writer->second}};
    }
    lock.padding->fill(lock.pixels);
    const pid_t other = announceWriter(import.handle->data[gralloc::kPixelFd]);
    if (other == 0) {
        return std::nullopt;
    }
    return Finding{"conflicting-locks",
                   import.name + " was locked for writing while process " + std::to_string(other) +
                           " had it locked so",
                   lock.stack, std::nullopt};
}

std::optional<Finding> CheckedGralloc::enter(Import& import, HeldLock lock) {
    const std::lock_guard guard(mMutex);
    auto conflict = lock.padding != nullptr ? admitWriter(import, lock) : std::nullopt;
    ++import.openLocks;
    import.locks.push_back(std::move(lock));
    return conflict;
}

AIMapper_Error CheckedGralloc::lock(buffer_handle_t handle, uint64_t cpuUsage, const Region& region,
                                    int acquireFence, void** outData) {
    const ImportPointer import = lookUp(handle, "locked");
    if (import == nullptr) {
        return AIMAPPER_ERROR_BAD_BUFFER;
    }
    void* pixels = nullptr;
    const AIMapper_Error error = mNext.lock(import->next, cpuUsage, region, acquireFence,
                                            outData != nullptr ? &pixels : nullptr);
    if (error != AIMAPPER_ERROR_NONE) {
        return error;
    }
    *outData = hold(*import, (cpuUsage & kCpuWrite) != 0, region, pixels);
    if (*outData != nullptr) {
        return AIMAPPER_ERROR_NONE;
    }
    gralloc::ScopedFileDescriptor fence;
    mNext.unlock(import->next, &fence);
    return AIMAPPER_ERROR_NO_RESOURCES;
}

// Null when the process cannot hold one more mapping.
void* CheckedGralloc::hold(Import& import, bool writes, const Region& region, void* pixels) {
    const auto buffer = mNext.find(import.next);
    if (buffer == nullptr) {
        return nullptr;
    }
    HeldLock lock{nullptr, nullptr, static_cast<std::byte*>(pixels), region, CallStack::here()};
    lock.mapping =
            GuardedMapping::map(import.handle->data[gralloc::kPixelFd], buffer->layout().pixelBytes,
                                writes, import.name, lock.stack, &import.pages);
    if (lock.mapping == nullptr) {
        return nullptr;
    }
    if (writes) {
        lock.padding = std::make_unique<Padding>(buffer->description(), buffer->layout());
    }
    void* const data = lock.mapping->data();
    if (const auto conflict = enter(import, std::move(lock))) {
        tell(*conflict);
    }
    return data;
}

// The caller holds mMutex.
std::vector<CheckedGralloc::HeldLock> CheckedGralloc::takeLocks(Import& import) {
    import.openLocks = 0;
    return std::exchange(import.locks, {});
}

// The next lock for writing fills the padding again, so the ended ones are checked before this.
void CheckedGralloc::forgetWriters(const Import& import, const std::vector<HeldLock>& ended) {
    const auto wrote = [](const HeldLock& lock) { return lock.padding != nullptr; };
    if (std::ranges::any_of(ended, wrote)) {
        const std::lock_guard guard(mMutex);
        mWriters.erase(import.bufferId);
        withdrawWriter(import.handle->data[gralloc::kPixelFd]);
    }
}

// Which of several locks an unlock ends is not told, so all mappings stay until the last one.
std::vector<CheckedGralloc::HeldLock> CheckedGralloc::endLock(Import& import) {
    const std::lock_guard guard(mMutex);
    import.openLocks -= import.openLocks > 0 ? 1 : 0;
    return import.openLocks == 0 ? takeLocks(import) : std::vector<HeldLock>();
}

void CheckedGralloc::tellPadding(const Import& import, const HeldLock& lock,
                                 const CallStack& stack) const {
    const auto change = lock.padding->findChange(lock.pixels, lock.region);
    if (!change) {
        return;
    }
    Finding finding{
            "padding-overwritten",
            "bytes of " + import.name + " that hold no pixel were written: " + change->where, stack,
            Earlier{"locked here", lock.stack}};
    finding.weight = change->tears || isStrict() ? Weight::Finding : Weight::Note;
    tell(finding);
}

void CheckedGralloc::checkWrites(const Import& import, const std::vector<HeldLock>& locks,
                                 const CallStack& stack) const {
    for (const HeldLock& lock : locks) {
        if (lock.padding == nullptr) {
            continue;
        }
        const int64_t behind = lock.padding->changedBehind(lock.pixels);
        if (behind > 0) {
            tell({"out-of-bounds",
                  "bytes behind the last of " + import.name +
                          " were written, so many: " + std::to_string(behind),
                  stack, Earlier{"locked here", lock.stack}});
        }
        tellPadding(import, lock, stack);
    }
}

// The library unlocks after a lock for a layout, whether that succeeded or not.
void CheckedGralloc::tellUnlock(const Import& import, const CallStack& stack) {
    Finding finding{"unlock-without-lock", import.name + " was unlocked although it was not locked",
                    stack, Earlier{"imported here", import.imported}};
    finding.weight = isUnlockOfLayoutQuery(resolve(stack)) ? Weight::ByContract : Weight::Finding;
    tell(finding);
}

AIMapper_Error CheckedGralloc::unlock(buffer_handle_t handle,
                                      gralloc::ScopedFileDescriptor* releaseFence) {
    const ImportPointer import = lookUp(handle, "unlocked");
    if (import == nullptr) {
        return AIMAPPER_ERROR_BAD_BUFFER;
    }
    const CallStack stack = CallStack::here();
    std::vector<HeldLock> ended = endLock(*import);
    checkWrites(*import, ended, stack);
    forgetWriters(*import, ended);
    for (HeldLock& lock : ended) {
        GuardedMapping::retire(std::move(lock.mapping), "unlocked here", stack, &import->pages);
    }
    const AIMapper_Error error = mNext.unlock(import->next, releaseFence);
    if (error == AIMAPPER_ERROR_NONE) {
        addFence(releaseFence->get(), import->name, stack);
    } else if (ended.empty()) {
        tellUnlock(*import, stack);
    }
    return error;
}

int32_t CheckedGralloc::getMetadata(buffer_handle_t handle, std::string_view typeName, int64_t type,
                                    void* destination, size_t size) {
    const ImportPointer import = lookUp(handle, "used");
    return import != nullptr ? mNext.getMetadata(import->next, typeName, type, destination, size)
                             : -AIMAPPER_ERROR_BAD_BUFFER;
}

std::shared_ptr<ImportedBuffer> CheckedGralloc::find(buffer_handle_t handle) {
    const ImportPointer import = lookUp(handle, "used");
    return import != nullptr ? mNext.find(import->next) : nullptr;
}

void CheckedGralloc::tellLeaks() {
    std::vector<Finding> leaks;
    {
        const std::lock_guard guard(mMutex);
        for (const auto& [handle, import] : mImports) {
            if (import->isFreed || import->process != getpid()) {
                continue;
            }
            // The last one was unlocked first.
            for (size_t i = 0; i < import->openLocks; ++i) {
                leaks.push_back({"leaked-lock", import->name + " is still locked",
                                 import->locks[i].stack, allocationOf(import->bufferId)});
            }
            leaks.push_back({"leaked-import", import->name + " was never freed", import->imported,
                             allocationOf(import->bufferId)});
        }
    }
    for (const Finding& leak : leaks) {
        tell(leak);
    }
}

}  // namespace zelkcam::host::check
