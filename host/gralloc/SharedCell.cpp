#include "host/gralloc/SharedCell.h"

#include <fcntl.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <string>
#include <thread>

namespace zelkcam::host::gralloc {
namespace {

constexpr int kReadAttempts = 64;
constexpr std::chrono::milliseconds kWriterPatience{80};

static_assert(std::atomic_ref<uint64_t>::is_always_lock_free);

// Acquire keeps the second look at the version behind the copy.
template <typename T>
T load(T& shared) {
    return std::atomic_ref<T>(shared).load(std::memory_order_acquire);
}

// Release keeps a new value behind the version that retired its place: whoever reads a byte of it
// sees that version as well.
template <typename T>
void store(T& shared, T value) {
    std::atomic_ref<T>(shared).store(value, std::memory_order_release);
}

void copyOut(uint64_t* words, void* destination, size_t size) {
    auto* out = static_cast<std::byte*>(destination);
    for (size_t done = 0; done < size; done += sizeof(uint64_t)) {
        const uint64_t word = load(words[done / sizeof(uint64_t)]);
        std::memcpy(out + done, &word, std::min(sizeof(word), size - done));
    }
}

void copyIn(uint64_t* words, std::span<const uint8_t> value) {
    for (size_t done = 0; done < value.size(); done += sizeof(uint64_t)) {
        uint64_t word = 0;
        std::memcpy(&word, value.data() + done, std::min(sizeof(word), value.size() - done));
        store(words[done / sizeof(uint64_t)], word);
    }
}

// A description of its own for the file behind `fd`. Locks belong to such a description, and that
// of `fd` came here from another process, which still holds it.
ScopedFileDescriptor reopen(int fd) {
    const std::string path = "/proc/self/fd/" + std::to_string(fd);
    return ScopedFileDescriptor(open(path.c_str(), O_RDWR | O_CLOEXEC));
}

bool setLock(int fd, short type, uint64_t offset) {
    struct flock lock {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_start = static_cast<off_t>(offset);
    lock.l_len = 1;
    return fcntl(fd, F_OFD_SETLK, &lock) == 0;
}

// A writer holds the lock for one copy, so the wait is short unless its process is stopped.
bool waitForLock(int fd, uint64_t offset) {
    const auto deadline = std::chrono::steady_clock::now() + kWriterPatience;
    auto pause = std::chrono::microseconds(1);
    while (!setLock(fd, F_WRLCK, offset)) {
        const bool contended = errno == EAGAIN || errno == EACCES;
        if (!contended || std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(pause);
        pause = std::min(2 * pause, std::chrono::microseconds(1000));
    }
    return true;
}

}  // namespace

SharedCell::SharedCell(std::byte* memory, uint32_t capacity)
    : mControl(reinterpret_cast<Control*>(memory)),
      mWords(reinterpret_cast<uint64_t*>(memory + sizeof(Control))),
      mCapacity(capacity) {}

uint64_t* SharedCell::place(uint32_t version) const {
    return mWords + (version & 1) * wordsFor(mCapacity);
}

int32_t SharedCell::read(void* destination, size_t destinationSize) const {
    for (int attempt = 0; attempt < kReadAttempts; ++attempt) {
        const uint32_t version = load(mControl->version);
        const uint32_t size = load(mControl->sizes[version & 1]);
        if (size > mCapacity) {
            return -AIMAPPER_ERROR_BAD_BUFFER;
        }
        if (size <= destinationSize) {
            copyOut(place(version), destination, size);
        }
        if (load(mControl->version) == version) {
            return static_cast<int32_t>(size);
        }
    }
    return -AIMAPPER_ERROR_NO_RESOURCES;
}

void SharedCell::write(std::span<const uint8_t> value) {
    const uint32_t next = load(mControl->version) + 1;
    store(mControl->sizes[next & 1], static_cast<uint32_t>(value.size()));
    copyIn(place(next), value);
    store(mControl->version, next);
}

CellWriteLock::CellWriteLock(int fd, uint64_t offset)
    : mFile(reopen(fd)),
      mOffset(offset),
      mHeld(mFile.get() >= 0 && waitForLock(mFile.get(), offset)) {}

// Closing the descriptor would not do: a child that was forked meanwhile has another one of the
// same description, and with it the lock.
CellWriteLock::~CellWriteLock() {
    if (mHeld) {
        setLock(mFile.get(), F_UNLCK, mOffset);
    }
}

}  // namespace zelkcam::host::gralloc
