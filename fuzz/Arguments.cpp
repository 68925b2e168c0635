// The words of the tool's command line. What is understood is understood again from its number.
#include "tools/grallocinfo/Arguments.h"

#include <cstdlib>
#include <string>

#include "tools/grallocinfo/Failure.h"

using namespace grallocinfo;

namespace {

void require(bool promise) {
    if (!promise) {
        abort();
    }
}

template <typename Parse>
void readTwice(Parse parse, std::string_view word) {
    try {
        const auto value = parse(word);
        require(parse(hex(static_cast<int32_t>(value))) == value);
    } catch (const Failure& failure) {
        require(failure.exit == ExitCode::kUnusableArguments && !failure.message.empty());
        // One line, whatever was typed.
        for (const char character : failure.message) {
            require(static_cast<unsigned char>(character) >= ' ');
        }
    }
}

void readSize(std::string_view word) {
    try {
        const Size size = parseSize(word);
        require(size.width >= 1 && size.height >= 1);
    } catch (const Failure& failure) {
        require(failure.exit == ExitCode::kUnusableArguments && !failure.message.empty());
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view word(reinterpret_cast<const char*>(data), size);
    looksLikeNumber(word);
    readSize(word);
    readTwice(parseFormat, word);
    readTwice(parseUsage, word);
    readTwice(parseDataspace, word);
    return 0;
}
