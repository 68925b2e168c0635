#include "tools/grallocinfo/DeviceChild.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <memory>
#include <optional>

#include "profile/Json.h"
#include "tools/grallocinfo/DeviceSession.h"
#include "tools/grallocinfo/DeviceTraits.h"
#include "tools/grallocinfo/Failure.h"
#include "tools/grallocinfo/Library.h"
#include "tools/grallocinfo/LibraryLog.h"

namespace grallocinfo {

namespace {

using zelkcam::profile::Answer;
using zelkcam::profile::kOtherException;
using zelkcam::profile::LockAnswer;
using zelkcam::profile::Observation;
using zelkcam::profile::Profile;
using zelkcam::profile::readJson;
using zelkcam::profile::Request;
using zelkcam::profile::Traits;
using zelkcam::profile::writeJson;

// Questions by the name of the document that asks them; a probe's name ends with its number.
constexpr char kAsk[] = "ask";
constexpr char kAskWithLocks[] = "ask with locks";
// The library ends the process over some buffers: the same without asking it.
constexpr char kWithoutLibrary[] = ", not the library";
constexpr char kProbe[] = "probe ";
// The name of an answer that is a Failure: its code follows, and the message is the description.
constexpr char kFailure[] = "failure ";

bool writeAll(int fd, const void* data, size_t size) {
    const auto* bytes = static_cast<const char*>(data);
    while (size > 0) {
        const ssize_t written = write(fd, bytes, size);
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            return false;
        }
        bytes += written;
        size -= static_cast<size_t>(written);
    }
    return true;
}

bool readAll(int fd, void* data, size_t size) {
    auto* bytes = static_cast<char*>(data);
    while (size > 0) {
        const ssize_t got = read(fd, bytes, size);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            return false;
        }
        bytes += got;
        size -= static_cast<size_t>(got);
    }
    return true;
}

bool send(int fd, const std::string& text) {
    const uint64_t size = text.size();
    return writeAll(fd, &size, sizeof(size)) && writeAll(fd, text.data(), text.size());
}

std::optional<std::string> receive(int fd) {
    uint64_t size = 0;
    if (!readAll(fd, &size, sizeof(size)) || size > zelkcam::profile::kMaxDocumentSize) {
        return std::nullopt;
    }
    std::string text(size, '\0');
    return readAll(fd, text.data(), size) ? std::optional(text) : std::nullopt;
}

// A question about one request is a profile whose one sample has no answer yet.
Profile questionOf(const Request& request, bool locks, bool library) {
    Profile question;
    question.name = std::string(locks ? kAskWithLocks : kAsk) + (library ? "" : kWithoutLibrary);
    question.samples = {{request.format, request.usage, {}, {}}};
    Answer& answer = question.samples.front().answers.emplace_back();
    answer.width = request.width;
    answer.height = request.height;
    answer.answer = kOtherException;
    return question;
}

void answerRequest(DeviceSession& session, Profile& profile) {
    auto& group = profile.samples.front();
    Answer& answer = group.answers.front();
    const Observation seen = session.observe(
            {group.format, group.usage, answer.width, answer.height},
            profile.name.starts_with(kAskWithLocks), !profile.name.ends_with(kWithoutLibrary));
    group.locks = seen.locks;
    answer.answer = seen.answer;
    answer.numbers = seen.numbers;
    answer.library = seen.library;
    if (seen.answer == zelkcam::profile::kGranted) {
        profile.shapes = {seen.shape};
    }
}

std::string answerOf(std::unique_ptr<DeviceSession>& session, Profile profile) {
    try {
        if (!session) {
            session = std::make_unique<DeviceSession>();
            startLibrary();
        }
        if (profile.name.starts_with(kProbe)) {
            const std::string number = profile.name.substr(sizeof(kProbe) - 1);
            probeTrait(std::strtoul(number.c_str(), nullptr, 10), *session, profile.traits);
        } else {
            answerRequest(*session, profile);
        }
    } catch (const Failure& failure) {
        profile.name = kFailure + failure.code;
        profile.description = failure.message;
    }
    return writeJson(profile);
}

// liblog writes the last words of a failed lock there, on some devices for every buffer.
void silenceStandardError() {
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (nowhere >= 0) {
        dup2(nowhere, STDERR_FILENO);
        close(nowhere);
    }
}

