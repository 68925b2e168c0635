// The texts of codes, against copying or putting together the same text.
#include <charconv>
#include <cstring>
#include <string_view>

#include "bench/Compare.h"
#include "platform/utils.h"
#include "utils/gralloc/IGrallocHelper.h"

namespace zelkcam::bench {
namespace {

using android::String8;

using Query = String8 (NSCam::IGrallocHelper::*)(int) const;

template <Query kQuery>
auto query(int code) {
    return [code](auto&& measure) {
        const auto* const helper = NSCam::IGrallocHelper::singleton();
        measure([&] {
            const String8 name = (helper->*kQuery)(code);
            benchmark::DoNotOptimize(name.c_str());
        });
    };
}

void comparePixelFormat(int code) {
    const String8 name = NSCam::IGrallocHelper::singleton()->queryPixelFormatName(code);
    const auto copy = [name](auto&& measure) {
        measure([&] {
            const String8 copied(name);
            benchmark::DoNotOptimize(copied.c_str());
        });
    };
    compare(std::string("format_name/") + name.c_str(),
            query<&NSCam::IGrallocHelper::queryPixelFormatName>(code), copy);
}

// The floor of the built texts: every piece is known in advance, its length included.
class Text {
  public:
    template <size_t Size>
    void append(const char (&piece)[Size]) {
        memcpy(mText + mLength, piece, Size - 1);
        mLength += Size - 1;
    }

    template <size_t Size>
    void appendIf(bool wanted, const char (&piece)[Size]) {
        if (wanted) {
            append(piece);
        }
    }

    void appendHex(uint32_t code) {
        append("0x");
        mLength = static_cast<size_t>(
                std::to_chars(mText + mLength, mText + sizeof(mText), code, 16).ptr - mText);
    }

    String8 text() const { return String8(mText, mLength); }

  private:
    char mText[256];
    size_t mLength = 0;
};

constexpr int kEveryUsage = 0x28071F33;

// With the decisions that the text rests on, written out by hand.
String8 usageByItsBits(uint32_t usage) {
    Text text;
    text.append("0");
    text.appendIf((usage & 0xF) == 0x2, "|SW_READ_RARELY");
    text.appendIf((usage & 0xF) == 0x3, "|SW_READ_OFTEN");
    text.appendIf((usage & 0xF0) == 0x20, "|SW_WRITE_RARELY");
    text.appendIf((usage & 0xF0) == 0x30, "|SW_WRITE_OFTEN");
    text.appendIf((usage & 0x60000) == 0x20000, "|HW_CAMERA_WRITE");
    text.appendIf((usage & 0x60000) == 0x40000, "|HW_CAMERA_READ");
    text.appendIf((usage & 0x60000) == 0x60000, "|HW_CAMERA_ZSL");
    if ((usage & 0x71F00) == 0) {
        return text.text();
    }
    text.appendIf((usage & 0x100) != 0, "|HW_TEXTURE");
    text.appendIf((usage & 0x200) != 0, "|HW_RENDER");
    text.appendIf((usage & 0x400) != 0, "|HW_2D");
    text.appendIf((usage & 0x800) != 0, "|HW_COMPOSER");
    text.appendIf((usage & 0x1000) != 0, "|HW_FB");
    text.appendIf((usage & 0x10000) != 0, "|HW_VIDEO_ENCODER");
    text.appendIf((usage & 0x8000000) != 0, "|HW_IMAGE_ENCODER");
    text.appendIf((usage & 0x20000000) != 0, "|SMVR");
    return text.text();
}

String8 everyUsage() {
    uint32_t usage = kEveryUsage;
    benchmark::DoNotOptimize(usage);
    return usageByItsBits(usage);
}

String8 namedDataspace() {
    Text text;
    text.append("V0_JFIF");
    text.append("|STANDARD_BT601_625");
    text.append("|TRANSFER_SMPTE_170M");
    text.append("|RANGE_FULL");
    return text.text();
}

constexpr int kUnnamedDataspace = 0x10C60000;

String8 unnamedDataspace() {
    uint32_t code = kUnnamedDataspace;
    benchmark::DoNotOptimize(code);  // or the compiler prints it
    Text text;
    text.appendHex(code);
    text.append("|STANDARD_BT2020");
    text.append("|TRANSFER_SMPTE_170M");
    text.append("|RANGE_LIMITED");
    return text.text();
}

String8 legacyDataspace() {
    return String8("BT709", 5);
}

template <Query kQuery>
void compareBuilt(const char* row, int code, String8 (*build)()) {
    const auto floor = [=](auto&& measure) {
        if ((NSCam::IGrallocHelper::singleton()->*kQuery)(code) != build()) {
            giveUp("the floor of a name builds another text");
        }
        measure([&] {
            const String8 name = build();
            benchmark::DoNotOptimize(name.c_str());
        });
    };
    compare(row, query<kQuery>(code), floor);
}

}  // namespace

void registerNames() {
    for (const int code : {HAL_PIXEL_FORMAT_RGBA_8888, HAL_PIXEL_FORMAT_YCRCB_420_SP,
                           HAL_PIXEL_FORMAT_IMPLEMENTATION_DEFINED, HAL_PIXEL_FORMAT_YV12}) {
        comparePixelFormat(code);
    }
    using Helper = NSCam::IGrallocHelper;
    compareBuilt<&Helper::queryGrallocUsageName>("usage_name/all_bits", kEveryUsage, everyUsage);
    compareBuilt<&Helper::queryDataspaceName>("dataspace_name/named", 0x8C20000, namedDataspace);
    compareBuilt<&Helper::queryDataspaceName>("dataspace_name/unnamed", kUnnamedDataspace,
                                              unnamedDataspace);
    compareBuilt<&Helper::queryDataspaceName>("dataspace_name/legacy", 0x104, legacyDataspace);
}

}  // namespace zelkcam::bench
