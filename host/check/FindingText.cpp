#include "host/check/FindingText.h"

#include <nlohmann/json.hpp>

namespace zelkcam::host::check {
namespace {

using Json = nlohmann::ordered_json;

std::string linesOf(const Json& stack, const std::string& indent) {
    std::string lines;
    for (const Json& frame : stack) {
        lines += indent + "at " + frame.at("function").get<std::string>();
        const std::string file = frame.at("file");
        if (!file.empty()) {
            const int line = frame.at("line");
            lines += " (" + file + (line > 0 ? ":" + std::to_string(line) : "") + ")";
        }
        lines += "\n";
    }
    return lines;
}

}  // namespace

std::string textOf(const Json& finding) {
    const Json& process = finding.at("process");
    std::string text = finding.at("kind").get<std::string>() + ": " +
                       finding.at("message").get<std::string>() + "\n" +
                       linesOf(finding.at("stack"), "    ");
    if (finding.contains("previous")) {
        const Json& previous = finding.at("previous");
        text += "  " + previous.at("what").get<std::string>() + ":\n" +
                linesOf(previous.at("stack"), "    ");
    }
    return text + "  in process " + std::to_string(process.at("pid").get<int>()) + ", " +
           process.at("program").get<std::string>() + "\n";
}

}  // namespace zelkcam::host::check
