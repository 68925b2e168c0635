// From the library's names back to codes, through the tables that the library prints from.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace grallocinfo {

std::optional<int32_t> formatOfName(std::string_view name);

// One name, e.g. "HW_CAMERA_WRITE".
std::optional<uint32_t> usageOfName(std::string_view name);

// A whole dataspace ("SRGB", "V0_JFIF") or one field ("TRANSFER_HLG").
std::optional<int32_t> dataspaceOfName(std::string_view name);

}  // namespace grallocinfo
