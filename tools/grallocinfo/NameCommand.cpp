// grallocinfo name: codes to names and names to codes.
#include <array>
#include <iostream>
#include <memory>

#include "tools/grallocinfo/Arguments.h"
#include "tools/grallocinfo/Commands.h"
#include "tools/grallocinfo/Library.h"
#include "tools/grallocinfo/LibraryLog.h"
#include "tools/grallocinfo/Output.h"

namespace grallocinfo {

namespace {

constexpr char kNameExamples[] =
        "Examples:\n"
        "  grallocinfo name --format 0x11\n"
        "  grallocinfo name --format YV12\n"
        "  grallocinfo name --usage 0x20033\n"
        "  grallocinfo name --usage 'SW_READ_OFTEN|HW_CAMERA_WRITE'\n"
        "  grallocinfo name --dataspace 0x8c20000\n"
        "  grallocinfo name --dataspace 'STANDARD_BT2020|TRANSFER_HLG|RANGE_FULL' --json";

// A kind of code: how its words are read, and how the library names it.
struct Kind {
    const char* name;
    const char* help;
    bool isBitSet;
    int32_t (*parse)(std::string_view);
    std::string (*nameOf)(int32_t);
};

constexpr std::array<Kind, 3> kKinds{{
        {"format", "A pixel format", false, parseFormat, formatName},
        {"usage", "Gralloc usage bits", true,
         [](std::string_view text) { return static_cast<int32_t>(parseUsage(text)); },
         [](int32_t usage) { return usageName(static_cast<uint32_t>(usage)); }},
        {"dataspace", "A dataspace", false, parseDataspace,
         [](int32_t dataspace) {
             return std::string(helper().queryDataspaceName(dataspace).c_str());
         }},
}};

struct NameOptions {
    std::array<std::string, kKinds.size()> texts;
    std::array<CLI::Option*, kKinds.size()> given{};
    bool json = false;
    bool verbose = false;
};

void printName(const Kind& kind, const std::string& text, bool json) {
    const int32_t code = kind.parse(text);
    const std::string name = kind.nameOf(code);
    if (json) {
        Json document = newDocument();
        document["kind"] = kind.name;
        if (kind.isBitSet) {
            putUnsignedCode(document, "code", static_cast<uint32_t>(code));
        } else {
            putCode(document, "code", code);
        }
        document["name"] = name;
        return writeDocument(document);
    }
    std::cout << (looksLikeNumber(text) ? name : hex(code)) << '\n';
    if (name.empty()) {
        remark("no name for " + hex(code));
    }
}

void runName(const NameOptions& options) {
    openLibraryLog(options.verbose);
    for (size_t i = 0; i < kKinds.size(); ++i) {
        if (options.given[i]->count() > 0) {
            printName(kKinds[i], options.texts[i], options.json);
        }
    }
}

}  // namespace

void addName(CLI::App& program) {
    const auto options = std::make_shared<NameOptions>();
    CLI::App* const command =
            program.add_subcommand("name", "Name a code, or find the code of a name");
    CLI::Option_group* const codes = command->add_option_group("code", "What is to be named");
    for (size_t i = 0; i < kKinds.size(); ++i) {
        options->given[i] = addText(*codes, std::string("--") + kKinds[i].name, options->texts[i],
                                    kKinds[i].help)
                                    ->type_name("CODE|NAME");
    }
    codes->require_option(1);
    addJson(*command, options->json);
    addVerbose(*command, options->verbose);
    command->footer(kNameExamples);
    command->callback([options] { runName(*options); });
}

}  // namespace grallocinfo
