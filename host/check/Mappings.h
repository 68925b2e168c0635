// What a lock of a checked process gives: pixels mapped anew between pages that nobody may touch,
// and for a while after the unlock pages in their place that nobody may touch either.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "host/check/CallStack.h"

namespace zelkcam::host::check {

// The mapped pages of a buffer between two locks, somewhere that nobody knows. Moving them takes a
// tenth of the time that mapping them anew does. Safe from any thread.
class ParkedPages {
  public:
    ParkedPages() = default;
    ~ParkedPages() { drop(); }
    ParkedPages(const ParkedPages&) = delete;
    ParkedPages& operator=(const ParkedPages&) = delete;

    // Takes the pages from a mapping, whose addresses stay in use. They may be taken in vain.
    void take(std::byte* from, uint64_t size);

    // Puts them over what is mapped at `to`; false when there are none.
    bool moveTo(std::byte* to, uint64_t size, int access);

    void drop();

  private:
    std::byte* mAddress = nullptr;
    uint64_t mSize = 0;
};

class GuardedMapping {
  public:
    // Maps `size` bytes of `fd`, for reading or for reading and writing. Null when the process can
    // hold no more. `buffer` names the buffer in findings; `pages` may hold pages of it.
    static std::shared_ptr<GuardedMapping> map(int fd, uint64_t size, bool writable,
                                               std::string buffer, const CallStack& locked,
                                               ParkedPages* pages);

    std::byte* data() const { return mData; }

    // From here on every touch is a fault. `what` is "unlocked here" or "freed here". The addresses
    // are kept out of use until a thousand other mappings have been retired. The pages go to
    // `pages`, unless that is null.
    static void retire(std::shared_ptr<GuardedMapping> mapping, const char* what,
                       const CallStack& stack, ParkedPages* pages);

    ~GuardedMapping();
    GuardedMapping(const GuardedMapping&) = delete;
    GuardedMapping& operator=(const GuardedMapping&) = delete;

  private:
    friend struct FaultFinder;
    GuardedMapping() = default;

    bool mWritable = false;
    uint64_t mSize = 0;          // of the allocation
    uint64_t mReservedSize = 0;  // with both guards
    std::byte* mReserved = nullptr;
    std::byte* mData = nullptr;
    std::string mBuffer;
    CallStack mLocked;
    bool mRetired = false;
    const char* mRetiredWhat = "";
    CallStack mRetiredStack;
};

// Sees the process's faults from now on; those of a mapping become findings. Then, and for every
// other fault, whatever handled the signal before has its turn. Called again at every
// operation, as the program may have installed a handler of its own.
void watchFaults();

}  // namespace zelkcam::host::check
