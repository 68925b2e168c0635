#include "host/sphal/VendorLibrary.h"

#include <dlfcn.h>
#include <unistd.h>

#include <cstdlib>
#include <sstream>
#include <vector>

namespace zelkcam::host {
namespace {

// Lies in the host platform library, wherever that was loaded from.
const char kAnchor = 0;

std::vector<std::string> foldersOfEnvironment() {
    const char* path = std::getenv("ZELKCAM_HOST_SPHAL_PATH");
    std::vector<std::string> folders;
    std::istringstream list(path == nullptr ? "" : path);
    for (std::string folder; std::getline(list, folder, ':');) {
        if (!folder.empty()) {
            folders.push_back(folder);
        }
    }
    return folders;
}

// Empty when the loader does not know, or was given a bare name.
std::string folderOfThisLibrary() {
    Dl_info info = {};
    if (dladdr(&kAnchor, &info) == 0 || info.dli_fname == nullptr) {
        return "";
    }
    const std::string path = info.dli_fname;
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? "" : path.substr(0, slash);
}

// The file to open for the name; the name itself when no folder has it.
std::string locate(const std::string& name) {
    if (name.find('/') != std::string::npos) {
        return name;
    }
    std::vector<std::string> folders = foldersOfEnvironment();
    if (const std::string own = folderOfThisLibrary(); !own.empty()) {
        folders.push_back(own);
        // Where an installed package keeps what only this function loads.
        folders.push_back(own + "/zelkcam");
    }
    for (const std::string& folder : folders) {
        std::string file = folder;
        file.append("/").append(name);
        if (access(file.c_str(), F_OK) == 0) {
            return file;
        }
    }
    return name;
}

}  // namespace

VendorLibrary openVendorLibrary(const std::string& name, int flag) {
    VendorLibrary library;
    library.handle = dlopen(locate(name).c_str(), flag);
    if (library.handle == nullptr) {
        const char* error = dlerror();
        library.error = error == nullptr ? "unknown error" : error;
    }
    return library;
}

}  // namespace zelkcam::host
