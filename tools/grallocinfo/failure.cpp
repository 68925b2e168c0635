#include "tools/grallocinfo/failure.h"

#include <cstdio>
#include <cstring>

namespace grallocinfo {

namespace {

constexpr size_t kQuotedCharacters = 60;

bool isControl(unsigned char character) {
    return character < 0x20 || character == 0x7F;
}

}  // namespace

Failure unusable(std::string message) {
    return {ExitCode::kUnusableArguments, "UNUSABLE_ARGUMENTS", std::nullopt, std::move(message)};
}

Failure systemFailure(const std::string& what, int error) {
    return {ExitCode::kLibraryFailure, "SYSTEM_FAILURE", -error, what + ": " + strerror(error)};
}

std::string inQuotes(std::string_view text) {
    std::string result = "'";
    for (const unsigned char character : text.substr(0, kQuotedCharacters)) {
        char escape[8];
        snprintf(escape, sizeof(escape), isControl(character) ? "\\x%02x" : "%c", character);
        result += escape;
    }
    return result + (text.size() > kQuotedCharacters ? "...'" : "'");
}

std::string hex(uint64_t value) {
    char text[24];
    snprintf(text, sizeof(text), "0x%llx", static_cast<unsigned long long>(value));
    return text;
}

std::string hex(int32_t code) {
    return hex(uint64_t{static_cast<uint32_t>(code)});
}

}  // namespace grallocinfo
