#include "utils/gralloc/Names.h"

#include <array>
#include <charconv>
#include <cstring>
#include <iterator>

#include "utils/gralloc/NameTables.h"

namespace NSCam::gralloc {

using android::String8;

namespace {

// Longer than any text of this file. Texts are put together on the stack, so that the String8 made
// of one allocates once. Each of these writes behind the first `length` characters, if there is
// room, and returns the new length.
using Text = char[256];

size_t append(Text& text, size_t length, std::string_view more) {
    if (more.size() > sizeof(text) - length) {
        return length;
    }
    memcpy(text + length, more.data(), more.size());
    return length + more.size();
}

// The same behind a separator.
size_t appendPart(Text& text, size_t length, std::string_view name) {
    if (length == sizeof(text)) {
        return length;
    }
    text[length] = '|';
    return append(text, length + 1, name);
}

// As "%#x" prints every code but 0.
size_t appendHex(Text& text, size_t length, int32_t code) {
    length = append(text, length, "0x");
    const auto bits = static_cast<uint32_t>(code);
    return static_cast<size_t>(std::to_chars(text + length, std::end(text), bits, 16).ptr - text);
}

template <size_t Rows>
size_t appendUsageNames(Text& text, size_t length, const std::array<UsageName, Rows>& table,
                        uint32_t usage) {
    for (const UsageName& row : table) {
        if ((usage & row.mask) == row.value) {
            length = appendPart(text, length, row.name);
        }
    }
    return length;
}

// Nothing for a value without a name. The tables of the fields hold their values from 1 on.
template <size_t Rows>
size_t appendField(Text& text, size_t length, const std::array<CodeName, Rows>& names,
                   int32_t field) {
    const auto value = static_cast<size_t>(field / names.front().code);
    return value < 1 || value > Rows ? length : appendPart(text, length, names[value - 1].name);
}

auto makePixelFormatNames() {
    std::array<String8, kPixelFormatNames.size()> names;
    for (size_t row = 0; row < names.size(); ++row) {
        names[row] = String8(kPixelFormatNames[row].name.data());
    }
    return names;
}

}  // namespace

String8 gQueryPixelFormatName(int format) {
    static const auto names = makePixelFormatNames();
    const CodeName* const row = findCode<kPixelFormatNames>(format);
    return row == nullptr ? String8() : names[static_cast<size_t>(row - kPixelFormatNames.data())];
}

String8 gQueryGrallocUsageName(int usage) {
    const auto bits = static_cast<uint32_t>(usage);
    Text text;
    size_t length = append(text, 0, "0");
    length = appendUsageNames(text, length, kUsageFieldNames, bits);
    if ((bits & kHardwareUsageMask) != 0) {
        length = appendUsageNames(text, length, kHardwareUsageNames, bits);
    }
    return String8(text, length);
}

String8 gQueryDataspaceName(int dataspace) {
    if (const CodeName* const legacy = findCode<kLegacyDataspaceNames>(dataspace)) {
        return String8(legacy->name.data(), legacy->name.size());
    }

    Text text;
    const CodeName* const combined = findCode<kCombinedDataspaceNames>(dataspace);
    size_t length =
            combined == nullptr ? appendHex(text, 0, dataspace) : append(text, 0, combined->name);
    length = appendField(text, length, kDataspaceStandardNames, dataspace & kDataspaceStandardMask);
    length = appendField(text, length, kDataspaceTransferNames, dataspace & kDataspaceTransferMask);
    length = appendField(text, length, kDataspaceRangeNames, dataspace & kDataspaceRangeMask);
    return String8(text, length);
}

}  // namespace NSCam::gralloc
