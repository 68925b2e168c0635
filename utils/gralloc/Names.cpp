#include "utils/gralloc/Names.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <utility>

#include "utils/gralloc/NameTables.h"

namespace NSCam::gralloc {

using android::String8;

namespace {

// A text that is known before the program runs. `text` has one size for all of a table: copying it
// whole is a copy of constant length, of which only `length` characters count.
template <size_t Size>
struct Piece {
    std::array<char, Size> text{};
    size_t length = 0;

    constexpr void append(std::string_view more) {
        std::copy(more.begin(), more.end(), text.begin() + length);
        length += more.size();
    }
};

template <typename Row, size_t Rows>
constexpr size_t longestName(const std::array<Row, Rows>& table) {
    size_t longest = 0;
    for (const Row& row : table) {
        longest = std::max(longest, row.name.size());
    }
    return longest;
}

// The names of a table, each behind what separates it from the text before it.
template <const auto& kTable>
constexpr auto kPieces = [] {
    std::array<Piece<1 + longestName(kTable)>, kTable.size()> pieces;
    for (size_t row = 0; row < kTable.size(); ++row) {
        pieces[row].append("|");
        pieces[row].append(kTable[row].name);
    }
    return pieces;
}();

template <const auto& kTable>
constexpr size_t kLongestPiece = sizeof(kPieces<kTable>[0].text);

template <const auto& kTable>
constexpr std::string_view pieceOf(int32_t code) {
    const size_t row = CodeIndex<kTable>::rowOf(code);
    if (row == kTable.size()) {
        return {};
    }
    return {kPieces<kTable>[row].text.data(), kPieces<kTable>[row].length};
}

constexpr size_t kLongestFields = kLongestPiece<kDataspaceStandardNames> +
                                  kLongestPiece<kDataspaceTransferNames> +
                                  kLongestPiece<kDataspaceRangeNames>;

// The whole texts of the dataspaces that have a name: their codes determine the fields as well.
constexpr auto kCombinedTexts = [] {
    std::array<Piece<longestName(kCombinedDataspaceNames) + kLongestFields>,
               kCombinedDataspaceNames.size()>
            texts;
    for (size_t row = 0; row < texts.size(); ++row) {
        const auto& [code, name] = kCombinedDataspaceNames[row];
        texts[row].append(name);
        texts[row].append(pieceOf<kDataspaceStandardNames>(code & kDataspaceStandardMask));
        texts[row].append(pieceOf<kDataspaceTransferNames>(code & kDataspaceTransferMask));
        texts[row].append(pieceOf<kDataspaceRangeNames>(code & kDataspaceRangeMask));
    }
    return texts;
}();

// The other texts are put together on the stack, so that the String8 made of one allocates once.
// Each of these puts something at `end` and answers the new end: a position that lived in an object
// beside the text would go through memory for every piece.

// As "%#x" prints it: for codes other than 0.
char* appendHex(char* end, int32_t code) {
    *end++ = '0';
    *end++ = 'x';
    return std::to_chars(end, end + 8, static_cast<uint32_t>(code), 16).ptr;
}

template <const auto& kTable, size_t kRow>
char* appendUsageName(char* end, uint32_t usage) {
    constexpr size_t length = kPieces<kTable>[kRow].length;
    if ((usage & kTable[kRow].mask) != kTable[kRow].value) {
        return end;
    }
    memcpy(end, kPieces<kTable>[kRow].text.data(), length);
    return end + length;
}

// Unrolled, so that every length is a constant.
template <const auto& kTable>
char* appendUsageNames(char* end, uint32_t usage) {
    [&]<size_t... kRow>(std::index_sequence<kRow...>) {
        ((end = appendUsageName<kTable, kRow>(end, usage)), ...);
    }(std::make_index_sequence<kTable.size()>());
    return end;
}

// Nothing for a code without a name.
template <const auto& kTable>
char* appendName(char* end, int32_t code) {
    const size_t row = CodeIndex<kTable>::rowOf(code);
    if (row == kTable.size()) {
        return end;
    }
    const auto& piece = kPieces<kTable>[row];
    memcpy(end, piece.text.data(), sizeof(piece.text));
    return end + piece.length;
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
    const size_t row = CodeIndex<kPixelFormatNames>::rowOf(format);
    return row == kPixelFormatNames.size() ? String8() : kPixelFormatNameGetters[row]();
}

String8 gQueryGrallocUsageName(int usage) {
    const auto bits = static_cast<uint32_t>(usage);
    char text[1 + kUsageFieldNames.size() * kLongestPiece<kUsageFieldNames> +
              kHardwareUsageNames.size() * kLongestPiece<kHardwareUsageNames>];
    char* end = text;
    *end++ = '0';
    end = appendUsageNames<kUsageFieldNames>(end, bits);
    if ((bits & kHardwareUsageMask) != 0) {
        end = appendUsageNames<kHardwareUsageNames>(end, bits);
    }
    return String8(text, static_cast<size_t>(end - text));
}

String8 gQueryDataspaceName(int dataspace) {
    if (const CodeName* legacy = findCode<kLegacyDataspaceNames>(dataspace)) {
        return String8(legacy->name.data(), legacy->name.size());
    }

    const size_t combined = CodeIndex<kCombinedDataspaceNames>::rowOf(dataspace);
    if (combined < kCombinedTexts.size()) {
        return String8(kCombinedTexts[combined].text.data(), kCombinedTexts[combined].length);
    }

    char text[sizeof("0xffffffff") + kLongestFields];
    char* end = appendHex(text, dataspace);
    end = appendName<kDataspaceStandardNames>(end, dataspace & kDataspaceStandardMask);
    end = appendName<kDataspaceTransferNames>(end, dataspace & kDataspaceTransferMask);
    end = appendName<kDataspaceRangeNames>(end, dataspace & kDataspaceRangeMask);
    return String8(text, static_cast<size_t>(end - text));
}

}  // namespace NSCam::gralloc
