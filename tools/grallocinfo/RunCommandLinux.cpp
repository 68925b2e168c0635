// grallocinfo run: run a program once under each of several device profiles of the host platform.
#include <algorithm>
#include <cstring>
#include <filesystem>
#include <iomanip>
#include <iostream>
#include <iterator>
#include <memory>
#include <sstream>
#include <string_view>

#include "profile/Shipped.h"
#include "tools/grallocinfo/ChildProgramLinux.h"
#include "tools/grallocinfo/Commands.h"
#include "tools/grallocinfo/Failure.h"
#include "tools/grallocinfo/Output.h"
#include "tools/grallocinfo/Table.h"

namespace grallocinfo {

namespace {

constexpr char kExamples[] =
        "Examples:\n"
        "  grallocinfo run -- ./camera_test --gtest_filter='Preview.*'\n"
        "  grallocinfo run --profile default --profile phone.json -- ./camera_test\n"
        "  grallocinfo run --profile all -- ./camera_test\n"
        "Exit status: 0 when every run ended with 0; 1 otherwise; 2 when the arguments, or the\n"
        "program, are not usable.";

constexpr char kProfileVariable[] = "ZELKCAM_HOST_PROFILE";
constexpr char kDefaultProfile[] = "default";

struct RunOptions {
    std::vector<std::string> profiles;
    std::vector<std::string> program;
};

struct Run {
    std::string profile;
    Ending ending;
};

std::string knownProfiles() {
    std::string names = "all";
    for (const auto& shipped : zelkcam::profile::shippedProfiles()) {
        names += ", " + std::string(shipped.name);
    }
    return names;
}

// The program may change its folder, so a file is handed on with its full path.
std::string usableProfile(const std::string& profile) {
    const auto shipped = zelkcam::profile::shippedProfiles();
    if (std::ranges::find(shipped, profile, &zelkcam::profile::ShippedProfile::name) !=
        shipped.end()) {
        return profile;
    }
    std::error_code error;
    if (!std::filesystem::is_regular_file(profile, error)) {
        throw unusable("profile " + inQuotes(profile) + " is not usable: expected one of " +
                       knownProfiles() + ", or a file");
    }
    return std::filesystem::absolute(profile).native();
}

// Without --profile: the one that the environment names.
std::vector<std::string> chosenProfiles(const std::vector<std::string>& asked) {
    if (asked.empty()) {
        const char* const inherited = getenv(kProfileVariable);
        return {inherited != nullptr && *inherited != '\0' ? inherited : kDefaultProfile};
    }
    std::vector<std::string> chosen;
    for (const std::string& profile : asked) {
        if (profile == "all") {
            for (const auto& shipped : zelkcam::profile::shippedProfiles()) {
                chosen.emplace_back(shipped.name);
            }
        } else {
            chosen.push_back(usableProfile(profile));
        }
    }
    return chosen;
}

std::string describe(const Ending& ending) {
    if (ending.exit) {
        return "exit " + std::to_string(*ending.exit);
    }
    return "signal " + std::to_string(ending.signal) + " (" + strsignal(ending.signal) + ")";
}

std::string describe(std::chrono::duration<double> time) {
    std::ostringstream text;
    text << std::fixed << std::setprecision(3) << time.count() << " s";
    return text.str();
}

void printTable(const std::vector<Run>& runs) {
    Table table({{"profile", Align::kLeft}, {"ended", Align::kLeft}, {"time"}});
    for (const Run& run : runs) {
        table.add({run.profile, describe(run.ending), describe(run.ending.time)});
    }
    table.print(std::cout);
}

void runUnderProfiles(const RunOptions& options) {
    std::vector<Run> runs;
    for (const std::string& profile : chosenProfiles(options.profiles)) {
        runs.push_back({profile, runToEnd(options.program, {{kProfileVariable, profile}})});
        if (runs.back().ending.isInterrupted()) {
            break;
        }
    }
    printTable(runs);
    flushOutput();
    const auto isGood = [](const Run& run) { return run.ending.isGood(); };
    if (!std::ranges::all_of(runs, isGood)) {
        endWith(static_cast<int>(ExitCode::kLibraryFailure));
    }
}

std::string unguarded(const std::string& word) {
    return word.starts_with(kNegativeGuard) ? word.substr(1) : word;
}

}  // namespace

void addRun(CLI::App& program) {
    const auto options = std::make_shared<RunOptions>();
    CLI::App* const command = program.add_subcommand(
            "run", "Run a program once under each of several device profiles");
    command->add_option("--profile", options->profiles,
                        "A profile's name or file, or all; may be given several times")
            ->type_name("NAME|FILE")
            ->allow_extra_args(false)
            ->take_all();
    const auto take = [options](const std::vector<std::string>& words) {
        std::ranges::transform(words, std::back_inserter(options->program), unguarded);
    };
    command->add_option_function<std::vector<std::string>>(
                   "PROGRAM", take,
                   "The program and its arguments, behind --; it is looked for in PATH")
            ->type_name("")
            ->required();
    command->footer(kExamples);
    command->callback([options] { runUnderProfiles(*options); });
}

}  // namespace grallocinfo
