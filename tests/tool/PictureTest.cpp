// Drawings of a buffer's planes, and the pictures in its pixels.
#include <sys/mman.h>

#include <algorithm>
#include <cmath>
#include <regex>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tool/Tool.h"
#include "tools/grallocinfo/Geometry.h"
#include "tools/grallocinfo/Pixels.h"

namespace zelkcam::test {

namespace {

using namespace grallocinfo;
using testing::HasSubstr;
using testing::Not;

zcam::GrallocStaticInfo layoutOf(int32_t format, int32_t width, int32_t height,
                                 std::vector<zcam::GrallocStaticInfo::Plane> planes) {
    zcam::GrallocStaticInfo layout;
    layout.format = format;
    layout.widthInPixels = width;
    layout.heightInPixels = height;
    layout.planes = std::move(planes);
    return layout;
}

using Extent = std::pair<uint64_t, uint64_t>;  // bytes of a row, and rows

}  // namespace

// Planes with room for more in each direction, which the host's never have.
TEST(Drawing, TellsPaddingOfBothDirectionsFromThePicture) {
    const auto layout = layoutOf(0x36, 61, 47, {{1000 * 1000 + 1, 1000}, {500 * 500, 500}});
    const auto& planes = geometryOf(layout).planes;
    EXPECT_EQ(Extent(planes[0].pictureRowBytes, planes[0].pictureRows), Extent(122, 47));
    EXPECT_EQ(Extent(planes[0].stridePadding(), planes[0].verticalPadding()), Extent(878, 953));
    EXPECT_EQ(planes[0].tailBytes, 1u);
    EXPECT_EQ(planes[1].offset, 1000 * 1000 + 1u);
    EXPECT_EQ(Extent(planes[1].pictureRowBytes, planes[1].pictureRows), Extent(120, 23));
    EXPECT_FALSE(geometryOf(layoutOf(0x24, 61, 47, {{5000, 100}})).pictureKnown);
}

TEST(Drawing, KeepsWithinATerminalAndItsColoursOffOtherThings) {
    const Words draw{"query", "YV12", "1921x1083", "--draw"};
    constexpr char kEscape[] = "\033[";
    std::istringstream lines(runOnTerminal(draw, {"COLUMNS=60", "TERM=xterm", "NO_COLOR=1"}));
    for (std::string line; std::getline(lines, line);) {
        const auto characters = std::count_if(line.begin(), line.end(),
                                              [](char byte) { return (byte & 0xC0) != 0x80; });
        EXPECT_TRUE(line.find("█") == std::string::npos || characters <= 60 + 1) << line;
        EXPECT_THAT(line, Not(HasSubstr(kEscape)));
    }
    EXPECT_THAT(runTool(draw).out, Not(HasSubstr(kEscape)));
    EXPECT_THAT(runOnTerminal(draw, {"TERM=xterm", "NO_COLOR="}), HasSubstr(kEscape));
    EXPECT_THAT(runOnTerminal(draw, {"TERM=dumb", "NO_COLOR="}), Not(HasSubstr(kEscape)));
}

TEST(Drawing, ASizeOfOnePixelCanBeDrawn) {
    const ScratchFolder folder;
    for (const char* const format : {"YV12", "BLOB", "RAW_OPAQUE", "CAMERA_OPAQUE"}) {
        const Outcome outcome =
                runTool({"query", format, "1x1", "--draw", "--svg", folder / "p.svg"});
        EXPECT_EQ(outcome.status, 0) << format << outcome.err;
        EXPECT_THAT(contentsOf(folder / "p.svg"), testing::EndsWith("</svg>\n"));
    }
}

namespace {

// Bytes that end where a page begins that must not be touched.
class GuardedBytes {
  public:
    explicit GuardedBytes(size_t size) : mSize((size + kPage - 1) / kPage * kPage + kPage) {
        mPages = static_cast<uint8_t*>(
                mmap(nullptr, mSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        EXPECT_EQ(mprotect(mPages + mSize - kPage, kPage, PROT_NONE), 0);
        mBytes = mPages + mSize - kPage - size;
    }
    ~GuardedBytes() { munmap(mPages, mSize); }

    uint8_t* get() const { return mBytes; }

  private:
    static constexpr size_t kPage = 64 * 1024;  // as large as pages of any machine of ours
    const size_t mSize;
    uint8_t* mPages;
    uint8_t* mBytes;
};

// A picture written into planes that hold not a byte more than it needs, and read back.
Picture throughBuffer(const zcam::GrallocStaticInfo& layout, const Picture& drawn) {
    uint64_t size = 0;
    for (const auto& plane : layout.planes) {
        size += plane.sizeInBytes;
    }
    const GuardedBytes bytes(size);
    const LockedBuffer buffer{bytes.get(), size, layout};
    EXPECT_TRUE(holdsPicture(buffer));
    writePicture(buffer, drawn);
    return readPicture(buffer);
}

// Linear light of 16 bits as the sRGB level that it is shown as.
int levelOf(uint16_t light) {
    const double linear = light / 65535.0;
    const double level =
            linear <= 0.0031308 ? linear * 12.92 : 1.055 * std::pow(linear, 1 / 2.4) - 0.055;
    return static_cast<int>(std::lround(level * 255));
}

// The largest difference of any sample. Grey is compared with the drawing's grey.
int difference(const Picture& drawn, Picture& read) {
    const bool isGrey =
            read.samples() == Samples::kGrey8 || read.samples() == Samples::kLinearGrey16;
    const bool isWide =
            read.samples() == Samples::kLinearRgb16 || read.samples() == Samples::kLinearGrey16;
    int most = 0;
    for (uint32_t y = 0; y < drawn.height(); ++y) {
        for (uint32_t i = 0; i < drawn.width() * (isGrey ? 1 : 3); ++i) {
            const uint8_t* const colour = drawn.row(y) + (isGrey ? i * 3 : i);
            const int expected =
                    isGrey ? (299 * colour[0] + 587 * colour[1] + 114 * colour[2]) / 1000 : *colour;
            const int actual = isWide ? levelOf(read.row16(y)[i]) : read.row(y)[i];
            most = std::max(most, std::abs(expected - actual));
        }
    }
    return most;
}

}  // namespace

TEST(Pixels, APictureComesBackFromEveryFormatAtOddSizes) {
    constexpr uint64_t w = 321, h = 183, cw = w / 2, ch = h / 2;
    const std::pair<Samples, zcam::GrallocStaticInfo> kLayouts[] = {
            {Samples::kRgb8, layoutOf(0x1, w, h, {{w * 4 * h, w * 4}})},
            {Samples::kRgb8, layoutOf(0x3, w, h, {{w * 3 * h, w * 3}})},
            {Samples::kRgb8, layoutOf(0x5, w, h, {{w * 4 * h, w * 4}})},
            {Samples::kRgb8, layoutOf(0x10, w, h, {{w * h, w}, {w * h - 1, w}})},
            {Samples::kRgb8, layoutOf(0x11, w, h, {{w * h, w}, {w * ch - 1, w}})},
            {Samples::kRgb8, layoutOf(0x14, w, h, {{(w + 1) * 2 * h, (w + 1) * 2}})},
            {Samples::kLinearGrey16, layoutOf(0x20, w, h, {{w * 2 * h, w * 2}})},
            {Samples::kLinearGrey16, layoutOf(0x25, w, h, {{405 * h, 405}})},
            {Samples::kLinearGrey16, layoutOf(0x26, w, h, {{483 * h, 483}})},
            {Samples::kLinearRgb16,
             layoutOf(0x36, w, h, {{w * 2 * h, w * 2}, {w * 2 * ch - 2, w * 2}})},
            {Samples::kRgb8, layoutOf(0x1000, w, h, {{w * h, w}, {w * ch - 1, w}})},
            {Samples::kGrey8, layoutOf(0x20203859, w, h, {{w * h, w}})},
            {Samples::kRgb8,
             layoutOf(0x32315659, w, h, {{w * h, w}, {cw * ch, cw}, {cw * ch, cw}})},
    };
    const Picture drawn = drawPattern("ramp", w, h);
    for (auto [samples, layout] : kLayouts) {
        SCOPED_TRACE(layout.format);
        Picture read = throughBuffer(layout, drawn);
        EXPECT_EQ(read.samples(), samples);
        // What neighbours share of their chroma, and rounding.
        EXPECT_LE(difference(drawn, read), 6);
        std::vector<uint8_t> bytes(4 * w * h);
        layout.planes.back().sizeInBytes -= 1;
        EXPECT_FALSE(holdsPicture({bytes.data(), bytes.size(), layout}));
    }
}

TEST(Pixels, PackedSensorSamplesKeepTheirBits) {
    // Four samples: 1023, 0, 1, 512; two samples: 4095, 1.
    uint8_t raw10[] = {0xFF, 0x00, 0x00, 0x80, 0b00010011};
    uint8_t raw12[] = {0xFF, 0x00, 0x1F};
    Picture ten = readPicture({raw10, sizeof(raw10), layoutOf(0x25, 4, 1, {{5, 5}})});
    Picture twelve = readPicture({raw12, sizeof(raw12), layoutOf(0x26, 2, 1, {{3, 3}})});
    EXPECT_THAT(std::vector<uint16_t>(ten.row16(0), ten.row16(0) + 4),
                testing::ElementsAre(0xFFFF, 0, 64, 0x8020));
    EXPECT_THAT(std::vector<uint16_t>(twelve.row16(0), twelve.row16(0) + 2),
                testing::ElementsAre(0xFFFF, 16));
}

TEST(Pixels, ALayoutThatClaimsMoreThanTheBufferHoldsIsRefused) {
    std::vector<uint8_t> bytes(64 * 64 * 2);
    const uint64_t huge = UINT64_MAX;
    for (const auto& layout : {layoutOf(0x1000, 64, 64, {{4096, 64}}),
                               layoutOf(0x1000, 64, 64, {{huge, 64}, {2048, 64}}),
                               layoutOf(0x1000, 64, 64, {{4096, 64}, {huge, 64}}),
                               layoutOf(0x20203859, 64, 64, {{4096, huge}}),
                               layoutOf(0x20203859, 64, INT32_MAX, {{4096, 64}}),
                               layoutOf(0x20203859, -64, 64, {{4096, 64}}),
                               layoutOf(0x20203859, 65, 64, {{8192, 64}})}) {
        EXPECT_FALSE(holdsPicture({bytes.data(), bytes.size(), layout}));
    }
}

}  // namespace zelkcam::test
