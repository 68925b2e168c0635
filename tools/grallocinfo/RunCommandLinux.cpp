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

#include "host/quirks/Quirks.h"
#include "profile/Shipped.h"
#include "tools/grallocinfo/CheckedRunLinux.h"
#include "tools/grallocinfo/ChildProgramLinux.h"
#include "tools/grallocinfo/Commands.h"
#include "tools/grallocinfo/Failure.h"
#include "tools/grallocinfo/Output.h"
#include "tools/grallocinfo/Table.h"

namespace grallocinfo {

namespace {

constexpr char kRunExamples[] =
        "Examples:\n"
        "  grallocinfo run -- ./camera_test --gtest_filter='Preview.*'\n"
        "  grallocinfo run --profile default --profile phone.json -- ./camera_test\n"
        "  grallocinfo run --profile all -- ./camera_test\n"
        "  grallocinfo run --check --report findings.json -- ./camera_test\n"
        "  grallocinfo run --quirk refuse-allocation=2 --quirk late-fence=50 -- ./camera_test\n"
        "Exit status: 0 when every run ended with 0 and, with --check, nothing was found; 1\n"
        "otherwise; 2 when the arguments, or the program, are not usable.";

constexpr char kProfileVariable[] = "ZELKCAM_HOST_PROFILE";
constexpr char kQuirksVariable[] = "ZELKCAM_HOST_QUIRKS";
constexpr char kDefaultProfile[] = "default";

struct RunOptions {
    std::vector<std::string> profiles;
    std::vector<std::string> quirks;
    bool check = false;
    bool strict = false;
    bool verbose = false;
    std::string report;
    std::vector<std::string> program;
};

struct Run {
    std::string profile;
    Ending ending;
    CheckResult result;
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
    // A program that never asks for a buffer would pass under a device that there is not.
    std::string problem;
    if (!zelkcam::profile::load(profile, &problem)) {
        throw unusable(problem + ": expected a profile");
    }
    return std::filesystem::absolute(profile).native();
}

// Without --profile: the one that the environment names.
std::vector<std::string> chosenProfiles(const std::vector<std::string>& asked) {
    if (asked.empty()) {
        const char* const inherited = getenv(kProfileVariable);
        return {usableProfile(inherited != nullptr && *inherited != '\0' ? inherited
                                                                         : kDefaultProfile)};
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

std::string countsOf(const CheckResult& result) {
    std::string text = std::to_string(result.findings.size());
    text += result.byContract.empty() ? ""
                                      : ", by contract " + std::to_string(result.byContract.size());
    return result.ran ? text : "not checked";
}

void printTable(const std::vector<Run>& runs, bool checked) {
    std::vector<Table::Column> columns = {
            {"profile", Align::kLeft}, {"ended", Align::kLeft}, {"time"}};
    if (checked) {
        columns.push_back({"findings", Align::kLeft});
    }
    Table table(std::move(columns));
    for (const Run& run : runs) {
        table.add({run.profile, describe(run.ending), describe(run.ending.time),
                   countsOf(run.result)});
    }
    table.print(std::cout);
}

void printRun(const Run& run, const RunOptions& options) {
    const std::string lead = "[" + run.profile + "] ";
    printFindings(std::cerr, run.result.findings, lead);
    if (options.verbose) {
        printFindings(std::cerr, run.result.byContract, lead + "by contract, ");
        printFindings(std::cerr, run.result.notes, lead + "note, ");
    }
    if (!run.result.ran) {
        remark("nothing was checked under profile " + inQuotes(run.profile) +
               ": no process used the host platform");
    }
}

bool isExtensionToFail(const std::string& quirk) {
    std::string problem;
    const auto quirks = zelkcam::host::quirks::parseQuirks(quirk, &problem);
    return quirks && quirks->extensionFails;
}

std::vector<std::string> preloadedLibraries(const RunOptions& options) {
    std::vector<std::string> libraries;
    if (options.check) {
        libraries.emplace_back(kDescriptorsLibrary);
    }
    if (std::ranges::any_of(options.quirks, isExtensionToFail)) {
        libraries.emplace_back(kFailingExtensionLibrary);
    }
    return libraries;
}

Variables variablesFor(const std::string& profile, const RunOptions& options) {
    Variables variables = {{kProfileVariable, profile}};
    std::string quirks;
    for (const std::string& quirk : options.quirks) {
        quirks += (quirks.empty() ? "" : ",") + quirk;
    }
    if (!quirks.empty()) {
        variables.emplace_back(kQuirksVariable, quirks);
    }
    if (const auto libraries = preloadedLibraries(options); !libraries.empty()) {
        const Variables more = preloading(libraries);
        variables.insert(variables.end(), more.begin(), more.end());
    }
    return variables;
}

Run runUnchecked(const std::string& profile, const RunOptions& options) {
    return {profile, runToEnd(options.program, variablesFor(profile, options)), {}};
}

Run runChecked(const std::string& profile, const RunOptions& options) {
    const CheckFile file;
    Variables variables = variablesFor(profile, options);
    const Variables check = file.variables(options.strict);
    variables.insert(variables.end(), check.begin(), check.end());
    Run run{profile, runToEnd(options.program, variables), {}};
    run.result = file.read();
    printRun(run, options);
    return run;
}

std::vector<Run> runAll(const RunOptions& options) {
    std::vector<Run> runs;
    for (const std::string& profile : chosenProfiles(options.profiles)) {
        runs.push_back(options.check ? runChecked(profile, options)
                                     : runUnchecked(profile, options));
        if (runs.back().ending.isInterrupted()) {
            break;
        }
    }
    return runs;
}

void writeReport(const std::vector<Run>& runs, const std::string& path) {
    Json document;
    document["schemaVersion"] = 1;
    document["runs"] = Json::array();
    for (const Run& run : runs) {
        document["runs"].push_back(reportOf(run.profile, run.ending, run.result));
    }
    writeFile(path, [&document](std::ostream& out) { printJson(out, document); });
}

void requireKnown(const std::vector<std::string>& quirks) {
    for (const std::string& quirk : quirks) {
        std::string problem;
        if (!zelkcam::host::quirks::parseQuirks(quirk, &problem)) {
            throw unusable(problem + ": expected one such as refuse-lock=2 or late-fence=50");
        }
    }
}

void runUnderProfiles(const RunOptions& options) {
    requireKnown(options.quirks);
    if (!options.check && (options.strict || !options.report.empty())) {
        throw unusable("--report and --strict are about what a check finds: expected --check, too");
    }
    const std::vector<Run> runs = runAll(options);
    printTable(runs, options.check);
    flushOutput();
    if (!options.report.empty()) {
        writeReport(runs, options.report);
    }
    const auto isGood = [](const Run& run) {
        return run.ending.isGood() && run.result.findings.empty();
    };
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
    command->add_option("--quirk", options->quirks,
                        "A fault on demand, such as refuse-lock=2; may be given several times")
            ->type_name("SPEC")
            ->allow_extra_args(false)
            ->take_all();
    command->add_flag("--check", options->check,
                      "Check how the program uses buffers, and print what is found");
    addFile(*command, "--report", options->report, "Write what is found to FILE, as JSON");
    command->add_flag("--strict", options->strict,
                      "Padding that was written is a finding even where it tears no picture");
    command->add_flag("--verbose", options->verbose,
                      "Also print what the library does by contract, and notes");
    const auto take = [options](const std::vector<std::string>& words) {
        std::ranges::transform(words, std::back_inserter(options->program), unguarded);
    };
    command->add_option_function<std::vector<std::string>>(
                   "PROGRAM", take,
                   "The program and its arguments, behind --; it is looked for in PATH")
            ->type_name("")
            ->required();
    command->footer(kRunExamples);
    command->callback([options] { runUnderProfiles(*options); });
}

}  // namespace grallocinfo
