#include <cstdlib>
#include <limits>
#include <set>
#include <tuple>

#include "profile/Evaluate.h"
#include "profile/Json.h"
#include "profile/Value.h"
#include "profile/Words.h"

namespace zelkcam::profile {
namespace {

// Foreign text would run into a message's line, or steer the terminal that it is printed on.
bool isControl(char character) {
    return static_cast<uint8_t>(character) < ' ' || character == 0x7f;
}

// Where a document is wrong, and why.
struct BadProfile {
    std::string where;
    std::string why;
};

constexpr int64_t kMaxNumber = INT32_MAX;
constexpr int64_t kMaxFactor = 1 << 20;
constexpr int64_t kMaxAlignment = 1 << 24;
constexpr size_t kMaxText = 200;
constexpr size_t kMaxRules = 64;
constexpr size_t kMaxCases = 8;
constexpr size_t kMaxOthers = 16;
constexpr size_t kMaxFormats = 256;
constexpr size_t kMaxShapes = 4096;
constexpr size_t kMaxGroups = 16384;
constexpr size_t kMaxAnswers = 65536;

// One value of the document and the way to it. The way costs text only when something is wrong.
class Node {
  public:
    explicit Node(const Document& document) : mDocument(document), mValue(document.root()) {}
    Node(const Value& value, const Node* parent, std::string_view key)
        : mDocument(parent->mDocument), mValue(value), mParent(parent), mKey(key) {}
    Node(const Value& value, const Node* parent, size_t index)
        : mDocument(parent->mDocument), mValue(value), mParent(parent), mIndex(index) {}

    [[noreturn]] void fail(const std::string& why) const { throw BadProfile{path(), why}; }

    bool has(std::string_view key) const { return find(key) != nullptr; }
    Node at(std::string_view key) const {
        const Value* const found = find(key);
        if (found == nullptr) {
            fail("\"" + std::string(key) + "\" is missing");
        }
        return {*found, this, key};
    }
    Node at(size_t index) const {
        if (index >= mValue.count) {
            fail("more than " + std::to_string(mValue.count) + " elements expected");
        }
        return {mDocument.children(mValue)[index], this, index};
    }

    size_t count(size_t most) const {
        if (!isArray()) {
            fail("an array expected");
        }
        if (mValue.count > most) {
            fail("at most " + std::to_string(most) + " elements expected, not " +
                 std::to_string(mValue.count));
        }
        return mValue.count;
    }
    size_t size() const { return members().size() / 2; }
    bool isObject() const { return mValue.kind == Kind::kObject; }
    bool isArray() const { return mValue.kind == Kind::kArray; }
    bool isString() const { return mValue.kind == Kind::kText; }

    // Only what is named may stand in an object, and once: a misspelt word would count for nothing,
    // and of two values nobody knows which is meant.
    void allow(std::initializer_list<std::string_view> words) const;

    int64_t integer(int64_t least, int64_t most) const {
        if (mValue.kind != Kind::kInteger) {
            fail("a whole number expected");
        }
        const int64_t number = mValue.number;
        if (number < least || number > most) {
            fail("a number from " + std::to_string(least) + " to " + std::to_string(most) +
                 " expected, not " + std::to_string(number));
        }
        return number;
    }
    bool boolean() const {
        if (mValue.kind != Kind::kBoolean) {
            fail("true or false expected");
        }
        return mValue.number != 0;
    }
    std::string text(size_t most = kMaxText) const {
        if (!isString() || mValue.count > most) {
            fail("a text of at most " + std::to_string(most) + " bytes expected");
        }
        std::string text(mDocument.text(mValue));
        if (std::any_of(text.begin(), text.end(), isControl)) {
            fail("a text of one line expected, without control characters");
        }
        return text;
    }
    uint64_t bits() const;

    template <typename E, size_t N>
    E word(const Words<E, N>& words) const {
        const auto found = words.find(text());
        if (!found) {
            fail("\"" + text() + "\" is not known here");
        }
        return *found;
    }

  private:
    std::span<const Value> members() const {
        if (mValue.kind != Kind::kObject) {
            fail("an object expected");
        }
        return mDocument.children(mValue);
    }
    const Value* find(std::string_view key) const {
        const auto all = members();
        for (size_t i = 0; i < all.size(); i += 2) {
            if (mDocument.text(all[i]) == key) {
                return &all[i + 1];
            }
        }
        return nullptr;
    }
    // A key of the document, for a message.
    static std::string shown(std::string_view key) {
        std::string text(key.substr(0, kMaxText));
        std::replace_if(text.begin(), text.end(), isControl, '?');
        return "\"" + text + "\"";
    }
    std::string path() const {
        if (mParent == nullptr) {
            return "";
        }
        return mParent->path() + "/" + (mKey.empty() ? std::to_string(mIndex) : std::string(mKey));
    }

