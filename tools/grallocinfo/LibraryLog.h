// The library's log lines: kept back, shown after a failure, and its last words.
#pragma once

#include <string>

namespace grallocinfo {

// Without `verbose` the log lines are kept back: errors for showHeldErrors, the others for good,
// but for a warning that an answer of the host platform is a guess. Call before anything that may
// start the library.
void openLibraryLog(bool verbose);

// From here on errors are kept back for good too; nothing when the log is verbose.
void silenceLibraryLog();

// Writes the errors that were kept back to standard error: what the library logged about a failure.
void showHeldErrors();

// How the process ends when the library gives up: `handler` gets the last words and must not
// return.
using FatalHandler = void (*)(const std::string& lastWords);
void onLibraryFatal(FatalHandler handler);

}  // namespace grallocinfo
