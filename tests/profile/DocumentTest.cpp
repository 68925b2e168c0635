// Profiles come from elsewhere and are believed in nothing.
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "profile/Evaluate.h"
#include "profile/Json.h"
#include "profile/Shipped.h"

namespace zelkcam::test {
namespace {

using namespace profile;
using Json = nlohmann::json;

Json smallest() {
    return Json::parse(R"({"schemaVersion": 1, "name": "small", "traits": {},
        "shapes": [{"format": "0x11", "fourcc": "NV21", "planes": [{}, {}]}],
        "formats": [{"format": "0x11", "rules": [{"shape": 0, "planes": [
            {"row": {"of": "width", "align": 64}},
            {"row": {"of": "row"}, "offset": {"of": "end", "plane": 0}}]}]}],
        "samples": [{"format": "0x11", "usage": "0x0", "answers": [
            [64, 2, -1, 0, 64, 64, 256, 0, 64, 128, 64, 2, 128, 64, 128, 32, 1]]}]})");
}

struct Wrong {
    const char* name;
    const char* pointer;
    const char* value;
    const char* complaint;  // where and why
};

class WrongDocument : public testing::TestWithParam<Wrong> {};

TEST_P(WrongDocument, IsRefusedInOneLineThatTellsWhereAndWhy) {
    Json document = smallest();
    document[Json::json_pointer(GetParam().pointer)] = Json::parse(GetParam().value);
    std::string error;
    EXPECT_FALSE(readJson(document.dump(), &error));
    EXPECT_EQ(error, GetParam().complaint);
}

INSTANTIATE_TEST_SUITE_P(
        Documents, WrongDocument,
        testing::Values(
                Wrong{"version", "/schemaVersion", "2",
                      "at /schemaVersion: version 1 expected, not 2"},
                Wrong{"word", "/traits/refusesUsage", "1",
                      "at /traits: \"refusesUsage\" is not known here"},
                Wrong{"kind", "/shapes/0/format", "1.5",
                      "at /shapes/0/format: a whole number expected"},
                Wrong{"shape", "/formats/0/rules/0/shape", "1",
                      "at /formats/0/rules/0/shape: a number from 0 to 0 expected, not 1"},
                Wrong{"planes", "/shapes/0/planes/2", "{}",
                      "at /formats/0/rules/0: the rule has 2 planes, its shape 3"},
                Wrong{"zero", "/formats/0/rules/0/planes/0/row/align", "0",
                      "at /formats/0/rules/0/planes/0/row/align: a number from 1 to 16777216 "
                      "expected, not 0"},
                Wrong{"circle", "/formats/0/rules/0/planes/0/offset",
                      R"({"of": "end", "plane": 1})",
                      "at /formats/0/rules/0: the planes' offsets wait for each other"},
                Wrong{"unknown", "/formats/0/rules/0/planes/0/row", R"({"of": "total"})",
                      "at /formats/0/rules/0: \"total\" is not known when this is counted"},
                Wrong{"others", "/formats/0/rules/0/others",
                      R"([{"planes": [{"row": {"of": "total"}}, {}]}])",
                      "at /formats/0/rules/0/others/0: \"total\" is not known when this is "
                      "counted"},
                Wrong{"negative", "/samples/0/answers/0/6", "-5",
                      "at /samples/0/answers/0/6: a number from 0 to 2147483647 expected, not -5"},
                Wrong{"twice", "/samples/0/answers/1", "[64, 2, 2]",
                      "at /samples/0/answers/1: this size is answered twice"},
                Wrong{"lines", "/name", R"("a\nb")",
                      "at /name: a text of one line expected, without control characters"},
                Wrong{"steering", "/traits/\x1b[31m", "1",
                      "at /traits: \"?[31m\" is not known here"},
                Wrong{"both", "/formats/0/rules/0/refuse", "2",
                      "at /formats/0/rules/0: a rule refuses, or tells what a buffer looks like, "
                      "not both"},
                Wrong{"bits", "/formats/0/rules/0/usage", R"([{"any": 1, "none": 1}])",
                      "at /formats/0/rules/0/usage/0: one of \"any\", \"all\" and \"none\" "
                      "expected"},
                Wrong{"axis", "/formats/0/rules/0/size", R"([{"above": {}}])",
                      "at /formats/0/rules/0/size/0/above: one of \"width\", \"height\" and "
                      "\"area\" expected"},
                Wrong{"odd", "/formats/0/rules/0/size", R"([{"odd": "width", "next": 5}])",
                      "at /formats/0/rules/0/size/0: \"odd\" or a limit expected, not both"},
                Wrong{"formats", "/formats/1", R"({"format": 17, "rules": []})",
                      "at /formats: format 17 has rules twice"}),
        [](const auto& info) { return std::string(info.param.name); });

TEST(Document, ThatIsGoodIsReadAndWrittenAgain) {
    std::string error;
    const auto profile = readJson(smallest().dump(), &error);
    ASSERT_TRUE(profile) << error;
    EXPECT_EQ(readJson(writeJson(*profile), &error), profile) << error;
}

TEST(Document, ThatNamesSomethingTwiceIsRefused) {
    std::string error;
    EXPECT_FALSE(readJson(R"({"schemaVersion": 1, "name": "a", "name": "b"})", &error));
    EXPECT_EQ(error, "\"name\" stands here twice");
    EXPECT_FALSE(readJson("{", &error));
    EXPECT_TRUE(error.starts_with("parse error at line 1, column 2: ")) << error;
}

TEST(Document, CannotMakeNumbersOverflow) {
    Json document = smallest();
    Json& row = document["formats"][0]["rules"][0]["planes"][0]["row"];
    row = {{"of", "width"}, {"times", 1 << 20}, {"align", 1 << 24}};
    std::string error;
    const auto profile = readJson(document.dump(), &error);
    ASSERT_TRUE(profile) << error;
    const Device device(*profile);
    for (const uint32_t size : {2000u, 100000u, 0x7fffffffu, 0xffffffffu}) {
        EXPECT_EQ(device.ask({0x11, 0, size, size}).answer, kUnsupported) << size;
    }
}

TEST(Shipped, ProfilesAreAllReadableAndFollowTheirOwnWord) {
    for (const ShippedProfile& shipped : shippedProfiles()) {
        std::string error;
        const auto loaded = load(std::string(shipped.name), &error);
        ASSERT_TRUE(loaded) << error;
        EXPECT_EQ(loaded->profile.name, shipped.name);
        const Reply reply = Device(loaded->profile).ask({0x11, 0x20000, 1920, 1080});
        EXPECT_EQ(reply.answer, kGranted) << shipped.name;
        EXPECT_EQ(reply.certainty, Certainty::kRule);
    }
    std::string error;
    EXPECT_FALSE(load("/nowhere", &error));
    EXPECT_EQ(error, "device profile \"/nowhere\": cannot be read (No such file or directory)");
}

}  // namespace
}  // namespace zelkcam::test
