#include "profile/Infer.h"

#include <algorithm>
#include <map>
#include <set>
#include <tuple>
#include <utility>

#include "profile/Evaluate.h"
#include "profile/FitNumbers.h"
#include "profile/Words.h"

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

using Answers = std::vector<const Answer*>;
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

// The lowest limit of the axis above which all answers are of one kind.
std::optional<SizeTest> limitOn(Axis axis, const Answers& answers) {
    std::set<int64_t> edges;
    for (const Answer* const answer : answers) {
        edges.insert(onAxis(axis, answer->width, answer->height));
    }
    std::optional<SizeTest> best;
    for (auto edge = edges.rbegin(); edge != edges.rend(); ++edge) {
        const auto below = std::next(edge);
        if (below == edges.rend()) {
            break;
        }
        SizeTest test{SizeOp::kAbove, axis, roundest(*below, *edge - 1), *below, *edge};
        if (pureCatch(test, answers) == 0) {
            break;
        }
        best = test;
    }
    return best;
}

AnswerKind majority(const Answers& answers) {
    std::map<AnswerKind, size_t> counts;
    for (const Answer* const answer : answers) {
        ++counts[kindOf(*answer)];
    }
    return std::max_element(counts.begin(), counts.end(),
                            [](const auto& a, const auto& b) { return a.second < b.second; })
            ->first;
}

// The condition that takes the most answers of one kind away: sizes that are no whole samples
// first, then what is larger than most, and only then the many.
std::optional<SizeTest> bestSizeTest(const Answers& answers) {
    std::vector<SizeTest> tests{{.op = SizeOp::kOddWidth}, {.op = SizeOp::kOddHeight}};
    for (const Axis axis : {Axis::kWidth, Axis::kHeight, Axis::kArea}) {
        if (const auto limit = limitOn(axis, answers)) {
            tests.push_back(*limit);
        }
    }
    const AnswerKind many = majority(answers);
    std::optional<SizeTest> best;
    std::tuple<bool, bool, size_t> most{};
    for (const SizeTest& test : tests) {
        const size_t count = pureCatch(test, answers);
        const auto* const one = count == 0 ? nullptr : firstCaught(test, answers);
        if (one == nullptr) {
            continue;
        }
        const std::tuple merit(kindOf(*one) != many, test.op != SizeOp::kAbove, count);
        if (merit > most) {
            most = merit;
            best = test;
        }
    }
    return best;
}

size_t countExplained(const Rule& rule, const Shape& shape, const Answers& answers) {
    return static_cast<size_t>(
            std::count_if(answers.begin(), answers.end(), [&](const Answer* answer) {
                const auto numbers = evaluate(rule, answer->width, answer->height);
                return kindOf(*answer) == AnswerKind(kGranted, rule.shape) && numbers &&
                       asTold(shape, *numbers, answer->height) == answer->numbers;
            }));
}

// One rule for answers of which most are of one kind.
Rule ruleFor(const Answers& answers, const std::vector<Shape>& shapes) {
    const AnswerKind kind = majority(answers);
    Answers alike;
    Evidence evidence;
    for (const Answer* const answer : answers) {
        evidence.maxWidth = std::max<int64_t>(evidence.maxWidth, answer->width);
        evidence.maxHeight = std::max<int64_t>(evidence.maxHeight, answer->height);
        if (kindOf(*answer) == kind) {
            alike.push_back(answer);
        }
    }
    Rule rule;
    rule.answer = kind.first;
    size_t explained = alike.size();
    if (kind.first == kGranted) {
        rule.shape = kind.second;
        fitNumbers(alike, shapes[rule.shape], rule);
        explained = countExplained(rule, shapes[rule.shape], alike);
    }
    evidence.samples = static_cast<int64_t>(answers.size());
    evidence.exceptions = static_cast<int64_t>(answers.size() - explained);
    rule.evidence = evidence;
    return rule;
}

