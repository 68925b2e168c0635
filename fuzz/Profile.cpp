// A device profile from elsewhere: read, asked, and written again.
#include <string>
#include <string_view>

#include "profile/Evaluate.h"
#include "profile/Json.h"

using namespace zelkcam::profile;

namespace {

void require(bool promise) {
    if (!promise) {
        abort();
    }
}

// Whatever the rules are, nothing too large is granted and nothing lies before the buffer.
void ask(const Device& device, const Request& request) {
    const Reply reply = device.ask(request);
    if (reply.answer != kGranted || reply.certainty == Certainty::kRecorded) {
        return;
    }
    require(reply.shape != nullptr && reply.numbers.size <= kMaxAllocationSize);
    for (const PlaneNumbers& plane : reply.numbers.planes) {
        require(plane.offset >= 0 && plane.size >= 0 && plane.row >= 0 &&
                plane.offset <= kMaxAllocationSize - plane.size);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string error;
    const auto profile = readJson({reinterpret_cast<const char*>(data), size}, &error);
    if (!profile) {
        require(!error.empty());
        return 0;
    }
    const auto again = readJson(writeJson(*profile), &error);
    require(again && *again == *profile);
    const Device device(*profile);
    for (const FormatRules& format : profile->formats) {
        for (const uint64_t usage : {uint64_t{0}, uint64_t{0x33}, uint64_t{0x4000}}) {
            for (const uint32_t side : {1u, 64u, 2049u, 70000u, 0xffffffffu}) {
                ask(device, {format.format, usage, side, side / 2 + 1});
            }
        }
    }
    return 0;
}
