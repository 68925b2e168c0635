// What the library asked of the platform, in the order of the asking, and the descriptors that a
// test hands out. All doubles write here, so that the order can be checked across interfaces.
#pragma once

#include <string>
#include <vector>

namespace zelkcam::test {

using Calls = std::vector<std::string>;

// Safe from any thread. Entries read like calls: "importBuffer", "sync_wait release", "close -1".
class Journal {
  public:
    // Notes one call: the double's name, a blank, the arguments that matter.
    void add(const std::string& entry);
    // The entries since the last take; and how often one of them is `entry`, without taking.
    Calls take();
    size_t times(const std::string& entry) const;
    // Calls of a double since the process began.
    int calls(const std::string& name) const;
};

inline Journal journal() {
    return {};
}

// An open descriptor that the journal knows by a name. As a fence it is signalled.
class WatchedFd {
  public:
    explicit WatchedFd(const std::string& name);
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

// The name of a watched descriptor, otherwise the number.
std::string descriptorName(int fd);

}  // namespace zelkcam::test
