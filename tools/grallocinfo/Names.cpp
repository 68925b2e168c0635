#include "tools/grallocinfo/Names.h"

#include <algorithm>
#include <array>
#include <numeric>

#include "utils/gralloc/NameTables.h"

namespace grallocinfo {

namespace {

// What is known of a code beyond its name. Aliases are separated by blanks.
struct Note {
    int64_t code;
    std::string_view fourcc;
    std::string_view aliases;
    std::string_view meaning;
};

constexpr Note kFormatNotes[] = {
        {0x1, "AB24", "", "red, green, blue, opacity; a byte each"},
        {0x2, "XB24", "", "red, green, blue, unused; a byte each"},
        {0x3, "BG24", "", "red, green, blue; a byte each"},
        {0x4, "RG16", "", "red, green, blue; 5, 6 and 5 bits of a word"},
        {0x5, "AR24", "", "blue, green, red, opacity; a byte each"},
        {0x10, "NV16", "", "Y, then Cb and Cr alternating; chroma shared by 2 pixels"},
        {0x11, "NV21", "", "Y, then Cr and Cb alternating; chroma shared by 2x2 pixels"},
        {0x14, "YUYV", "YUY2", "Y, Cb, Y, Cr in one plane; chroma shared by 2 pixels"},
        {0x20, "", "RAW_SENSOR", "sensor samples of 16 bits"},
        {0x21, "", "", "bytes without a picture's shape, such as JPEG files"},
        {0x22, "", "PRIVATE", "what the allocator chooses for the usage"},
        {0x23, "", "YUV_420_888", "an 8-bit YCbCr 4:2:0 format that the allocator chooses"},
        {0x24, "", "RAW_PRIVATE", "sensor samples in the vendor's own packing"},
        {0x25, "", "", "sensor samples of 10 bits, 4 in 5 bytes"},
        {0x36, "P010", "", "Y, then Cb and Cr alternating; 10 bits at the top of 16; 4:2:0"},
        {0x111, "", "", "the camera's own packing of sensor samples"},
        {0x1000, "NV12", "", "Y, then Cb and Cr alternating; chroma shared by 2x2 pixels"},
        {0x20203859, "", "GREY", "Y alone, 8 bits"},
        {0x20363159, "", "", "Y alone, 16 bits"},
        {0x32315659, "", "YVU420", "Y, Cr, Cb in planes of their own; chroma shared by 2x2 pixels"},
};

constexpr Note kUsageNotes[] = {
        {0x2, "", "CPU_READ_RARELY", "the processor reads, seldom"},
        {0x3, "", "CPU_READ_OFTEN", "the processor reads, often"},
        {0x20, "", "CPU_WRITE_RARELY", "the processor writes, seldom"},
        {0x30, "", "CPU_WRITE_OFTEN", "the processor writes, often"},
        {0x100, "", "GPU_TEXTURE", "the GPU samples from it"},
        {0x200, "", "GPU_RENDER_TARGET", "the GPU draws into it"},
        {0x400, "", "", "a 2D engine uses it"},
        {0x800, "", "COMPOSER_OVERLAY", "the display's composer shows it as a layer"},
        {0x1000, "", "COMPOSER_CLIENT_TARGET", "the display's frame"},
        {0x4000, "", "PROTECTED", "protected content, which the processor cannot read"},
        {0x10000, "", "VIDEO_ENCODER", "the video encoder reads it"},
        {0x20000, "", "CAMERA_OUTPUT", "the camera writes it"},
        {0x40000, "", "CAMERA_INPUT", "the camera reads it"},
        {0x60000, "", "", "the camera writes and reads it: zero shutter lag"},
        {0x8000000, "", "", "an image encoder reads it; named beside another hardware bit only"},
        {0x20000000, "", "", "slow-motion video; named beside another hardware bit only"},
};

template <size_t kRows>
const Note* noteOf(const Note (&notes)[kRows], int64_t code) {
    const auto* const note = std::find_if(std::begin(notes), std::end(notes),
                                          [=](const Note& row) { return row.code == code; });
    return note == std::end(notes) ? nullptr : note;
}

std::vector<std::string_view> wordsOf(std::string_view text) {
    std::vector<std::string_view> words;
    while (!text.empty()) {
        const size_t blank = std::min(text.find(' '), text.size());
        words.push_back(text.substr(0, blank));
        text.remove_prefix(std::min(blank + 1, text.size()));
    }
    return words;
}

NamedCode described(uint32_t code, std::string_view name, const Note* note) {
    return note ? NamedCode{code, name, note->fourcc, wordsOf(note->aliases), note->meaning}
                : NamedCode{code, name, {}, {}, {}};
}

std::vector<NamedCode> formats() {
    std::vector<NamedCode> codes;
    codes.reserve(NSCam::gralloc::kPixelFormatNames.size());
    for (const auto& [code, name] : NSCam::gralloc::kPixelFormatNames) {
        codes.push_back(described(static_cast<uint32_t>(code), name, noteOf(kFormatNotes, code)));
    }
    return codes;
}

std::vector<NamedCode> usages() {
    std::vector<NamedCode> codes;
    const auto add = [&](const auto& table) {
        for (const auto& row : table) {
            codes.push_back(described(row.value, row.name, noteOf(kUsageNotes, row.value)));
        }
    };
    add(NSCam::gralloc::kUsageFieldNames);
    add(NSCam::gralloc::kHardwareUsageNames);
    constexpr uint32_t kProtected = 0x4000;
    codes.push_back(described(kProtected, "", noteOf(kUsageNotes, kProtected)));
    return codes;
}

std::vector<NamedCode> dataspaces() {
    using namespace NSCam::gralloc;
    std::vector<NamedCode> codes;
    const auto add = [&](const auto& table, std::string_view meaning) {
        for (const auto& [code, name] : table) {
            codes.push_back({static_cast<uint32_t>(code), name, {}, {}, meaning});
        }
    };
    add(kCombinedDataspaceNames, "whole: standard, transfer and range");
    add(kLegacyDataspaceNames, "whole, a legacy code");
    add(kDataspaceStandardNames, "primaries and matrix");
    add(kDataspaceTransferNames, "transfer function");
    add(kDataspaceRangeNames, "range");
    return codes;
}

constexpr std::string_view kPrefixes[] = {"HAL_PIXEL_FORMAT_", "GRALLOC_USAGE_", "HAL_DATASPACE_"};

char lower(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

bool isSame(std::string_view left, std::string_view right) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](char a, char b) { return lower(a) == lower(b); });
}

