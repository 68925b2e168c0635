// grallocinfo: ask libzelkcam_grallocutils what buffers look like in memory.
#include <unistd.h>

#include <algorithm>
#include <exception>
#include <iostream>

#include "tools/grallocinfo/Commands.h"
#include "tools/grallocinfo/Completion.h"
#include "tools/grallocinfo/Library.h"
#include "tools/grallocinfo/LibraryLog.h"
#include "tools/grallocinfo/Output.h"

namespace grallocinfo {

namespace {

constexpr char kFooter[] =
        "Exit status: 0 when there is an answer; 1 when the library answers a failure; 2 when the\n"
        "arguments are not usable. 'grallocinfo COMMAND --help' shows examples.";

// Every subcommand, in the order of the help. A new one is declared in Commands.h and listed here.
constexpr void (*kCommands[])(CLI::App&) = {addQuery, addFormats, addName,   addList,
                                            addInfo,  addDiff,    addWatch,  addProfile,
                                            addView,  addShare,   addAttach, addRun};

// What follows is not for this program.
constexpr char kLastOption[] = "--";

bool gJson = false;

// The parser stops at the first word that it cannot use, before it has seen --json.
bool asksForJson(const std::vector<std::string>& words) {
    const auto end = std::find(words.begin(), words.end(), kLastOption);
    return std::find(words.begin(), end, "--json") != end;
}

int report(const Failure& failure) {
    if (failure.exit == ExitCode::kLibraryFailure && failure.code != kSystemFailure) {
        showHeldErrors();
    }
    remark(failure.message);
    if (gJson && !documentWritten()) {
        printJson(std::cout, failureDocument(failure));
    }
    std::cout.flush();
    return static_cast<int>(failure.exit);
}

[[noreturn]] void reportFatal(const std::string& lastWords) {
    _exit(report({ExitCode::kLibraryFailure, "LIBRARY_ENDED_PROCESS", std::nullopt,
                  "the library cannot go on and ended the process: " + lastWords}));
}

// The innermost command that was named: the one whose help helps.
const CLI::App& chosenCommand(const CLI::App& program) {
    const CLI::App* chosen = &program;
    for (auto named = chosen->get_subcommands(); !named.empty();
         named = chosen->get_subcommands()) {
        chosen = named.front();
    }
    return *chosen;
}

std::string fullName(const CLI::App& command) {
    const CLI::App* const parent = command.get_parent();
    return parent ? fullName(*parent) + " " + command.get_name() : command.get_name();
}

std::string commandNames(const CLI::App& program) {
    std::string names;
    for (const CLI::App* const command : program.get_subcommands(nullptr)) {
        names += (names.empty() ? "" : ", ") + command->get_name();
    }
    return names;
}

// "grallocinfo query FORMAT WIDTHxHEIGHT [OPTIONS]", or the commands that there are.
std::string synopsisOf(const CLI::App& command) {
    if (!command.get_subcommands(nullptr).empty()) {
        return "a command, one of " + commandNames(command) + "; see '" + fullName(command) +
               " --help'";
    }
    std::string synopsis = fullName(command);
    for (const CLI::Option* const option : command.get_options()) {
        if (option->get_positional() && option->get_expected_max() > 1) {
            return synopsis + " [OPTIONS] -- " + option->get_name() + " [ARGUMENT...]";
        }
        if (option->get_positional()) {
            synopsis += (option->get_required() ? " " : " [") + option->get_name() +
                        (option->get_required() ? "" : "]");
        }
    }
    return synopsis + " [OPTIONS]; see '--help'";
}

Failure parseFailure(const CLI::App& program, const CLI::ParseError& error,
                     const std::string& firstWord) {
    const CLI::App& command = chosenCommand(program);
    std::string reason = error.what();
    if (!command.get_parent() && !firstWord.empty() && !firstWord.starts_with('-')) {
        reason = inQuotes(firstWord) + " is not a command";
    }
    std::replace(reason.begin(), reason.end(), '\n', ' ');
    return unusable(reason + ": expected " + synopsisOf(command));
}

bool isNegative(const std::string& word) {
    return word.size() > 1 && word[0] == '-' && word[1] >= '0' && word[1] <= '9';
}

// The words of a program that is to be run are no business of the parser's.
std::vector<std::string> argumentsOf(int argc, char** argv) {
    std::vector<std::string> words;
    const bool runs = argc > 1 && std::string(argv[1]) == "run";
    bool isOurs = true;
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        const bool guarded = isOurs ? isNegative(word) : runs;
        words.push_back(guarded ? kNegativeGuard + word : word);
        isOurs = isOurs && word != kLastOption;
    }
    return words;
}

void declare(CLI::App& program) {
    program.set_version_flag("--version", std::string("grallocinfo ") + GRALLOCINFO_VERSION);
    program.require_subcommand(1);
    program.footer(kFooter);
    for (const auto add : kCommands) {
        add(program);
    }
}

// Runs the command, or prints the help or the version that was asked for.
int parse(CLI::App& program, const std::vector<std::string>& words) {
    int status = 0;
    try {
        program.parse(std::vector<std::string>(words.rbegin(), words.rend()));
    } catch (const CLI::Success& help) {
        program.exit(help);
    } catch (const CLI::RuntimeError& ended) {
        status = ended.get_exit_code();
    } catch (const CLI::ParseError& error) {
        throw parseFailure(program, error, words.empty() ? "" : words.front());
    }
    flushOutput();
    return status;
}

int run(const std::vector<std::string>& words) {
    CLI::App program("What graphics buffers look like in memory", "grallocinfo");
    declare(program);
    try {
        if (!words.empty() && words.front() == kCompletionRequest) {
            printCompletions(std::cout, program, {words.begin() + 1, words.end()});
            return 0;
        }
        return parse(program, words);
    } catch (const Failure& failure) {
        return report(failure);
    } catch (const std::exception& error) {
        return report({ExitCode::kLibraryFailure, kSystemFailure, std::nullopt, error.what()});
    }
}

}  // namespace

}  // namespace grallocinfo

int main(int argc, char** argv) try {
    using namespace grallocinfo;
    const std::vector<std::string> words = argumentsOf(argc, argv);
    gJson = asksForJson(words);
    onLibraryFatal(reportFatal);
    return run(words);
} catch (...) {
    // Not even the report of a failure fitted into memory.
    return static_cast<int>(grallocinfo::ExitCode::kLibraryFailure);
}
