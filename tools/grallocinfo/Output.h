// Where a command's data comes from and goes. Standard output carries data only; what is said about
// it goes to standard error.
#pragma once

#include <cstddef>
#include <fstream>
#include <functional>
#include <ostream>
#include <string>

#include "tools/grallocinfo/PrintJson.h"

namespace grallocinfo {

// Prints the one document of a --json run; main prints a failure's only when there was none.
void writeDocument(const Json& document);
bool documentWritten();

// Whether standard output is a terminal that wants colours.
bool colourWanted();

// How many characters a line of standard output has room for: a terminal's width, COLUMNS if set;
// plenty where it is no terminal.
size_t outputWidth();

// One line on standard error, led by the program's name.
void remark(const std::string& text);

// Sends what is buffered and throws a Failure when it did not arrive.
void flushOutput();

// The file `path`, ready to be read; throws a Failure, which says what was `expected`, for what
// cannot be read.
std::ifstream openFile(const std::string& path, const std::string& expected);

// Fills the file `path` with what `print` prints; throws a Failure when it cannot be written.
void writeFile(const std::string& path, const std::function<void(std::ostream&)>& print);

}  // namespace grallocinfo
