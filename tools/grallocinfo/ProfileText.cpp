#include "tools/grallocinfo/ProfileText.h"

#include <algorithm>
#include <sstream>

#include "profile/Words.h"
#include "tools/grallocinfo/Failure.h"
#include "tools/grallocinfo/Library.h"

namespace grallocinfo {

namespace {

using zelkcam::profile::AcquireFence;
using zelkcam::profile::Base;
using zelkcam::profile::Case;
using zelkcam::profile::FormatRules;
using zelkcam::profile::kGranted;
using zelkcam::profile::kPlaneQuantities;
using zelkcam::profile::kRuleQuantities;
using zelkcam::profile::LockRule;
using zelkcam::profile::PlaneRule;
using zelkcam::profile::Profile;
using zelkcam::profile::Quantity;
using zelkcam::profile::Rule;
using zelkcam::profile::Shape;
using zelkcam::profile::SizeOp;
using zelkcam::profile::SizeTest;
using zelkcam::profile::Term;
using zelkcam::profile::Traits;
using zelkcam::profile::UsageOp;
using zelkcam::profile::UsageTest;

std::string baseText(const Term& term) {
    switch (term.base) {
        case Base::kConstant:
            return "";
        case Base::kAlignedWidth:
            return "aligned width";
        case Base::kAlignedHeight:
            return "aligned height";
        case Base::kRow:
            return "first row";
        case Base::kArea:
            return "aligned area";
        case Base::kPlane:
            return "row x rows";
        case Base::kEnd:
            return "end of plane " + std::to_string(term.plane);
        case Base::kStart:
            return "start of plane " + std::to_string(term.plane);
        case Base::kTotal:
            return "end of planes";
        default:
            return std::string(zelkcam::profile::kBases.of(term.base));
    }
}

std::string termText(const Term& term) {
    std::string text = baseText(term);
    if (term.unit != 1) {
        text += " in " + std::to_string(term.unit) + "s";
    }
    if (term.times != 1) {
        text += " x " + std::to_string(term.times);
    }
    if (term.per != 1) {
        text += " / " + std::to_string(term.per) + (term.up ? " (up)" : "");
    }
    if (term.header) {
        text += " + header";
    }
    if (term.tailRows != 0) {
        text += " + " + std::to_string(term.tailRows) + " rows";
    }
    if (term.plus != 0 || text.empty()) {
        const std::string sign = term.plus < 0 ? " - " : " + ";
        text += (text.empty() ? "" : sign) + std::to_string(std::abs(term.plus));
    }
    if (term.align != 1) {
        text += ", to " + std::to_string(term.align);
    }
    if (term.extra != 0) {
        text += " + " + std::to_string(term.extra);
        text += term.extraAt == 1 ? "" : " if a multiple of " + std::to_string(term.extraAt);
    }
    if (term.least != 0) {
        text += ", at least " + std::to_string(term.least);
    }
    return text + (term.open() ? " (?)" : "");
}

std::string sizeTestText(const SizeTest& test) {
    if (test.op == SizeOp::kOddWidth || test.op == SizeOp::kOddHeight) {
        const std::string side = test.op == SizeOp::kOddWidth ? "width" : "height";
        return test.unit == 2 ? "odd " + side
                              : side + " no multiple of " + std::to_string(test.unit);
    }
    return std::string(zelkcam::profile::kAxes.of(test.axis)) +
           (test.op == SizeOp::kAbove ? " above " : " up to ") + std::to_string(test.limit);
}

std::string usageTestText(const UsageTest& test) {
    const char* const how = test.op == UsageOp::kAny   ? "any bit of "
                            : test.op == UsageOp::kAll ? "all bits of "
                                                       : "no bit of ";
    return how + hex(test.mask);
}

std::string usageText(const std::vector<UsageTest>& tests) {
    std::string text;
    for (const UsageTest& test : tests) {
        text += (text.empty() ? "" : ", ") + usageTestText(test);
    }
    return text;
}

std::string nameOf(int32_t format) {
    return describeFormat(formatName(format), format);
}

// A formula, marked where others would explain the samples as well.
void addFormula(std::string label, const Quantity& quantity, bool open,
                std::vector<LabelledText>& formulas) {
    if (!quantity.empty() || open) {
        const std::string text = quantity.empty() ? "as mostly" : describe(quantity);
        formulas.emplace_back(std::move(label), text + (open ? " (?)" : ""));
    }
}

// Whether others that explain the samples have another formula.
bool isOpen(const Rule& rule, Quantity Rule::*member) {
    return std::ranges::any_of(rule.others,
                               [&](const Rule& other) { return other.*member != rule.*member; });
}

bool isOpen(const Rule& rule, size_t plane, Quantity PlaneRule::*member) {
    return std::ranges::any_of(rule.others, [&](const Rule& other) {
        return plane < other.planes.size() &&
               other.planes[plane].*member != rule.planes[plane].*member;
    });
}

// What a rule states of every quantity.
std::vector<LabelledText> formulasOf(const Rule& rule) {
    std::vector<LabelledText> formulas;
    for (const auto& [name, member] : kRuleQuantities) {
        addFormula(std::string(name), rule.*member, isOpen(rule, member), formulas);
    }
    for (size_t i = 0; i < rule.planes.size(); ++i) {
        for (const auto& [name, member] : kPlaneQuantities) {
            addFormula("plane " + std::to_string(i) + " " + std::string(name),
                       rule.planes[i].*member, isOpen(rule, i, member), formulas);
        }
    }
    return formulas;
}

std::string shapeText(const Shape& shape) {
    std::string text = nameOf(shape.format) + ", " + std::to_string(shape.planes.size()) +
                       (shape.planes.size() == 1 ? " plane" : " planes");
    if (shape.modifier != 0) {
        text += ", modifier " + hex(shape.modifier);
    }
    if (!shape.refused.empty()) {
        text += ", " + std::to_string(shape.refused.size()) + " kinds of metadata refused";
    }
    return text;
}

void printRule(std::ostream& out, const RuleText& rule) {
    out << "  " << rule.conditions << ": " << rule.outcome << " (" << rule.evidence << ")\n";
    for (const auto& [label, text] : rule.formulas) {
        out << "    " << label << ": " << text << '\n';
    }
}

std::string refusalText(int32_t answer) {
    return "refused with " + std::to_string(answer);
}

template <typename T>
std::string joined(const std::vector<T>& values) {
    std::ostringstream text;
    for (const T& value : values) {
        text << (&value == values.data() ? "" : ", ") << value;
    }
    return values.empty() ? "none" : text.str();
}

void printTraits(std::ostream& out, const Traits& traits) {
    constexpr size_t kLabelWidth = 22;
    for (auto [label, text] : describe(traits)) {
        label.resize(kLabelWidth, ' ');
        out << label << text << '\n';
    }
}

Json inWords(const std::vector<LabelledText>& lines) {
    Json object = Json::object();
    for (const auto& [label, text] : lines) {
        object[label] = text;
    }
    return object;
}

Json ruleDocument(const Rule& rule, const Profile& profile) {
    const RuleText described = describe(rule, profile);
    Json object;
    object["when"] = described.conditions;
    if (rule.answer != kGranted) {
        object["refusal"] = rule.answer;
    } else {
        object["becomes"] = described.outcome;
        object["formulas"] = inWords(described.formulas);
        object["partlyGuessed"] = described.isPartlyGuessed;
    }
    if (rule.evidence) {
        object["samples"] = rule.evidence->samples;
        object["explained"] = rule.evidence->samples - rule.evidence->exceptions;
    }
    return object;
}

}  // namespace

std::string describe(const Quantity& quantity) {
    std::string text;
    for (const Case& one : quantity) {
        text += (text.empty() ? "" : "; then ") + termText(one.term);
        if (one.limited) {
            text += " up to " + std::string(zelkcam::profile::kAxes.of(one.axis)) + " " +
                    std::to_string(one.upTo) + (one.next > one.sure + 1 ? " (?)" : "");
        }
    }
    return text;
}

std::string conditionsOf(const Rule& rule) {
    std::string text = usageText(rule.usage);
    for (const SizeTest& test : rule.size) {
        text += (text.empty() ? "" : ", ") + sizeTestText(test);
    }
    return text.empty() ? "else" : text;
}

std::string evidenceOf(const Rule& rule) {
    if (!rule.evidence) {
        return "stated";
    }
    const std::string samples = std::to_string(rule.evidence->samples) + " samples";
    return rule.evidence->exceptions == 0
                   ? samples
                   : std::to_string(rule.evidence->samples - rule.evidence->exceptions) + " of " +
                             samples + ", the others are replayed; what was not asked is a guess";
}

RuleText describe(const Rule& rule, const Profile& profile) {
    RuleText text{conditionsOf(rule), refusalText(rule.answer), {}, evidenceOf(rule)};
    if (rule.answer != kGranted) {
        return text;
    }
    text.outcome = shapeText(profile.shapes[rule.shape]);
    text.formulas = formulasOf(rule);
    text.isPartlyGuessed = (rule.evidence && rule.evidence->exceptions > 0) ||
                           std::ranges::any_of(text.formulas, [](const LabelledText& formula) {
                               return formula.second.find("(?)") != std::string::npos;
                           });
    return text;
}

std::vector<LabelledText> describe(const Traits& traits) {
    const auto unless = [](int32_t good, int32_t answer) {
        return answer == good ? "granted" : refusalText(answer);
    };
    const auto number = [](int64_t value) { return std::to_string(value); };
    return {{"usage bits refused", hex(traits.refusedUsage)},
            {"usage 0", unless(kGranted, traits.zeroUsage)},
            {"layers", "up to " + number(traits.maxLayers)},
            {"reserved region", "up to " + number(traits.maxReservedSize) + " bytes" +
                                        (traits.givesReservedRegion ? "" : ", never given")},
            {"acquire fence",
             traits.acquireFence == AcquireFence::kClosed ? "closed" : "left open"},
            {"waits for the fence", traits.waitsForAcquireFence ? "yes" : "no"},
            {"release fence", traits.releaseFence ? "given" : "none"},
            {"lock without usage", unless(0, traits.lockWithoutUsage)},
            {"lock with other bits", unless(0, traits.lockWithOtherUsage)},
            {"lock, other bits only", unless(0, traits.lockWithOnlyOtherUsage)},
            {"nested lock", unless(0, traits.nestedLock)},
            {"foreign handle: lock", unless(0, traits.foreignHandle)},
            {"foreign handle: read", unless(0, traits.foreignRead)},
            {"foreign handle: set", unless(0, traits.foreignSet)},
            {"handle of other shape", unless(0, traits.foreignImport)},
            {"flush without lock", unless(0, traits.unlockedFlush)},
            {"reread without lock", unless(0, traits.unlockedReread)},
            {"flush of a read lock", unless(0, traits.flushAfterRead)},
            {"reread of a write", unless(0, traits.rereadAfterWrite)},
            {"undecodable value", unless(0, traits.setUndecodable)},
            {"value of a constant", unless(0, traits.setConstant)},
            {"metadata to be set", joined(traits.settable)},
            {"additional options", joined(traits.options)}};
}

std::vector<LabelledText> describe(const std::vector<LockRule>& locks) {
    std::vector<LabelledText> lines;
    for (const LockRule& rule : locks) {
        const std::string usage = usageText(rule.usage);
        std::string label = "lock, " + (usage.empty() ? "else" : usage);
        for (const int32_t format : rule.formats) {
            label += ", " + nameOf(format);
        }
        lines.emplace_back(label, "reading " + std::to_string(rule.answer.read) + ", writing " +
                                          std::to_string(rule.answer.write));
    }
    return lines;
}

void printProfile(std::ostream& out, const Profile& profile) {
    out << profile.name << '\n';
    for (const std::string* const line :
         {&profile.description, &profile.device, &profile.build, &profile.recorded}) {
        if (!line->empty()) {
            out << *line << '\n';
        }
    }
    out << '\n';
    printTraits(out, profile.traits);
    for (const auto& [label, text] : describe(profile.locks)) {
        out << label << ": " << text << '\n';
    }
    for (const FormatRules& format : profile.formats) {
        out << '\n' << nameOf(format.format) << '\n';
        for (const Rule& rule : format.rules) {
            printRule(out, describe(rule, profile));
        }
    }
}

Json profileDocument(const Profile& profile) {
    Json document = newDocument();
    document["name"] = profile.name;
    document["device"] = profile.device;
    document["traits"] = inWords(describe(profile.traits));
    document["locks"] = inWords(describe(profile.locks));
    Json& formats = document["formats"] = Json::array();
    for (const FormatRules& format : profile.formats) {
        Json object;
        putCode(object, "format", format.format);
        object["formatName"] = formatName(format.format);
        object["rules"] = Json::array();
        for (const Rule& rule : format.rules) {
            object["rules"].push_back(ruleDocument(rule, profile));
        }
        formats.push_back(object);
    }
    return document;
}

}  // namespace grallocinfo
