#include "tools/grallocinfo/DeviceTraits.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <iterator>
#include <thread>

namespace grallocinfo {

namespace {

using zelkcam::profile::AcquireFence;
using zelkcam::profile::kGranted;
using zelkcam::profile::Request;
using zelkcam::profile::Traits;

constexpr uint64_t kCpuRead = 0x3;
constexpr uint64_t kCpuWrite = 0x30;
constexpr uint64_t kReadWrite = 0x33;
constexpr uint64_t kTexture = 1 << 8;
constexpr Request kPlain = {0x1, kReadWrite, 64, 64};

BufferDescriptorInfo plain() {
    return DeviceSession::describe(kPlain);
}

int32_t answerTo(DeviceSession& session, const BufferDescriptorInfo& info) {
    int64_t stride = 0;
    std::vector<NativeHandle> buffers;
    return session.allocate(info, &stride, &buffers);
}

int32_t answerToUsage(DeviceSession& session, uint64_t usage) {
    Request request = kPlain;
    request.usage = usage;
    return answerTo(session, DeviceSession::describe(request));
}

// Bits beside what the processor does; the lowest eight are its own. A bit may be refused only
// together with the processor's, as protected memory is, or only without them.
void probeUsageBits(DeviceSession& session, Traits& traits) {
    traits.refusedUsage = 0;
    for (int number = 8; number < 64; ++number) {
        const uint64_t bit = uint64_t{1} << number;
        const int32_t answer = answerToUsage(session, kPlain.usage | bit);
        if (answer != kGranted && answerToUsage(session, bit) != kGranted) {
            traits.refusedUsage |= bit;
            traits.usageRefusal = answer;
        }
    }
}

void probeZeroUsage(DeviceSession& session, Traits& traits) {
    traits.zeroUsage = answerToUsage(session, 0);
}

void probeLayers(DeviceSession& session, Traits& traits) {
    traits.maxLayers = 1;
    for (const int32_t layers : {2, 4, 8, 16, 64}) {
        BufferDescriptorInfo info = plain();
        info.layerCount = layers;
        const int32_t answer = answerTo(session, info);
        if (answer != kGranted) {
            traits.layersRefusal = answer;
            return;
        }
        traits.maxLayers = layers;
    }
}

void probeReserved(DeviceSession& session, Traits& traits) {
    traits.maxReservedSize = 0;
    for (const int64_t size : {64, 4096, 65536, 1 << 20, 1 << 22, 1 << 24, 1 << 26}) {
        BufferDescriptorInfo info = plain();
        info.reservedSize = size;
        const int32_t answer = answerTo(session, info);
        if (answer != kGranted) {
            traits.reservedRefusal = answer;
            return;
        }
        traits.maxReservedSize = size;
    }
}

void probeOptions(DeviceSession& session, Traits& traits) {
    traits.options.clear();
    for (const char* const name :
         {"android.hardware.graphics.common.Dataspace", "zelkcam.unknown"}) {
        BufferDescriptorInfo info = plain();
        info.additionalOptions = {{name, 0}};
        const int32_t answer = answerTo(session, info);
        if (answer == kGranted) {
            traits.options.emplace_back(name);
        } else {
            traits.optionsRefusal = answer;
        }
    }
}

struct Pipe {
    Pipe() {
        if (pipe(ends) != 0) {
            ends[0] = ends[1] = -1;
        }
        struct stat status {};
        fstat(ends[0], &status);
        inode = status.st_ino;
    }
    ~Pipe() {
        if (isReadEndOpen()) {
            close(ends[0]);
        }
        close(ends[1]);
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    // The number may be another file's by now.
    bool isReadEndOpen() const {
        struct stat status {};
        return fstat(ends[0], &status) == 0 && status.st_ino == inode;
    }
    void signal() const {
        if (write(ends[1], "s", 1) != 1) {
            // A fence that never signals; the lock's own patience ends the wait.
            return;
        }
    }

    int ends[2];
    ino_t inode;
};

void probeAcquireFence(DeviceSession& session, Traits& traits) {
    const SessionBuffer buffer(session, plain());
    if (buffer.handle() == nullptr) {
        return;
    }
    const Pipe fence;
    fence.signal();
    void* data = nullptr;
    const int32_t error =
            session.mapper().lock(buffer.handle(), kCpuRead, {0, 0, 0, 0}, fence.ends[0], &data);
    if (error == AIMAPPER_ERROR_NONE) {
        buffer.unlock();
    }
    traits.acquireFence = fence.isReadEndOpen() ? AcquireFence::kLeftOpen : AcquireFence::kClosed;
}

// Whether a lock returns before its fence is signalled.
void probeWait(DeviceSession& session, Traits& traits) {
    using std::chrono::milliseconds;
    const SessionBuffer buffer(session, plain());
    if (buffer.handle() == nullptr) {
        return;
    }
    const Pipe fence;
    std::thread signaller([&fence] {
        std::this_thread::sleep_for(milliseconds(60));
        fence.signal();
    });
    const auto start = std::chrono::steady_clock::now();
    void* data = nullptr;
    const int32_t error =
            session.mapper().lock(buffer.handle(), kCpuRead, {0, 0, 0, 0}, fence.ends[0], &data);
    traits.waitsForAcquireFence = std::chrono::steady_clock::now() - start > milliseconds(40);
    signaller.join();
    if (error == AIMAPPER_ERROR_NONE) {
        buffer.unlock();
    }
}

void probeReleaseFence(DeviceSession& session, Traits& traits) {
    const SessionBuffer buffer(session, plain());
    void* data = nullptr;
    if (buffer.handle() == nullptr ||
        session.mapper().lock(buffer.handle(), kReadWrite, {0, 0, 0, 0}, -1, &data) != 0) {
        return;
    }
    int fence = -1;
    session.mapper().unlock(buffer.handle(), &fence);
    traits.releaseFence = fence >= 0;
    if (fence >= 0) {
        close(fence);
    }
}

void probeLockUsage(DeviceSession& session, Traits& traits) {
    const SessionBuffer buffer(session, plain());
    if (buffer.handle() != nullptr) {
        traits.lockWithoutUsage = buffer.tryLock(0);
        traits.lockWithOtherUsage = buffer.tryLock(kCpuRead | kTexture);
    }
}

void probeLockWithoutCpu(DeviceSession& session, Traits& traits) {
    const SessionBuffer buffer(session, plain());
    if (buffer.handle() != nullptr) {
        traits.lockWithOnlyOtherUsage = buffer.tryLock(kTexture);
    }
}

void probeNestedLock(DeviceSession& session, Traits& traits) {
    const SessionBuffer buffer(session, plain());
    void* data = nullptr;
    if (buffer.handle() == nullptr ||
        session.mapper().lock(buffer.handle(), kCpuRead, {0, 0, 0, 0}, -1, &data) != 0) {
        return;
    }
    traits.nestedLock = buffer.tryLock(kCpuRead);
    buffer.unlock();
}

void probeForeignHandle(DeviceSession& session, Traits& traits) {
    const SessionBuffer buffer(session, plain());
    void* data = nullptr;
    if (buffer.raw() != nullptr) {
        traits.foreignHandle =
                session.mapper().lock(buffer.raw(), kCpuRead, {0, 0, 0, 0}, -1, &data);
    }
}

void probeForeignMetadata(DeviceSession& session, Traits& traits) {
    constexpr auto kDataspace = static_cast<int64_t>(StandardMetadataType::DATASPACE);
    const SessionBuffer buffer(session, plain());
    if (buffer.handle() != nullptr) {
        int32_t code = 0;
        const std::vector<uint8_t> bytes = buffer.readBytes(kDataspace, &code);
        traits.foreignRead =
                session.mapper().getStandardMetadata(buffer.raw(), kDataspace, nullptr, 0);
        traits.foreignSet = session.mapper().setStandardMetadata(buffer.raw(), kDataspace,
                                                                 bytes.data(), bytes.size());
    }
}

// A handle with a number more than those of the device have.
void probeForeignImport(DeviceSession& session, Traits& traits) {
    const SessionBuffer buffer(session, plain());
    const native_handle_t* const raw = buffer.raw();
    native_handle_t* const other =
            raw != nullptr ? native_handle_create(raw->numFds, raw->numInts + 1) : nullptr;
    if (other == nullptr) {
        return;
    }
    std::copy_n(raw->data, raw->numFds + raw->numInts, other->data);
    other->data[raw->numFds + raw->numInts] = 0;
    buffer_handle_t imported = nullptr;
    const int32_t answer = session.mapper().importBuffer(other, &imported);
    if (answer == AIMAPPER_ERROR_NONE) {
        session.mapper().freeBuffer(imported);  // of so much tolerance there is no replay
    } else {
        traits.foreignImport = answer;
    }
    native_handle_delete(other);
}

void probeReservedRegion(DeviceSession& session, Traits& traits) {
    constexpr int64_t kSize = 64;
    BufferDescriptorInfo info = plain();
    info.reservedSize = kSize;
    const SessionBuffer buffer(session, info);
    void* region = nullptr;  // some devices answer without writing either
    uint64_t size = 0;
    if (buffer.handle() != nullptr) {
        session.mapper().getReservedRegion(buffer.handle(), &region, &size);
        traits.givesReservedRegion = region != nullptr && size == kSize;
    }
}

// What moves the pixels in a direction that the lock was not for.
void probeDirections(DeviceSession& session, Traits& traits) {
    const SessionBuffer buffer(session, plain());
    const auto whileLocked = [&](uint64_t usage, auto* operation, int32_t& answer) {
        void* data = nullptr;
        if (buffer.handle() != nullptr &&
            session.mapper().lock(buffer.handle(), usage, {0, 0, 0, 0}, -1, &data) == 0) {
            answer = operation(buffer.handle());
            buffer.unlock();
        }
    };
    whileLocked(kCpuRead, session.mapper().flushLockedBuffer, traits.flushAfterRead);
    whileLocked(kCpuWrite, session.mapper().rereadLockedBuffer, traits.rereadAfterWrite);
}

void probeSetters(DeviceSession& session, Traits& traits) {
    const SessionBuffer buffer(session, plain());
    const auto set = [&](StandardMetadataType type, const std::vector<uint8_t>& bytes) {
        return session.mapper().setStandardMetadata(buffer.handle(), static_cast<int64_t>(type),
                                                    bytes.data(), bytes.size());
    };
    if (buffer.handle() != nullptr) {
        int32_t code = 0;
        traits.setUndecodable = set(StandardMetadataType::DATASPACE, {1});
        traits.setConstant =
                set(StandardMetadataType::WIDTH,
                    buffer.readBytes(static_cast<int64_t>(StandardMetadataType::WIDTH), &code));
    }
}

void probeUnlocked(DeviceSession& session, Traits& traits) {
    const SessionBuffer buffer(session, plain());
    if (buffer.handle() != nullptr) {
        traits.unlockedFlush = session.mapper().flushLockedBuffer(buffer.handle());
        traits.unlockedReread = session.mapper().rereadLockedBuffer(buffer.handle());
    }
}

// What can be set is set to what it is.
void probeSettable(DeviceSession& session, Traits& traits) {
    constexpr int64_t kLastStandardType = 23;
    const SessionBuffer buffer(session, plain());
    traits.settable.clear();
    for (int64_t type = 1; buffer.handle() != nullptr && type <= kLastStandardType; ++type) {
        int32_t code = 0;
        const std::vector<uint8_t> bytes = buffer.readBytes(type, &code);
        const bool known = code >= 0;
        if (known && session.mapper().setStandardMetadata(buffer.handle(), type, bytes.data(),
                                                          bytes.size()) == AIMAPPER_ERROR_NONE) {
            traits.settable.push_back(type);
        }
    }
}

using Probe = void (*)(DeviceSession& session, Traits& traits);
constexpr Probe kProbes[] = {
        probeUsageBits,  probeZeroUsage,       probeLayers,        probeReserved,
        probeOptions,    probeAcquireFence,    probeWait,          probeReleaseFence,
        probeLockUsage,  probeLockWithoutCpu,  probeNestedLock,    probeForeignHandle,
        probeUnlocked,   probeForeignMetadata, probeForeignImport, probeReservedRegion,
        probeDirections, probeSetters,         probeSettable};

}  // namespace

size_t traitProbeCount() {
    return std::size(kProbes);
}

void probeTrait(size_t number, DeviceSession& session, Traits& traits) {
    kProbes[number](session, traits);
}

}  // namespace grallocinfo
