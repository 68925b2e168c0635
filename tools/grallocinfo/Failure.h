// How a command ends when it has no answer.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace grallocinfo {

enum class ExitCode : int {
    kOk = 0,
    kLibraryFailure = 1,     // the library, or the machine under it, answered a failure
    kUnusableArguments = 2,  // the command line cannot be acted on
};

// Thrown by whatever cannot go on, reported once by main.
struct Failure {
    ExitCode exit = ExitCode::kLibraryFailure;
    std::string code;               // for programs: "NO_LAYOUT_RULE"
    std::optional<int32_t> status;  // what the library answered, if it was asked
    std::string message;            // one line for people
};

Failure unusable(std::string message);

inline constexpr char kSystemFailure[] = "SYSTEM_FAILURE";

// A failure of the machine that is not an answer of the library: a file, a socket. `error` is
// errno.
Failure systemFailure(const std::string& what, int error);

// `text` between quotes and fit for one line of a message: shortened, and control characters as
// \xNN.
std::string inQuotes(std::string_view text);

// "0x11"; negative codes print as their 32 bits.
std::string hex(int32_t code);
std::string hex(uint64_t value);

}  // namespace grallocinfo
