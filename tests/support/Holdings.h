// What a process holds. Header only, so that programs without doubles have it as well.
#pragma once

#include <dirent.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <ostream>
#include <string>

namespace zelkcam::test {

struct Holdings {
    long descriptors = 0;
    long mappings = 0;  // of buffers: heaps and the tools that watch them map as they like
    bool operator==(const Holdings&) const = default;
};

inline Holdings holdings() {
    Holdings held;
    DIR* const folder = opendir("/proc/self/fd");
    while (readdir(folder) != nullptr) {
        ++held.descriptors;
    }
    closedir(folder);
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        held.mappings += line.find("memfd:zelkcam") != std::string::npos;
    }
    return held;
}

inline std::ostream& operator<<(std::ostream& out, const Holdings& held) {
    return out << held.descriptors << " descriptors, " << held.mappings << " mappings";
}

// Of the file behind a descriptor, 0 when there is none.
inline ino_t inodeOf(int fd) {
    struct stat status {};
    return fstat(fd, &status) == 0 ? status.st_ino : 0;
}

// As long as one of these lives, the process can open no more than `left` descriptors.
class FewDescriptors {
  public:
    explicit FewDescriptors(rlim_t left) {
        getrlimit(RLIMIT_NOFILE, &mOld);
        const int lowestFree = dup(0);
        close(lowestFree);
        const rlimit few{static_cast<rlim_t>(lowestFree) + left, mOld.rlim_max};
        setrlimit(RLIMIT_NOFILE, &few);
    }
    ~FewDescriptors() { setrlimit(RLIMIT_NOFILE, &mOld); }
    FewDescriptors(const FewDescriptors&) = delete;
    FewDescriptors& operator=(const FewDescriptors&) = delete;

  private:
    rlimit mOld{};
};

}  // namespace zelkcam::test
