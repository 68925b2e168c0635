// What the library asked of the platform, in the order of the asking, and the descriptors that a
// test hands out. All doubles write here, so that a test can check the order across interfaces.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zelkcam::test {

// Entries look like calls: "importBuffer", "flush", "sync_wait release", "close release". Safe from
// any thread. Each double also counts its calls, which says whether it is connected at all.
class Journal {
  public:
    // Notes one call: `entry` is the double's name, a blank and the arguments that matter.
    void add(std::string entry);
    // Counts a call that tells nothing about order.
    void count(const std::string& name);
    // The entries since the last take.
    std::vector<std::string> take();
    size_t times(std::string_view entry) const;
    // Calls of `name`, with whatever arguments, since the process began; not emptied by take.
    int calls(std::string_view name) const;
};

inline Journal journal() {
    return {};
}

// An open descriptor that the journal calls by a name. As a fence it is signalled: it is readable.
class WatchedFd {
  public:
    explicit WatchedFd(std::string name);
    ~WatchedFd();
    WatchedFd(const WatchedFd&) = delete;
    WatchedFd& operator=(const WatchedFd&) = delete;

    int get() const { return mFd; }
    // Whether the number still stands for the file that was opened here.
    bool isOpen() const;

  private:
    int mFd;
    unsigned long mInode;
};

// "release" for a watched descriptor of that name, otherwise the number.
std::string descriptorName(int fd);

// How much of the process's tables is taken.
size_t openDescriptors();
size_t mappings();

}  // namespace zelkcam::test
