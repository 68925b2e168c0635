// grallocinfo share and attach where a buffer cannot be passed over a socket: there binder does it.
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
                " is not part of this build: expected a command other than share and attach, "
                "which pass buffers between processes of a Linux workstation only");
    });
}

}  // namespace

void addShare(CLI::App& program) {
    addUnavailable(program, "share", "Not part of this build");
}

void addAttach(CLI::App& program) {
    addUnavailable(program, "attach", "Not part of this build");
}

}  // namespace grallocinfo