    const Document& mDocument;
    const Value& mValue;
    const Node* mParent = nullptr;
    std::string_view mKey;
    size_t mIndex = 0;
};

void Node::allow(std::initializer_list<std::string_view> words) const {
    const auto all = members();
    for (size_t i = 0; i < all.size(); i += 2) {
        const std::string_view key = mDocument.text(all[i]);
        bool known = false;
        for (const std::string_view word : words) {
            known = known || word == key;
        }
        if (!known) {
            fail(shown(key) + " is not known here");
        }
        if (find(key) != &all[i + 1]) {
            fail(shown(key) + " stands here twice");
        }
    }
}

// "0x20033", or a number.
uint64_t Node::bits() const {
    if (!isString()) {
        return static_cast<uint64_t>(integer(0, INT64_MAX));
    }
    const std::string digits = text();
    const bool good = digits.size() > 2 && digits.size() <= 18 && digits.starts_with("0x") &&
                      digits.find_first_not_of("0123456789abcdef", 2) == std::string::npos;
    if (!good) {
        fail("bits such as \"0x20033\" expected");
    }
    return std::strtoull(digits.c_str(), nullptr, 16);
}

template <typename T, typename Read>
std::vector<T> list(const Node& node, size_t most, const Read& read) {
    std::vector<T> values;
    const size_t count = node.count(most);
    values.reserve(count);
    for (size_t i = 0; i < count; ++i) {
        values.push_back(read(node.at(i)));
    }
    return values;
}

template <typename T, typename Read>
std::vector<T> optionalList(const Node& node, std::string_view key, size_t most, const Read& read) {
    return node.has(key) ? list<T>(node.at(key), most, read) : std::vector<T>();
}

int64_t integerOr(const Node& node, std::string_view key, int64_t least, int64_t most,
                  int64_t otherwise) {
    return node.has(key) ? node.at(key).integer(least, most) : otherwise;
}

bool booleanOr(const Node& node, std::string_view key, bool otherwise) {
    return node.has(key) ? node.at(key).boolean() : otherwise;
}

uint64_t bitsOr(const Node& node, std::string_view key) {
    return node.has(key) ? node.at(key).bits() : 0;
}

std::string textOr(const Node& node, std::string_view key, size_t most = kMaxText) {
    return node.has(key) ? node.at(key).text(most) : std::string();
}

int32_t code(const Node& node) {
    return static_cast<int32_t>(node.integer(INT32_MIN, INT32_MAX));
}

// Formats are often written as the unsigned number that they are known by.
int32_t formatCode(const Node& node) {
    if (node.isString()) {
        const uint64_t bits = node.bits();
        if (bits > UINT32_MAX) {
            node.fail("a format of 32 bits expected");
        }
        return static_cast<int32_t>(static_cast<uint32_t>(bits));
    }
    return static_cast<int32_t>(static_cast<uint32_t>(node.integer(INT32_MIN, UINT32_MAX)));
}

// A refusal that stands for itself: never kGranted.
int32_t refusal(const Node& node) {
    const int64_t value = node.integer(kOtherException, INT32_MAX);
    if (value == kGranted) {
        node.fail("a refusal expected");
    }
    return static_cast<int32_t>(value);
}

uint32_t fourcc(const Node& node) {
    if (!node.isString()) {
        return static_cast<uint32_t>(node.integer(0, UINT32_MAX));
    }
    const std::string name = node.text(4);
    if (name.size() != 4) {
        node.fail("four characters expected");
    }
    uint32_t value = 0;
    for (size_t i = 4; i-- > 0;) {
        value = value << 8 | static_cast<uint8_t>(name[i]);
    }
    return value;
}

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

std::vector<UsageTest> readUsageTests(const Node& node) {
    return optionalList<UsageTest>(node, "usage", 16, readUsageTest);
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

Rule readRule(const Node& node, const std::vector<Shape>& shapes) {
    node.allow({"usage", "size", "refuse", "shape", "alignedWidth", "alignedHeight", "header",
                "stride", "answeredStride", "allocationSize", "extensionStride", "verticalStride",
                "extensionSize", "planes", "evidence", "others"});
    Rule rule;
    rule.usage = readUsageTests(node);
    rule.size = optionalList<SizeTest>(node, "size", 16, readSizeTest);
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
    const auto size = optionalList<SizeTest>(node, "size", 16, readSizeTest);
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
