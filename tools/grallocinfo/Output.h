// Where a command's data comes from and goes. Standard output carries data only; what is said about
// it goes to standard error.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <ostream>
#include <string>

#include "tools/grallocinfo/PrintJson.h"

namespace grallocinfo {

// Prints the one document of a --json run; main prints a failure's only when there was none.
void writeDocument(const Json& document);
bool documentWritten();

// Whether standard output is a terminal that wants colours.
bool colourWanted();

// How many characters a line of the terminal holds: COLUMNS if set, else its width. Nothing when
// standard output is not a terminal.
std::optional<size_t> terminalWidth();

// One line on standard error, led by the program's name.
void remark(const std::string& text);

// Sends what is buffered and throws a Failure when it did not arrive.
void flushOutput();

// Whether `path` is "-".
bool isStandardOutput(const std::string& path);

// The file `path` ready to be read, or standard input for "-": a descriptor that stays the
// process's own. Throws a Failure that names what was `expected`.
int openInput(const std::string& path, const std::string& expected);

// What `fd`, opened from `path`, holds next: at most `size` bytes, 0 at its end. Throws as
// openInput does.
size_t readInput(int fd, char* bytes, size_t size, const std::string& path,
                 const std::string& expected);

// All that `path`, or standard input for "-", holds.
std::string readWhole(const std::string& path, const std::string& expected);

// Throws the Failure of writeFile where it can be seen beforehand, for what takes long.
void requireWritable(const std::string& path);

// Fills the file `path` with what `print` prints, or prints it on standard output for "-". A file
// appears whole or not at all: it is written beside its place and renamed. Throws a Failure when it
// cannot be written.
void writeFile(const std::string& path, const std::function<void(std::ostream&)>& print);

}  // namespace grallocinfo
