#include <nlohmann/json.hpp>

#include "profile/Json.h"
#include "profile/Words.h"

namespace zelkcam::profile {
namespace {

using Json = nlohmann::ordered_json;

std::string hex(uint64_t bits) {
    constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    do {
        text.insert(text.begin(), kDigits[bits & 0xf]);
        bits >>= 4;
    } while (bits != 0);
    return "0x" + text;
}

template <typename T>
void putUnless(Json& object, const char* key, const T& value, const T& otherwise) {
    if (value != otherwise) {
        object[key] = value;
    }
}

void putBits(Json& object, const char* key, uint64_t bits) {
    if (bits != 0) {
        object[key] = hex(bits);
    }
}

template <typename T, typename Write>
Json array(const std::vector<T>& values, const Write& write) {
    Json list = Json::array();
    for (const T& value : values) {
        list.push_back(write(value));
    }
    return list;
}

template <typename T, typename Write>
void putList(Json& object, const char* key, const std::vector<T>& values, const Write& write) {
    if (!values.empty()) {
        object[key] = array(values, write);
    }
}

Json fourcc(uint32_t code) {
    std::string name;
    for (int i = 0; i < 4; ++i) {
        const auto character = static_cast<char>(code >> (8 * i));
        if (character < ' ' || character > '~') {
            return code;
        }
        name += character;
    }
    return name;
}

Json termOf(const Term& term) {
    const Term plain;
    Json object;
    object["of"] = kBases.of(term.base);
    if (term.base == Base::kEnd || term.base == Base::kStart) {
        object["plane"] = term.plane;
    }
    putUnless(object, "unit", term.unit, plain.unit);
    putUnless(object, "times", term.times, plain.times);
    putUnless(object, "per", term.per, plain.per);
    putUnless(object, "up", term.up, plain.up);
    putUnless(object, "plus", term.plus, plain.plus);
    putUnless(object, "tailRows", term.tailRows, plain.tailRows);
    putUnless(object, "header", term.header, plain.header);
    putUnless(object, "align", term.align, plain.align);
    putUnless(object, "extra", term.extra, plain.extra);
    putUnless(object, "extraAt", term.extraAt, plain.extraAt);
    putUnless(object, "least", term.least, plain.least);
    putUnless(object, "orUnit", term.orUnit, plain.orUnit);
    putUnless(object, "orAlign", term.orAlign, plain.orAlign);
    if (term.plusOpen) {
        object["orPlus"] = term.orPlus;
        putUnless(object, "orTailRows", term.orTailRows, term.tailRows);
    }
    return object;
}

Json caseOf(const Case& one) {
    Json object = termOf(one.term);
    if (one.limited) {
        object["upTo"] = {{kAxes.of(one.axis), one.upTo}};
        putUnless(object, "sure", one.sure, one.upTo);
        putUnless(object, "next", one.next, one.upTo + 1);
    }
    return object;
}

// The quantities that differ from those of another rule, or from none.
template <typename T, size_t N>
void putQuantities(Json& object, const T& rule, const T& base,
                   const std::array<Named<T>, N>& quantities) {
    for (const auto& [name, member] : quantities) {
        const Quantity& quantity = rule.*member;
        if (quantity == base.*member) {
            continue;
        }
        if (quantity.size() == 1) {
            object[std::string(name)] = termOf(quantity.front().term);
        } else if (!quantity.empty()) {
            object[std::string(name)] = array(quantity, caseOf);
        }
    }
}

Json usageTestOf(const UsageTest& test) {
    return {{kUsageOps.of(test.op), hex(test.mask)}};
}

Json sizeTestOf(const SizeTest& test) {
    if (test.op == SizeOp::kOddWidth || test.op == SizeOp::kOddHeight) {
        Json object{{"odd", test.op == SizeOp::kOddWidth ? "width" : "height"}};
        putUnless(object, "unit", test.unit, int64_t{2});
        return object;
    }
    const char* const word = test.op == SizeOp::kAbove ? "above" : "upTo";
    Json object{{word, {{kAxes.of(test.axis), test.limit}}}};
    putUnless(object, "sure", test.sure, test.limit);
    putUnless(object, "next", test.next, test.limit + 1);
    return object;
}

// Another rule by what it has different; planes that have nothing are empty.
Json otherOf(const Rule& other, const Rule& rule) {
    Json object = Json::object();
    putQuantities(object, other, rule, kRuleQuantities);
    if (other.planes != rule.planes) {
        Json planes = Json::array();
        for (size_t i = 0; i < other.planes.size(); ++i) {
            Json quantities = Json::object();
            putQuantities(quantities, other.planes[i],
                          i < rule.planes.size() ? rule.planes[i] : PlaneRule(), kPlaneQuantities);
            planes.push_back(std::move(quantities));
        }
        object["planes"] = std::move(planes);
    }
    return object;
}

Json ruleOf(const Rule& rule) {
    Json object = Json::object();
    putList(object, "usage", rule.usage, usageTestOf);
    putList(object, "size", rule.size, sizeTestOf);
    if (rule.answer != kGranted) {
        object["refuse"] = rule.answer;
    } else {
        object["shape"] = rule.shape;
        putQuantities(object, rule, {}, kRuleQuantities);
        putList(object, "planes", rule.planes, [](const PlaneRule& plane) {
            Json quantities = Json::object();
            putQuantities(quantities, plane, {}, kPlaneQuantities);
            return quantities;
        });
        putList(object, "others", rule.others,
                [&](const Rule& other) { return otherOf(other, rule); });
    }
    if (rule.evidence) {
        object["evidence"] = {{"samples", rule.evidence->samples},
                              {"exceptions", rule.evidence->exceptions},
                              {"maxWidth", rule.evidence->maxWidth},
                              {"maxHeight", rule.evidence->maxHeight}};
    }
    return object;
}

Json planeShapeOf(const PlaneShape& plane) {
    Json object = Json::object();
    putList(object, "components", plane.components, [](const Component& component) {
        return Json{component.type, component.offsetInBits, component.sizeInBits};
    });
    putUnless(object, "increment", plane.sampleIncrementInBits, int64_t{0});
    if (plane.horizontalSubsampling != 1 || plane.verticalSubsampling != 1) {
        object["subsampling"] = {plane.horizontalSubsampling, plane.verticalSubsampling};
    }
    return object;
}

Json shapeOf(const Shape& shape) {
    Json object;
    object["format"] = hex(static_cast<uint32_t>(shape.format));
    object["fourcc"] = fourcc(shape.fourcc);
    putBits(object, "modifier", shape.modifier);
    putUnless(object, "compression", shape.compression, int64_t{0});
    putUnless(object, "interlaced", shape.interlaced, int64_t{0});
    putUnless(object, "chromaSiting", shape.chromaSiting, int64_t{0});
    putBits(object, "usageAdded", shape.usageAdded);
    putBits(object, "usageRemoved", shape.usageRemoved);
    putBits(object, "flags", shape.flags);
    if (shape.crop != Crop::kPlane) {
        object["crop"] = kCrops.of(shape.crop);
    }
    putList(object, "refused", shape.refused, [](const Refused& refused) {
        return Json{refused.type, refused.code};
    });
    putList(object, "planes", shape.planes, planeShapeOf);
    return object;
}

Json lockRuleOf(const LockRule& rule) {
    Json object = Json::object();
    putList(object, "formats", rule.formats,
            [](int32_t format) { return Json(hex(static_cast<uint32_t>(format))); });
    putList(object, "usage", rule.usage, usageTestOf);
    object["answer"] = {rule.answer.read, rule.answer.write};
    return object;
}

Json traitsOf(const Traits& traits) {
    Json object;
    object["refusedUsage"] = hex(traits.refusedUsage);
    object["usageRefusal"] = traits.usageRefusal;
    object["zeroUsage"] = traits.zeroUsage;
    object["maxLayers"] = traits.maxLayers;
    object["layersRefusal"] = traits.layersRefusal;
    object["maxReservedSize"] = traits.maxReservedSize;
    object["reservedRefusal"] = traits.reservedRefusal;
    object["options"] = traits.options;
    object["optionsRefusal"] = traits.optionsRefusal;
    object["acquireFence"] = kAcquireFences.of(traits.acquireFence);
    object["waitsForAcquireFence"] = traits.waitsForAcquireFence;
    object["releaseFence"] = traits.releaseFence;
    for (const auto& [name, answer] : kMapperAnswers) {
        object[std::string(name)] = traits.*answer;
    }
    object["givesReservedRegion"] = traits.givesReservedRegion;
    object["settable"] = traits.settable;
    return object;
}

Json formatOf(const FormatRules& format) {
    Json object;
    object["format"] = hex(static_cast<uint32_t>(format.format));
    putList(object, "usages", format.usages, [](uint64_t usage) { return Json(hex(usage)); });
    object["rules"] = array(format.rules, ruleOf);
    return object;
}

void append(std::string& out, int64_t number) {
    out += ',';
    out += std::to_string(number);
}

void appendOwn(std::string& out, const Numbers& numbers) {
    std::string lead = ",{";
    for (size_t i = 0; i < kOwnNumbers.size(); ++i) {
        if (numbers.own[i]) {
            out += lead + "\"" + std::string(kOwnNumbers[i].name) +
                   "\":" + std::to_string(*numbers.own[i]);
            lead = ",";
        }
    }
    out += lead == "," ? "}" : "";
}

void appendAnswer(std::string& out, const Answer& answer, size_t planes) {
    out += "[" + std::to_string(answer.width);
    append(out, answer.height);
    append(out, answer.answer);
    if (answer.answer == kGranted) {
        append(out, answer.shape);
        append(out, answer.numbers.stride);
        append(out, answer.numbers.answeredStride);
        append(out, answer.numbers.size);
        for (size_t i = 0; i < planes; ++i) {
            const PlaneNumbers& plane = answer.numbers.planes[i];
            for (const int64_t number :
                 {plane.offset, plane.row, plane.size, plane.width, plane.height}) {
                append(out, number);
            }
        }
        for (const int64_t number : answer.library.value_or(std::vector<int64_t>())) {
            append(out, number);
        }
        appendOwn(out, answer.numbers);
    }
    out += "]";
}

// One answer a line: a recording is compared line by line.
void appendSamples(std::string& out, const Profile& profile) {
    const char* between = "";
    out += ",\n\"samples\": [";
    for (const Samples& group : profile.samples) {
        out += between;
        out += "\n{\"format\": \"" + hex(static_cast<uint32_t>(group.format)) +
               "\", \"usage\": \"" + hex(group.usage) + "\"";
        if (group.locks) {
            out += ", \"locks\": [" + std::to_string(group.locks->read) + "," +
                   std::to_string(group.locks->write) + "]";
        }
        out += ", \"answers\": [";
        const char* comma = "\n";
        for (const Answer& answer : group.answers) {
            out += comma;
            appendAnswer(
                    out, answer,
                    answer.answer == kGranted ? profile.shapes[answer.shape].planes.size() : 0);
            comma = ",\n";
        }
        out += "]}";
        between = ",";
    }
    out += "]";
}

template <typename T, typename Write>
void appendList(std::string& out, const char* key, const std::vector<T>& values,
                const Write& write) {
    out += std::string(",\n\"") + key + "\": [";
    const char* between = "\n";
    for (const T& value : values) {
        out += between + write(value).dump();
        between = ",\n";
    }
    out += "]";
}

void appendText(std::string& out, const char* key, const std::string& text) {
    if (!text.empty()) {
        out += std::string(",\n\"") + key +
               "\": " + Json(text).dump(-1, ' ', true, Json::error_handler_t::replace);
    }
}

}  // namespace

std::string writeJson(const Profile& profile) {
    std::string out = "{\"schemaVersion\": " + std::to_string(kSchemaVersion);
    out += ",\n\"name\": " + Json(profile.name).dump(-1, ' ', true, Json::error_handler_t::replace);
    appendText(out, "description", profile.description);
    appendText(out, "device", profile.device);
    appendText(out, "build", profile.build);
    appendText(out, "recorded", profile.recorded);
    out += ",\n\"traits\": " + traitsOf(profile.traits).dump(1);
    appendList(out, "locks", profile.locks, lockRuleOf);
    appendList(out, "shapes", profile.shapes, shapeOf);
    appendList(out, "formats", profile.formats, formatOf);
    if (!profile.samples.empty()) {
        appendSamples(out, profile);
    }
    return out + "}\n";
}

}  // namespace zelkcam::profile
