// What the library answers on a made-up device, and on the host that replays its profile. Both are
// asked in processes of their own: the library finds its backends once, and may end over a buffer.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "profile/Profile.h"

namespace zelkcam::test {

enum class About { kRequest, kBuffer };

struct Question {
    profile::Request request;
    // The layout that a client asks for, or that of a buffer of just this usage.
    About about = About::kRequest;
};

struct LibraryAnswer {
    std::string text;  // status, format and planes, or how the process ended
    bool isGuess = false;
};

// `variable` chooses the device in the process's environment.
std::vector<LibraryAnswer> askLibrary(const char* variable, const std::string& value,
                                      std::span<const Question> questions);

}  // namespace zelkcam::test
