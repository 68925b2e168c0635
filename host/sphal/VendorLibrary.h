// Where the host finds the libraries that a device keeps in its vendor partition.
#pragma once

#include <string>

namespace zelkcam::host {

struct VendorLibrary {
    void* handle = nullptr;  // of dlopen; null on failure
    std::string error;       // why it failed
};

// Opens the library with dlopen's `flag`. A name without a slash is looked for in the folders of
// ZELKCAM_HOST_SPHAL_PATH (colon-separated), then beside the host platform library and in the
// folder zelkcam there, then wherever dlopen looks. The first file of the name decides: when it
// cannot be loaded, no other is tried. Safe from any thread.
VendorLibrary openVendorLibrary(const std::string& name, int flag);

}  // namespace zelkcam::host
