#include "tools/grallocinfo/Failure.h"

#include <charconv>
#include <cstring>
#include <iterator>

namespace grallocinfo {

namespace {

constexpr size_t kQuotedCharacters = 60;

bool isControl(char character) {
    const auto code = static_cast<unsigned char>(character);
    return code < 0x20 || code == 0x7F;
}

std::string escaped(char character) {
    constexpr char kDigits[] = "0123456789abcdef";
    const auto code = static_cast<unsigned char>(character);
    return {'\\', 'x', kDigits[code >> 4], kDigits[code & 0xF]};
}

}  // namespace

Failure unusable(std::string message) {
    return {ExitCode::kUnusableArguments, "UNUSABLE_ARGUMENTS", std::nullopt, std::move(message)};
}

Failure systemFailure(const std::string& what, int error) {
    return {ExitCode::kLibraryFailure, kSystemFailure, -error, what + ": " + strerror(error)};
}

std::string inQuotes(std::string_view text) {
    std::string result = "'";
    for (const char character : text.substr(0, kQuotedCharacters)) {
        result += isControl(character) ? escaped(character) : std::string(1, character);
    }
    return result + (text.size() > kQuotedCharacters ? "...'" : "'");
}

std::string hex(uint64_t value) {
    char digits[16];
    char* const end = std::to_chars(digits, std::end(digits), value, 16).ptr;
    return "0x" + std::string(digits, end);
}

std::string hex(int32_t code) {
    return hex(uint64_t{static_cast<uint32_t>(code)});
}

}  // namespace grallocinfo
