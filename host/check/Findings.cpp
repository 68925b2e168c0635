#include "host/check/Findings.h"

#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

#include <cstdlib>
#include <map>
#include <mutex>
#include <set>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "host/check/FindingText.h"
#include "host/check/Symbols.h"

namespace zelkcam::host::check {
namespace {

using Json = nlohmann::ordered_json;

constexpr int kToldOfOnePlace = 100;

// Never destroyed: findings are told while the process ends.
std::mutex& tellingMutex() {
    static auto& mutex = *new std::mutex;
    return mutex;
}

bool isSet(const char* variable) {
    const char* const value = std::getenv(variable);
    return value != nullptr && *value != '\0' && std::string_view(value) != "0";
}

Json toJson(const std::vector<Frame>& frames) {
    Json stack = Json::array();
    for (const Frame& frame : programFrames(frames)) {
        stack.push_back({{"function", frame.function}, {"file", frame.file}, {"line", frame.line}});
    }
    return stack;
}

std::string programName() {
    char path[4096];
    const ssize_t size = readlink("/proc/self/exe", path, sizeof(path));
    const std::string whole(path, size > 0 ? static_cast<size_t>(size) : 0);
    return whole.substr(whole.rfind('/') + 1);
}

const char* nameOf(Weight weight) {
    switch (weight) {
        case Weight::Finding:
            return "finding";
        case Weight::ByContract:
            return "by contract";
        case Weight::Note:
            return "note";
    }
    return "";
}

Json toJson(const Finding& finding, const std::vector<Frame>& frames) {
    Json document = {{"weight", nameOf(finding.weight)},
                     {"kind", finding.kind},
                     {"message", finding.message},
                     {"stack", toJson(frames)}};
    if (finding.earlier) {
        document["previous"] = {{"what", finding.earlier->what},
                                {"stack", toJson(resolve(finding.earlier->stack))}};
    }
    document["process"] = {{"pid", getpid()}, {"program", programName()}};
    return document;
}

void writeWhole(int fd, const std::string& text) {
    for (size_t done = 0; done < text.size();) {
        const ssize_t size = write(fd, text.data() + done, text.size() - done);
        if (size <= 0 && errno != EINTR) {
            return;
        }
        done += size > 0 ? static_cast<size_t>(size) : 0;
    }
}

// A line of one write to a file that is open for appending does not mix with others'.
bool append(const char* path, const std::string& line) {
    const int fd = open(path, O_WRONLY | O_APPEND | O_CLOEXEC);
    if (fd >= 0) {
        writeWhole(fd, line);
        close(fd);
    }
    return fd >= 0;
}

void publish(const Json& document, Weight weight) {
    const char* const report = std::getenv("ZELKCAM_HOST_CHECK_REPORT");
    const std::string line = document.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
    if (report != nullptr && append(report, line)) {
        return;
    }
    if (weight == Weight::Finding || isSet("ZELKCAM_HOST_CHECK_VERBOSE")) {
        writeWhole(STDERR_FILENO, "zelkcam check: " + textOf(document));
    }
}

// One call of the program may meet the same fault again and again: a query asks for many things.
bool isToldAlready(const Json& document) {
    static auto& told = *new std::set<std::string>;
    return !told.insert(document.dump(-1, ' ', false, Json::error_handler_t::replace)).second;
}

bool isToldEnough(const Finding& finding) {
    using Place = std::pair<std::string, std::vector<void*>>;
    static auto& told = *new std::map<Place, int>;
    const auto frames = finding.stack.frames();
    return ++told[{finding.kind, {frames.begin(), frames.end()}}] > kToldOfOnePlace;
}

thread_local bool tlsOwnWork __attribute__((tls_model("initial-exec"))) = false;

__attribute__((constructor)) void keepAcrossForks() {
    pthread_atfork([] { tellingMutex().lock(); }, [] { tellingMutex().unlock(); },
                   [] { tellingMutex().unlock(); });
}

}  // namespace

void tellStarted() {
    const char* const report = std::getenv("ZELKCAM_HOST_CHECK_REPORT");
    if (report != nullptr) {
        append(report, Json({{"weight", "started"}, {"pid", getpid()}}).dump() + "\n");
    }
}

OwnWork::OwnWork() : mIsNested(tlsOwnWork) {
    tlsOwnWork = true;
}

OwnWork::~OwnWork() {
    tlsOwnWork = mIsNested;
}

bool isOwnWork() {
    return tlsOwnWork;
}

void tell(const Finding& finding) {
    const std::lock_guard guard(tellingMutex());
    if (isToldEnough(finding)) {
        return;
    }
    const OwnWork own;
    const Json document = toJson(finding, resolve(finding.stack));
    if (finding.weight != Weight::Finding || !isToldAlready(document)) {
        publish(document, finding.weight);
    }
}

bool isStrict() {
    return isSet("ZELKCAM_HOST_CHECK_STRICT");
}

}  // namespace zelkcam::host::check
