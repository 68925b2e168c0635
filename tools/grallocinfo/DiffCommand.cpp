// grallocinfo diff: what moved between two format lists, or differs between two device profiles.
#include <algorithm>
#include <iostream>
#include <iterator>
#include <map>
#include <memory>

#include "profile/Shipped.h"
#include "tools/grallocinfo/Arguments.h"
#include "tools/grallocinfo/Commands.h"
#include "tools/grallocinfo/Library.h"
#include "tools/grallocinfo/LibraryLog.h"
#include "tools/grallocinfo/Output.h"
#include "tools/grallocinfo/ProfileDiff.h"
#include "tools/grallocinfo/ProfilePage.h"

namespace grallocinfo {

namespace {

constexpr char kDiffExamples[] =
        "Examples:\n"
        "  grallocinfo diff last-release.json this-build.json\n"
        "  grallocinfo diff phone.json host.json --json\n"
        "  grallocinfo diff golden.json this-build.json --exit-code || echo 'a layout moved'\n"
        "  adb shell grallocinfo formats --json | grallocinfo diff - host.json\n"
        "  grallocinfo diff default phone-profile.json --html devices.html\n"
        "The files are what 'grallocinfo formats --json' printed, for one size and usage, or "
        "device\n"
        "profiles, of which the most surprising difference comes first.";

// What follows from other fields, or is text.
constexpr const char* kNotCompared[] = {"/bitsPerPixel", "/paddingPercent", "/error/message"};

constexpr int kMoved = 1;  // the exit status with --exit-code, as of other programs that compare

// What both files must have been asked for.
constexpr const char* kRequest[] = {"width", "height", "usage"};

struct DiffOptions {
    std::string left;
    std::string right;
    std::string html;
    bool json = false;
    bool exitCode = false;
};

struct Difference {
    int32_t format;
    std::string formatName;
    std::string field;  // a JSON pointer into the format's object
    Json left;          // null where the file has no such field
    Json right;
};

struct Comparison {
    size_t formats = 0;
    std::vector<Difference> differences;
};

using Formats = std::map<int32_t, Json>;

// Nothing that the tool printed is nested more deeply; deeper, comparing would not end well.
constexpr int kMostLevels = 16;

bool isFormatList(const Json& document) {
    const auto isInteger = [&](const char* field) {
        return document.value(field, Json()).is_number_integer();
    };
    return document.is_object() && document.value("schemaVersion", Json()) == kSchemaVersion &&
           document.value("formats", Json()).is_array() &&
           std::all_of(std::begin(kRequest), std::end(kRequest), isInteger);
}

Json readFile(const std::string& path) {
    const std::string expected = "what 'grallocinfo formats --json' printed";
    const std::string contents = readWhole(path, expected);
    bool isTooDeep = false;
    const auto isTaken = [&](int level, Json::parse_event_t, const Json&) {
        isTooDeep = isTooDeep || level > kMostLevels;
        return !isTooDeep;
    };
    Json document = Json::parse(contents, isTaken, false);
    if (isTooDeep || !isFormatList(document)) {
        throw unusable(inQuotes(path) + " is not usable: expected " + expected +
                       ", of schema version " + std::to_string(kSchemaVersion));
    }
    return document;
}

bool isCode(const Json& value) {
    return value.is_number_integer() && value == value.get<int32_t>();
}

Formats formatsIn(const Json& document, const std::string& path) {
    Formats formats;
    for (const Json& format : document["formats"]) {
        if (!format.is_object() || !isCode(format.value("format", Json()))) {
            throw unusable(inQuotes(path) +
                           " holds a format without a code: expected what "
                           "'grallocinfo formats --json' printed");
        }
        formats[format["format"].get<int32_t>()] = format;
    }
    return formats;
}

void requireSameRequest(const Json& left, const Json& right) {
    for (const char* const field : kRequest) {
        if (left[field] != right[field]) {
            throw unusable(std::string("the files are of different requests: ") + field + " " +
                           left[field].dump() + " and " + right[field].dump() +
                           ": expected one size and usage");
        }
    }
}

bool isCompared(const std::string& field) {
    for (const char* const name : kNotCompared) {
        if (field == name) {
            return false;
        }
    }
    return true;
}

std::string formatNameIn(const Json& format) {
    const Json name = format.value("formatName", Json());
    return name.is_string() ? name.get<std::string>() : "";
}

// Both sides as one list of fields; a side without the format has none of them.
void compareFormat(int32_t code, const Json& left, const Json& right, Comparison& comparison) {
    const Json leftFields = left.flatten();
    const Json rightFields = right.flatten();
    std::vector<std::string> fields;
    for (const auto& [field, value] : leftFields.items()) {
        fields.push_back(field);
    }
    for (const auto& [field, value] : rightFields.items()) {
        if (!leftFields.contains(field)) {
            fields.push_back(field);
        }
    }
    const std::string name = formatNameIn(left.empty() ? right : left);
    for (const std::string& field : fields) {
        const Json from = leftFields.value(field, Json());
        const Json to = rightFields.value(field, Json());
        if (from != to && isCompared(field)) {
            comparison.differences.push_back({code, name, field, from, to});
        }
    }
}

Comparison compare(const Formats& left, const Formats& right) {
    const Json none = Json::object();
    Formats all = left;
    all.insert(right.begin(), right.end());
    Comparison comparison;
    for (const auto& [code, format] : all) {
        const auto from = left.find(code);
        const auto to = right.find(code);
        compareFormat(code, from == left.end() ? none : from->second,
                      to == right.end() ? none : to->second, comparison);
    }
    comparison.formats = all.size();
    return comparison;
}

std::string valueText(const Json& value) {
    return value.is_null()     ? "nothing"
           : value.is_string() ? value.get<std::string>()
                               : value.dump();
}

void printComparison(std::ostream& out, const Comparison& comparison) {
    std::string heading;
    for (const Difference& difference : comparison.differences) {
        const std::string format = describeFormat(difference.formatName, difference.format);
        if (format != heading) {
            out << format << '\n';
        }
        heading = format;
        out << "  " << difference.field.substr(1) << "  " << valueText(difference.left) << " -> "
            << valueText(difference.right) << '\n';
    }
    if (comparison.differences.empty()) {
        out << "no difference in " << comparison.formats << " formats\n";
    }
}

Json comparisonDocument(const Comparison& comparison) {
    Json document = newDocument();
    document["formatsCompared"] = comparison.formats;
    Json& differences = document["differences"] = Json::array();
    for (const Difference& difference : comparison.differences) {
        Json object;
        putCode(object, "format", difference.format);
        object["formatName"] = difference.formatName;
        object["field"] = difference.field;
        object["a"] = difference.left;
        object["b"] = difference.right;
        differences.push_back(object);
    }
    return document;
}

std::vector<ProfileDifference> differencesOf(const Comparison& comparison) {
    std::vector<ProfileDifference> differences;
    for (const Difference& one : comparison.differences) {
        ProfileDifference difference;
        difference.subject = describeFormat(one.formatName, one.format);
        difference.what = one.field.substr(1);
        difference.left = valueText(one.left);
        difference.right = valueText(one.right);
        differences.push_back(difference);
    }
    return differences;
}

// Whether a name or file is a device profile, not a format list.
bool isProfile(const std::string& nameOrFile) {
    std::string error;
    return nameOrFile != "-" && zelkcam::profile::load(nameOrFile, &error).has_value();
}

zelkcam::profile::Profile profileOf(const std::string& nameOrFile) {
    std::string error;
    auto loaded = zelkcam::profile::load(nameOrFile, &error);
    if (!loaded) {
        throw unusable(error + ": expected another device profile");
    }
    return std::move(loaded->profile);
}

size_t diffProfiles(const DiffOptions& options) {
    const auto left = profileOf(options.left);
    const auto right = profileOf(options.right);
    const auto differences = compareProfiles(left, right);
    if (!options.html.empty()) {
        writeFile(options.html,
                  [&](std::ostream& out) { printDifferencePage(out, left, right, differences); });
    } else if (options.json) {
        writeDocument(differencesDocument(differences));
    } else {
        printDifferences(std::cout, differences);
    }
    return differences.size();
}

size_t diffFormats(const DiffOptions& options) {
    const Json left = readFile(options.left);
    const Json right = readFile(options.right);
    requireSameRequest(left, right);
    const Comparison comparison =
            compare(formatsIn(left, options.left), formatsIn(right, options.right));
    if (!options.html.empty()) {
        writeFile(options.html, [&](std::ostream& out) {
            printDifferencePage(out, options.left, options.right, differencesOf(comparison));
        });
    } else if (options.json) {
        writeDocument(comparisonDocument(comparison));
    } else {
        printComparison(std::cout, comparison);
    }
    return comparison.differences.size();
}

void runDiff(const DiffOptions& options) {
    const bool profiles = isProfile(options.left);
    if (profiles) {
        openLibraryLog(false);
    }
    const size_t differences = profiles ? diffProfiles(options) : diffFormats(options);
    if (options.exitCode && differences > 0) {
        endWith(kMoved);
    }
}

}  // namespace

void addDiff(CLI::App& program) {
    const auto options = std::make_shared<DiffOptions>();
    CLI::App* const command = program.add_subcommand(
            "diff", "Compare two format lists or device profiles: what moved");
    addText(*command, "A.json", options->left,
            "What 'formats --json' printed, or a profile's name or file; - is standard input");
    addText(*command, "B.json", options->right, "The same of another device or build");
    addJson(*command, options->json);
    addHtml(*command, options->html);
    command->add_flag("--exit-code", options->exitCode,
                      "Exit with 1 if something moved, with 0 only if nothing did");
    command->footer(kDiffExamples);
    command->callback([options] { runDiff(*options); });
}

}  // namespace grallocinfo
