#include "host/quirks/Quirks.h"

#include <algorithm>
#include <charconv>
#include <iterator>

namespace zelkcam::host::quirks {
namespace {

constexpr uint64_t kMaxValue = 1'000'000'000;

struct ErrorName {
    std::string_view name;
    AIMapper_Error error;
};
constexpr ErrorName kErrors[] = {{"BAD_DESCRIPTOR", AIMAPPER_ERROR_BAD_DESCRIPTOR},
                                 {"BAD_BUFFER", AIMAPPER_ERROR_BAD_BUFFER},
                                 {"BAD_VALUE", AIMAPPER_ERROR_BAD_VALUE},
                                 {"NO_RESOURCES", AIMAPPER_ERROR_NO_RESOURCES},
                                 {"UNSUPPORTED", AIMAPPER_ERROR_UNSUPPORTED}};

struct Setting {
    std::string_view name;
    std::optional<uint64_t> value;
    std::optional<AIMapper_Error> error;
};

std::optional<uint64_t> parseNumber(std::string_view text) {
    uint64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    const bool good =
            error == std::errc() && end == text.data() + text.size() && value <= kMaxValue;
    return good ? std::optional(value) : std::nullopt;
}

// What stands in front of the first `mark`; `rest` is what follows it, no value without a mark.
std::string_view split(std::string_view text, char mark, std::optional<std::string_view>* rest) {
    const size_t at = text.find(mark);
    *rest = at == std::string_view::npos ? std::nullopt : std::optional(text.substr(at + 1));
    return text.substr(0, at);
}

std::optional<Setting> parseSetting(std::string_view text) {
    std::optional<std::string_view> value;
    std::optional<std::string_view> error;
    Setting setting{split(text, '=', &value), {}, {}};
    if (!value) {
        return setting;
    }
    setting.value = parseNumber(split(*value, ':', &error));
    if (error) {
        const auto* const known = std::ranges::find(kErrors, *error, &ErrorName::name);
        if (known == std::end(kErrors)) {
            return std::nullopt;
        }
        setting.error = known->error;
    }
    return setting.value ? std::optional(setting) : std::nullopt;
}

bool refuse(const Setting& setting, Refusal* refusal) {
    if (setting.value.value_or(0) == 0) {
        return false;
    }
    *refusal = {*setting.value, setting.error.value_or(AIMAPPER_ERROR_NO_RESOURCES)};
    return true;
}

std::chrono::milliseconds milliseconds(const Setting& setting) {
    return std::chrono::milliseconds(setting.value.value_or(0));
}

struct Rule {
    std::string_view name;
    bool takesValue;
    bool (*apply)(const Setting& setting, Quirks* quirks);
};

// The table of docs/quirks.md.
constexpr Rule kRules[] = {
        {"refuse-allocation", true,
         [](const Setting& setting, Quirks* quirks) {
             return refuse(setting, &quirks->allocation);
         }},
        {"refuse-import", true,
         [](const Setting& setting, Quirks* quirks) { return refuse(setting, &quirks->import); }},
        {"refuse-lock", true,
         [](const Setting& setting, Quirks* quirks) { return refuse(setting, &quirks->lock); }},
        {"service-gone", true,
         [](const Setting& setting, Quirks* quirks) {
             quirks->goneFrom = setting.value.value_or(0);
             return quirks->goneFrom > 0 && !setting.error;
         }},
        {"slow-allocation", true,
         [](const Setting& setting, Quirks* quirks) {
             quirks->allocationTime = milliseconds(setting);
             return !setting.error;
         }},
        {"late-fence", true,
         [](const Setting& setting, Quirks* quirks) {
             quirks->fenceTime = milliseconds(setting);
             return !setting.error;
         }},
        {"stuck-fence", false,
         [](const Setting&, Quirks* quirks) {
             quirks->fenceTime = kStuckFenceTime;
             return true;
         }},
        {"growing-metadata", false,
         [](const Setting&, Quirks* quirks) {
             quirks->growingMetadata = true;
             return true;
         }},
        {"failing-extension", false,
         [](const Setting&, Quirks* quirks) {
             quirks->extensionFails = true;
             return true;
         }},
};

bool apply(std::string_view text, Quirks* quirks) {
    const auto setting = parseSetting(text);
    if (!setting) {
        return false;
    }
    const auto* const rule = std::ranges::find(kRules, setting->name, &Rule::name);
    return rule != std::end(kRules) && rule->takesValue == setting->value.has_value() &&
           rule->apply(*setting, quirks);
}

}  // namespace

std::optional<Quirks> parseQuirks(std::string_view text, std::string* problem) {
    Quirks quirks;
    for (std::optional<std::string_view> rest = text; rest;) {
        const std::string_view word = split(*rest, ',', &rest);
        if (!apply(word, &quirks)) {
            *problem = "'" + std::string(word) + "' is no quirk";
            return std::nullopt;
        }
    }
    return quirks;
}

}  // namespace zelkcam::host::quirks
