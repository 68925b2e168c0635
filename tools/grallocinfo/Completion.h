// What a shell may offer for the word that is being typed.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

namespace grallocinfo {

// The first word of a command line by which the shells' scripts ask for completion; no command of
// its own in the help.
inline constexpr char kCompletionRequest[] = "__complete";

// `words` are those behind the program's name up to the one that is being typed, which may be
// empty. Prints a candidate a line; ":files" where the shell is to offer files.
void printCompletions(std::ostream& out, const CLI::App& program,
                      const std::vector<std::string>& words);

}  // namespace grallocinfo