std::string_view withoutPrefix(CodeKind kind, std::string_view name) {
    const std::string_view prefix = kPrefixes[static_cast<size_t>(kind)];
    return name.size() > prefix.size() && isSame(name.substr(0, prefix.size()), prefix)
                   ? name.substr(prefix.size())
                   : name;
}

// Every name that is read as `code`, the library's first.
std::vector<std::string_view> allNamesOf(const NamedCode& code) {
    std::vector<std::string_view> names{code.name, code.fourcc};
    names.insert(names.end(), code.aliases.begin(), code.aliases.end());
    return names;
}

// How many letters have to be put in, taken out or exchanged to make `to` of `from`.
size_t slips(std::string_view from, std::string_view to) {
    std::vector<size_t> row(to.size() + 1);
    std::iota(row.begin(), row.end(), size_t{0});
    for (size_t i = 0; i < from.size(); ++i) {
        size_t diagonal = row[0]++;
        for (size_t j = 0; j < to.size(); ++j) {
            const size_t exchanged = diagonal + (lower(from[i]) == lower(to[j]) ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({exchanged, row[j] + 1, row[j + 1] + 1});
        }
    }
    return row.back();
}

}  // namespace

const std::vector<NamedCode>& namedCodes(CodeKind kind) {
    static const std::array<std::vector<NamedCode>, 3> kCodes{formats(), usages(), dataspaces()};
    return kCodes[static_cast<size_t>(kind)];
}

std::optional<uint32_t> codeOfName(CodeKind kind, std::string_view name) {
    const std::string_view bare = withoutPrefix(kind, name);
    for (const NamedCode& code : namedCodes(kind)) {
        for (const std::string_view known : allNamesOf(code)) {
            if (!known.empty() && isSame(known, bare)) {
                return code.code;
            }
        }
    }
    return std::nullopt;
}

std::string_view nearestName(CodeKind kind, std::string_view name) {
    constexpr size_t kLongestName = 64;
    const std::string_view bare = withoutPrefix(kind, name);
    if (bare.size() > kLongestName) {
        return {};
    }
    std::string_view nearest;
    size_t fewest = std::max<size_t>(1, bare.size() / 3) + 1;
    const auto consider = [&](std::string_view known) {
        const size_t count = known.empty() ? fewest : slips(bare, known);
        if (count < fewest) {
            fewest = count;
            nearest = known;
        }
    };
    // Of two that are as near, the library's own name.
    for (const NamedCode& code : namedCodes(kind)) {
        consider(code.name);
    }
    for (const NamedCode& code : namedCodes(kind)) {
        std::ranges::for_each(allNamesOf(code), consider);
    }
    return nearest;
}

}  // namespace grallocinfo
