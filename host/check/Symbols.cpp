#include "host/check/Symbols.h"

#include <link.h>
#include <pthread.h>

#include <algorithm>
#include <map>
#include <mutex>
#include <optional>
#include <string_view>
#include <utility>

#include "host/check/DebugInfo.h"
#include "host/check/Findings.h"

namespace zelkcam::host::check {
namespace {

bool beginsWithAny(std::string_view text, std::initializer_list<std::string_view> prefixes) {
    return std::ranges::any_of(prefixes, [&](auto prefix) { return text.starts_with(prefix); });
}

std::string_view fileName(const Frame& frame) {
    const std::string_view path = frame.module;
    return path.substr(path.rfind('/') + 1);
}

bool isRuntime(const Frame& frame) {
    return beginsWithAny(fileName(frame), {"libc.so", "libc-", "libpthread", "libstdc++", "libasan",
                                           "libtsan", "libubsan", "ld-linux", "[vdso"}) ||
           beginsWithAny(frame.function, {"__interceptor_", "___interceptor_", "__asan_", "__tsan_",
                                          "__sanitizer"});
}

bool isPlatform(const Frame& frame) {
    return beginsWithAny(fileName(frame), {"libzelkcam_host.so", "libzelkcam_check",
                                           "mapper.default.so", "libcutils.so", "libutils.so"});
}

bool isLibrary(const Frame& frame) {
    return beginsWithAny(fileName(frame), {"libzelkcam_grallocutils.so", "libplexa.so"});
}

// Names that were found once: looking them up reads whole files, and a place is often told of many
// times. All are looked up again after a library was unloaded, as others may lie there now.
class Names {
  public:
    std::vector<Frame> resolve(const CallStack& stack) {
        const OwnWork own;  // closes files
        const std::lock_guard guard(mMutex);
        forgetUnloaded();
        std::optional<DebugInfo> info;
        std::vector<Frame> frames;
        uint64_t callee = 0;
        for (void* const pc : stack.frames()) {
            const bool exact = callee == 0 && stack.beginsAtInstruction();
            const auto address = reinterpret_cast<uint64_t>(pc) - (exact ? 0 : 1);
            const std::string calleeName = frames.empty() ? "" : frames.back().function;
            const std::vector<Frame>& found = framesAt(address, callee, calleeName, &info);
            frames.insert(frames.end(), found.begin(), found.end());
            callee = address;
            if (!found.empty() && found.back().function == "main") {
                break;
            }
        }
        return frames;
    }

    std::mutex& mutex() { return mMutex; }

  private:
    void forgetUnloaded() {
        const auto read = [](dl_phdr_info* info, size_t, void* unloaded) {
            *static_cast<unsigned long long*>(unloaded) = info->dlpi_subs;
            return 1;
        };
        unsigned long long unloaded = 0;
        dl_iterate_phdr(read, &unloaded);
        if (unloaded != mUnloaded) {
            mFrames.clear();
            mUnloaded = unloaded;
        }
    }

    // With those of the tail calls that lead from an address to the frame before, `callee`.
    const std::vector<Frame>& framesAt(uint64_t address, uint64_t callee,
                                       const std::string& calleeName,
                                       std::optional<DebugInfo>* info) {
        const auto [known, isNew] = mFrames.try_emplace({address, callee});
        if (isNew) {
            if (!*info) {
                info->emplace();
            }
            std::vector<Frame>& frames = known->second;
            if (callee != 0) {
                frames = (*info)->tailCallersBetween(address, callee, calleeName);
            }
            std::ranges::move((*info)->functionsAt(address), std::back_inserter(frames));
        }
        return known->second;
    }

    std::mutex mMutex;
    unsigned long long mUnloaded = 0;
    std::map<std::pair<uint64_t, uint64_t>, std::vector<Frame>> mFrames;
};

// Never destroyed: findings are told while the process ends.
Names& names() {
    static auto& names = *new Names;
    return names;
}

// Before the others: names are looked up while findings are told, so this is locked last.
__attribute__((constructor(200))) void keepNamesAcrossForks() {
    pthread_atfork([] { names().mutex().lock(); }, [] { names().mutex().unlock(); },
                   [] { names().mutex().unlock(); });
}

// Published headers define much inline, which then is in the program's own code. A frame without a
// line has its module's path, wherever that is installed.
bool isPublishedHeader(const Frame& frame) {
    const auto contains = [&frame](const char* folder) {
        return frame.file.find(folder) != std::string::npos;
    };
    return frame.line > 0 &&
           (contains("/host/include/") || contains("include/zelkcam/") ||
            contains("/include/c++/") || beginsWithAny(frame.file, {"/usr/include/", "/usr/lib/"}));
}

}  // namespace

std::vector<Frame> resolve(const CallStack& stack) {
    return names().resolve(stack);
}

Owner ownerOf(const std::vector<Frame>& frames) {
    // The frames of the checker itself come first in every stack.
    const auto isOwn = [](const Frame& frame) {
        return isRuntime(frame) || fileName(frame).starts_with("libzelkcam_check");
    };
    const auto found = std::ranges::find_if_not(frames, isOwn);
    if (found == frames.end() || isPlatform(*found)) {
        return found == frames.end() ? Owner::Program : Owner::Platform;
    }
    return isLibrary(*found) ? Owner::Library : Owner::Program;
}

bool isUnlockInsideLock(const std::vector<Frame>& frames) {
    return std::ranges::any_of(frames, [](const Frame& frame) {
        return isLibrary(frame) && frame.function.ends_with("::lock");
    });
}

bool isUnlockOfLayoutQuery(const std::vector<Frame>& frames) {
    return std::ranges::any_of(frames, [](const Frame& frame) {
        return isLibrary(frame) &&
               (frame.function.ends_with("::gQueryYCbCr") || frame.function.ends_with("::query"));
    });
}

std::vector<Frame> programFrames(std::vector<Frame> frames) {
    const auto first = std::ranges::find_if_not(frames, [](const Frame& frame) {
        return isRuntime(frame) || isPlatform(frame) || isLibrary(frame) ||
               isPublishedHeader(frame);
    });
    if (first != frames.end()) {
        frames.erase(frames.begin(), first);
    }
    return frames;
}

}  // namespace zelkcam::host::check
