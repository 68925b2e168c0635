// grallocinfo info: what answers here.
#include <dlfcn.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <iostream>
#include <memory>
#include <optional>
#include <vector>

#include "platform/hidl.h"
#include "platform/properties.h"
#include "platform/ulog.h"
#include "tools/grallocinfo/Commands.h"
#include "tools/grallocinfo/Library.h"
#include "tools/grallocinfo/Output.h"
#include "tools/grallocinfo/StableMapper.h"

namespace grallocinfo {

namespace {

using aidl::android::hardware::graphics::allocator::IAllocator;
using NSCam::Utils::ULog::ULogger;

constexpr char kInfoExamples[] =
        "Examples:\n"
        "  grallocinfo info\n"
        "  grallocinfo info --json\n"
        "What is not there prints as 'none'.";

constexpr const char* kProperties[] = {"vendor.debug.camera.log",
                                       "debug.zelkcam.utils.gralloc.loglevel"};
constexpr char kEnvironmentPrefix[] = "ZELKCAM_";

struct Entry {
    std::string key;
    std::optional<std::string> value;  // nothing for what is not there
};
using Entries = std::vector<Entry>;

using Value = std::optional<std::string>;

Value libraryPath() {
    Dl_info info{};
    const auto* const function = reinterpret_cast<const void*>(&NSCam::IGrallocHelper::singleton);
    return dladdr(function, &info) != 0 && info.dli_fname ? Value(info.dli_fname) : std::nullopt;
}

Value allocatorText(IAllocator* allocator) {
    int32_t version = 0;
    if (!allocator || !allocator->getInterfaceVersion(&version).isOk()) {
        return std::nullopt;
    }
    return std::string(IAllocator::descriptor) + "/default, version " + std::to_string(version);
}

Value mapperText(IAllocator* allocator) {
    const AIMapper* const mapper = allocator ? findStableMapper(*allocator) : nullptr;
    if (!mapper) {
        return std::nullopt;
    }
    return mapperLibraryName(*allocator) + ", version " + std::to_string(mapper->version);
}

Value hidlText() {
    using android::hardware::graphics::allocator::V4_0::IAllocator;
    using android::hardware::graphics::mapper::V4_0::IMapper;
    const bool allocator = IAllocator::getService("default", false) != nullptr;
    const bool mapper = IMapper::getService("default", false) != nullptr;
    if (!allocator && !mapper) {
        return std::nullopt;
    }
    return allocator && mapper ? "allocator and mapper 4.0"
           : allocator         ? "allocator 4.0"
                               : "mapper 4.0";
}

Value propertyText(const char* name) {
    constexpr int32_t kUnset = INT32_MIN;
    const int32_t value = property_get_int32(name, kUnset);
    return value == kUnset ? std::nullopt : Value(std::to_string(value));
}

void addEnvironment(Entries& entries) {
    for (char** variable = environ; *variable; ++variable) {
        const char* const equals = strchr(*variable, '=');
        if (equals && strncmp(*variable, kEnvironmentPrefix, strlen(kEnvironmentPrefix)) == 0) {
            entries.push_back({{*variable, static_cast<size_t>(equals - *variable)}, equals + 1});
        }
    }
}

Entries collect() {
    const auto allocator = findAllocatorService();
    Entries entries{{"grallocinfo", GRALLOCINFO_VERSION},
                    {"library", libraryPath()},
                    {"allocator", allocatorText(allocator.get())},
                    {"mapper", mapperText(allocator.get())},
                    {"hidl", hidlText()},
                    {"host profile", hostProfile()}};
    for (const char* const name : kProperties) {
        entries.push_back({name, propertyText(name)});
    }
    entries.push_back({"log level", std::to_string(ULogger::sDetailsLevel)});
    entries.push_back({"log mask", hex(uint64_t{ULogger::sNormalDetailsMask})});
    entries.push_back({"log mode", std::to_string(ULogger::sMode)});
    addEnvironment(entries);
    return entries;
}

void printInfo(const Entries& entries) {
    size_t width = 0;
    for (const Entry& entry : entries) {
        width = std::max(width, entry.key.size());
    }
    for (const auto& [key, value] : entries) {
        std::cout << key << std::string(width - key.size() + 2, ' ') << value.value_or("none")
                  << '\n';
    }
}

void runInfo(bool json) {
    const Entries entries = collect();
    if (!json) {
        return printInfo(entries);
    }
    Json document = newDocument();
    Json& info = document["info"] = Json::object();
    for (const auto& [key, value] : entries) {
        info[key] = value ? Json(*value) : Json();
    }
    writeDocument(document);
}

}  // namespace

void addInfo(CLI::App& program) {
    const auto json = std::make_shared<bool>(false);
    CLI::App* const command =
            program.add_subcommand("info", "Show the versions and settings that answers depend on");
    addJson(*command, *json);
    command->footer(kInfoExamples);
    command->callback([json] { runInfo(*json); });
}

}  // namespace grallocinfo
