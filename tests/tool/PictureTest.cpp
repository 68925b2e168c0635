// query --svg and --draw: the drawing's numbers against the query's.
#include <algorithm>
#include <regex>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tool/Tool.h"
#include "tools/grallocinfo/Geometry.h"

namespace zelkcam::test {

namespace {

// A rectangle of the picture, in its pixels.
struct Box {
    double x, y, width, height;
};

struct DrawnPlane {
    uint64_t offset, size, rowStride;
    Box outline;
    Box picture;
};

// The first match of `pattern` from `text` on.
std::smatch match(const std::string& text, const std::string& pattern) {
    std::smatch found;
    EXPECT_TRUE(std::regex_search(text, found, std::regex(pattern))) << pattern;
    return found;
}

Box boxOf(const std::string& group, const std::string& kind) {
    const std::smatch box = match(group, "class=\"" + kind +
                                                 "\" x=\"([0-9.]+)\" y=\"([0-9.]+)\" "
                                                 "width=\"([0-9.]+)\" height=\"([0-9.]+)\"");
    return {std::stod(box[1]), std::stod(box[2]), std::stod(box[3]), std::stod(box[4])};
}

std::vector<DrawnPlane> planesIn(const std::string& svg) {
    std::vector<DrawnPlane> planes;
    for (size_t at = 0; (at = svg.find("<g class=\"plane\"", at)) != std::string::npos; ++at) {
        const std::string group = svg.substr(at, svg.find("</g>", at) - at);
        const std::smatch numbers = match(
                group, "data-offset=\"(\\d+)\" data-size=\"(\\d+)\" data-row-stride=\"(\\d+)\"");
        planes.push_back({std::stoull(numbers[1]), std::stoull(numbers[2]), std::stoull(numbers[3]),
                          boxOf(group, "outline"), boxOf(group, "picture")});
    }
    return planes;
}

using Extent = std::pair<uint64_t, uint64_t>;  // bytes of a row, and rows

struct Case {
    const char* format;
    std::vector<Extent> picture;  // in each plane of 1921 x 1083
};

const Case kCases[] = {
        {"RGB_888", {{1921 * 3, 1083}}},
        {"RAW10", {{2402, 1083}}},
        {"YCBCR_P010", {{3842, 1083}, {3840, 541}}},
        {"YV12", {{1921, 1083}, {960, 541}, {960, 541}}},
};

// What is picture in planes that have room for more, in each direction, than the host's ever have.
std::vector<Extent> pictureIn(int32_t format, size_t planes, int32_t width, int32_t height) {
    zcam::GrallocStaticInfo layout;
    layout.format = format;
    layout.widthInPixels = width;
    layout.heightInPixels = height;
    layout.planes.assign(planes, {1000 * 1000 + 1, 1000});
    std::vector<Extent> picture;
    for (const grallocinfo::PlaneGeometry& plane : grallocinfo::geometryOf(layout).planes) {
        EXPECT_EQ(plane.stridePadding(), 1000 - plane.pictureRowBytes);
        EXPECT_EQ(plane.verticalPadding(), 1000 - plane.pictureRows);
        EXPECT_EQ(plane.tailBytes, 1u);
        picture.push_back({plane.pictureRowBytes, plane.pictureRows});
    }
    return picture;
}

auto charactersOf(const std::string& line) {
    return std::count_if(line.begin(), line.end(), [](char byte) { return (byte & 0xC0) != 0x80; });
}

}  // namespace

TEST(Picture, ShowsTheQuerysNumbersToScale) {
    const ScratchFolder folder;
    for (const Case& drawn : kCases) {
        SCOPED_TRACE(drawn.format);
        const Words query{"query", drawn.format, "1921x1083"};
        const Json answer = runForDocument(query, "query")["planes"];
        ASSERT_EQ(runTool({query[0], query[1], query[2], "--svg", folder / "p.svg"}).status, 0);
        const auto planes = planesIn(contentsOf(folder / "p.svg"));
        ASSERT_EQ(planes.size(), answer.size());
        // One scale for all planes: that of the first.
        const double across = planes[0].outline.width / double(planes[0].rowStride);
        const double down =
                planes[0].outline.height * double(planes[0].rowStride) / double(planes[0].size);
        uint64_t offset = 0;
        double y = planes[0].outline.y;
        for (size_t i = 0; i < planes.size(); ++i) {
            SCOPED_TRACE(i);
            const auto& [at, size, rowStride, outline, picture] = planes[i];
            EXPECT_EQ(at, offset);
            EXPECT_EQ(size, answer[i]["sizeInBytes"]);
            EXPECT_EQ(rowStride, answer[i]["rowStrideInBytes"]);
            EXPECT_NEAR(outline.width, double(rowStride) * across, 0.1);
            EXPECT_NEAR(outline.height, double(size) / double(rowStride) * down, 0.1);
            EXPECT_NEAR(outline.y, y, 0.1);
            EXPECT_NEAR(picture.width, double(drawn.picture[i].first) * across, 0.1);
            EXPECT_NEAR(picture.height, double(drawn.picture[i].second) * down, 0.1);
            offset += size;
            y += outline.height;
        }
    }
}

TEST(Picture, TellsPaddingOfBothDirectionsFromPictureInEveryFormat) {
    const std::vector<Extent> bytes{{61, 47}}, raw10{{77, 47}}, twoBytes{{122, 47}},
            threeBytes{{183, 47}}, fourBytes{{244, 47}}, unknown{{1000, 1000}},
            semiPlanar{{61, 47}, {60, 23}}, tenBits{{122, 47}, {120, 23}},
            planar{{61, 47}, {30, 23}, {30, 23}};
    const std::pair<int32_t, std::vector<Extent>> kFormats[] = {
            {0x1, fourBytes},   {0x3, threeBytes},   {0x5, fourBytes},    {0x11, semiPlanar},
            {0x14, twoBytes},   {0x20, twoBytes},    {0x21, bytes},       {0x24, unknown},
            {0x25, raw10},      {0x36, tenBits},     {0x111, raw10},      {0x1000, semiPlanar},
            {0x12345, unknown}, {0x20203859, bytes}, {0x32315659, planar}};
    for (const auto& [format, picture] : kFormats) {
        EXPECT_EQ(pictureIn(format, picture.size(), 61, 47), picture) << format;
    }
}

TEST(Picture, InTheTerminalListsTheSameNumbersWithinItsWidth) {
    const Json planes = runForDocument({"query", "YV12", "1921x1083"}, "query")["planes"];
    const Words draw{"query", "YV12", "1921x1083", "--draw"};
    const std::string drawing = runOnTerminal(draw, {"COLUMNS=60", "NO_COLOR=1"});
    std::string offsets = "offset +", sizes = "size +", strides = "row stride +";
    uint64_t offset = 0;
    for (const Json& plane : planes) {
        offsets += std::to_string(offset) + " *";
        sizes += plane["sizeInBytes"].dump() + " *";
        strides += plane["rowStrideInBytes"].dump() + " *";
        EXPECT_THAT(drawing, testing::HasSubstr(" at " + std::to_string(offset) + "\r\n"));
        offset += plane["sizeInBytes"].get<uint64_t>();
    }
    for (const std::string& row : {offsets, sizes, strides}) {
        EXPECT_THAT(drawing, testing::ContainsRegex(row + "\r"));
    }
    std::istringstream lines(drawing);
    for (std::string line; std::getline(lines, line);) {
        EXPECT_TRUE(line.find("█") == std::string::npos || charactersOf(line) <= 60 + 1) << line;
    }
}

TEST(Picture, ASizeOfOnePixelCanBeDrawn) {
    const ScratchFolder folder;
    for (const char* const format : {"YV12", "BLOB", "RAW_OPAQUE", "CAMERA_OPAQUE"}) {
        const Outcome outcome =
                runTool({"query", format, "1x1", "--draw", "--svg", folder / "p.svg"});
        EXPECT_EQ(outcome.status, 0) << format << outcome.err;
        EXPECT_THAT(contentsOf(folder / "p.svg"), testing::EndsWith("</svg>\n"));
    }
}

}  // namespace zelkcam::test
