// Runs grallocinfo and looks at what it leaves behind.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace zelkcam::test {

using Json = nlohmann::ordered_json;
using Words = std::vector<std::string>;

struct Outcome {
    int status = -1;  // the exit status, or the signal that ended the program plus 1000
    std::string out;
    std::string err;

    // The one document on standard output; a parse error fails the test and gives null.
    Json document() const;
};

// Runs the program to its end. `environment` holds NAME=VALUE words beside the test's own.
Outcome runTool(const Words& arguments, const Words& environment = {});

// Runs the program with `file` for its standard output.
Outcome runInto(const std::string& file, const Words& arguments);

// Runs the program with --json, which is to end with `status` and one document.
Json runForDocument(Words arguments, const Words& environment = {}, int status = 0);

// What a shell in `folder` prints, errors included; `grallocinfo` is the program.
std::string printedBy(const std::string& command, const std::string& folder);

// What the program prints on a terminal.
std::string runOnTerminal(const Words& arguments, const Words& environment = {});

// A program that runs until it is told to end.
class RunningTool {
  public:
    // Returns when the program has printed `ready`, if that is not empty, or has ended.
    RunningTool(const Words& arguments, const std::string& ready, const Words& environment = {});
    ~RunningTool();
    RunningTool(const RunningTool&) = delete;
    RunningTool& operator=(const RunningTool&) = delete;

    // Sends SIGTERM and waits: the exit status, and what was printed behind `ready`.
    Outcome end();

  private:
    pid_t mProcess;
    int mOutput;
};

// A folder that is gone after the test.
class ScratchFolder {
  public:
    ScratchFolder();
    ~ScratchFolder();
    std::string operator/(const std::string& name) const { return mPath + "/" + name; }

  private:
    std::string mPath;
};

std::string contentsOf(const std::string& path);
void writeContents(const std::string& path, const std::string& text);

}  // namespace zelkcam::test
