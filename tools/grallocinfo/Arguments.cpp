#include "tools/grallocinfo/Arguments.h"

#include <algorithm>
#include <charconv>
#include <limits>

#include "tools/grallocinfo/Failure.h"
#include "tools/grallocinfo/Names.h"

namespace grallocinfo {

namespace {

constexpr char kSizeExpected[] = "expected WIDTHxHEIGHT, two decimal numbers from 1 to 2147483647";
constexpr char kFormatExpected[] =
        "expected a number from 0 to 0xffffffff or a name that 'grallocinfo list formats' shows";
constexpr char kUsageExpected[] =
        "expected a number from 0 to 0xffffffff or names joined by '|', such as "
        "SW_READ_OFTEN|HW_CAMERA_WRITE; 'grallocinfo list usages' shows them";
constexpr char kDataspaceExpected[] =
        "expected a number of 32 bits or names joined by '|', such as V0_JFIF or "
        "STANDARD_BT2020|TRANSFER_HLG|RANGE_FULL; 'grallocinfo list dataspaces' shows them";

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
std::optional<uint32_t> numberIn(std::string_view text) {
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

std::optional<uint32_t> negative(std::string_view text) {
    const auto value = text.starts_with('-') ? numberIn(text.substr(1)) : std::nullopt;
    return value && *value <= 0x80000000u ? std::optional(0u - *value) : std::nullopt;
}

// How the words of one kind of code are read, and what is printed about one that is not known.
struct WordRule {
    CodeKind kind;
    const char* what;
    const char* expected;
    bool mayBeNegative;
};

constexpr WordRule kFormatRule{CodeKind::kFormat, "pixel format", kFormatExpected, false};
constexpr WordRule kUsageRule{CodeKind::kUsage, "usage", kUsageExpected, false};
constexpr WordRule kDataspaceRule{CodeKind::kDataspace, "dataspace", kDataspaceExpected, true};

std::string_view withoutBlanks(std::string_view text) {
    const size_t begin = std::min(text.find_first_not_of(" \t"), text.size());
    return text.substr(begin, text.find_last_not_of(" \t") + 1 - begin);
}

Failure unknownWord(const WordRule& rule, std::string_view word) {
    const std::string_view nearest =
            looksLikeNumber(word) ? std::string_view() : nearestName(rule.kind, word);
    return unusable(std::string(rule.what) + " " + inQuotes(word) + " is not usable" +
                    (nearest.empty() ? "" : ", did you mean " + std::string(nearest) + "?") + ": " +
                    rule.expected);
}

uint32_t parseWord(const WordRule& rule, std::string_view word) {
    auto code = numberIn(word);
    if (!code && rule.mayBeNegative) {
        code = negative(word);
    }
    if (!code) {
        code = codeOfName(rule.kind, word);
    }
    if (!code) {
        throw unknownWord(rule, word);
    }
    return *code;
}

// The bits of all words of "A | B|C" together.
uint32_t parseWords(const WordRule& rule, std::string_view text) {
    uint32_t bits = 0;
    for (bool more = true; more;) {
        const size_t bar = text.find('|');
        more = bar != std::string_view::npos;
        bits |= parseWord(rule, withoutBlanks(text.substr(0, bar)));
        text.remove_prefix(more ? bar + 1 : text.size());
    }
    return bits;
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
    if (!width || !height) {
        throw unusable("size " + inQuotes(text) + " is not usable: " + kSizeExpected);
    }
    return {*width, *height};
}

int32_t parseFormat(std::string_view text) {
    return static_cast<int32_t>(parseWord(kFormatRule, withoutBlanks(text)));
}

uint32_t parseUsage(std::string_view text) {
    return parseWords(kUsageRule, text);
}

int32_t parseDataspace(std::string_view text) {
    return static_cast<int32_t>(parseWords(kDataspaceRule, text));
}

}  // namespace grallocinfo
