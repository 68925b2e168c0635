// The library as the commands use it, with its status codes in words.
#pragma once

#include <cstdint>
#include <string>

#include "utils/gralloc/IGrallocHelper.h"

namespace grallocinfo {

// A layout request, its answer, and the names that the library gives their codes.
struct LayoutAnswer {
    zcam::GrallocRequest request;
    std::string requestedName;
    std::string usageName;
    zcam::GrallocStaticInfo layout;
    std::string resolvedName;
};

// Starts the library. Without an allocator service it logs that once, when it starts; what it logs
// about every request after that is kept back for good.
void startLibrary();

NSCam::IGrallocHelper& helper();
std::string formatName(int32_t format);
std::string usageName(uint32_t usage);

// The layout of a request; throws the Failure that `requestFailure` makes of a status.
LayoutAnswer queryLayout(const zcam::GrallocRequest& request, bool force);

// The same without the throw: `answer.layout` is filled when the result is 0.
int32_t tryQueryLayout(const zcam::GrallocRequest& request, bool force, LayoutAnswer& answer);

// The usage that the library allocates a probe with: a concrete format is probed with usage 0.
uint32_t probeUsage(const zcam::GrallocRequest& request);

// Machine word and sentence for a status of the request query.
struct StatusMeaning {
    std::string code;
    std::string sentence;
};
StatusMeaning meaningOf(int32_t status, const zcam::GrallocRequest& request);

// Why there is no buffer of a request with `usage`: no service, or one that refuses.
StatusMeaning meaningOfRefusal(const zcam::GrallocRequest& request, uint32_t usage);
inline constexpr char kNoAllocatorService[] = "NO_ALLOCATOR_SERVICE";
std::string noAllocatorService();

// A mapper's or allocator's answer as text: "3 (BAD_VALUE)", or the number alone.
std::string mapperStatus(int32_t status);

// "YCrCb_420_SP (0x11)", or the code alone when it has no name.
std::string describeFormat(const std::string& name, int32_t format);

// The same of each, with commas.
std::string describeFormats(const std::vector<int32_t>& formats);

}  // namespace grallocinfo
