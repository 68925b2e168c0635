#include "tools/grallocinfo/Commands.h"

namespace grallocinfo {

namespace {

bool isGuarded(const std::string& text) {
    return text.size() > 1 && text[0] == kNegativeGuard && text[1] == '-';
}

}  // namespace

CLI::Option* addText(CLI::App& command, const std::string& name, std::string& value,
                     const std::string& help) {
    const auto take = [&value](const std::string& text) {
        value = isGuarded(text) ? text.substr(1) : text;
    };
    CLI::Option* const option =
            command.add_option_function<std::string>(name, take, help)->type_name("");
    return name.starts_with('-') ? option->type_name("TEXT") : option->required();
}

CLI::Option* addFile(CLI::App& command, const std::string& name, std::string& path,
                     const std::string& help) {
    const auto isNamed = [](const std::string& text) {
        return std::string(text.empty() ? "a file name that is not empty is required" : "");
    };
    return addText(command, name, path, help)->type_name("FILE")->check(isNamed);
}

void endWith(int status) {
    throw CLI::RuntimeError(status);
}

void addUsage(CLI::App& command, std::string& usage) {
    addText(command, "--usage", usage,
            "Gralloc usage: a number, or names joined by '|'; in a shell, quote them")
            ->type_name("USAGE");
}

void addJson(CLI::App& command, bool& json) {
    command.add_flag("--json", json, "Print one JSON document instead of text");
}

void addHtml(CLI::App& command, std::string& path) {
    addFile(command, "--html", path, "Write a page for a browser; - is standard output")
            ->excludes("--json");
}

void addVerbose(CLI::App& command, bool& verbose) {
    command.add_flag("--verbose", verbose, "Let the library's own log lines through");
}

}  // namespace grallocinfo
