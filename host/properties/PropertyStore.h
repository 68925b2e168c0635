// Where the host's system properties come from: what the process set, before that the environment
// (ZELKCAM_PROP_ and the name with dots as underscores), before that the file that
// ZELKCAM_HOST_PROPERTIES names ("name=value" lines; the last of a name counts, '#' begins a
// comment line). Environment and file are looked at afresh every time.
//
// Every function is safe from any thread, as long as no thread changes the environment meanwhile.
#pragma once

#include <map>
#include <optional>
#include <string>

namespace zelkcam::host {

// The value, which may be empty; nothing when the property is not set anywhere.
std::optional<std::string> readProperty(const std::string& name);

// Sets it for this process, over the other two sources.
void writeProperty(const std::string& name, const std::string& value);

// Every property that the process set or the file names, with the value that readProperty gives.
// What is set in the environment alone is not among them: its true name cannot be told.
std::map<std::string, std::string> listProperties();

}  // namespace zelkcam::host
