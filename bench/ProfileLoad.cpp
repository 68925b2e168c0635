// What it costs to begin with a recorded device profile: its document is read, checked and made
// ready to answer. The floor is the JSON library's own reading of the same text into its tree.
#include <nlohmann/json.hpp>

#include "bench/Compare.h"
#include "profile/Evaluate.h"
#include "profile/Json.h"
#include "profile/Record.h"
#include "profile/Shipped.h"

namespace zelkcam::bench {
namespace {

using namespace profile;

// As long as a recording may become.
std::string longestRecording() {
    std::string error;
    auto loaded = load("default", &error);
    if (!loaded) {
        giveUp(error.c_str());
    }
    std::vector<int32_t> formats;
    for (const FormatRules& rules : loaded->profile.formats) {
        formats.push_back(rules.format);
    }
    const Device device(std::move(loaded->profile));
    const auto ask = [&](const Request& request, bool locks) {
        return observationOf(device.ask(request), locks);
    };
    Profile profile;
    profile.name = "recorded";
    record(formats, ask, profile);
    // Some more of the last size until there are as many as a recording asks for.
    size_t count = 0;
    for (const Samples& group : profile.samples) {
        count += group.answers.size();
    }
    for (auto& answers = profile.samples.back().answers; count < kMaxQuestions; ++count) {
        answers.push_back(answers.back());
        ++answers.back().height;
    }
    return writeJson(profile);
}

const std::string& document() {
    static const std::string text = longestRecording();
    return text;
}

}  // namespace

void registerProfileLoad() {
    compare(
            "profile_load",
            [](auto&& measure) {
                measure([] {
                    std::string error;
                    auto profile = readJson(document(), &error);
                    if (!profile) {
                        giveUp(error.c_str());
                    }
                    benchmark::DoNotOptimize(Device(std::move(*profile)));
                });
            },
            [](auto&& measure) {
                measure([] { benchmark::DoNotOptimize(nlohmann::json::parse(document())); });
            });
}

}  // namespace zelkcam::bench
