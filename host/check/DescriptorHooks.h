// Between the checker and the small library that is preloaded to see descriptors closed.
#pragma once

struct DescriptorHooks {
    // Asked before `fd` is closed, or replaced by dup2: false leaves it open, and the program
    // believes that it closed it.
    bool (*mayClose)(int fd);
    // Told afterwards. `wasOpen` is false when there was nothing to close.
    void (*closed)(int fd, bool wasOpen);
    // Told when `to` has become another number for what `from` is.
    void (*duplicated)(int from, int to);
    // Told when all numbers from `first` to `last` were closed at one stroke.
    void (*cleared)(unsigned first, unsigned last);
};

// Defined by the preloaded library; found by name, as most programs run without it. `hooks` live as
// long as the process.
extern "C" void zelkcam_watchDescriptors(const DescriptorHooks* hooks);
inline constexpr char kWatchDescriptors[] = "zelkcam_watchDescriptors";
