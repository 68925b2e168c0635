#include "tools/grallocinfo/Output.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>

namespace grallocinfo {

namespace {

constexpr char kStandardStream[] = "-";

bool gDocumentWritten = false;

std::string inputName(const std::string& path) {
    return path == kStandardStream ? "standard input" : inQuotes(path);
}

Failure unreadable(const std::string& path, const std::string& expected) {
    return unusable("cannot read " + inputName(path) + " (" + strerror(errno) + "): expected " +
                    expected);
}

Failure unwritable(const std::string& path) {
    return unusable("cannot write " + inQuotes(path) + " (" + strerror(errno) +
                    "): expected a file that can be written");
}

void writeTo(const std::string& file, const std::string& path, const std::string& contents) {
    errno = 0;
    std::ofstream out(file, std::ios::binary);
    out << contents;
    out.close();
    if (!out) {
        throw systemFailure("cannot write " + inQuotes(path), errno ? errno : EIO);
    }
}

// A new file beside `path`; removed unless it was put in its place.
class Replacement {
  public:
    explicit Replacement(const std::string& path) : mPath(path), mName(path + ".XXXXXX") {
        const int file = mkostemp(mName.data(), O_CLOEXEC);
        if (file < 0) {
            mName.clear();
            throw unwritable(path);
        }
        // mkostemp leaves others nothing; a result is as readable as any other new file.
        const mode_t mask = umask(0);
        umask(mask);
        fchmod(file, 0666 & ~mask);
        close(file);
    }
    ~Replacement() {
        if (!mName.empty()) {
            unlink(mName.c_str());
        }
    }
    Replacement(const Replacement&) = delete;
    Replacement& operator=(const Replacement&) = delete;

    void replace(const std::string& contents) {
        writeTo(mName, mPath, contents);
        if (rename(mName.c_str(), mPath.c_str()) != 0) {
            throw unwritable(mPath);
        }
        mName.clear();
    }

  private:
    const std::string mPath;
    std::string mName;
};

enum class Place { kNew, kFile, kDevice };  // or a pipe

Place placeOf(const std::string& path) {
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0) {
        return Place::kNew;
    }
    if (S_ISDIR(status.st_mode)) {
        errno = EISDIR;
        throw unwritable(path);
    }
    return S_ISREG(status.st_mode) ? Place::kFile : Place::kDevice;
}

// Where a symbolic link leads, so that the link stays one.
std::string resolved(const std::string& path) {
    char* const real = realpath(path.c_str(), nullptr);
    std::string result = real ? real : path;
    free(real);
    return result;
}

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

std::optional<size_t> terminalWidth() {
    if (!isatty(STDOUT_FILENO)) {
        return std::nullopt;
    }
    if (const char* const columns = getenv("COLUMNS"); columns && *columns) {
        char* end = nullptr;
        const long asked = strtol(columns, &end, 10);
        if (asked > 0 && asked <= UINT16_MAX && *end == '\0') {  // as a terminal can have
            return static_cast<size_t>(asked);
        }
        remark("COLUMNS is " + inQuotes(columns) +
               ", which is no number of characters: the terminal's own width counts");
    }
    winsize size{};
    return ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0
                   ? std::optional<size_t>(size.ws_col)
                   : std::nullopt;
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

bool isStandardOutput(const std::string& path) {
    return path == kStandardStream;
}

int openInput(const std::string& path, const std::string& expected) {
    const int file =
            path == kStandardStream ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) {
        throw unreadable(path, expected);
    }
    return file;
}

size_t readInput(int fd, char* bytes, size_t size, const std::string& path,
                 const std::string& expected) {
    const ssize_t count = read(fd, bytes, size);
    if (count < 0) {
        throw unreadable(path, expected);
    }
    return static_cast<size_t>(count);
}

std::string readWhole(const std::string& path, const std::string& expected) {
    const int file = openInput(path, expected);
    std::string contents;
    char bytes[64 * 1024];
    while (const size_t count = readInput(file, bytes, sizeof(bytes), path, expected)) {
        contents.append(bytes, count);
    }
    if (file != STDIN_FILENO) {
        close(file);
    }
    return contents;
}

void requireWritable(const std::string& path) {
    if (isStandardOutput(path)) {
        return;
    }
    const bool isDevice = placeOf(path) == Place::kDevice;
    const auto folder = std::filesystem::path(resolved(path)).parent_path();
    const std::string written = isDevice ? path : folder.empty() ? "." : folder.native();
    if (access(written.c_str(), W_OK) != 0) {
        throw unwritable(path);
    }
}

void writeFile(const std::string& path, const std::function<void(std::ostream&)>& print) {
    if (isStandardOutput(path)) {
        print(std::cout);
        return flushOutput();
    }
    std::ostringstream contents;
    print(contents);
    // Nothing can be put in its place.
    if (placeOf(path) == Place::kDevice) {
        return writeTo(path, path, contents.str());
    }
    Replacement(resolved(path)).replace(contents.str());
}

}  // namespace grallocinfo