// Rules by size for answers of several kinds, and at last one for the rest.
std::vector<Rule> rulesBySize(Answers answers, const std::vector<Shape>& shapes) {
    constexpr size_t kMost = 6;
    std::vector<Rule> rules;
    while (rules.size() < kMost) {
        const AnswerKind first = kindOf(*answers.front());
        const bool alike = std::all_of(answers.begin(), answers.end(), [&](const Answer* answer) {
            return kindOf(*answer) == first;
        });
        const auto test = alike ? std::nullopt : bestSizeTest(answers);
        if (!test) {
            break;
        }
        Answers caught;
        for (const Answer* const answer : answers) {
            if (holds(*test, *answer)) {
                caught.push_back(answer);
            }
        }
        rules.push_back(ruleFor(caught, shapes));
        rules.back().size = {*test};
        std::erase_if(answers, [&](const Answer* answer) { return holds(*test, *answer); });
    }
    rules.push_back(ruleFor(answers, shapes));
    return rules;
}

Answers answersOf(const Group& group) {
    Answers answers;
    for (const auto& [size, answer] : group.answers) {
        answers.push_back(answer);
    }
    return answers;
}

// What is left for the last of some rules by size.
Answers remaining(Answers answers, const std::vector<Rule>& rules) {
    for (const Rule& rule : rules) {
        if (!rule.size.empty()) {
            std::erase_if(answers,
                          [&](const Answer* answer) { return holds(rule.size.front(), *answer); });
        }
    }
    return answers;
}

// A device that keeps the planes of some buffers to itself lays them out as it does others of the
// format: their formulas explain its sizes, too.
void borrowPlanes(const Answers& answers, const std::vector<Rule>& others,
                  const std::vector<Shape>& shapes, Rule& rule) {
    for (const Rule& other : others) {
        if (rule.evidence->exceptions == 0) {
            return;
        }
        Rule borrowed = other;
        borrowed.usage = rule.usage;
        borrowed.size = rule.size;
        borrowed.shape = rule.shape;
        borrowed.stride = rule.stride;
        borrowed.answeredStride = rule.answeredStride;
        for (const auto& [name, quantity] : kOwnNumbers) {
            borrowed.*quantity = rule.*quantity;
        }
        borrowed.evidence = rule.evidence;
        const size_t explained = countExplained(borrowed, shapes[rule.shape], answers);
        borrowed.evidence->exceptions = static_cast<int64_t>(answers.size() - explained);
        if (borrowed.evidence->exceptions < rule.evidence->exceptions) {
            rule = borrowed;
        }
    }
}

using GroupRules = std::vector<std::vector<Rule>>;  // by group

GroupRules rulesOfGroups(const std::vector<Group>& groups, const std::vector<Shape>& shapes) {
    GroupRules rules;
    std::vector<Rule> told;
    for (const Group& group : groups) {
        rules.push_back(rulesBySize(answersOf(group), shapes));
        const Rule& last = rules.back().back();
        if (last.answer == kGranted && !last.planes.empty()) {
            told.push_back(last);
        }
    }
    for (size_t i = 0; i < groups.size(); ++i) {
        Rule& last = rules[i].back();
        if (last.answer == kGranted && last.planes.empty()) {
            borrowPlanes(remaining(answersOf(groups[i]), rules[i]), told, shapes, last);
        }
    }
    return rules;
}

FormatRules rulesOf(const std::vector<const Samples*>& format, const std::vector<Shape>& shapes) {
    FormatRules result;
    result.format = format.front()->format;
    const std::vector<Group> groups = groupUsages(format);
    std::vector<std::pair<uint64_t, size_t>> usages;
    for (size_t i = 0; i < groups.size(); ++i) {
        for (const uint64_t usage : groups[i].usages) {
            usages.emplace_back(usage, i);
            result.usages.push_back(usage);
        }
    }
    std::sort(result.usages.begin(), result.usages.end());
    std::sort(usages.begin(), usages.end());
    const GroupRules rules = rulesOfGroups(groups, shapes);
    for (const UsageClass& one : separate(usages)) {
        for (Rule rule : rules[one.number]) {
            rule.usage = one.tests;
            result.rules.push_back(std::move(rule));
        }
    }
    return result;
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

}  // namespace

FormatRules inferFormat(const std::vector<const Samples*>& samples,
                        const std::vector<Shape>& shapes) {
    return rulesOf(samples, shapes);
}

void infer(Profile& profile) {
    profile.formats.clear();
    std::map<int32_t, std::vector<const Samples*>> formats;
    for (const Samples& samples : profile.samples) {
        if (!samples.answers.empty()) {
            formats[samples.format].push_back(&samples);
        }
    }
    for (const auto& [format, samples] : formats) {
        profile.formats.push_back(inferFormat(samples, profile.shapes));
    }
    inferLocks(profile);
}

}  // namespace zelkcam::profile
