// grallocinfo list: the names that there are.
#include <array>
#include <iostream>
#include <memory>

#include "tools/grallocinfo/Commands.h"
#include "tools/grallocinfo/Names.h"
#include "tools/grallocinfo/Output.h"
#include "tools/grallocinfo/Table.h"

namespace grallocinfo {

namespace {

constexpr char kListExamples[] =
        "Examples:\n"
        "  grallocinfo list formats\n"
        "  grallocinfo list usages --json\n"
        "Wherever a format, usage or dataspace is asked for, names and aliases are taken in any\n"
        "case, also behind HAL_PIXEL_FORMAT_, GRALLOC_USAGE_ or HAL_DATASPACE_.";

struct List {
    const char* name;
    CodeKind kind;
};

constexpr std::array<List, 3> kLists{{{"formats", CodeKind::kFormat},
                                      {"usages", CodeKind::kUsage},
                                      {"dataspaces", CodeKind::kDataspace}}};

struct ListOptions {
    std::string list;
    bool json = false;
};

std::string joined(const std::vector<std::string_view>& words) {
    std::string text;
    for (const std::string_view word : words) {
        text += (text.empty() ? "" : " ") + std::string(word);
    }
    return text;
}

std::string orDash(std::string_view text) {
    return text.empty() ? "-" : std::string(text);
}

void printList(const List& list) {
    Table table({{"code", Align::kLeft},
                 {"name", Align::kLeft},
                 {"fourcc", Align::kLeft},
                 {"aliases", Align::kLeft},
                 {"what it is", Align::kLeft}});
    for (const NamedCode& code : namedCodes(list.kind)) {
        table.add({hex(uint64_t{code.code}), orDash(code.name), orDash(code.fourcc),
                   orDash(joined(code.aliases)), std::string(code.meaning)});
    }
    table.print(std::cout);
}

Json listDocument(const List& list) {
    Json document = newDocument();
    document["list"] = list.name;
    Json& entries = document["entries"] = Json::array();
    for (const NamedCode& code : namedCodes(list.kind)) {
        Json entry;
        if (list.kind == CodeKind::kUsage) {
            putUnsignedCode(entry, "code", code.code);
        } else {
            putCode(entry, "code", static_cast<int32_t>(code.code));
        }
        entry["name"] = code.name;
        entry["fourcc"] = code.fourcc;
        entry["aliases"] = code.aliases;
        entry["meaning"] = code.meaning;
        entries.push_back(entry);
    }
    return document;
}

void runList(const ListOptions& options) {
    for (const List& list : kLists) {
        if (options.list == list.name) {
            return options.json ? writeDocument(listDocument(list)) : printList(list);
        }
    }
    throw unusable("list " + inQuotes(options.list) +
                   " is not usable: expected formats, usages or dataspaces");
}

}  // namespace

void addList(CLI::App& program) {
    const auto options = std::make_shared<ListOptions>();
    CLI::App* const command =
            program.add_subcommand("list", "List the names of formats, usages or dataspaces");
    addText(*command, "LIST", options->list, "What to list")
            ->type_name("formats|usages|dataspaces");
    addJson(*command, options->json);
    command->footer(kListExamples);
    command->callback([options] { runList(*options); });
}

}  // namespace grallocinfo
