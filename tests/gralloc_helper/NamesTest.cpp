// The three name tables, whole: what the log's readers and other modules go by.
#include <array>

#include "tests/gralloc_helper/HelperTest.h"

namespace zelkcam::test {

namespace {

class NamesTest : public HelperTest {
  protected:
    std::string format(int code) { return helper->queryPixelFormatName(code).c_str(); }
    std::string usage(uint32_t bits) {
        return helper->queryGrallocUsageName(static_cast<int>(bits)).c_str();
    }
    std::string dataspace(uint32_t code) {
        return helper->queryDataspaceName(static_cast<int>(code)).c_str();
    }
};

struct Name {
    uint32_t code;
    const char* name;
};

constexpr Name kFormats[] = {
        {0x1, "RGBA_8888"},
        {0x2, "RGBX_8888"},
        {0x3, "RGB_888"},
        {0x4, "RGB_565"},
        {0x5, "BGRA_8888"},
        {0x10, "YCbCr_422_SP"},
        {0x11, "YCrCb_420_SP"},
        {0x14, "YCbCr_422_I"},
        {0x20, "RAW16"},
        {0x21, "BLOB"},
        {0x22, "IMPLEMENTATION_DEFINED"},
        {0x23, "YCbCr_420_888"},
        {0x24, "RAW_OPAQUE"},
        {0x25, "RAW10"},
        {0x36, "YCBCR_P010"},
        {0x111, "CAMERA_OPAQUE"},
        {0x1000, "NV12"},
        {0x20203859, "Y8"},
        {0x20363159, "Y16"},
        {0x32315659, "YV12"},
};

TEST_F(NamesTest, PixelFormatsAreNamedByTheTableAndByNothingElse) {
    std::map<int, std::string> expected;
    for (const Name& row : kFormats)
        expected[static_cast<int>(row.code)] = row.name;
    for (int code = -1; code < 0x2000; ++code)
        ASSERT_EQ(format(code), expected[code]) << std::hex << code;
    for (const Name& row : kFormats)
        for (const int distance : {-1, 0, 1})
            ASSERT_EQ(format(static_cast<int>(row.code) + distance),
                      expected[static_cast<int>(row.code) + distance]);
    EXPECT_EQ(format(INT32_MAX), "");
    EXPECT_EQ(format(INT32_MIN), "");
}

TEST_F(NamesTest, UsagesAreNamedInTheOrderOfTheTable) {
    constexpr Name kCases[] = {
            {0, "0"},
            {0x1, "0"},
            {0x2, "0|SW_READ_RARELY"},
            {0x3, "0|SW_READ_OFTEN"},
            {0xF, "0"},
            {0x10, "0"},
            {0x20, "0|SW_WRITE_RARELY"},
            {0x30, "0|SW_WRITE_OFTEN"},
            {0xF0, "0"},
            {0x20000, "0|HW_CAMERA_WRITE"},
            {0x40000, "0|HW_CAMERA_READ"},
            {0x60000, "0|HW_CAMERA_ZSL"},
            {0x100, "0|HW_TEXTURE"},
            {0x200, "0|HW_RENDER"},
            {0x400, "0|HW_2D"},
            {0x800, "0|HW_COMPOSER"},
            {0x1000, "0|HW_FB"},
            {0x10000, "0|HW_VIDEO_ENCODER"},
            {0x8000100, "0|HW_TEXTURE|HW_IMAGE_ENCODER"},
            {0x20020000, "0|HW_CAMERA_WRITE|SMVR"},
            {0x20033, "0|SW_READ_OFTEN|SW_WRITE_OFTEN|HW_CAMERA_WRITE"},
            {0x80004000, "0"},
            {0xFFFFFFFF,
             "0|HW_CAMERA_ZSL|HW_TEXTURE|HW_RENDER|HW_2D|HW_COMPOSER|HW_FB|HW_VIDEO_ENCODER"
             "|HW_IMAGE_ENCODER|SMVR"},
    };
    for (const Name& row : kCases)
        EXPECT_EQ(usage(row.code), row.name) << std::hex << row.code;
}

TEST_F(NamesTest, AUsageWhoseOnlyHardwareBitsAre27Or29PrintsNeitherOfThem) {
    EXPECT_EQ(usage(0x8000003), "0|SW_READ_OFTEN");
    EXPECT_EQ(usage(0x28000000), "0");
}

TEST_F(NamesTest, LegacyDataspacesAreBareNames) {
    constexpr Name kLegacy[] = {
            {0x0, "UNKNOWN"},
            {0x1, "ARBITRARY"},
            {0x101, "JFIF"},
            {0x102, "BT601_625"},
            {0x103, "BT601_525"},
            {0x104, "BT709"},
            {0x200, "SRGB_LINEAR"},
            {0x201, "SRGB"},
            {0x1000, "DEPTH"},
            {0x1001, "SENSOR"},
            {0x1003, "JPEG_APP_SEGMENTS"},
            {0x1004, "HEIF"},
            {0x1002, "0x1002"},
            {0x5, "0x5"},
            {0x105, "0x105"},
    };
    for (const Name& row : kLegacy)
        EXPECT_EQ(dataspace(row.code), row.name);
}

TEST_F(NamesTest, CombinedDataspacesAreTheNameAndItsFields) {
    constexpr Name kCombined[] = {
            {0x8410000, "V0_SRGB_LINEAR|STANDARD_BT709|TRANSFER_LINEAR|RANGE_FULL"},
            {0x8460000, "BT2020_LINEAR|STANDARD_BT2020|TRANSFER_LINEAR|RANGE_FULL"},
            {0x84A0000, "DCI_P3_LINEAR|STANDARD_DCI_P3|TRANSFER_LINEAR|RANGE_FULL"},
            {0x8810000, "V0_SRGB|STANDARD_BT709|TRANSFER_SRGB|RANGE_FULL"},
            {0x88A0000, "DISPLAY_P3|STANDARD_DCI_P3|TRANSFER_SRGB|RANGE_FULL"},
            {0x8C20000, "V0_JFIF|STANDARD_BT601_625|TRANSFER_SMPTE_170M|RANGE_FULL"},
            {0x8C60000, "BT2020|STANDARD_BT2020|TRANSFER_SMPTE_170M|RANGE_FULL"},
            {0x90B0000, "ADOBE_RGB|STANDARD_ADOBE_RGB|TRANSFER_GAMMA2_2|RANGE_FULL"},
            {0x94A0000, "DCI_P3|STANDARD_DCI_P3|TRANSFER_GAMMA2_6|RANGE_FULL"},
            {0x9C60000, "BT2020_PQ|STANDARD_BT2020|TRANSFER_ST2084|RANGE_FULL"},
            {0x10C10000, "V0_BT709|STANDARD_BT709|TRANSFER_SMPTE_170M|RANGE_LIMITED"},
            {0x10C20000, "V0_BT601_625|STANDARD_BT601_625|TRANSFER_SMPTE_170M|RANGE_LIMITED"},
            {0x10C40000, "V0_BT601_525|STANDARD_BT601_525|TRANSFER_SMPTE_170M|RANGE_LIMITED"},
            {0x18410000, "V0_SCRGB_LINEAR|STANDARD_BT709|TRANSFER_LINEAR|RANGE_EXTENDED"},
            {0x18810000, "V0_SCRGB|STANDARD_BT709|TRANSFER_SRGB|RANGE_EXTENDED"},
            {0x10C60000, "0x10c60000|STANDARD_BT2020|TRANSFER_SMPTE_170M|RANGE_LIMITED"},
            {0x8410001, "0x8410001|STANDARD_BT709|TRANSFER_LINEAR|RANGE_FULL"},
            {0xFFFFFFFF, "0xffffffff"},
            {0xC0010000, "0xc0010000|STANDARD_BT709"},
    };
    for (const Name& row : kCombined)
        EXPECT_EQ(dataspace(row.code), row.name);
}

TEST_F(NamesTest, EveryFieldOfAnUnnamedDataspaceIsNamed) {
    constexpr const char* kStandards[] = {"",
                                          "|STANDARD_BT709",
                                          "|STANDARD_BT601_625",
                                          "|STANDARD_BT601_625_UNADJUSTED",
                                          "|STANDARD_BT601_525",
                                          "|STANDARD_BT601_525_UNADJUSTED",
                                          "|STANDARD_BT2020",
                                          "|STANDARD_BT2020_CONSTANT_LUMINANCE",
                                          "|STANDARD_BT470M",
                                          "|STANDARD_FILM",
                                          "|STANDARD_DCI_P3",
                                          "|STANDARD_ADOBE_RGB"};
    constexpr const char* kTransfers[] = {"",
                                          "|TRANSFER_LINEAR",
                                          "|TRANSFER_SRGB",
                                          "|TRANSFER_SMPTE_170M",
                                          "|TRANSFER_GAMMA2_2",
                                          "|TRANSFER_GAMMA2_6",
                                          "|TRANSFER_GAMMA2_8",
                                          "|TRANSFER_ST2084",
                                          "|TRANSFER_HLG"};
    constexpr const char* kRanges[] = {"", "|RANGE_FULL", "|RANGE_LIMITED", "|RANGE_EXTENDED"};
    const auto at = [](auto& names, uint32_t i) {
        return std::string(i < std::size(names) ? names[i] : "");
    };
    // Bit 1 keeps the codes clear of the named ones.
    for (uint32_t i = 0; i < 64; ++i) {
        char hex[3][16];
        snprintf(hex[0], sizeof(hex[0]), "%#x", i << 16 | 2);
        snprintf(hex[1], sizeof(hex[1]), "%#x", i % 32 << 22 | 2);
        snprintf(hex[2], sizeof(hex[2]), "%#x", i % 8 << 27 | 2);
        EXPECT_EQ(dataspace(i << 16 | 2), hex[0] + at(kStandards, i));
        EXPECT_EQ(dataspace(i % 32 << 22 | 2), hex[1] + at(kTransfers, i % 32));
        EXPECT_EQ(dataspace(i % 8 << 27 | 2), hex[2] + at(kRanges, i % 8));
    }
}

}  // namespace

}  // namespace zelkcam::test
