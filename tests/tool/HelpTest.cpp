// --help, the man page and completion against the commands and options that there are.
#include <regex>
#include <set>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tool/Tool.h"

namespace zelkcam::test {

namespace {

using testing::HasSubstr;
using Names = std::set<std::string>;

// What the first group of `pattern` matches, wherever it does.
Names allOf(const std::string& text, const std::string& pattern) {
    const std::regex regex(pattern);
    Names names;
    for (std::sregex_iterator at(text.begin(), text.end(), regex), end; at != end; ++at) {
        names.insert((*at)[1]);
    }
    return names;
}

std::string helpOf(const Words& command) {
    Words words = command;
    words.push_back("--help");
    return runTool(words).out;
}

// The words of a help text's list of subcommands.
Names commandsIn(const std::string& help) {
    const size_t list = help.find("Subcommands:");
    return list == std::string::npos ? Names() : allOf(help.substr(list), "\n  ([a-z]+) ");
}

// Without --help, which every command has.
Names optionsIn(const std::string& help) {
    Names options = allOf(help, "\n +(?:-h,)?--([a-z-]+)");
    options.erase("help");
    return options;
}

// What the synopsis of the man page gives each command, up to the next .Nm line.
std::string synopsisOf(const std::string& page, const std::string& command) {
    const size_t begin = page.find("\n.Nm\n.Cm " + command + "\n");
    EXPECT_NE(begin, std::string::npos) << "no synopsis of " << command;
    return begin == std::string::npos ? ""
                                      : page.substr(begin, page.find("\n.Nm\n", begin + 1) - begin);
}

}  // namespace

TEST(Help, EveryCommandHasExamplesAndTheManPageHasItsOptions) {
    const std::string page = contentsOf(TOOL_FOLDER "/grallocinfo.1");
    const Names commands = commandsIn(helpOf({}));
    EXPECT_TRUE(commands.contains("query") && commands.contains("attach"));
    for (const std::string& command : commands) {
        SCOPED_TRACE(command);
        const std::string help = helpOf({command});
        EXPECT_THAT(help, testing::ContainsRegex("Examples:\n.*grallocinfo " + command));
        Names options = optionsIn(help);
        for (const std::string& nested : commandsIn(help)) {
            options.merge(optionsIn(helpOf({command, nested})));
        }
        EXPECT_EQ(allOf(synopsisOf(page, command), "Fl -([a-z-]+)"), options);
        EXPECT_THAT(page, HasSubstr("\n.Ss " + command + "\n"));
    }
    EXPECT_EQ(allOf(page, "\n\\.Nm\n\\.Cm ([a-z]+)\n"), commands);
    for (const char* const section : {"ENVIRONMENT", "EXIT STATUS", "EXAMPLES"}) {
        EXPECT_THAT(page, HasSubstr(std::string("\n.Sh ") + section + "\n"));
    }
    EXPECT_THAT(runTool({"--version"}).out, testing::MatchesRegex("grallocinfo [0-9.]+\n"));
}

namespace {

// What bash offers for the words of `line`, the last of which is being typed.
std::string offered(const std::string& line) {
    const ScratchFolder folder;
    writeContents(folder / "a b.json", "");
    return printedBy("cat >script <<'END'\nsource " TOOL_FOLDER
                     "/grallocinfo.bash\n"
                     "COMP_WORDS=(grallocinfo " +
                             line + ")\n" +
                             "COMP_CWORD=$((${#COMP_WORDS[@]} - 1))\n_grallocinfo\n"
                             "printf '%s\\n' \"${COMPREPLY[@]}\"\nEND\nbash script",
                     folder / "");
}

}  // namespace

// Only bash is asked: the three scripts hand on what the program itself answers.
TEST(Help, CompletionOffersWhatMayFollow) {
    Names options = optionsIn(helpOf({"attach"}));
    options.insert("help");
    EXPECT_EQ(allOf(offered("attach --"), "--([a-z-]+)\n"), options);
    EXPECT_EQ(allOf(offered("''"), "([a-z]+)\n"), commandsIn(helpOf({})));
    const std::pair<const char*, const char*> kCases[] = {
            {"query ycr", "YCrCb_420_SP\n"},
            {"query --json yv", "YV12\n"},
            {"query --usage HW_TEXTURE ycr", "YCrCb_420_SP\n"},
            {"query NV12 64x64 --backend ''", "aidl\nhidl\n"},
            {"query NV12 64x64 --usage \"'HW_TEXTURE|SW_READ_O\"", "HW_TEXTURE|SW_READ_OFTEN\n"},
            {"query NV12 64x64 --usage 'HW_TEXTURE\\|SMV'", "HW_TEXTURE\\|SMVR\n"},
            {"list ''", "formats\nusages\ndataspaces\n"},
            {"name --dataspace V0_J", "V0_JFIF\n"},
            {"attach socket --fill r", "ramp\n"},
            {"diff a", "a b.json\n"},
            {"share NV12 64x64 a", "a b.json\n"},
            {"query NV12 64x64 no", "\n"}};
    for (const auto& [line, expected] : kCases) {
        EXPECT_EQ(offered(line), expected) << line;
    }
}

}  // namespace zelkcam::test
