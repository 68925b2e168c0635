// The words of a command line as values. Every function throws a Failure that names what was
// expected.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace grallocinfo {

struct Size {
    int32_t width;   // pixels, at least 1
    int32_t height;  // likewise
};

// "1920x1080".
Size parseSize(std::string_view text);

// Each takes a number (decimal or 0x) or a name of Names.h; usages and dataspaces are joined by
// '|', with or without blanks around it. Numbers have 32 bits; a negative one is accepted for a
// dataspace only, where it is an ordinary code.
int32_t parseFormat(std::string_view text);
uint32_t parseUsage(std::string_view text);
int32_t parseDataspace(std::string_view text);

// Whether `text` is meant as a number rather than a name.
bool looksLikeNumber(std::string_view text);

}  // namespace grallocinfo
