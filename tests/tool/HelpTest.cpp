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

}  // namespace zelkcam::test
