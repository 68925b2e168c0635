// grallocinfo share, attach and run where there is no host platform. A device has profiles and
// checks of its own, and buffers travel by binder there.
#include "tools/grallocinfo/Commands.h"
#include "tools/grallocinfo/Failure.h"

namespace grallocinfo {

namespace {

void addUnavailable(CLI::App& program, const char* name, const char* help) {
    CLI::App* const command = program.add_subcommand(name, help);
    command->allow_extras();
    command->callback([name] {
        throw unusable(
                std::string(name) +
                " is not part of this build: expected a command other than share, attach and run, "
                "which work on a Linux workstation only");
    });
}

}  // namespace

std::optional<std::string> hostProfile() {
    return std::nullopt;
}

void addShare(CLI::App& program) {
    addUnavailable(program, "share", "Not part of this build");
}

void addAttach(CLI::App& program) {
    addUnavailable(program, "attach", "Not part of this build");
}

void addRun(CLI::App& program) {
    addUnavailable(program, "run", "Not part of this build");
}

}  // namespace grallocinfo
