#include "tests/support/Journal.h"

#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <map>
#include <mutex>
#include <utility>

namespace zelkcam::test {

namespace {

struct State {
    std::mutex lock;
    Calls entries;
    std::map<std::string, int> calls;
    std::map<int, std::string> names;
};

// Never destroyed: the library calls the platform until the very end of the process.
State& state() {
    static State& instance = *new State;
    return instance;
}

unsigned long inodeOf(int fd) {
    struct stat status = {};
    return fstat(fd, &status) == 0 ? status.st_ino : 0;
}

}  // namespace

void Journal::add(const std::string& entry) {
    const std::lock_guard guard(state().lock);
    ++state().calls[entry.substr(0, entry.find(' '))];
    state().entries.push_back(entry);
}

Calls Journal::take() {
    const std::lock_guard guard(state().lock);
    return std::exchange(state().entries, {});
}

size_t Journal::times(const std::string& entry) const {
    const std::lock_guard guard(state().lock);
    return static_cast<size_t>(std::ranges::count(state().entries, entry));
}

int Journal::calls(const std::string& name) const {
    const std::lock_guard guard(state().lock);
    return state().calls[name];
}

WatchedFd::WatchedFd(const std::string& name)
    : mFd(memfd_create(name.c_str(), MFD_CLOEXEC)), mInode(inodeOf(mFd)) {
    const std::lock_guard guard(state().lock);
    state().names[mFd] = name;
}

WatchedFd::~WatchedFd() {
    if (isOpen()) {
        syscall(SYS_close, mFd);
    }
    const std::lock_guard guard(state().lock);
    state().names.erase(mFd);
}

bool WatchedFd::isOpen() const {
    return inodeOf(mFd) == mInode;
}

std::string descriptorName(int fd) {
    const std::lock_guard guard(state().lock);
    const auto found = state().names.find(fd);
    return found == state().names.end() ? std::to_string(fd) : found->second;
}

}  // namespace zelkcam::test