[[noreturn]] void serveQuestions(int from, int to) {
    silenceStandardError();
    onLibraryFatal([](const std::string&) { _exit(1); });
    silenceLibraryLog();
    std::unique_ptr<DeviceSession> session;
    while (const auto question = receive(from)) {
        std::string error;
        const auto profile = readJson(*question, &error);
        if (!profile || !send(to, answerOf(session, *profile))) {
            break;
        }
    }
    _exit(0);
}

}  // namespace

DeviceChild::~DeviceChild() {
    stop();
}

void DeviceChild::start() {
    int questions[2];
    int answers[2];
    if (pipe(questions) != 0) {
        throw systemFailure("cannot start a process that asks the device", errno);
    }
    if (pipe(answers) != 0 || (mChild = fork()) < 0) {
        throw systemFailure("cannot start a process that asks the device", errno);
    }
    if (mChild == 0) {
        close(questions[1]);
        close(answers[0]);
        serveQuestions(questions[0], answers[1]);
    }
    close(questions[0]);
    close(answers[1]);
    mTo = questions[1];
    mFrom = answers[0];
}

void DeviceChild::stop() {
    if (mChild < 0) {
        return;
    }
    close(mTo);
    close(mFrom);
    while (waitpid(mChild, nullptr, 0) < 0 && errno == EINTR) {
    }
    mChild = -1;
}

std::string DeviceChild::exchange(const std::string& question) {
    static_cast<void>(signal(SIGPIPE, SIG_IGN));
    if (mChild < 0) {
        start();
    }
    const bool sent = send(mTo, question);
    if (!mInterruption.waitFor(mFrom)) {
        kill(mChild, SIGKILL);  // it may hang in the question, with the signals kept from it
        throw Failure{ExitCode::kLibraryFailure, kSystemFailure, std::nullopt,
                      "interrupted: the recording is not complete, and nothing was written"};
    }
    const auto answer = sent ? receive(mFrom) : std::nullopt;
    if (!answer) {
        stop();
        ++mDeaths;
    }
    return answer.value_or("");
}

namespace {

// Nothing for an answer that never came.
std::optional<Profile> readAnswer(const std::string& text) {
    std::string error;
    if (text.empty()) {
        return std::nullopt;
    }
    auto profile = readJson(text, &error);
    if (!profile) {
        throw Failure{ExitCode::kLibraryFailure, kSystemFailure, std::nullopt,
                      "an answer of the device cannot be kept: " + error};
    }
    if (profile->name.starts_with(kFailure)) {
        throw Failure{ExitCode::kLibraryFailure, profile->name.substr(sizeof(kFailure) - 1),
                      std::nullopt, profile->description};
    }
    return profile;
}

}  // namespace

// First everything, then without what may have ended the process: the library, locks, both.
std::optional<Profile> DeviceChild::askUntilAnswered(const Request& request, bool locks) {
    auto answered = readAnswer(exchange(writeJson(questionOf(request, locks, true))));
    if (!answered) {
        answered = readAnswer(exchange(writeJson(questionOf(request, locks, false))));
    }
    if (answered || !locks) {
        return answered;
    }
    answered = askUntilAnswered(request, false);
    if (answered && !answered->samples.empty()) {
        answered->samples.front().locks =
                LockAnswer{AIMAPPER_ERROR_BAD_VALUE, AIMAPPER_ERROR_BAD_VALUE};
    }
    return answered;
}

Observation DeviceChild::ask(const Request& request, bool locks) {
    Observation seen;
    seen.answer = kOtherException;
    const auto answered = askUntilAnswered(request, locks);
    if (!answered || answered->samples.empty() || answered->samples.front().answers.empty()) {
        return seen;
    }
    const Answer& answer = answered->samples.front().answers.front();
    seen.answer = answer.answer;
    seen.numbers = answer.numbers;
    seen.library = answer.library;
    seen.locks = answered->samples.front().locks;
    if (!answered->shapes.empty()) {
        seen.shape = answered->shapes.front();
    }
    return seen;
}

void DeviceChild::probe(size_t number, Traits& traits) {
    Profile question;
    question.name = kProbe + std::to_string(number);
    question.traits = traits;
    if (const auto answered = readAnswer(exchange(writeJson(question)))) {
        traits = answered->traits;
    }
}

}  // namespace grallocinfo
