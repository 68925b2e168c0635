// A program run with the host platform's checker of buffers.
#pragma once

#include <string>
#include <vector>

#include "tools/grallocinfo/ChildProgramLinux.h"
#include "tools/grallocinfo/PrintJson.h"

namespace grallocinfo {

// See descriptors closed; take the buffer-attribute extension's place and fail.
inline constexpr char kDescriptorsLibrary[] = "libzelkcam_check_descriptors.so";
inline constexpr char kFailingExtensionLibrary[] = "libzelkcam_quirk_extension.so";

// What the program's environment needs for these to be loaded before its own libraries.
Variables preloading(const std::vector<std::string>& libraries);

// What the processes of one run tell.
struct CheckResult {
    std::vector<Json> findings;
    std::vector<Json>
            byContract;  // what the library does by contract, though it looks like a fault
    std::vector<Json> notes;
    bool ran = false;  // false: no process had the host platform's buffers to check
};

// A file that the processes of one run write to; gone with this object.
class CheckFile {
  public:
    CheckFile();
    ~CheckFile();
    CheckFile(const CheckFile&) = delete;
    CheckFile& operator=(const CheckFile&) = delete;

    // What the program's environment needs for the check.
    Variables variables(bool strict) const;

    CheckResult read() const;

  private:
    std::string mPath;
};

// Prints findings as people read them, each led by its profile when there are several.
void printFindings(std::ostream& out, const std::vector<Json>& findings, const std::string& lead);

// An element of the report's "runs".
Json reportOf(const std::string& profile, const Ending& ending, const CheckResult& result);

}  // namespace grallocinfo
