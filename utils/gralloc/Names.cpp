#include "utils/gralloc/Names.h"

#include <cstdio>
#include <cstring>
#include <utility>

#include "utils/gralloc/NameTables.h"

namespace NSCam::gralloc {

using android::String8;

namespace {

template <typename Row, size_t Rows>
constexpr size_t joinedLength(const std::array<Row, Rows>& names) {
    size_t length = 0;
    for (const Row& row : names)
        length += 1 + row.name.size();
    return length;
}

template <typename Row, size_t Rows>
constexpr size_t longestName(const std::array<Row, Rows>& names) {
    size_t longest = 0;
    for (const Row& row : names)
        longest = std::max(longest, row.name.size());
    return longest;
}

// The longest texts: every usage name at once; a dataspace's name and one name of each field.
constexpr size_t kLongestUsage =
        1 + joinedLength(kUsageFieldNames) + joinedLength(kHardwareUsageNames);
constexpr size_t kLongestDataspace =
        longestName(kCombinedDataspaceNames) + 1 + longestName(kDataspaceStandardNames) + 1 +
        longestName(kDataspaceTransferNames) + 1 + longestName(kDataspaceRangeNames);

// A text put together on the stack, so that the String8 made of it allocates once.
class TextBuilder {
  public:
    void append(std::string_view text) {
        memcpy(mText + mLength, text.data(), text.size());
        mLength += text.size();
    }

    void appendName(std::string_view name) {
        mText[mLength++] = '|';
        append(name);
    }

    void appendHex(int32_t code) {
        mLength += static_cast<size_t>(snprintf(mText + mLength, sizeof(mText) - mLength, "%#x",
                                                static_cast<uint32_t>(code)));
    }

    String8 text() const { return String8(mText, mLength); }

  private:
    char mText[std::max(kLongestUsage, kLongestDataspace) + 1];
    size_t mLength = 0;
};

template <size_t Rows>
void appendUsageNames(TextBuilder& text, const std::array<UsageName, Rows>& names, uint32_t usage) {
    for (const UsageName& row : names)
        if ((usage & row.mask) == row.value)
            text.appendName(row.name);
}

template <size_t Rows>
void appendFieldName(TextBuilder& text, const std::array<CodeName, Rows>& names, int32_t field) {
    if (const CodeName* row = findCode(names, field))
        text.appendName(row->name);
}

template <size_t Row>
const String8& pixelFormatName() {
    static const String8 name(kPixelFormatNames[Row].name.data());
    return name;
}

template <size_t... Row>
constexpr auto pixelFormatNameGetters(std::index_sequence<Row...>) {
    return std::array{&pixelFormatName<Row>...};
}

constexpr auto kPixelFormatNameGetters =
        pixelFormatNameGetters(std::make_index_sequence<kPixelFormatNames.size()>());

}  // namespace

String8 gQueryPixelFormatName(int format) {
    const CodeName* const row = findCode(kPixelFormatNames, format);
    if (row == nullptr)
        return String8();
    return kPixelFormatNameGetters[static_cast<size_t>(row - kPixelFormatNames.data())]();
}

String8 gQueryGrallocUsageName(int usage) {
    const auto bits = static_cast<uint32_t>(usage);
    TextBuilder text;
    text.append("0");
    appendUsageNames(text, kUsageFieldNames, bits);
    if ((bits & kHardwareUsageMask) != 0)
        appendUsageNames(text, kHardwareUsageNames, bits);
    return text.text();
}

String8 gQueryDataspaceName(int dataspace) {
    if (const CodeName* legacy = findCode(kLegacyDataspaceNames, dataspace))
        return String8(legacy->name.data(), legacy->name.size());

    TextBuilder text;
    if (const auto* combined = findCode(kCombinedDataspaceNames, dataspace)) {
        text.append(combined->name);
        text.appendName(combined->standard);
    } else {
        text.appendHex(dataspace);
        appendFieldName(text, kDataspaceStandardNames, dataspace & kDataspaceStandardMask);
    }
    appendFieldName(text, kDataspaceTransferNames, dataspace & kDataspaceTransferMask);
    appendFieldName(text, kDataspaceRangeNames, dataspace & kDataspaceRangeMask);
    return text.text();
}

}  // namespace NSCam::gralloc
