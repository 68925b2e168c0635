#include <algorithm>
#include <limits>
#include <set>
#include <tuple>

#include "profile/Json.h"
#include "profile/Node.h"
#include "profile/ReadRules.h"

namespace zelkcam::profile {
namespace {

constexpr size_t kMaxRules = 64;
constexpr size_t kMaxFormats = 256;
constexpr size_t kMaxShapes = 4096;
constexpr size_t kMaxGroups = 16384;
constexpr size_t kMaxAnswers = 65536;

Component readComponent(const Node& node) {
    if (node.count(3) != 3) {
        node.fail("type, offset and size in bits expected");
    }
    return {node.at(0).integer(INT64_MIN, INT64_MAX), node.at(1).integer(-1024, 1024),
            node.at(2).integer(-1, 1024)};
}

PlaneShape readPlaneShape(const Node& node) {
    node.allow({"components", "increment", "subsampling"});
    PlaneShape plane;
    plane.components =
            optionalList<Component>(node, "components", kMaxPlaneComponents, readComponent);
    plane.sampleIncrementInBits = integerOr(node, "increment", -1, 1024, 0);
    if (node.has("subsampling")) {
        const Node both = node.at("subsampling");
        if (both.count(2) != 2) {
            both.fail("two numbers expected");
        }
        plane.horizontalSubsampling = both.at(0).integer(0, 64);
        plane.verticalSubsampling = both.at(1).integer(0, 64);
    }
    return plane;
}

Refused readRefused(const Node& node) {
    if (node.count(2) != 2) {
        node.fail("metadata type and answer expected");
    }
    return {node.at(0).integer(1, 1024), code(node.at(1))};
}

Shape readShape(const Node& node) {
    node.allow({"format", "fourcc", "modifier", "compression", "interlaced", "chromaSiting",
                "usageAdded", "usageRemoved", "flags", "crop", "refused", "planes"});
    Shape shape;
    shape.format = formatCode(node.at("format"));
    shape.fourcc = fourcc(node.at("fourcc"));
    shape.modifier = bitsOr(node, "modifier");
    shape.compression = integerOr(node, "compression", INT64_MIN, INT64_MAX, 0);
    shape.interlaced = integerOr(node, "interlaced", INT64_MIN, INT64_MAX, 0);
    shape.chromaSiting = integerOr(node, "chromaSiting", INT64_MIN, INT64_MAX, 0);
    shape.usageAdded = bitsOr(node, "usageAdded");
    shape.usageRemoved = bitsOr(node, "usageRemoved");
    shape.flags = static_cast<uint32_t>(bitsOr(node, "flags"));
    shape.crop = node.has("crop") ? node.at("crop").word(kCrops) : Crop::kPlane;
    shape.refused = optionalList<Refused>(node, "refused", 32, readRefused);
    shape.planes = optionalList<PlaneShape>(node, "planes", kMaxPlanes, readPlaneShape);
    size_t components = 0;
    for (const PlaneShape& plane : shape.planes) {
        components += plane.components.size();
    }
    if (components > kMaxComponents) {
        node.fail("at most " + std::to_string(kMaxComponents) + " components expected, not " +
                  std::to_string(components));
    }
    return shape;
}

// A rule that is another format's under more conditions: that format's rules, of those already
// read.
void addAlike(const Node& node, const std::vector<FormatRules>& known, std::vector<Rule>& rules) {
    node.allow({"usage", "size", "like"});
    const int32_t format = formatCode(node.at("like"));
    const auto found = std::find_if(known.begin(), known.end(), [format](const FormatRules& one) {
        return one.format == format;
    });
    if (found == known.end()) {
        node.fail("\"like\" names a format without rules before this one");
    }
    const auto usage = readUsageTests(node);
    const auto size = readSizeTests(node);
    for (Rule rule : found->rules) {
        rule.usage.insert(rule.usage.begin(), usage.begin(), usage.end());
        rule.size.insert(rule.size.begin(), size.begin(), size.end());
        rules.push_back(rule);
    }
}

FormatRules readFormat(const Node& node, const Profile& profile) {
    node.allow({"format", "usages", "rules"});
    FormatRules format;
    format.format = formatCode(node.at("format"));
    format.usages = optionalList<uint64_t>(node, "usages", 256,
                                           [](const Node& usage) { return usage.bits(); });
    const Node rules = node.at("rules");
    const size_t count = rules.count(kMaxRules);
    for (size_t i = 0; i < count; ++i) {
        const Node rule = rules.at(i);
        if (rule.has("like")) {
            addAlike(rule, profile.formats, format.rules);
        } else {
            format.rules.push_back(readRule(rule, profile.shapes));
        }
        if (format.rules.size() > kMaxRules) {
            rules.fail("at most " + std::to_string(kMaxRules) + " rules expected");
        }
    }
    return format;
}

LockAnswer readLockAnswer(const Node& node) {
    if (node.count(2) != 2) {
        node.fail("the answers to reading and writing expected");
    }
    return {code(node.at(0)), code(node.at(1))};
}

LockRule readLockRule(const Node& node) {
    node.allow({"formats", "usage", "answer"});
    return {optionalList<int32_t>(node, "formats", kMaxFormats, formatCode), readUsageTests(node),
            readLockAnswer(node.at("answer"))};
}

Traits readTraits(const Node& node) {
    node.allow({"refusedUsage",
                "usageRefusal",
                "zeroUsage",
                "maxLayers",
                "layersRefusal",
                "maxReservedSize",
                "reservedRefusal",
                "options",
                "optionsRefusal",
                "acquireFence",
                "waitsForAcquireFence",
                "releaseFence",
                "lockWithoutUsage",
                "lockWithOtherUsage",
                "lockWithOnlyOtherUsage",
                "nestedLock",
                "foreignHandle",
                "foreignRead",
                "foreignSet",
                "foreignImport",
                "unlockedFlush",
                "unlockedReread",
                "flushAfterRead",
                "rereadAfterWrite",
                "setUndecodable",
                "setConstant",
                "givesReservedRegion",
                "settable"});
    const auto codeOr = [&](std::string_view key, int32_t otherwise) {
        return node.has(key) ? code(node.at(key)) : otherwise;
    };
    Traits traits;
    traits.refusedUsage = bitsOr(node, "refusedUsage");
    traits.usageRefusal = codeOr("usageRefusal", traits.usageRefusal);
    traits.zeroUsage = codeOr("zeroUsage", traits.zeroUsage);
    traits.maxLayers = integerOr(node, "maxLayers", 1, kMaxNumber, traits.maxLayers);
    traits.layersRefusal = codeOr("layersRefusal", traits.layersRefusal);
    traits.maxReservedSize = integerOr(node, "maxReservedSize", 0, 1 << 26, 0);
    traits.reservedRefusal = codeOr("reservedRefusal", traits.reservedRefusal);
    traits.options = optionalList<std::string>(node, "options", 64,
                                               [](const Node& option) { return option.text(); });
    traits.optionsRefusal = codeOr("optionsRefusal", traits.optionsRefusal);
    if (node.has("acquireFence")) {
        traits.acquireFence = node.at("acquireFence").word(kAcquireFences);
    }
    traits.waitsForAcquireFence = booleanOr(node, "waitsForAcquireFence", true);
    traits.releaseFence = booleanOr(node, "releaseFence", false);
    for (const auto& [name, answer] : kMapperAnswers) {
        traits.*answer = codeOr(name, traits.*answer);
    }
    traits.givesReservedRegion = booleanOr(node, "givesReservedRegion", true);
    traits.settable = optionalList<int64_t>(node, "settable", 64,
                                            [](const Node& type) { return type.integer(1, 1024); });
    return traits;
}

void readNumbers(const Node& node, size_t planes, Answer& answer) {
    size_t next = 4;
    const auto number = [&] { return node.at(next++).integer(0, kMaxNumber); };
    answer.numbers.stride = number();
    answer.numbers.answeredStride = number();
    answer.numbers.size = number();
    for (size_t i = 0; i < planes; ++i) {
        PlaneNumbers& plane = answer.numbers.planes[i];
        plane.offset = number();
        plane.row = number();
        plane.size = number();
        plane.width = number();
        plane.height = number();
    }
    size_t count = node.count(64);
    if (count > next && node.at(count - 1).isObject()) {
        const Node own = node.at(--count);
        own.allow({"extensionStride", "verticalStride", "extensionSize"});
        for (size_t i = 0; i < kOwnNumbers.size(); ++i) {
            if (own.has(kOwnNumbers[i].name)) {
                answer.numbers.own[i] = own.at(kOwnNumbers[i].name).integer(0, kMaxNumber);
            }
        }
    }
    if (next < count) {
        std::vector<int64_t>& library = answer.library.emplace();
        for (; next < count; ++next) {
            library.push_back(node.at(next).integer(INT64_MIN, INT64_MAX));
        }
    }
}

Answer readAnswer(const Node& node, const std::vector<Shape>& shapes) {
    const size_t count = node.count(64);
    Answer answer;
    answer.width = static_cast<uint32_t>(node.at(0).integer(1, kMaxNumber));
    answer.height = static_cast<uint32_t>(node.at(1).integer(1, kMaxNumber));
    answer.answer = static_cast<int32_t>(node.at(2).integer(kOtherException, INT32_MAX));
    if (answer.answer != kGranted) {
        if (count != 3) {
            node.fail("nothing expected behind a refusal");
        }
        return answer;
    }
    const auto shapeCount = static_cast<int64_t>(shapes.size());
    answer.shape = static_cast<uint32_t>(node.at(3).integer(0, shapeCount - 1));
    readNumbers(node, shapes[answer.shape].planes.size(), answer);
    return answer;
}

Samples readSamples(const Node& node, const std::vector<Shape>& shapes) {
    node.allow({"format", "usage", "locks", "answers"});
    Samples samples;
    samples.format = formatCode(node.at("format"));
    samples.usage = node.at("usage").bits();
    if (node.has("locks")) {
        samples.locks = readLockAnswer(node.at("locks"));
    }
    samples.answers = list<Answer>(node.at("answers"), kMaxAnswers,
                                   [&](const Node& row) { return readAnswer(row, shapes); });
    std::set<std::pair<uint32_t, uint32_t>> sizes;
    for (size_t i = 0; i < samples.answers.size(); ++i) {
        const Answer& answer = samples.answers[i];
        if (!sizes.emplace(answer.width, answer.height).second) {
            node.at("answers").at(i).fail("this size is answered twice");
        }
    }
    return samples;
}

template <typename T, typename KeyOf>
void requireAscending(const Node& node, const std::vector<T>& values, const KeyOf& keyOf) {
    for (size_t i = 1; i < values.size(); ++i) {
        if (!(keyOf(values[i - 1]) < keyOf(values[i]))) {
            node.at(i).fail("ascending order expected, and nothing twice");
        }
    }
}

void readRules(const Node& node, Profile& profile) {
    profile.traits = readTraits(node.at("traits"));
    profile.locks = optionalList<LockRule>(node, "locks", 256, readLockRule);
    profile.shapes = list<Shape>(node.at("shapes"), kMaxShapes, readShape);
    const Node formats = node.at("formats");
    const size_t count = formats.count(kMaxFormats);
    for (size_t i = 0; i < count; ++i) {
        profile.formats.push_back(readFormat(formats.at(i), profile));
    }
    std::vector<int32_t> codes;
    std::sort(profile.formats.begin(), profile.formats.end(),
              [](const FormatRules& a, const FormatRules& b) { return a.format < b.format; });
    for (size_t i = 1; i < profile.formats.size(); ++i) {
        if (profile.formats[i - 1].format == profile.formats[i].format) {
            formats.fail("format " + std::to_string(profile.formats[i].format) +
                         " has rules twice");
        }
    }
}

Profile readProfile(const Node& node) {
    const int64_t version = node.at("schemaVersion").integer(INT64_MIN, INT64_MAX);
    if (version != kSchemaVersion) {
        node.at("schemaVersion")
                .fail("version " + std::to_string(kSchemaVersion) + " expected, not " +
                      std::to_string(version));
    }
    node.allow({"$schema", "schemaVersion", "name", "description", "device", "build", "recorded",
                "traits", "locks", "shapes", "formats", "samples"});
    Profile profile;
    profile.name = node.at("name").text();
    profile.description = textOr(node, "description", 2000);
    profile.device = textOr(node, "device");
    profile.build = textOr(node, "build");
    profile.recorded = textOr(node, "recorded");
    readRules(node, profile);
    if (node.has("samples")) {
        const Node samples = node.at("samples");
        profile.samples = list<Samples>(samples, kMaxGroups, [&](const Node& group) {
            return readSamples(group, profile.shapes);
        });
        requireAscending(samples, profile.samples,
                         [](const Samples& group) { return std::pair(group.format, group.usage); });
    }
    return profile;
}

}  // namespace

std::optional<Profile> readJson(std::string_view text, std::string* error) {
    if (text.size() > kMaxDocumentSize) {
        *error = "a document of at most " + std::to_string(kMaxDocumentSize) + " bytes expected";
        return std::nullopt;
    }
    const auto document = Document::parse(text, error);
    if (!document) {
        return std::nullopt;
    }
    try {
        return readProfile(Node(*document));
    } catch (const BadProfile& bad) {
        *error = (bad.where.empty() ? "" : "at " + bad.where + ": ") + bad.why;
    }
    return std::nullopt;
}

}  // namespace zelkcam::profile
