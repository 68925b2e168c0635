// The words of the tool's command line. What is understood is understood again from its number.
#include "tools/grallocinfo/Arguments.h"

#include <algorithm>
#include <string>

#include "fuzz/Fuzz.h"
#include "tools/grallocinfo/Failure.h"

using namespace grallocinfo;
using zelkcam::fuzz::require;

namespace {

// A word is understood, or refused in one line.
template <typename Understand>
void read(Understand understand) {
    try {
        understand();
    } catch (const Failure& failure) {
        require(failure.exit == ExitCode::kUnusableArguments && !failure.message.empty());
        require(std::ranges::all_of(failure.message, [](unsigned char c) { return c >= ' '; }));
    }
}

template <typename Parse>
void readTwice(Parse parse, std::string_view word) {
    read([&] {
        const auto value = parse(word);
        require(parse(hex(static_cast<int32_t>(value))) == value);
    });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view word(reinterpret_cast<const char*>(data), size);
    looksLikeNumber(word);
    read([&] {
        const Size parsed = parseSize(word);
        require(parsed.width >= 1 && parsed.height >= 1);
    });
    readTwice(parseFormat, word);
    readTwice(parseUsage, word);
    readTwice(parseDataspace, word);
    return 0;
}
