#include "tools/grallocinfo/Output.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <iostream>

namespace grallocinfo {

namespace {

bool gDocumentWritten = false;

}  // namespace

void writeDocument(const Json& document) {
    printJson(std::cout, document);
    gDocumentWritten = true;
    flushOutput();
}

bool documentWritten() {
    return gDocumentWritten;
}

bool colourWanted() {
    const char* const noColour = getenv("NO_COLOR");
    const char* const terminal = getenv("TERM");
    return isatty(STDOUT_FILENO) && !(noColour && *noColour) &&
           !(terminal && strcmp(terminal, "dumb") == 0);
}

size_t outputWidth() {
    constexpr size_t kPlenty = 1000;
    winsize size{};
    if (!isatty(STDOUT_FILENO)) {
        return kPlenty;
    }
    const char* const columns = getenv("COLUMNS");
    const long asked = columns ? strtol(columns, nullptr, 10) : 0;
    if (asked > 0) {
        return static_cast<size_t>(asked);
    }
    return ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : kPlenty;
}

void remark(const std::string& text) {
    std::cerr << "grallocinfo: " << text << std::endl;
}

void flushOutput() {
    // A stream that has failed before left its reason.
    if (std::cout) {
        errno = 0;
    }
    if (!std::cout.flush()) {
        throw systemFailure("cannot write to standard output", errno ? errno : EIO);
    }
}

std::ifstream openFile(const std::string& path, const std::string& expected) {
    errno = 0;
    std::ifstream file(path, std::ios::binary);
    // A folder opens, and fails only when it is read. A file may be empty.
    if (file && file.peek() == std::ifstream::traits_type::eof() && errno == 0) {
        file.clear();
    }
    if (!file) {
        throw unusable("cannot read " + inQuotes(path) + " (" + strerror(errno) + "): expected " +
                       expected);
    }
    return file;
}

void writeFile(const std::string& path, const std::function<void(std::ostream&)>& print) {
    errno = 0;
    std::ofstream file(path, std::ios::binary);
    if (!file) {
        throw unusable("cannot write " + inQuotes(path) + " (" + strerror(errno) +
                       "): expected a file that can be written");
    }
    print(file);
    file.close();
    if (!file) {
        throw systemFailure("cannot write " + inQuotes(path), errno ? errno : EIO);
    }
}

}  // namespace grallocinfo
