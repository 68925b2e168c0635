#include "tools/grallocinfo/Completion.h"

#include <algorithm>
#include <string_view>

#include "tools/grallocinfo/Names.h"

namespace grallocinfo {

namespace {

using Words = std::vector<std::string>;

constexpr char kFiles[] = ":files";
constexpr char kBar = '|';

// The commands below `app`; option groups, which have no name, are no commands.
std::vector<const CLI::App*> commandsOf(const CLI::App& app) {
    std::vector<const CLI::App*> commands;
    for (const CLI::App* const command : app.get_subcommands(nullptr)) {
        if (!command->get_name().empty()) {
            commands.push_back(command);
        }
    }
    return commands;
}

std::vector<const CLI::Option*> optionsOf(const CLI::App& app) {
    std::vector<const CLI::Option*> options = app.get_options();
    for (const CLI::App* const group : app.get_subcommands(nullptr)) {
        if (group->get_name().empty()) {
            const auto more = group->get_options();
            options.insert(options.end(), more.begin(), more.end());
        }
    }
    return options;
}

const CLI::Option* findOption(const CLI::App& app, const std::string& word) {
    for (const CLI::Option* const option : optionsOf(app)) {
        if (option->check_name(word)) {
            return option;
        }
    }
    return nullptr;
}

// The positional argument number `index`; the last one may be given many times.
const CLI::Option* findPositional(const CLI::App& app, size_t index) {
    const CLI::Option* last = nullptr;
    for (const CLI::Option* const option : optionsOf(app)) {
        if (!option->get_positional()) {
            continue;
        }
        if (index == 0) {
            return option;
        }
        last = option;
        --index;
    }
    return last && last->get_items_expected_max() > 1 ? last : nullptr;
}

// What a command line has reached before the word that is being typed.
struct Place {
    const CLI::App* command;
    const CLI::Option* awaited = nullptr;  // the option that the word is the value of
    size_t positionals = 0;
};

void step(Place& place, const std::string& word) {
    if (place.awaited) {
        place.awaited = nullptr;
        return;
    }
    if (word.starts_with('-') && word.size() > 1) {
        const CLI::Option* const option = findOption(*place.command, word);
        place.awaited = option && option->get_items_expected_max() > 0 ? option : nullptr;
        return;
    }
    const auto commands = commandsOf(*place.command);
    const auto named = std::find_if(commands.begin(), commands.end(), [&](const CLI::App* command) {
        return command->get_name() == word;
    });
    if (named == commands.end()) {
        ++place.positionals;
        return;
    }
    place = {*named};
}

Words namesOf(CodeKind kind) {
    Words names;
    for (const NamedCode& code : namedCodes(kind)) {
        for (const std::string_view name : {code.name, code.fourcc}) {
            if (!name.empty()) {
                names.emplace_back(name);
            }
        }
    }
    return names;
}

// Each of "A|B" behind what stands before the last bar already.
Words joinedNames(CodeKind kind, const std::string& word) {
    const size_t bar = word.rfind(kBar);
    const std::string led = bar == std::string::npos ? "" : word.substr(0, bar + 1);
    Words names;
    for (const std::string& name : namesOf(kind)) {
        names.push_back(led + name);
    }
    return names;
}

Words alternatives(const std::string& text) {
    Words words;
    for (size_t begin = 0; begin <= text.size();) {
        const size_t bar = std::min(text.find(kBar, begin), text.size());
        words.push_back(text.substr(begin, bar - begin));
        begin = bar + 1;
    }
    return words;
}

// An argument's kind is what the help calls it; words to choose from stand there in small letters.
Words valuesOf(const CLI::Option& option, const std::string& word) {
    const std::string& name = option.get_single_name();
    const std::string type = option.get_type_name();
    if (name == "FORMAT" || name == "format") {
        return namesOf(CodeKind::kFormat);
    }
    if (name == "usage" || name == "dataspace") {
        return joinedNames(name == "usage" ? CodeKind::kUsage : CodeKind::kDataspace, word);
    }
    const bool isOfWords = !type.empty() && type[0] >= 'a' && type[0] <= 'z';
    if (isOfWords && type.find(kBar) != std::string::npos) {
        return alternatives(type);
    }
    return name == "WIDTHxHEIGHT" ? Words() : Words{kFiles};
}

Words candidatesFor(const Place& place, const std::string& word) {
    if (place.awaited) {
        return valuesOf(*place.awaited, word);
    }
    Words words;
    if (word.starts_with('-')) {
        for (const CLI::Option* const option : optionsOf(*place.command)) {
            for (const std::string& name : option->get_lnames()) {
                words.push_back("--" + name);
            }
        }
        return words;
    }
    for (const CLI::App* const command : commandsOf(*place.command)) {
        words.push_back(command->get_name());
    }
    const CLI::Option* const positional = findPositional(*place.command, place.positionals);
    return words.empty() && positional ? valuesOf(*positional, word) : words;
}

// Names are offered in the library's spelling for what was typed in any case.
bool begins(const std::string& candidate, const std::string& word) {
    return candidate == kFiles ||
           (candidate.size() >= word.size() &&
            std::equal(word.begin(), word.end(), candidate.begin(),
                       [](unsigned char a, unsigned char b) { return tolower(a) == tolower(b); }));
}

}  // namespace

void printCompletions(std::ostream& out, const CLI::App& program, const Words& words) {
    if (words.empty()) {
        return;
    }
    Place place{&program};
    for (size_t i = 0; i + 1 < words.size(); ++i) {
        step(place, words[i]);
    }
    for (const std::string& candidate : candidatesFor(place, words.back())) {
        if (begins(candidate, words.back())) {
            out << candidate << '\n';
        }
    }
}

}  // namespace grallocinfo
