// The library's cache dump, read back from its log lines.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>

namespace grallocinfo {

// The two ends of an entry: what was asked for, and what the buffer was.
struct DumpedRecord {
    int32_t width = 0;
    int32_t height = 0;
    uint32_t usage = 0;
    std::string usageName;
    int32_t format = 0;
    std::string formatName;
};

struct DumpedTime {
    int64_t microseconds = 0;
};
struct DumpedRequest : DumpedRecord {};
struct DumpedAnswer : DumpedRecord {};
struct DumpedPlane {
    uint64_t index = 0;
    uint64_t sizeInBytes = 0;
    uint64_t rowStrideInBytes = 0;
};

// Longer lines are no dump of the library, whose names are short.
inline constexpr size_t kLongestDumpLine = 1024;

using DumpLine = std::variant<DumpedTime, DumpedRequest, DumpedAnswer, DumpedPlane>;

// What one line of a log tells of the cache, whichever logger wrote it; nothing for any other line.
std::optional<DumpLine> readDumpLine(const std::string& line);

}  // namespace grallocinfo
