#include "host/gralloc/ImportedBuffer.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

#include <aidl/android/hardware/graphics/common/BufferUsage.h>
#include <android/log.h>

#include "host/sync/Fence.h"
#include "platform/plexa.h"

namespace zelkcam::host::gralloc {
namespace {

using aidl::android::hardware::graphics::common::BufferUsage;

constexpr uint64_t kCpuRead = static_cast<uint64_t>(BufferUsage::CPU_READ_MASK);
constexpr uint64_t kCpuWrite = static_cast<uint64_t>(BufferUsage::CPU_WRITE_MASK);

bool isWellFormed(const native_handle_t* raw) {
    return raw != nullptr && raw->version == sizeof(native_handle_t) && raw->numFds == kFdCount &&
           raw->numInts == kIntCount;
}

const int32_t* intsOf(const native_handle_t* handle) {
    return handle->data + kFdCount;
}

bool hasOurMark(const native_handle_t* raw) {
    const int32_t* ints = intsOf(raw);
    return static_cast<uint32_t>(ints[kMagicInt]) == kMagic &&
           static_cast<uint32_t>(ints[kVersionInt]) == kVersion;
}

uint64_t bufferIdOf(const native_handle_t* raw) {
    const int32_t* ints = intsOf(raw);
    return static_cast<uint64_t>(static_cast<uint32_t>(ints[kIdHighInt])) << 32 |
           static_cast<uint32_t>(ints[kIdLowInt]);
}

// One copy, so that what is checked is what is used.
bool readImage(int fd, SharedImage* image) {
    return pread(fd, image, sizeof(*image), 0) == static_cast<ssize_t>(sizeof(*image));
}

// A buffer of another device profile has its planes elsewhere.
bool isOfThisDevice(const SharedHeader& header) {
    if (header.device == deviceFingerprint()) {
        return true;
    }
    __android_log_print(ANDROID_LOG_ERROR, "ZelkCam/HostGralloc",
                        "buffer %llx is refused: it was made under another device profile than "
                        "that of this process",
                        static_cast<unsigned long long>(header.bufferId));
    return false;
}

// What the answers to a lock for reading and for writing make of a usage that may be for both.
AIMapper_Error lockAnswer(const profile::LockAnswer& answers, uint64_t cpuUsage) {
    const int32_t read = (cpuUsage & kCpuRead) != 0 ? answers.read : 0;
    const int32_t write = (cpuUsage & kCpuWrite) != 0 ? answers.write : 0;
    return static_cast<AIMapper_Error>(read != 0 ? read : write);
}

// The trait for a usage that names no processor access, or more than that.
int32_t usageAnswer(const profile::Traits& traits, uint64_t cpuUsage) {
    const bool others = (cpuUsage & ~(kCpuRead | kCpuWrite)) != 0;
    if ((cpuUsage & (kCpuRead | kCpuWrite)) == 0) {
        return others ? traits.lockWithOnlyOtherUsage : traits.lockWithoutUsage;
    }
    return others ? traits.lockWithOtherUsage : 0;
}

// Types whose setting is refused as a wrong value and not as unsupported.
bool isFixedByRequest(std::string_view typeName, int64_t type) {
    constexpr StandardMetadataType kFixed[] = {
            StandardMetadataType::BUFFER_ID,   StandardMetadataType::NAME,
            StandardMetadataType::WIDTH,       StandardMetadataType::HEIGHT,
            StandardMetadataType::LAYER_COUNT, StandardMetadataType::PIXEL_FORMAT_REQUESTED,
            StandardMetadataType::USAGE};
    return typeName == kStandardTypeName &&
           std::ranges::find(kFixed, static_cast<StandardMetadataType>(type)) != std::end(kFixed);
}

}  // namespace

AIMapper_Error ImportedBuffer::import(const native_handle_t* raw,
                                      std::shared_ptr<ImportedBuffer>* out) {
    if (!isWellFormed(raw)) {
        return static_cast<AIMapper_Error>(deviceTraits().foreignImport);
    }
    if (!hasOurMark(raw)) {
        return AIMAPPER_ERROR_BAD_BUFFER;
    }
    const std::shared_ptr<ImportedBuffer> buffer(new ImportedBuffer);
    const AIMapper_Error error = buffer->adopt(raw);
    if (error == AIMAPPER_ERROR_NONE) {
        *out = buffer;
    }
    return error;
}

AIMapper_Error ImportedBuffer::adopt(const native_handle_t* raw) {
    AIMapper_Error error = copyHandle(raw);
    if (error == AIMAPPER_ERROR_NONE) {
        error = checkContents(bufferIdOf(mHandle.get()));
    }
    if (error != AIMAPPER_ERROR_NONE) {
        return error;
    }
    mShared = Mapping::map(mFds[kMetadataFd].get(), metadataSize(mDescription));
    return mShared ? AIMAPPER_ERROR_NONE : AIMAPPER_ERROR_NO_RESOURCES;
}

AIMapper_Error ImportedBuffer::copyHandle(const native_handle_t* raw) {
    mHandle.reset(native_handle_create(kFdCount, kIntCount));
    if (mHandle == nullptr) {
        return AIMAPPER_ERROR_NO_RESOURCES;
    }
    std::copy_n(intsOf(raw), +kIntCount, mHandle->data + kFdCount);
    for (int i = 0; i < kFdCount; ++i) {
        const AIMapper_Error error = duplicate(raw->data[i], &mFds[i]);
        if (error != AIMAPPER_ERROR_NONE) {
            return error;
        }
        mHandle->data[i] = mFds[i].get();
    }
    return AIMAPPER_ERROR_NONE;
}

// The kind of the descriptors comes first: reading from another kind could block. The encoded
// values are compared with what the description must give, so a client that finds its planes by
// them stays inside the allocation.
AIMapper_Error ImportedBuffer::checkContents(uint64_t bufferId) {
    SharedMemoryInfo pixels{};
    SharedMemoryInfo metadata{};
    SharedImage image;
    if (inspectSharedMemory(mFds[kPixelFd].get(), &pixels) != AIMAPPER_ERROR_NONE ||
        inspectSharedMemory(mFds[kMetadataFd].get(), &metadata) != AIMAPPER_ERROR_NONE ||
        !readImage(mFds[kMetadataFd].get(), &image)) {
        return AIMAPPER_ERROR_BAD_BUFFER;
    }
    const SharedHeader& header = image.header;
    mDescription = header.description;
    const bool good =
            header.magic == kMagic && header.version == kVersion && header.bufferId == bufferId &&
            header.pixelInode == pixels.inode && pixels.inode != metadata.inode &&
            isOfThisDevice(header) && decide(mDescription, &mLayout) == AIMAPPER_ERROR_NONE &&
            pixels.size >= mLayout.pixelBytes && metadata.size >= metadataSize(mDescription);
    const auto expected = good ? encodeConstants(mDescription, mLayout, bufferId) : std::nullopt;
    if (!expected || *expected != image.constants) {
        return AIMAPPER_ERROR_BAD_BUFFER;
    }
    mConstants = *expected;
    if (mLayout.isGuess) {
        warnOfGuess(mDescription);  // the allocator may be in another process
    }
    return AIMAPPER_ERROR_NONE;
}

bool ImportedBuffer::contains(const Region& region) const {
    if (region == Region{0, 0, 0, 0}) {
        return true;
    }
    return region.left >= 0 && region.top >= 0 && region.left < region.right &&
           region.top < region.bottom && region.right <= mDescription.width &&
           region.bottom <= mDescription.height;
}

AIMapper_Error ImportedBuffer::mapPixels() {
    if (!mPixels) {
        mPixels = Mapping::map(mFds[kPixelFd].get(), mLayout.pixelBytes);
    }
    return mPixels ? AIMAPPER_ERROR_NONE : AIMAPPER_ERROR_NO_RESOURCES;
}

AIMapper_Error ImportedBuffer::mayLock(uint64_t cpuUsage, const Region& region) const {
    if (const int32_t error = usageAnswer(mTraits, cpuUsage); error != 0) {
        return static_cast<AIMapper_Error>(error);
    }
    const AIMapper_Error error = lockAnswer(mLayout.locks, cpuUsage);
    return error != AIMAPPER_ERROR_NONE || contains(region) ? error : AIMAPPER_ERROR_BAD_VALUE;
}

AIMapper_Error ImportedBuffer::lock(uint64_t cpuUsage, const Region& region, int acquireFence,
                                    void** outData) {
    if (outData == nullptr) {
        return AIMAPPER_ERROR_BAD_VALUE;
    }
    if (const AIMapper_Error error = mayLock(cpuUsage, region); error != AIMAPPER_ERROR_NONE) {
        return error;
    }
    if (acquireFence >= 0 && mTraits.waitsForAcquireFence && waitForFence(acquireFence, -1) != 0) {
        return AIMAPPER_ERROR_BAD_VALUE;
    }
    const std::lock_guard guard(mMutex);
    if (mRetired) {
        return AIMAPPER_ERROR_BAD_BUFFER;
    }
    if (mLockCount > 0 && mTraits.nestedLock != 0) {
        return static_cast<AIMapper_Error>(mTraits.nestedLock);
    }
    const AIMapper_Error error = mapPixels();
    if (error == AIMAPPER_ERROR_NONE) {
        ++mLockCount;
        mLockedFor |= cpuUsage;
        *outData = mPixels.data();
    }
    return error;
}

AIMapper_Error ImportedBuffer::unlock(ScopedFileDescriptor* releaseFence) {
    const std::lock_guard guard(mMutex);
    if (mLockCount == 0) {
        return AIMAPPER_ERROR_BAD_BUFFER;
    }
    --mLockCount;
    mLockedFor = mLockCount > 0 ? mLockedFor : 0;
    // A device that gives fences gives one that is signalled: the writes are complete by now.
    releaseFence->set(mTraits.releaseFence ? eventfd(1, EFD_CLOEXEC) : -1);
    return AIMAPPER_ERROR_NONE;
}

// All importers share the same pages, so there is nothing to move.
AIMapper_Error ImportedBuffer::flush() const {
    const std::lock_guard guard(mMutex);
    const int32_t unwritten = (mLockedFor & kCpuWrite) != 0 ? 0 : mTraits.flushAfterRead;
    return static_cast<AIMapper_Error>(mLockCount > 0 ? unwritten : mTraits.unlockedFlush);
}

AIMapper_Error ImportedBuffer::reread() const {
    const std::lock_guard guard(mMutex);
    const int32_t unread = (mLockedFor & kCpuRead) != 0 ? 0 : mTraits.rereadAfterWrite;
    return static_cast<AIMapper_Error>(mLockCount > 0 ? unread : mTraits.unlockedReread);
}

void ImportedBuffer::retire() {
    const std::lock_guard guard(mMutex);
    mRetired = true;
}

SharedCell ImportedBuffer::cell(size_t index) const {
    return {mShared.data() + kSharedLayout.cells[index], kSettableRules[index].capacity};
}

// What the device does not tell of such a buffer, though the published interface has it.
int32_t ImportedBuffer::refusalToRead(std::string_view typeName, int64_t type) const {
    if (mLayout.refused.empty() || typeName != kStandardTypeName) {
        return 0;
    }
    const auto found = std::ranges::find(mLayout.refused, type, &profile::Refused::type);
    return found != mLayout.refused.end() ? found->code : 0;
}

int32_t ImportedBuffer::getMetadata(std::string_view typeName, int64_t type, void* destination,
                                    size_t destinationSize) const {
    const size_t room = destination != nullptr ? destinationSize : 0;
    if (const int32_t refusal = refusalToRead(typeName, type); refusal != 0) {
        return refusal;
    }
    const int settable = findSettable(typeName, type);
    if (settable >= 0) {
        return cell(static_cast<size_t>(settable)).read(destination, room);
    }
    if (typeName == kPlexaTypeName) {
        return getAttribute(type, destination, room);
    }
    if (typeName != kStandardTypeName || type < 1 || type > kLastStandardType) {
        return -AIMAPPER_ERROR_UNSUPPORTED;
    }
    const std::span<const uint8_t> value = mConstants.value(type);
    if (value.size() <= room) {
        std::memcpy(destination, value.data(), value.size());
    }
    return static_cast<int32_t>(value.size());
}

// The attributes of the extension that no standard metadata carries, or another value of.
std::optional<uint32_t> ImportedBuffer::attribute(int64_t number) const {
    switch (number) {
        case PLEXA_GET_FORMAT:
            // 0: the device's extension cannot tell, and neither can the host's then.
            return mLayout.format != 0 ? std::optional(static_cast<uint32_t>(mLayout.format))
                                       : std::nullopt;
        case PLEXA_GET_BUFFER_FLAGS:
            return mLayout.flags;
        case PLEXA_GET_STRIDE:
            return mLayout.own[profile::kOwnStride];
        case PLEXA_GET_VERTICAL_STRIDE:
            return mLayout.own[profile::kOwnRows];
        case PLEXA_GET_ALLOC_SIZE:
            return mLayout.own[profile::kOwnSize];
        default:
            return std::nullopt;
    }
}

int32_t ImportedBuffer::getAttribute(int64_t number, void* destination, size_t room) const {
    const auto value = attribute(number);
    if (!value) {
        return -AIMAPPER_ERROR_UNSUPPORTED;
    }
    if (room >= sizeof(*value)) {
        std::memcpy(destination, &*value, sizeof(*value));
    }
    return sizeof(*value);
}

AIMapper_Error ImportedBuffer::setMetadata(std::string_view typeName, int64_t type,
                                           std::span<const uint8_t> value) {
    const int settable = findSettable(typeName, type);
    if (settable < 0) {
        return isFixedByRequest(typeName, type) ? static_cast<AIMapper_Error>(mTraits.setConstant)
                                                : AIMAPPER_ERROR_UNSUPPORTED;
    }
    const auto index = static_cast<size_t>(settable);
    size_t size = 0;
    const AIMapper_Error error = accept(kSettableRules[index], value, &size);
    if (error == AIMAPPER_ERROR_UNSUPPORTED) {
        return static_cast<AIMapper_Error>(mTraits.setUndecodable);
    }
    if (!isSettable(typeName, type)) {
        return AIMAPPER_ERROR_UNSUPPORTED;
    }
    if (error != AIMAPPER_ERROR_NONE) {
        return error;
    }
    const CellWriteLock lock(mFds[kMetadataFd].get(), kSharedLayout.cells[index]);
    if (!lock.held()) {
        return AIMAPPER_ERROR_NO_RESOURCES;
    }
    cell(index).write(value.first(size));
    return AIMAPPER_ERROR_NONE;
}

std::span<std::byte> ImportedBuffer::reservedRegion() const {
    if (mDescription.reservedSize == 0 || !mTraits.givesReservedRegion) {
        return {};
    }
    return {mShared.data() + kSharedLayout.reserved, mDescription.reservedSize};
}

}  // namespace zelkcam::host::gralloc
