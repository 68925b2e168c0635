#include "tools/grallocinfo/CacheDump.h"

#include <charconv>
#include <regex>

namespace grallocinfo {

namespace {

constexpr char kMarker[] = "[dump] ";

template <typename Value>
Value valueOf(const std::ssub_match& digits, int base = 10) {
    Value value{};
    const std::string text = digits.str();
    std::from_chars(text.data(), text.data() + text.size(), value, base);
    return value;
}

DumpedRecord recordOf(const std::smatch& match) {
    DumpedRecord record;
    record.width = valueOf<int32_t>(match[1]);
    record.height = valueOf<int32_t>(match[2]);
    record.usage = valueOf<uint32_t>(match[3], 16);
    record.usageName = match[4];
    record.format = static_cast<int32_t>(valueOf<uint32_t>(match[5], 16));
    record.formatName = match[6];
    return record;
}

}  // namespace

std::optional<DumpLine> readDumpLine(const std::string& line) {
    static const std::regex kTime(R"(!!!gralloc time: (-?\d+) us\s*)");
    static const std::regex kRecord(
            R"((-?\d+)x(-?\d+) usage:0x([0-9a-f]+)\(([^)]*)\) format:0x([0-9a-f]+)\(([^)]*)\)( -->)?\s*)");
    static const std::regex kPlane(R"(  \[(\d+)\] sizeInBytes:(\d+) rowStrideInBytes:(\d+)\s*)");
    const size_t marker = line.find(kMarker);
    if (marker == std::string::npos || line.size() > kLongestDumpLine) {
        return std::nullopt;
    }
    const std::string text = line.substr(marker + sizeof(kMarker) - 1);
    std::smatch match;
    if (std::regex_match(text, match, kTime)) {
        return DumpedTime{valueOf<int64_t>(match[1])};
    }
    if (std::regex_match(text, match, kPlane)) {
        return DumpedPlane{valueOf<uint64_t>(match[1]), valueOf<uint64_t>(match[2]),
                           valueOf<uint64_t>(match[3])};
    }
    if (!std::regex_match(text, match, kRecord)) {
        return std::nullopt;
    }
    if (match[7].matched) {
        return DumpedRequest{recordOf(match)};
    }
    return DumpedAnswer{recordOf(match)};
}

}  // namespace grallocinfo
