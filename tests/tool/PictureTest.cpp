// query --svg and --draw: the drawing's numbers against the query's.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>

#include "tests/tool/Tool.h"

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

struct Case {
    const char* format;
    // Bytes of a row, and rows, that are picture in each plane of 1921 x 1083.
    std::vector<std::pair<double, double>> picture;
};

const Case kCases[] = {
        {"RGBA_8888", {{1921 * 4, 1083}}},
        {"RGB_888", {{1921 * 3, 1083}}},
        {"RAW10", {{2402, 1083}}},
        {"YCrCb_420_SP", {{1921, 1083}, {1920, 541}}},
        {"YCBCR_P010", {{3842, 1083}, {3840, 541}}},
        {"YV12", {{1921, 1083}, {960, 541}, {960, 541}}},
};

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
            EXPECT_NEAR(picture.width, drawn.picture[i].first * across, 0.1);
            EXPECT_NEAR(picture.height, drawn.picture[i].second * down, 0.1);
            offset += size;
            y += outline.height;
        }
    }
}

TEST(Picture, InTheTerminalListsTheSameNumbers) {
    const Json planes = runForDocument({"query", "YV12", "1921x1083"}, "query")["planes"];
    const std::string drawing = runTool({"query", "YV12", "1921x1083", "--draw"}).out;
    uint64_t offset = 0;
    for (size_t i = 0; i < planes.size(); ++i) {
        const std::string size = planes[i]["sizeInBytes"].dump();
        const std::string stride = planes[i]["rowStrideInBytes"].dump();
        EXPECT_THAT(drawing, testing::ContainsRegex(std::to_string(i) + "  C?[Yrb] +" +
                                                    std::to_string(offset) + " +" + size + " +" +
                                                    stride + " "));
        EXPECT_THAT(drawing, testing::HasSubstr(" at " + std::to_string(offset) + "\n"));
        offset += planes[i]["sizeInBytes"].get<uint64_t>();
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
