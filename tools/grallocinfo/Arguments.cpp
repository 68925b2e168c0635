#include "tools/grallocinfo/Arguments.h"

#include <charconv>
#include <limits>

#include "tools/grallocinfo/Failure.h"
#include "tools/grallocinfo/Names.h"

namespace grallocinfo {

namespace {

constexpr char kSizeExpected[] = "expected WIDTHxHEIGHT, two decimal numbers from 1 to 2147483647";
constexpr char kFormatExpected[] =
        "expected a number from 0 to 0xffffffff or a name that 'grallocinfo formats' lists";
constexpr char kUsageExpected[] =
        "expected a number from 0 to 0xffffffff or names joined by '|', such as "
        "SW_READ_OFTEN|HW_CAMERA_WRITE";
constexpr char kDataspaceExpected[] =
        "expected a number of 32 bits or names joined by '|', such as V0_JFIF or "
        "STANDARD_BT2020|TRANSFER_HLG|RANGE_FULL";

bool isDigit(char character) {
    return character >= '0' && character <= '9';
}

// Digits of one base and nothing else, up to 64 bits.
std::optional<uint64_t> digits(std::string_view text, int base) {
    uint64_t value = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value, base);
    return error == std::errc() && stop == end ? std::optional(value) : std::nullopt;
}

// Decimal or 0x, up to 32 bits.
std::optional<uint32_t> number(std::string_view text) {
    const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
    const auto value = hexadecimal ? digits(text.substr(2), 16) : digits(text, 10);
    return value && *value <= std::numeric_limits<uint32_t>::max()
                   ? std::optional(static_cast<uint32_t>(*value))
                   : std::nullopt;
}

std::optional<int32_t> length(std::string_view text) {
    const auto value = digits(text, 10);
    return value && *value >= 1 && *value <= std::numeric_limits<int32_t>::max()
                   ? std::optional(static_cast<int32_t>(*value))
                   : std::nullopt;
}

std::optional<int32_t> negative(std::string_view text) {
    const auto value = text.starts_with('-') ? number(text.substr(1)) : std::nullopt;
    return value && *value <= 0x80000000u ? std::optional(static_cast<int32_t>(0u - *value))
                                          : std::nullopt;
}

// The bits of all words of "A|B|C" together; `valueOf` gives those of one word.
template <typename ValueOf>
std::optional<uint32_t> joined(std::string_view text, ValueOf valueOf) {
    uint32_t bits = 0;
    for (bool more = true; more;) {
        const size_t bar = text.find('|');
        more = bar != std::string_view::npos;
        const auto value = valueOf(text.substr(0, bar));
        if (!value) {
            return std::nullopt;
        }
        bits |= static_cast<uint32_t>(*value);
        text.remove_prefix(more ? bar + 1 : text.size());
    }
    return bits;
}

template <typename Value>
Value orFail(std::optional<Value> value, const char* what, std::string_view text,
             const char* expected) {
    if (!value) {
        throw unusable(std::string(what) + " " + inQuotes(text) + " is not usable: " + expected);
    }
    return *value;
}

}  // namespace

bool looksLikeNumber(std::string_view text) {
    return !text.empty() && (isDigit(text[0]) || text[0] == '-') &&
           text.find('|') == std::string_view::npos;
}

Size parseSize(std::string_view text) {
    const size_t cross = text.find('x');
    const auto width = length(text.substr(0, cross));
    const auto height = cross == std::string_view::npos ? std::optional<int32_t>()
                                                        : length(text.substr(cross + 1));
    return {orFail(height ? width : std::nullopt, "size", text, kSizeExpected), height.value_or(0)};
}

int32_t parseFormat(std::string_view text) {
    auto code = number(text);
    if (!code) {
        code = formatOfName(text);
    }
    return static_cast<int32_t>(orFail(code, "pixel format", text, kFormatExpected));
}

uint32_t parseUsage(std::string_view text) {
    const auto bits = joined(text, [](std::string_view word) {
        const auto value = number(word);
        return value ? value : usageOfName(word);
    });
    return orFail(bits, "usage", text, kUsageExpected);
}

int32_t parseDataspace(std::string_view text) {
    const auto bits = joined(text, [](std::string_view word) -> std::optional<int32_t> {
        if (const auto value = number(word)) {
            return static_cast<int32_t>(*value);
        }
        const auto value = negative(word);
        return value ? value : dataspaceOfName(word);
    });
    return static_cast<int32_t>(orFail(bits, "dataspace", text, kDataspaceExpected));
}

}  // namespace grallocinfo
