// The subcommands. Each adds itself, with its options and its examples, to the program; what it
// does runs when the command line has been read, prints to standard output and throws a Failure
// when there is no answer.
#pragma once

#include <optional>
#include <string>

#include <CLI/CLI.hpp>

namespace grallocinfo {

void addQuery(CLI::App& program);
void addFormats(CLI::App& program);
void addName(CLI::App& program);
void addList(CLI::App& program);
void addInfo(CLI::App& program);
void addDiff(CLI::App& program);
void addWatch(CLI::App& program);
void addProfile(CLI::App& program);
void addView(CLI::App& program);
// Passing a buffer to another process needs what only some builds have: the build picks the files.
void addShare(CLI::App& program);
void addAttach(CLI::App& program);
// So does running a program on the host platform.
void addRun(CLI::App& program);

// A word such as -5 would be taken for an option by the parser, and [a,b] for a list. It is handed
// over with this in front, which addText takes off again.
inline constexpr char kNegativeGuard = ' ';

// The name or file of the device profile that the host platform answers by; nothing on a device.
std::optional<std::string> hostProfile();

// An argument or, when `name` begins with dashes, an option that takes one text.
CLI::Option* addText(CLI::App& command, const std::string& name, std::string& value,
                     const std::string& help);

// An option that takes the name of a file.
CLI::Option* addFile(CLI::App& command, const std::string& name, std::string& path,
                     const std::string& help);

// Ends a command that has an answer with another exit status than 0.
[[noreturn]] void endWith(int status);

// The options that several commands share.
void addUsage(CLI::App& command, std::string& usage);
void addJson(CLI::App& command, bool& json);
// Behind addJson: a document and a page do not go together.
void addHtml(CLI::App& command, std::string& path);
void addVerbose(CLI::App& command, bool& verbose);

}  // namespace grallocinfo
