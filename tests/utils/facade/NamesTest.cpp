// The three name tables, whole: what the log's readers and other modules go by.
#include <sstream>

#include "tests/support/Fixtures.h"

namespace zelkcam::test {

namespace {

// "code text code text ...", codes in hexadecimal.
std::map<uint32_t, std::string> table(const char* text) {
    std::map<uint32_t, std::string> rows;
    std::istringstream words(text);
    uint32_t code = 0;
    for (std::string name; words >> std::hex >> code >> name;) {
        rows[code] = name;
    }
    return rows;
}

class NamesTest : public HelperTest {
  protected:
    std::string format(uint32_t code) {
        return helper->queryPixelFormatName(static_cast<int>(code)).c_str();
    }
    std::string usage(uint32_t bits) {
        return helper->queryGrallocUsageName(static_cast<int>(bits)).c_str();
    }
    std::string dataspace(uint32_t code) {
        return helper->queryDataspaceName(static_cast<int>(code)).c_str();
    }
};

TEST_F(NamesTest, PixelFormatsAreNamedByTheTableAndByNothingElse) {
    auto expected = table(R"(1 RGBA_8888 2 RGBX_8888 3 RGB_888 4 RGB_565 5 BGRA_8888
            10 YCbCr_422_SP 11 YCrCb_420_SP 14 YCbCr_422_I 20 RAW16 21 BLOB
            22 IMPLEMENTATION_DEFINED 23 YCbCr_420_888 24 RAW_OPAQUE 25 RAW10 36 YCBCR_P010
            111 CAMERA_OPAQUE 1000 NV12 20203859 Y8 20363159 Y16 32315659 YV12)");
    ASSERT_EQ(expected.size(), 20u);
    for (const uint32_t block : {0u, 0x20203000u, 0x20363000u, 0x32315000u, 0x7FFFF000u, ~0xFFFu}) {
        for (uint32_t code = block; code - block < 0x1800; ++code) {
            ASSERT_EQ(format(code), expected[code]) << std::hex << code;
        }
    }
}

// Bits 27 and 29 are not named on their own, only beside another hardware bit.
TEST_F(NamesTest, UsagesAreNamedInTheOrderOfTheTable) {
    const auto cases = table(R"(0 0 1 0 2 0|SW_READ_RARELY 3 0|SW_READ_OFTEN f 0 10 0
            20 0|SW_WRITE_RARELY 30 0|SW_WRITE_OFTEN f0 0 20000 0|HW_CAMERA_WRITE
            40000 0|HW_CAMERA_READ 60000 0|HW_CAMERA_ZSL 100 0|HW_TEXTURE 200 0|HW_RENDER
            400 0|HW_2D 800 0|HW_COMPOSER 1000 0|HW_FB 10000 0|HW_VIDEO_ENCODER
            8000100 0|HW_TEXTURE|HW_IMAGE_ENCODER 20020000 0|HW_CAMERA_WRITE|SMVR 80004000 0
            8000003 0|SW_READ_OFTEN 28000000 0
            20033 0|SW_READ_OFTEN|SW_WRITE_OFTEN|HW_CAMERA_WRITE ffffffff 0|HW_CAMERA_ZSL)"
                             "|HW_TEXTURE|HW_RENDER|HW_2D|HW_COMPOSER|HW_FB|HW_VIDEO_ENCODER"
                             "|HW_IMAGE_ENCODER|SMVR");
    for (const auto& [bits, name] : cases) {
        EXPECT_EQ(usage(bits), name) << std::hex << bits;
    }
}

TEST_F(NamesTest, DataspacesAreBareOrFollowedByTheirFields) {
    const auto cases = table(R"(0 UNKNOWN 1 ARBITRARY 101 JFIF 102 BT601_625 103 BT601_525
            104 BT709 200 SRGB_LINEAR 201 SRGB 1000 DEPTH 1001 SENSOR 1003 JPEG_APP_SEGMENTS
            1004 HEIF 1002 0x1002 5 0x5 105 0x105
            8410000 V0_SRGB_LINEAR|STANDARD_BT709|TRANSFER_LINEAR|RANGE_FULL
            8460000 BT2020_LINEAR|STANDARD_BT2020|TRANSFER_LINEAR|RANGE_FULL
            84a0000 DCI_P3_LINEAR|STANDARD_DCI_P3|TRANSFER_LINEAR|RANGE_FULL
            8810000 V0_SRGB|STANDARD_BT709|TRANSFER_SRGB|RANGE_FULL
            88a0000 DISPLAY_P3|STANDARD_DCI_P3|TRANSFER_SRGB|RANGE_FULL
            8c20000 V0_JFIF|STANDARD_BT601_625|TRANSFER_SMPTE_170M|RANGE_FULL
            8c60000 BT2020|STANDARD_BT2020|TRANSFER_SMPTE_170M|RANGE_FULL
            90b0000 ADOBE_RGB|STANDARD_ADOBE_RGB|TRANSFER_GAMMA2_2|RANGE_FULL
            94a0000 DCI_P3|STANDARD_DCI_P3|TRANSFER_GAMMA2_6|RANGE_FULL
            9c60000 BT2020_PQ|STANDARD_BT2020|TRANSFER_ST2084|RANGE_FULL
            10c10000 V0_BT709|STANDARD_BT709|TRANSFER_SMPTE_170M|RANGE_LIMITED
            10c20000 V0_BT601_625|STANDARD_BT601_625|TRANSFER_SMPTE_170M|RANGE_LIMITED
            10c40000 V0_BT601_525|STANDARD_BT601_525|TRANSFER_SMPTE_170M|RANGE_LIMITED
            18410000 V0_SCRGB_LINEAR|STANDARD_BT709|TRANSFER_LINEAR|RANGE_EXTENDED
            18810000 V0_SCRGB|STANDARD_BT709|TRANSFER_SRGB|RANGE_EXTENDED
            10c60000 0x10c60000|STANDARD_BT2020|TRANSFER_SMPTE_170M|RANGE_LIMITED
            8410001 0x8410001|STANDARD_BT709|TRANSFER_LINEAR|RANGE_FULL
            ffffffff 0xffffffff c0010000 0xc0010000|STANDARD_BT709
            30000 0x30000|STANDARD_BT601_625_UNADJUSTED
            50000 0x50000|STANDARD_BT601_525_UNADJUSTED
            70000 0x70000|STANDARD_BT2020_CONSTANT_LUMINANCE
            80000 0x80000|STANDARD_BT470M 90000 0x90000|STANDARD_FILM
            c0000 0xc0000 200000 0x200000 3f0000 0x3f0000
            1800000 0x1800000|TRANSFER_GAMMA2_8 2000000 0x2000000|TRANSFER_HLG
            2400000 0x2400000 4000000 0x4000000 20000000 0x20000000)");
    ASSERT_EQ(cases.size(), 47u);
    for (const auto& [code, name] : cases) {
        EXPECT_EQ(dataspace(code), name);
    }
}

}  // namespace

}  // namespace zelkcam::test
