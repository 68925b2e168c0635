// The console blocks of docs/grallocinfo.md are what the program prints.
#include <cstdlib>
#include <filesystem>
#include <regex>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tool/Tool.h"

namespace zelkcam::test {

namespace {

const std::filesystem::path kDocs = DOCS_FOLDER;
constexpr char kPage[] = "grallocinfo.md";

// A block with what its commands print now.
std::string blockAnew(const std::string& block, const std::string& folder) {
    std::string text;
    std::istringstream lines(block);
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("$ ")) {
            text += line + "\n" + printedBy(line.substr(2), folder);
        }
    }
    return text;
}

// The page with every console block as it is now; the pictures are left in `folder`.
std::string pageAnew(const std::string& page, const std::string& folder) {
    constexpr std::string_view kOpen = "```console\n", kClose = "```\n";
    std::string text;
    size_t at = 0;
    for (size_t open; (open = page.find(kOpen, at)) != std::string::npos;) {
        const size_t block = open + kOpen.size();
        const size_t close = page.find(kClose, block);
        text += page.substr(at, block - at) + blockAnew(page.substr(block, close - block), folder);
        at = close;
    }
    return text + page.substr(at);
}

}  // namespace

TEST(Docs, ShowWhatTheProgramPrintsAndDraws) {
    const ScratchFolder scratch;
    const std::filesystem::path images = scratch / "docs/images";
    std::filesystem::create_directories(images);
    const std::string page = contentsOf(kDocs / kPage);
    const std::string anew = pageAnew(page, scratch / "");
    const bool update = getenv("UPDATE_DOCS") != nullptr;
    if (update) {
        writeContents(kDocs / kPage, anew);
    } else {
        EXPECT_EQ(page, anew);
    }
    size_t pictures = 0;
    for (const auto& image : std::filesystem::directory_iterator(images)) {
        const auto committed = kDocs / "images" / image.path().filename();
        if (update) {
            std::filesystem::copy_file(image, committed,
                                       std::filesystem::copy_options::overwrite_existing);
        }
        EXPECT_EQ(contentsOf(committed), contentsOf(image.path())) << committed;
        ++pictures;
    }
    EXPECT_EQ(pictures, 2u);
}

}  // namespace zelkcam::test
