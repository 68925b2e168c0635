#include "tools/grallocinfo/CheckedRunLinux.h"

#include <dlfcn.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <fstream>

#include "host/check/FindingText.h"
#include "tools/grallocinfo/Failure.h"
#include "zelkcam/host/HandleTransport.h"

namespace grallocinfo {

namespace {

std::string environment(const char* variable) {
    const char* const value = getenv(variable);
    return value != nullptr ? value : "";
}

// Beside the host platform's library, or installed in the folder of what only that loads.
std::string pathOf(const std::string& name) {
    Dl_info info = {};
    const auto* const known = reinterpret_cast<const void*>(&zelkcam::host::sendHandle);
    if (dladdr(known, &info) == 0 || info.dli_fname == nullptr) {
        return name;
    }
    const std::string path = info.dli_fname;
    const std::string folder = path.substr(0, path.rfind('/') + 1);
    const std::string beside = folder + name;
    return access(beside.c_str(), R_OK) == 0 ? beside : folder + "zelkcam/" + name;
}

std::string joinedBy(const std::string& first, const std::string& second, char between) {
    return second.empty() ? first : first + between + second;
}

std::vector<Json>* listFor(const Json& line, CheckResult& result) {
    const std::string weight = line.value("weight", "");
    return weight == "finding"       ? &result.findings
           : weight == "by contract" ? &result.byContract
           : weight == "note"        ? &result.notes
                                     : nullptr;
}

}  // namespace

// AddressSanitizer's library wants to be the first, which is of no use to it here: what we preload
// replaces none of its functions.
Variables preloading(const std::vector<std::string>& libraries) {
    std::string paths = environment("LD_PRELOAD");
    for (const std::string& library : libraries) {
        paths = joinedBy(pathOf(library), paths, ':');
    }
    return {{"LD_PRELOAD", paths},
            {"ASAN_OPTIONS",
             joinedBy("verify_asan_link_order=0", environment("ASAN_OPTIONS"), ':')}};
}

CheckFile::CheckFile() : mPath(environment("TMPDIR")) {
    mPath = (mPath.empty() ? "/tmp" : mPath) + "/grallocinfo-check-XXXXXX";
    const int fd = mkstemp(mPath.data());
    if (fd < 0) {
        throw systemFailure("cannot make the file " + mPath, errno);
    }
    close(fd);
}

CheckFile::~CheckFile() {
    unlink(mPath.c_str());
}

Variables CheckFile::variables(bool strict) const {
    return {{"ZELKCAM_HOST_CHECK", "1"},
            {"ZELKCAM_HOST_CHECK_REPORT", mPath},
            {"ZELKCAM_HOST_CHECK_STRICT", strict ? "1" : "0"}};
}

CheckResult CheckFile::read() const {
    CheckResult result;
    std::ifstream file(mPath);
    for (std::string line; std::getline(file, line);) {
        Json document = Json::parse(line, nullptr, false);
        if (document.is_discarded() || !document.is_object()) {
            continue;
        }
        result.ran = true;
        std::vector<Json>* const list = listFor(document, result);
        document.erase("weight");
        if (list != nullptr) {
            list->push_back(std::move(document));
        }
    }
    return result;
}

void printFindings(std::ostream& out, const std::vector<Json>& findings, const std::string& lead) {
    for (const Json& finding : findings) {
        out << '\n' << lead << zelkcam::host::check::textOf(finding);
    }
}

Json reportOf(const std::string& profile, const Ending& ending, const CheckResult& result) {
    Json report;
    report["profile"] = profile;
    report["exit"] = ending.exit ? Json(*ending.exit) : Json();
    report["signal"] = ending.exit ? Json() : Json(ending.signal);
    report["findings"] = result.findings;
    report["byContract"] = result.byContract.size();
    return report;
}

}  // namespace grallocinfo
