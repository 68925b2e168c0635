// Loads the checker into a process whose environment asks for it. All else about it is in its own
// library: a process that is not checked holds no code of it.
#include <dlfcn.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <string_view>

#include "host/properties/Environment.h"
#include "host/sphal/VendorLibrary.h"

namespace zelkcam::host {
namespace {

constexpr char kCheckVariable[] = "ZELKCAM_HOST_CHECK";

// Tells what the process still holds.
void (*gEndCheck)() = nullptr;

// Behind the faults on demand. Whoever asks for a check must not believe that there was one.
__attribute__((constructor(202))) void loadChecker() {
    const char* const choice = std::getenv(kCheckVariable);
    if (choice == nullptr || *choice == '\0' || std::string_view(choice) == "0") {
        return;
    }
    const VendorLibrary checker = openVendorLibrary("libzelkcam_check.so", RTLD_NOW);
    if (checker.handle == nullptr) {
        reportVariable(kCheckVariable, choice, ("cannot be done: " + checker.error).c_str());
        _exit(2);
    }
    gEndCheck = reinterpret_cast<void (*)()>(dlsym(checker.handle, "zelkcam_endCheck"));
}

// Behind the destructors of all libraries that use this one, which may free buffers.
__attribute__((destructor)) void endCheck() {
    if (gEndCheck != nullptr) {
        gEndCheck();
    }
}

}  // namespace
}  // namespace zelkcam::host
