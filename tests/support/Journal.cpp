#include "tests/support/Journal.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <mutex>
#include <utility>

namespace zelkcam::test {

namespace {

struct State {
    std::mutex lock;
    std::vector<std::string> entries;
    std::map<std::string, int, std::less<>> calls;
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

void Journal::add(std::string entry) {
    const std::lock_guard guard(state().lock);
    ++state().calls[entry.substr(0, entry.find_first_of(" ("))];
    state().entries.push_back(std::move(entry));
}

void Journal::count(const std::string& name) {
    const std::lock_guard guard(state().lock);
    ++state().calls[name];
}

std::vector<std::string> Journal::take() {
    const std::lock_guard guard(state().lock);
    return std::exchange(state().entries, {});
}

size_t Journal::times(std::string_view entry) const {
    const std::lock_guard guard(state().lock);
    return std::count(state().entries.begin(), state().entries.end(), entry);
}

int Journal::calls(std::string_view name) const {
    const std::lock_guard guard(state().lock);
    const auto found = state().calls.find(name);
    return found == state().calls.end() ? 0 : found->second;
}

WatchedFd::WatchedFd(std::string name)
    : mFd(memfd_create(name.c_str(), MFD_CLOEXEC)), mInode(inodeOf(mFd)) {
    const std::lock_guard guard(state().lock);
    state().names[mFd] = std::move(name);
}

WatchedFd::~WatchedFd() {
    const bool open = isOpen();
    {
        const std::lock_guard guard(state().lock);
        state().names.erase(mFd);
    }
    if (open)
        syscall(SYS_close, mFd);
}

bool WatchedFd::isOpen() const {
    return inodeOf(mFd) == mInode;
}

std::string descriptorName(int fd) {
    const std::lock_guard guard(state().lock);
    const auto found = state().names.find(fd);
    return found == state().names.end() ? std::to_string(fd) : found->second;
}

size_t openDescriptors() {
    DIR* const folder = opendir("/proc/self/fd");
    size_t count = 0;
    while (readdir(folder) != nullptr)
        ++count;
    closedir(folder);
    return count;
}

size_t mappings() {
    std::ifstream maps("/proc/self/maps");
    return std::count(std::istreambuf_iterator<char>(maps), {}, '\n');
}

}  // namespace zelkcam::test
