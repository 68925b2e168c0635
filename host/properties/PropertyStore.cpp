#include "host/properties/PropertyStore.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <mutex>

#include "host/properties/Environment.h"

namespace zelkcam::host {
namespace {

using Properties = std::map<std::string, std::string>;

struct ProcessProperties {
    std::mutex mutex;
    Properties values;  // guarded by mutex
};

ProcessProperties& ofProcess() {
    // Never destroyed: properties are read while exit handlers run.
    static auto& properties = *new ProcessProperties;
    return properties;
}

std::string trim(const std::string& text) {
    constexpr char kBlanks[] = " \t\r";
    const size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string::npos) {
        return "";
    }
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

Properties ofFile() {
    Properties properties;
    const char* path = std::getenv("ZELKCAM_HOST_PROPERTIES");
    if (path == nullptr) {
        return properties;
    }
    std::ifstream file(path);
    if (!file) {
        static std::once_flag reported;
        std::call_once(reported, reportVariable, "ZELKCAM_HOST_PROPERTIES", path,
                       "cannot be read; no property is taken from it");
    }
    for (std::string line; std::getline(file, line);) {
        const std::string text = trim(line);
        const size_t equals = text.find('=');
        if (equals == std::string::npos || text[0] == '#') {
            continue;
        }
        properties[trim(text.substr(0, equals))] = trim(text.substr(equals + 1));
    }
    return properties;
}

std::optional<std::string> find(const Properties& properties, const std::string& name) {
    const auto found = properties.find(name);
    return found == properties.end() ? std::nullopt : std::optional(found->second);
}

std::optional<std::string> findInProcess(const std::string& name) {
    const std::lock_guard lock(ofProcess().mutex);
    return find(ofProcess().values, name);
}

std::optional<std::string> findInEnvironment(const std::string& name) {
    std::string variable = "ZELKCAM_PROP_" + name;
    std::replace(variable.begin(), variable.end(), '.', '_');
    const char* value = std::getenv(variable.c_str());
    return value == nullptr ? std::nullopt : std::optional<std::string>(value);
}

}  // namespace

std::optional<std::string> readProperty(const std::string& name) {
    if (auto value = findInProcess(name)) {
        return value;
    }
    if (auto value = findInEnvironment(name)) {
        return value;
    }
    return find(ofFile(), name);
}

void writeProperty(const std::string& name, const std::string& value) {
    const std::lock_guard lock(ofProcess().mutex);
    ofProcess().values[name] = value;
}

std::map<std::string, std::string> listProperties() {
    Properties properties = ofFile();
    for (auto& [name, value] : properties) {
        value = findInEnvironment(name).value_or(value);
    }
    const std::lock_guard lock(ofProcess().mutex);
    for (const auto& [name, value] : ofProcess().values) {
        properties[name] = value;
    }
    return properties;
}

}  // namespace zelkcam::host
