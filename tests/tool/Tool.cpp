#include "tests/tool/Tool.h"

#include <fcntl.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

namespace zelkcam::test {

namespace {

// `environment` holds NAME=VALUE words.
pid_t start(Words arguments, Words environment, int out, int err) {
    const pid_t process = fork();
    if (process != 0) {
        EXPECT_GT(process, 0);
        return process;
    }
    for (std::string& variable : environment) {
        putenv(variable.data());
    }
    std::vector<char*> words{const_cast<char*>(GRALLOCINFO_FILE)};
    for (std::string& argument : arguments) {
        words.push_back(argument.data());
    }
    words.push_back(nullptr);
    dup2(open("/dev/null", O_RDONLY | O_CLOEXEC), STDIN_FILENO);
    dup2(out, STDOUT_FILENO);
    dup2(err, STDERR_FILENO);
    execv(words[0], words.data());
    _exit(127);
}

int statusOf(pid_t process) {
    int status = 0;
    EXPECT_EQ(waitpid(process, &status, 0), process);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
}

// Until the other end is closed; a terminal answers EIO then.
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

Json runForDocument(Words arguments, const Words& environment, int status) {
    arguments.push_back("--json");
    const Outcome outcome = runTool(arguments, environment);
    EXPECT_EQ(outcome.status, status) << testing::PrintToString(arguments) << outcome.err;
    return outcome.document();
}

std::string printedBy(const std::string& command, const std::string& folder) {
    const std::string tool = std::filesystem::path(GRALLOCINFO_FILE).parent_path();
    const std::string script = "cd '" + folder + "' && PATH='" + tool + "':$PATH && { " + command +
                               "\n} >printed 2>&1";
    EXPECT_EQ(system(script.c_str()), 0) << command;  // NOLINT(cert-env33-c): the page is ours
    return contentsOf(folder + "/printed");
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

RunningTool::RunningTool(const Words& arguments, const std::string& ready,
                         const Words& environment) {
    int ends[2];
    EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
    mProcess = start(arguments, environment, ends[1], STDERR_FILENO);
    mOutput = ends[0];
    close(ends[1]);
    const std::string text = ready.empty() ? "" : readAll(mOutput, ready);
    EXPECT_NE(text.find(ready), std::string::npos) << text;
}

RunningTool::~RunningTool() {
    end();
    close(mOutput);
}

Outcome RunningTool::end() {
    if (mProcess <= 0) {
        return {};
    }
    kill(mProcess, SIGTERM);
    const int status = statusOf(std::exchange(mProcess, -1));
    return {status, readAll(mOutput), ""};
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
