#include "tests/tool/Tool.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string_view>

#include <gtest/gtest.h>

#include "tests/tool/Schema.h"

namespace zelkcam::test {

namespace {

std::vector<char*> pointersTo(const Words& words) {
    std::vector<char*> pointers;
    for (const std::string& word : words) {
        pointers.push_back(const_cast<char*>(word.c_str()));
    }
    pointers.push_back(nullptr);
    return pointers;
}

// `additions` and what of our own environment they do not set: of two variables of one name
// programs take different ones.
Words environmentWith(const Words& additions) {
    Words environment = additions;
    for (char** variable = environ; *variable; ++variable) {
        const std::string_view text = *variable;
        const std::string_view name = text.substr(0, text.find('=') + 1);
        if (std::none_of(additions.begin(), additions.end(),
                         [=](const std::string& addition) { return addition.starts_with(name); })) {
            environment.emplace_back(text);
        }
    }
    return environment;
}

pid_t start(Words arguments, const Words& additions, int out, int err) {
    arguments.insert(arguments.begin(), GRALLOCINFO_FILE);
    const Words environment = environmentWith(additions);
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_addopen(&files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&files, out, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&files, err, STDERR_FILENO);
    pid_t process = -1;
    EXPECT_EQ(posix_spawn(&process, GRALLOCINFO_FILE, &files, nullptr, pointersTo(arguments).data(),
                          pointersTo(environment).data()),
              0);
    posix_spawn_file_actions_destroy(&files);
    return process;
}

int statusOf(pid_t process) {
    int status = 0;
    EXPECT_EQ(waitpid(process, &status, 0), process);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
}

// Until the other end is closed; a terminal says EIO then.
std::string readAll(int fd, const std::string& until = {}) {
    std::string text;
    char bytes[4096];
    while (until.empty() || text.find(until) == std::string::npos) {
        const ssize_t count = read(fd, bytes, sizeof(bytes));
        if (count <= 0) {
            break;
        }
        text.append(bytes, static_cast<size_t>(count));
    }
    return text;
}

std::string textOf(int file) {
    lseek(file, 0, SEEK_SET);
    std::string text = readAll(file);
    close(file);
    return text;
}

}  // namespace

Json Outcome::document() const {
    Json document = Json::parse(out, nullptr, false);
    EXPECT_FALSE(document.is_discarded()) << "not one document: " << out << err;
    return document.is_discarded() ? Json() : document;
}

Outcome runTool(const Words& arguments, const Words& environment) {
    const int out = memfd_create("out", MFD_CLOEXEC);
    const int err = memfd_create("err", MFD_CLOEXEC);
    const int status = statusOf(start(arguments, environment, out, err));
    return {status, textOf(out), textOf(err)};
}

Outcome runInto(const std::string& file, const Words& arguments) {
    const int out = open(file.c_str(), O_WRONLY | O_CLOEXEC);
    const int err = memfd_create("err", MFD_CLOEXEC);
    const int status = statusOf(start(arguments, {}, out, err));
    close(out);
    return {status, "", textOf(err)};
}

Json runForDocument(Words arguments, const std::string& kind, const Words& environment) {
    arguments.push_back("--json");
    const Outcome outcome = runTool(arguments, environment);
    const Json document = outcome.document();
    EXPECT_EQ(schemaError(document, kind), "") << testing::PrintToString(arguments) << outcome.out;
    EXPECT_EQ(outcome.status == 0, kind != "failure") << testing::PrintToString(arguments);
    return document;
}

std::string runOnTerminal(const Words& arguments, const Words& environment) {
    const int master = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    EXPECT_EQ(grantpt(master) | unlockpt(master), 0);
    const int slave = open(ptsname(master), O_RDWR | O_NOCTTY | O_CLOEXEC);
    const pid_t process = start(arguments, environment, slave, slave);
    close(slave);
    const std::string text = readAll(master);
    close(master);
    EXPECT_EQ(statusOf(process), 0);
    return text;
}

RunningTool::RunningTool(const Words& arguments, const std::string& ready) {
    int ends[2];
    EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
    mProcess = start(arguments, {}, ends[1], STDERR_FILENO);
    mOutput = ends[0];
    close(ends[1]);
    const std::string text = readAll(mOutput, ready);
    EXPECT_NE(text.find(ready), std::string::npos) << text;
}

RunningTool::~RunningTool() {
    end();
    close(mOutput);
}

int RunningTool::end() {
    if (mProcess <= 0) {
        return -1;
    }
    kill(mProcess, SIGTERM);
    return statusOf(std::exchange(mProcess, -1));
}

ScratchFolder::ScratchFolder() {
    char name[] = "/tmp/grallocinfo-test-XXXXXX";
    mPath = mkdtemp(name);
}

ScratchFolder::~ScratchFolder() {
    std::filesystem::remove_all(mPath);
}

std::string contentsOf(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

void writeContents(const std::string& path, const std::string& text) {
    std::ofstream(path, std::ios::binary) << text;
}

}  // namespace zelkcam::test
