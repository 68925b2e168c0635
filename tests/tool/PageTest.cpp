// The pages for a browser. What they do there is pages.py's to try.
#include <regex>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tool/Tool.h"

namespace zelkcam::test {

namespace {

using testing::HasSubstr;
using testing::Not;

constexpr char kHostile[] = R"(</title><script>alert("1")</script><b id='a&b'>)"
                            "\u202E";

// A shipped profile whose every text is hostile, as a file.
std::string hostileProfile(const std::string& path) {
    Json document = Json::parse(contentsOf(PROFILES_FOLDER "/aligned-128.json"));
    for (const char* const text : {"name", "description", "device", "build", "recorded"}) {
        document[text] = kHostile;
    }
    writeContents(path, document.dump());
    return path;
}

size_t countOf(const std::string& text, const std::string& what) {
    size_t count = 0;
    for (size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += what.size()) {
        ++count;
    }
    return count;
}

// Whatever names another file or a host would be asked for; the page's own script is its only one.
void expectSelfContained(const std::string& page) {
    EXPECT_FALSE(
            std::regex_search(page, std::regex("(src|href)=(?!\"#)|url\\((?!#)|@import|//[a-z]")));
    EXPECT_EQ(countOf(page, "<script"), 1u);
    EXPECT_THAT(page, HasSubstr("default-src 'none'"));
    EXPECT_THAT(page, testing::StartsWith("<!DOCTYPE html>"));
    EXPECT_THAT(page, testing::EndsWith("</html>\n"));
}

void expectEscaped(const std::string& page) {
    EXPECT_THAT(page, Not(HasSubstr("<script>alert")));
    EXPECT_THAT(page, Not(HasSubstr("<b ")));
    EXPECT_THAT(page, Not(HasSubstr("\u202E")));
    EXPECT_THAT(page, HasSubstr("&lt;/title&gt;&lt;script&gt;alert(&quot;1&quot;)"));
}

}  // namespace

TEST(Page, OfAHostileProfileShowsItsTextsAsText) {
    const ScratchFolder folder;
    const std::string profile = hostileProfile(folder / "p.json");
    for (const Words& command : {Words{"profile", "show", profile}, {"diff", profile, "strict"}}) {
        Words words = command;
        words.insert(words.end(), {"--html", folder / "page.html"});
        const Outcome outcome = runTool(words);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_EQ(outcome.out, "");
        const std::string page = contentsOf(folder / "page.html");
        expectSelfContained(page);
        expectEscaped(page);
    }
}

TEST(Page, HoldsEveryFormatInEverySize) {
    const std::string page = runTool({"profile", "show", "default", "--html", "-"}).out;
    expectSelfContained(page);
    const Json list = runForDocument({"list", "formats"});
    for (const Json& format : list["entries"]) {
        const std::string name = format["name"];
        const std::regex row("<th scope=\"row\"[^>]*><bdi>" + name + " \\([^\n]*4000x3000");
        EXPECT_TRUE(std::regex_search(page, row)) << name;
    }
    // The picture of a format that the library has a rule for, and of one that it has none for.
    for (const char* const caption :
         {"YV12 (0x32315659)  1920x1080, usage all", "YCbCr_422_SP (0x10)  1920x1080, usage all"}) {
        EXPECT_THAT(page, HasSubstr(std::string("<figcaption><bdi>") + caption));
    }
}

// What the host answers under the profile stands in the page, and a plane that begins at a page's
// border leaves a gap.
TEST(Page, TellsWhatTheDeviceAnswers) {
    const std::string page = runTool({"profile", "show", "aligned-128", "--html", "-"}).out;
    const Json answer = runForDocument({"query", "YV12", "1920x1080"},
                                       {"ZELKCAM_HOST_PROFILE=aligned-128"})["allocation"];
    std::string starts;
    for (const Json& plane : answer["planes"]) {
        starts += (starts.empty() ? "" : "\\+") + plane["offsetInBytes"].dump();
    }
    const std::regex row("<bdi>YV12 \\([^\n]*1920x1080[^\n]*<bdi>" + starts + "</bdi>[^\n]*<bdi>" +
                         answer["sizeInBytes"].dump() + "</bdi>");
    EXPECT_TRUE(std::regex_search(page, row)) << starts;
    EXPECT_THAT(page, HasSubstr("<g class=\"gap\" data-size=\"2048\">"));
    const std::string strict = runTool({"profile", "show", "strict", "--html", "-"}).out;
    EXPECT_TRUE(std::regex_search(
            strict,
            std::regex("<bdi>YV12 \\([^\n]*1920x1080[^\n]*<bdi>none</bdi>[^\n]*refused with 2")));
}

TEST(Page, OfFormatListsHoldsWhatMoved) {
    const ScratchFolder folder;
    Json list = runForDocument({"formats", "64x64"});
    writeContents(folder / "a.json", list.dump());
    list["formats"][0]["formatName"] = kHostile;
    list["formats"][0]["planes"][0]["sizeInBytes"] = 4711;
    writeContents(folder / "b.json", list.dump());
    const Outcome outcome =
            runTool({"diff", folder / "a.json", folder / "b.json", "--html", "-", "--exit-code"});
    EXPECT_EQ(outcome.status, 1);
    expectSelfContained(outcome.out);
    expectEscaped(outcome.out);
    EXPECT_THAT(outcome.out, HasSubstr("<bdi>16384</bdi></td><td><bdi>4711</bdi>"));
}

}  // namespace zelkcam::test
