#include "profile/Infer.h"

#include <algorithm>
#include <map>
#include <set>
#include <tuple>
#include <utility>

#include "profile/Evaluate.h"
#include "profile/Fit.h"

namespace zelkcam::profile {
namespace {

// Usages of a format that nothing tells apart, and all that was answered to them.
struct Group {
    std::vector<uint64_t> usages;
    std::map<Size, const Answer*> answers;
};

// Whether a usage was answered as the group was wherever both were asked; at least once.
bool belongs(const Samples& samples, const Group& group) {
    size_t common = 0;
    for (const Answer& answer : samples.answers) {
        const auto found = group.answers.find({answer.width, answer.height});
        if (found == group.answers.end()) {
            continue;
        }
        if (!sameAnswer(answer, *found->second)) {
            return false;
        }
        ++common;
    }
    return common > 0;
}

std::vector<Group> groupUsages(const std::vector<const Samples*>& format) {
    std::vector<Group> groups;
    for (const Samples* const samples : format) {
        auto group = std::find_if(groups.begin(), groups.end(),
                                  [&](const Group& one) { return belongs(*samples, one); });
        if (group == groups.end()) {
            group = groups.emplace(groups.end());
        }
        group->usages.push_back(samples->usage);
        for (const Answer& answer : samples->answers) {
            group->answers.emplace(Size{answer.width, answer.height}, &answer);
        }
    }
    return groups;
}

using AnswerKind = std::pair<int32_t, uint32_t>;  // answer and shape

AnswerKind kindOf(const Answer& answer) {
    return {answer.answer, answer.answer == kGranted ? answer.shape : 0};
}

bool holds(const SizeTest& test, const Answer& answer) {
    return holds(test, answer.width, answer.height);
}

// How many answers a condition catches if they are all of one kind, else 0.
size_t pureCatch(const SizeTest& test, const Answers& answers) {
    std::set<AnswerKind> kinds;
    size_t count = 0;
    for (const Answer* const answer : answers) {
        if (holds(test, *answer)) {
            kinds.insert(kindOf(*answer));
            ++count;
        }
    }
    return kinds.size() == 1 ? count : 0;
}

const Answer* firstCaught(const SizeTest& test, const Answers& answers) {
    const auto found = std::find_if(answers.begin(), answers.end(),
                                    [&](const Answer* answer) { return holds(test, *answer); });
    return found == answers.end() ? nullptr : *found;
}

// The limit of the axis that catches the most answers, all of one kind: those above it, or those up
// to it.
std::optional<SizeTest> limitOn(SizeOp op, Axis axis, const Answers& answers) {
    std::vector<std::pair<int64_t, AnswerKind>> sorted;
    for (const Answer* const answer : answers) {
        sorted.emplace_back(onAxis(axis, answer->width, answer->height), kindOf(*answer));
    }
    std::sort(sorted.begin(), sorted.end());
    if (op == SizeOp::kAbove) {
        std::reverse(sorted.begin(), sorted.end());
    }
    const auto other = std::find_if(sorted.begin(), sorted.end(), [&](const auto& one) {
        return one.second != sorted.front().second;
    });
    if (other == sorted.end()) {
        return std::nullopt;
    }
    // Sizes at which both kinds occur lie beyond the limit.
    auto last = other;
    while (last != sorted.begin() && std::prev(last)->first == other->first) {
        --last;
    }
    if (last == sorted.begin()) {
        return std::nullopt;
    }
    const int64_t sure = std::min(std::prev(last)->first, other->first);
    const int64_t next = std::max(std::prev(last)->first, other->first);
    return SizeTest{op, axis, roundest(sure, next - 1), sure, next};
}

// The kind that most are of; refusals, of which the search for limits leads to many, only count
// where nothing is granted.
AnswerKind majority(const Answers& answers) {
    std::map<AnswerKind, size_t> counts;
    for (const Answer* const answer : answers) {
        ++counts[kindOf(*answer)];
    }
    return std::max_element(counts.begin(), counts.end(),
                            [](const auto& a, const auto& b) {
                                return std::pair(a.first.first == kGranted, a.second) <
                                       std::pair(b.first.first == kGranted, b.second);
                            })
            ->first;
}

// Conditions that catch answers of one kind only.
std::vector<SizeTest> sizeTests(const Answers& answers) {
    std::vector<SizeTest> tests;
    for (const SizeOp op : {SizeOp::kOddWidth, SizeOp::kOddHeight}) {
        for (const int64_t unit : {2, 4, 8, 16}) {
            tests.push_back({.op = op, .unit = unit});
        }
    }
    for (const SizeOp op : {SizeOp::kAbove, SizeOp::kUpTo}) {
        for (const Axis axis : {Axis::kWidth, Axis::kHeight, Axis::kArea}) {
            if (const auto limit = limitOn(op, axis, answers)) {
                tests.push_back(*limit);
            }
        }
    }
    return tests;
}

// Whether all that one condition catches is caught by another.
bool isWithin(const SizeTest& test, const SizeTest& other, const Answers& answers) {
    return std::all_of(answers.begin(), answers.end(), [&](const Answer* answer) {
        return !holds(test, *answer) || holds(other, *answer);
    });
}

// The conditions that catch answers of one kind only. An odd size beyond a limit is no sign that
// odd sizes are refused.
std::vector<SizeTest> pureTests(const Answers& answers) {
    std::vector<SizeTest> tests = sizeTests(answers);
    std::erase_if(tests, [&](const SizeTest& test) { return pureCatch(test, answers) == 0; });
    const std::vector<SizeTest> all = tests;
    std::erase_if(tests, [&](const SizeTest& test) {
        return isOdd(test) && std::any_of(all.begin(), all.end(), [&](const SizeTest& other) {
                   return !isOdd(other) && isWithin(test, other, answers);
               });
    });
    return tests;
}

// The condition that takes the most answers of one kind away: sizes that are no whole samples
// first, then what is larger than most, and only then the many.
std::optional<SizeTest> bestSizeTest(const Answers& answers) {
    const AnswerKind many = majority(answers);
    std::optional<SizeTest> best;
    std::tuple<bool, bool, size_t> most{};
    for (const SizeTest& test : pureTests(answers)) {
        const AnswerKind kind = kindOf(*firstCaught(test, answers));
        // Whole fours and more are a device's demand only where nothing else explains a refusal.
        const bool odd = isOdd(test) && test.unit == 2 && kind.first != kGranted;
        const std::tuple merit(kind != many, odd, pureCatch(test, answers));
        if (merit > most) {
            most = merit;
            best = test;
        }
    }
    return best;
}

// Answers of one class of usages that are mostly of one kind, and the sizes that they are for.
struct Leaf {
    size_t finding = 0;
    AnswerKind kind;
    Answers answers;
    Answers alike;  // those of the kind
    std::vector<SizeTest> size;
    size_t layout = kNoLayout;
};

Leaf leafOf(size_t finding, const Answers& answers, const std::vector<SizeTest>& size) {
    Leaf leaf;
    leaf.finding = finding;
    leaf.kind = majority(answers);
    leaf.answers = answers;
    leaf.size = size;
    std::copy_if(answers.begin(), answers.end(), std::back_inserter(leaf.alike),
                 [&](const Answer* answer) { return kindOf(*answer) == leaf.kind; });
    return leaf;
}

// Takes answers of another kind than the rest away by size until one kind is left.
void splitByKind(size_t finding, Answers answers, std::vector<Leaf>& leaves) {
    constexpr int kMost = 8;
    for (int i = 0; i < kMost; ++i) {
        const AnswerKind first = kindOf(*answers.front());
        const bool alike = std::all_of(answers.begin(), answers.end(), [&](const Answer* answer) {
            return kindOf(*answer) == first;
        });
        const auto test = alike ? std::nullopt : bestSizeTest(answers);
        if (!test) {
            break;
        }
        const auto rest =
                std::stable_partition(answers.begin(), answers.end(),
                                      [&](const Answer* answer) { return holds(*test, *answer); });
        leaves.push_back(leafOf(finding, {answers.begin(), rest}, {*test}));
        answers.erase(answers.begin(), rest);
    }
    leaves.push_back(leafOf(finding, answers, {}));
}

Answers answersOf(const Group& group) {
    Answers answers;
    for (const auto& [size, answer] : group.answers) {
        answers.push_back(answer);
    }
    return answers;
}

using LockTable = std::map<uint64_t, LockAnswer>;

void addLockRules(const LockTable& table, const std::vector<int32_t>& formats,
                  std::vector<LockRule>& rules) {
    std::vector<LockAnswer> answers;
    std::vector<std::pair<uint64_t, size_t>> usages;
    for (const auto& [usage, answer] : table) {
        auto found = std::find(answers.begin(), answers.end(), answer);
        if (found == answers.end()) {
            found = answers.insert(answers.end(), answer);
        }
        usages.emplace_back(usage, static_cast<size_t>(found - answers.begin()));
    }
    for (const UsageClass& one : separate(usages)) {
        rules.push_back({formats, one.tests, answers[one.number]});
    }
}

// What most formats answer to a usage.
LockTable commonLocks(const std::map<int32_t, LockTable>& formats) {
    std::map<uint64_t, std::map<std::pair<int32_t, int32_t>, size_t>> counts;
    for (const auto& [format, table] : formats) {
        for (const auto& [usage, answer] : table) {
            ++counts[usage][{answer.read, answer.write}];
        }
    }
    LockTable common;
    for (const auto& [usage, answers] : counts) {
        const auto most =
                std::max_element(answers.begin(), answers.end(),
                                 [](const auto& a, const auto& b) { return a.second < b.second; });
        common[usage] = {most->first.first, most->first.second};
    }
    return common;
}

void inferLocks(Profile& profile) {
    std::map<int32_t, LockTable> formats;
    for (const Samples& samples : profile.samples) {
        if (samples.locks) {
            formats[samples.format][samples.usage] = *samples.locks;
        }
    }
    const LockTable common = commonLocks(formats);
    profile.locks.clear();
    for (const auto& [format, table] : formats) {
        const bool alike = std::all_of(table.begin(), table.end(), [&](const auto& entry) {
            return common.at(entry.first) == entry.second;
        });
        if (!alike) {
            addLockRules(table, {format}, profile.locks);
        }
    }
    addLockRules(common, {}, profile.locks);
}

// All that is told of formats and usages, taken apart.
struct Leaves {
    std::vector<Finding> findings;
    std::vector<Leaf> leaves;
    std::vector<Told> told;
};

Leaves leavesOf(const std::map<int32_t, std::vector<const Samples*>>& formats) {
    Leaves all;
    for (const auto& [format, samples] : formats) {
        for (const Group& group : groupUsages(samples)) {
            all.findings.push_back({format, group.usages, {}});
            splitByKind(all.findings.size() - 1, answersOf(group), all.leaves);
        }
    }
    for (Leaf& leaf : all.leaves) {
        if (leaf.kind.first == kGranted) {
            leaf.layout = all.told.size();  // until layouts are known, the number of what is told
            const Finding& finding = all.findings[leaf.finding];
            const uint64_t key = finding.usages.front() << 32 ^
                                 static_cast<uint64_t>(leaf.size.size()) << 60 ^
                                 static_cast<uint32_t>(finding.format);
            all.told.push_back({key, leaf.kind.second, leaf.alike});
        }
    }
    return all;
}

Evidence evidenceOf(const Leaf& leaf) {
    Evidence evidence;
    for (const Answer* const answer : leaf.answers) {
        evidence.maxWidth = std::max<int64_t>(evidence.maxWidth, answer->width);
        evidence.maxHeight = std::max<int64_t>(evidence.maxHeight, answer->height);
    }
    return evidence;
}

FoundRule refusalOf(const Leaf& leaf) {
    FoundRule found;
    found.rule.answer = leaf.kind.first;
    found.rule.size = leaf.size;
    found.rule.evidence = evidenceOf(leaf);
    found.rule.evidence->samples = static_cast<int64_t>(leaf.answers.size());
    found.rule.evidence->exceptions = static_cast<int64_t>(leaf.answers.size() - leaf.alike.size());
    found.layout = kNoLayout;
    found.own = leaf.size.size();
    return found;
}

bool holdsAll(const std::vector<SizeTest>& tests, const Size& size) {
    return std::all_of(tests.begin(), tests.end(),
                       [&](const SizeTest& test) { return holds(test, size.first, size.second); });
}

const FoundRule* ruleFor(const Finding& finding, const Size& size) {
    const auto found =
            std::find_if(finding.rules.begin(), finding.rules.end(),
                         [&](const FoundRule& one) { return holdsAll(one.rule.size, size); });
    return found == finding.rules.end() ? nullptr : &*found;
}

// The rules of a layout for the sizes of a leaf.
void addRules(const Leaf& leaf, const Layout& layout, const Shape& shape,
              std::vector<FoundRule>& rules) {
    Answers answers = leaf.answers;
    for (Rule rule : layout.rules) {
        const auto rest =
                std::stable_partition(answers.begin(), answers.end(), [&](const Answer* answer) {
                    return holdsAll(rule.size, {answer->width, answer->height});
                });
        const Answers its(answers.begin(), rest);
        answers.erase(answers.begin(), rest);
        Evidence evidence = evidenceOf(leaf);
        evidence.maxWidth = std::max(evidence.maxWidth, layout.maxWidth);
        evidence.maxHeight = std::max(evidence.maxHeight, layout.maxHeight);
        evidence.samples = static_cast<int64_t>(its.size());
        const auto explained = std::count_if(its.begin(), its.end(), [&](const Answer* answer) {
            return kindOf(*answer) == leaf.kind && explains(rule, {answer}, shape);
        });
        evidence.exceptions = evidence.samples - explained;
        rule.evidence = evidence;
        rule.shape = leaf.kind.second;
        rule.size.insert(rule.size.begin(), leaf.size.begin(), leaf.size.end());
        rules.push_back({std::move(rule), leaf.layout, leaf.size.size()});
    }
}

// Which usage of a format is answered by which rules.
FormatRules rulesOf(const std::vector<Finding>& findings, int32_t format) {
    FormatRules result;
    result.format = format;
    std::vector<std::pair<uint64_t, size_t>> usages;
    for (size_t i = 0; i < findings.size(); ++i) {
        for (const uint64_t usage : findings[i].usages) {
            if (findings[i].format == format) {
                usages.emplace_back(usage, i);
                result.usages.push_back(usage);
            }
        }
    }
    std::sort(result.usages.begin(), result.usages.end());
    std::sort(usages.begin(), usages.end());
    for (const UsageClass& one : separate(usages)) {
        for (const FoundRule& found : findings[one.number].rules) {
            result.rules.push_back(found.rule);
            result.rules.back().usage = one.tests;
        }
    }
    return result;
}

}  // namespace

bool isRefused(const Finding& finding, const Size& size) {
    const FoundRule* const found = ruleFor(finding, size);
    return found != nullptr && found->rule.answer != kGranted;
}

std::optional<Answer> predict(const Finding& finding, const std::vector<Shape>& shapes,
                              const Size& size) {
    const FoundRule* const found = ruleFor(finding, size);
    if (found == nullptr) {
        return std::nullopt;
    }
    Answer answer;
    answer.width = size.first;
    answer.height = size.second;
    answer.answer = found->rule.answer;
    if (answer.answer != kGranted) {
        return answer;
    }
    const auto numbers = evaluate(found->rule, size.first, size.second);
    if (!numbers) {
        return std::nullopt;
    }
    answer.shape = found->rule.shape;
    answer.numbers = asTold(shapes[answer.shape], *numbers, size.second);
    return answer;
}

std::vector<Finding> findRules(const std::vector<const Samples*>& samples,
                               const std::vector<Shape>& shapes, KnownLayouts& known) {
    std::map<int32_t, std::vector<const Samples*>> formats;
    for (const Samples* const one : samples) {
        formats[one->format].push_back(one);
    }
    Leaves all = leavesOf(formats);
    const std::vector<Layout> layouts = findLayouts(all.told, shapes, known);
    std::vector<size_t> layoutOf(all.told.size());
    for (size_t i = 0; i < layouts.size(); ++i) {
        for (const size_t member : layouts[i].members) {
            layoutOf[member] = i;
        }
    }
    for (Leaf& leaf : all.leaves) {
        auto& rules = all.findings[leaf.finding].rules;
        if (leaf.kind.first != kGranted) {
            rules.push_back(refusalOf(leaf));
            continue;
        }
        leaf.layout = layoutOf[leaf.layout];
        addRules(leaf, layouts[leaf.layout], shapes[leaf.kind.second], rules);
    }
    return std::move(all.findings);
}

void infer(Profile& profile) {
    std::vector<const Samples*> samples;
    std::set<int32_t> formats;
    for (const Samples& one : profile.samples) {
        if (!one.answers.empty()) {
            samples.push_back(&one);
            formats.insert(one.format);
        }
    }
    KnownLayouts known;
    const std::vector<Finding> findings = findRules(samples, profile.shapes, known);
    profile.formats.clear();
    for (const int32_t format : formats) {
        profile.formats.push_back(rulesOf(findings, format));
    }
    inferLocks(profile);
}

}  // namespace zelkcam::profile
