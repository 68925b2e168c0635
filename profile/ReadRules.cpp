#include "profile/ReadRules.h"

#include <set>
#include <tuple>

#include "profile/Evaluate.h"

namespace zelkcam::profile {
namespace {

constexpr int64_t kMaxFactor = 1 << 20;
constexpr int64_t kMaxAlignment = 1 << 24;
constexpr size_t kMaxTests = 16;
constexpr size_t kMaxCases = 8;
constexpr size_t kMaxOthers = 16;

Term readTerm(const Node& node, bool amongCases) {
    if (amongCases) {
        node.allow({"of",         "plane",    "up",     "header", "unit",    "times", "per",
                    "plus",       "tailRows", "align",  "extra",  "extraAt", "least", "orUnit",
                    "orTailRows", "orAlign",  "orPlus", "upTo",   "sure",    "next"});
    } else {
        node.allow({"of", "plane", "up", "header", "unit", "times", "per", "plus", "tailRows",
                    "align", "extra", "extraAt", "least", "orUnit", "orTailRows", "orAlign",
                    "orPlus"});
    }
    Term term;
    term.base = node.at("of").word(kBases);
    term.plane = static_cast<uint8_t>(integerOr(node, "plane", 0, kMaxPlanes - 1, 0));
    term.up = booleanOr(node, "up", false);
    term.header = booleanOr(node, "header", false);
    term.unit = integerOr(node, "unit", 1, kMaxAlignment, 1);
    term.times = integerOr(node, "times", 1, kMaxFactor, 1);
    term.per = integerOr(node, "per", 1, kMaxFactor, 1);
    term.plus = integerOr(node, "plus", -kMaxNumber, kMaxNumber, 0);
    term.tailRows = integerOr(node, "tailRows", 0, kMaxFactor, 0);
    term.align = integerOr(node, "align", 1, kMaxAlignment, 1);
    term.extra = integerOr(node, "extra", 0, kMaxNumber, 0);
    term.extraAt = integerOr(node, "extraAt", 1, kMaxAlignment, 1);
    term.least = integerOr(node, "least", 0, kMaxNumber, 0);
    term.orUnit = integerOr(node, "orUnit", 0, kMaxAlignment, 0);
    term.orAlign = integerOr(node, "orAlign", 0, kMaxAlignment, 0);
    term.plusOpen = node.has("orPlus");
    if (term.plusOpen) {
        term.orTailRows = integerOr(node, "orTailRows", 0, kMaxFactor, term.tailRows);
    }
    term.orPlus = integerOr(node, "orPlus", -kMaxNumber, kMaxNumber, 0);
    return term;
}

// Where on an axis something changes, and between which sizes that is known.
struct Limit {
    Axis axis = Axis::kWidth;
    int64_t value = 0;
    int64_t sure = 0;
    int64_t next = 0;
};

Limit readLimit(const Node& node, const char* key) {
    const Node size = node.at(key);
    size.allow({"width", "height", "area"});
    if (size.size() != 1) {
        size.fail("one of \"width\", \"height\" and \"area\" expected");
    }
    Limit limit;
    for (const auto& [axis, word] : kAxes.entries) {
        if (size.has(word)) {
            limit.axis = axis;
            limit.value = size.at(word).integer(0, INT64_MAX - 1);
        }
    }
    limit.sure = integerOr(node, "sure", 0, limit.value, limit.value);
    limit.next = integerOr(node, "next", limit.value + 1, INT64_MAX, limit.value + 1);
    return limit;
}

Case readCase(const Node& node) {
    Case one{.term = readTerm(node, true)};
    one.limited = node.has("upTo");
    if (one.limited) {
        const Limit limit = readLimit(node, "upTo");
        one.axis = limit.axis;
        one.upTo = limit.value;
        one.sure = limit.sure;
        one.next = limit.next;
    } else if (node.has("sure") || node.has("next")) {
        node.fail("\"sure\" and \"next\" belong to \"upTo\"");
    }
    return one;
}

Quantity readQuantity(const Node& node) {
    if (!node.isArray()) {
        return {Case{.term = readTerm(node, false)}};
    }
    auto cases = list<Case>(node, kMaxCases, readCase);
    for (size_t i = 0; i < cases.size(); ++i) {
        if (cases[i].limited == (i + 1 == cases.size())) {
            node.at(i).fail("\"upTo\" expected in all cases but the last");
        }
    }
    if (cases.empty()) {
        node.fail("at least one case expected");
    }
    return cases;
}

UsageTest readUsageTest(const Node& node) {
    node.allow({"any", "all", "none"});
    for (const auto& [op, word] : kUsageOps.entries) {
        if (node.size() == 1 && node.has(word)) {
            return {op, node.at(word).bits()};
        }
    }
    node.fail("one of \"any\", \"all\" and \"none\" expected");
}

SizeTest readSizeTest(const Node& node) {
    node.allow({"odd", "unit", "above", "upTo", "sure", "next"});
    if (node.has("odd")) {
        if (node.size() != (node.has("unit") ? 2 : 1)) {
            node.fail("\"odd\" or a limit expected, not both");
        }
        const Axis axis = node.at("odd").word(kAxes);
        if (axis == Axis::kArea) {
            node.fail("width or height expected");
        }
        return {.op = axis == Axis::kWidth ? SizeOp::kOddWidth : SizeOp::kOddHeight,
                .unit = integerOr(node, "unit", 2, kMaxAlignment, 2)};
    }
    const bool upTo = node.has("upTo");
    if (node.has("unit") || (upTo && node.has("above"))) {
        node.fail("one limit expected");
    }
    const Limit limit = readLimit(node, upTo ? "upTo" : "above");
    return {upTo ? SizeOp::kUpTo : SizeOp::kAbove, limit.axis, limit.value, limit.sure, limit.next};
}

Evidence readEvidence(const Node& node) {
    node.allow({"samples", "exceptions", "maxWidth", "maxHeight"});
    const int64_t samples = node.at("samples").integer(0, kMaxNumber);
    return {samples, node.at("exceptions").integer(0, samples),
            node.at("maxWidth").integer(0, kMaxNumber),
            node.at("maxHeight").integer(0, kMaxNumber)};
}

PlaneRule readPlaneRule(const Node& node, PlaneRule rule) {
    node.allow({"row", "rows", "size", "offset", "width", "height"});
    for (const auto& [name, quantity] : kPlaneQuantities) {
        if (node.has(name)) {
            rule.*quantity = readQuantity(node.at(name));
        }
    }
    return rule;
}

void collectReferences(const Quantity& quantity, std::set<size_t>& planes) {
    for (const Case& one : quantity) {
        if (one.term.base == Base::kEnd || one.term.base == Base::kStart) {
            planes.insert(one.term.plane);
        }
    }
}

// What a quantity may be counted from depends on what is known when its turn comes.
void requireKnown(const Node& node, const Quantity& quantity, std::initializer_list<Base> known) {
    for (const Case& one : quantity) {
        if (std::find(known.begin(), known.end(), one.term.base) == known.end()) {
            node.fail("\"" + std::string(kBases.of(one.term.base)) +
                      "\" is not known when this is counted");
        }
        if ((one.term.tailRows != 0 || one.term.orTailRows != 0) && one.term.base != Base::kTotal &&
            one.term.base != Base::kEnd) {
            node.fail("\"tailRows\" belongs behind planes");
        }
    }
}

// Every plane can be placed, one after the other.
void requireOrder(const Node& node, const std::vector<PlaneRule>& planes) {
    std::set<size_t> placed;
    for (size_t pass = 0; pass < planes.size(); ++pass) {
        for (size_t i = 0; i < planes.size(); ++i) {
            std::set<size_t> references;
            collectReferences(planes[i].offset, references);
            if (std::includes(placed.begin(), placed.end(), references.begin(), references.end())) {
                placed.insert(i);
            }
        }
    }
    if (placed.size() != planes.size()) {
        node.fail("the planes' offsets wait for each other");
    }
}

void requireBases(const Node& node, const Rule& rule) {
    requireKnown(node, rule.alignedWidth, {Base::kConstant, Base::kWidth});
    requireKnown(node, rule.alignedHeight, {Base::kConstant, Base::kHeight});
    requireKnown(node, rule.header, {Base::kConstant, Base::kArea});
    for (const PlaneRule& plane : rule.planes) {
        requireKnown(node, plane.row,
                     {Base::kConstant, Base::kWidth, Base::kAlignedWidth, Base::kRow});
        requireKnown(node, plane.rows, {Base::kConstant, Base::kHeight, Base::kAlignedHeight});
        requireKnown(node, plane.size, {Base::kConstant, Base::kArea, Base::kPlane, Base::kRow});
        requireKnown(node, plane.offset, {Base::kConstant, Base::kArea, Base::kEnd, Base::kStart});
        for (const Quantity* one : {&plane.width, &plane.height}) {
            requireKnown(node, *one,
                         {Base::kConstant, Base::kWidth, Base::kHeight, Base::kAlignedWidth,
                          Base::kAlignedHeight, Base::kRow});
        }
    }
    for (const Quantity* one : {&rule.stride, &rule.answeredStride, &rule.extensionStride}) {
        requireKnown(node, *one, {Base::kConstant, Base::kWidth, Base::kAlignedWidth, Base::kRow});
    }
    for (const Quantity* one : {&rule.allocationSize, &rule.extensionSize}) {
        requireKnown(node, *one,
                     {Base::kConstant, Base::kArea, Base::kTotal, Base::kEnd, Base::kStart});
    }
    requireKnown(node, rule.verticalStride, {Base::kConstant, Base::kHeight, Base::kAlignedHeight});
}

void requirePlanes(const Node& node, const Rule& rule) {
    std::set<size_t> references;
    collectReferences(rule.allocationSize, references);
    collectReferences(rule.extensionSize, references);
    for (const PlaneRule& plane : rule.planes) {
        collectReferences(plane.offset, references);
    }
    if (!references.empty() && *references.rbegin() >= rule.planes.size()) {
        node.fail("there is no plane " + std::to_string(*references.rbegin()));
    }
    requireOrder(node, rule.planes);
}

void requireNothingGranted(const Node& node) {
    bool granted = node.has("shape") || node.has("planes") || node.has("others");
    for (const auto& [name, quantity] : kRuleQuantities) {
        granted = granted || node.has(name);
    }
    if (granted) {
        node.fail("a rule refuses, or tells what a buffer looks like, not both");
    }
}

void readQuantities(const Node& node, Rule& rule) {
    for (const auto& [name, quantity] : kRuleQuantities) {
        if (node.has(name)) {
            rule.*quantity = readQuantity(node.at(name));
        }
    }
}

// Formulas that explain the samples as well, given by what is different.
Rule readOther(const Node& node, const Rule& rule) {
    node.allow({"alignedWidth", "alignedHeight", "header", "stride", "answeredStride",
                "allocationSize", "extensionStride", "verticalStride", "extensionSize", "planes"});
    Rule other = quantitiesOf(rule);
    readQuantities(node, other);
    if (node.has("planes")) {
        const Node planes = node.at("planes");
        other.planes.resize(planes.count(kMaxPlanes));
        if (other.planes.size() < rule.planes.size()) {
            planes.fail("as many planes as the rule has expected");
        }
        for (size_t i = 0; i < other.planes.size(); ++i) {
            other.planes[i] = readPlaneRule(planes.at(i), other.planes[i]);
        }
    }
    requireBases(node, other);
    requirePlanes(node, other);
    return other;
}

}  // namespace

std::vector<UsageTest> readUsageTests(const Node& node) {
    return optionalList<UsageTest>(node, "usage", kMaxTests, readUsageTest);
}

std::vector<SizeTest> readSizeTests(const Node& node) {
    return optionalList<SizeTest>(node, "size", kMaxTests, readSizeTest);
}

Rule readRule(const Node& node, const std::vector<Shape>& shapes) {
    node.allow({"usage", "size", "refuse", "shape", "alignedWidth", "alignedHeight", "header",
                "stride", "answeredStride", "allocationSize", "extensionStride", "verticalStride",
                "extensionSize", "planes", "evidence", "others"});
    Rule rule;
    rule.usage = readUsageTests(node);
    rule.size = readSizeTests(node);
    if (node.has("evidence")) {
        rule.evidence = readEvidence(node.at("evidence"));
    }
    if (node.has("refuse")) {
        requireNothingGranted(node);
        rule.answer = refusal(node.at("refuse"));
        return rule;
    }
    rule.shape = static_cast<uint32_t>(
            node.at("shape").integer(0, static_cast<int64_t>(shapes.size()) - 1));
    readQuantities(node, rule);
    rule.planes = optionalList<PlaneRule>(node, "planes", kMaxPlanes,
                                          [](const Node& one) { return readPlaneRule(one, {}); });
    // A device may keep its planes to itself; the rule counts with them all the same.
    const size_t told = shapes[rule.shape].planes.size();
    if (told != 0 && rule.planes.size() != told) {
        node.fail("the rule has " + std::to_string(rule.planes.size()) + " planes, its shape " +
                  std::to_string(told));
    }
    requireBases(node, rule);
    requirePlanes(node, rule);
    const Rule& known = rule;
    rule.others = optionalList<Rule>(node, "others", kMaxOthers,
                                     [&](const Node& one) { return readOther(one, known); });
    return rule;
}

}  // namespace zelkcam::profile
