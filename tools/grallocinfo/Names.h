// Every name of a code: the library's own, through the tables that it prints from, and those that
// other interfaces of the platform have for it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace grallocinfo {

enum class CodeKind { kFormat, kUsage, kDataspace };

struct NamedCode {
    uint32_t code = 0;
    std::string_view name;                  // what the library prints; empty when it has none
    std::string_view fourcc;                // of a format, where DRM has one
    std::vector<std::string_view> aliases;  // what is read as this code, too
    std::string_view meaning;
};

// In the order of the library's tables.
const std::vector<NamedCode>& namedCodes(CodeKind kind);

// The code of one name, of any case: the library's ("HW_CAMERA_WRITE"), an alias or a fourcc
// ("NV21"), or the library's behind the prefix that headers put before it
// ("HAL_PIXEL_FORMAT_YV12").
std::optional<uint32_t> codeOfName(CodeKind kind, std::string_view name);

// The known name that `name` is most likely a slip of; empty when none is near.
std::string_view nearestName(CodeKind kind, std::string_view name);

}  // namespace grallocinfo
