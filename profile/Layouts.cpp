#include "profile/Layouts.h"

#include <algorithm>
#include <numeric>
#include <optional>
#include <set>
#include <utility>

#include "profile/Evaluate.h"
#include "profile/FitNumbers.h"
#include "profile/Words.h"

namespace zelkcam::profile {
namespace {

// Two layouts that agree on so many sizes are one until something tells them apart.
constexpr size_t kAlike = 8;

bool isTold(const Shape& shape) {
    return !shape.planes.empty();
}

// What formulas see of a shape: planes by samples and subsampling, not what they hold.
bool sameStructure(const Shape& a, const Shape& b) {
    for (size_t i = 0; i < kOwnNumbers.size(); ++i) {
        if (told(a, {}, 1, i).has_value() != told(b, {}, 1, i).has_value()) {
            return false;
        }
    }
    return std::equal(a.planes.begin(), a.planes.end(), b.planes.begin(), b.planes.end(),
                      [](const PlaneShape& mine, const PlaneShape& its) {
                          return mine.sampleIncrementInBits == its.sampleIncrementInBits &&
                                 mine.horizontalSubsampling == its.horizontalSubsampling &&
                                 mine.verticalSubsampling == its.verticalSubsampling;
                      });
}

// What is told of one layout by all its members.
struct Pool {
    uint64_t key = 0;
    Layout layout;
    const Shape* shape = nullptr;
    std::map<Size, const Answer*> answers;
};

bool belongs(const Told& told, const Shape& shape, const Pool& pool) {
    if (!sameStructure(shape, *pool.shape)) {
        return false;
    }
    size_t common = 0;
    for (const Answer* const answer : told.answers) {
        const auto found = pool.answers.find({answer->width, answer->height});
        if (found == pool.answers.end()) {
            continue;
        }
        if (!(found->second->numbers == answer->numbers)) {
            return false;
        }
        ++common;
    }
    return common >= std::min(kAlike, told.answers.size());
}

// The best known first, so that the others find what they belong to.
std::vector<Pool> poolsOf(const std::vector<Told>& told, const std::vector<Shape>& shapes) {
    std::vector<size_t> order(told.size());
    std::iota(order.begin(), order.end(), size_t{0});
    std::stable_sort(order.begin(), order.end(), [&](size_t a, size_t b) {
        return told[a].answers.size() > told[b].answers.size();
    });
    std::vector<Pool> pools;
    for (const size_t number : order) {
        const Told& one = told[number];
        const Shape& shape = shapes[one.shape];
        auto pool = std::find_if(pools.begin(), pools.end(),
                                 [&](const Pool& any) { return belongs(one, shape, any); });
        if (pool == pools.end()) {
            pool = pools.emplace(pools.end());
            pool->key = one.key;
            pool->shape = &shape;
        }
        pool->layout.members.push_back(number);
        for (const Answer* const answer : one.answers) {
            pool->answers.emplace(Size{answer->width, answer->height}, answer);
            pool->layout.maxWidth = std::max<int64_t>(pool->layout.maxWidth, answer->width);
            pool->layout.maxHeight = std::max<int64_t>(pool->layout.maxHeight, answer->height);
        }
    }
    return pools;
}

Rule fitRule(const Answers& answers, const Shape& shape) {
    Rule rule;
    fitNumbers(answers, shape, rule);
    return rule;
}

// Answers by a dimension, so that ranges of it can be explained on their own.
class Ranges {
  public:
    Ranges(Answers answers, const Shape& shape, Axis axis)
        : mAnswers(std::move(answers)), mShape(shape), mAxis(axis) {
        std::stable_sort(mAnswers.begin(), mAnswers.end(),
                         [&](const Answer* a, const Answer* b) { return at(*a) < at(*b); });
    }

    // Rules for the fewest ranges that explain all answers: the highest first, the lowest without
    // a condition.
    std::optional<std::vector<Rule>> split() const;

  private:
    static constexpr size_t kMostRanges = 3;
    static constexpr ptrdiff_t kLeast = 4;  // answers of a range

    int64_t at(const Answer& answer) const { return onAxis(mAxis, answer.width, answer.height); }
    std::optional<Rule> ruleFor(size_t first, size_t last) const;
    size_t longest(size_t first) const;

    Answers mAnswers;
    const Shape& mShape;
    const Axis mAxis;
};

std::optional<Rule> Ranges::ruleFor(size_t first, size_t last) const {
    const Answers range(mAnswers.begin() + static_cast<ptrdiff_t>(first),
                        mAnswers.begin() + static_cast<ptrdiff_t>(last));
    Rule rule = fitRule(range, mShape);
    return explains(rule, range, mShape) ? std::optional(std::move(rule)) : std::nullopt;
}

// The end of the longest range from `first` on that one rule explains; what explains more explains
// less, too.
size_t Ranges::longest(size_t first) const {
    size_t good = first;
    size_t bad = mAnswers.size() + 1;
    while (bad - good > 1) {
        size_t middle = good + (bad - good) / 2;
        // Whole sizes: a border does not run through one.
        const auto same = [&](size_t i) {
            return i > first && i < mAnswers.size() && at(*mAnswers[i]) == at(*mAnswers[i - 1]);
        };
        while (same(middle) && middle > good) {
            --middle;
        }
        if (middle == good) {
            middle = good + (bad - good) / 2;
            while (same(middle) && middle < bad) {
                ++middle;
            }
            if (middle >= bad) {
                break;
            }
        }
        (ruleFor(first, middle) ? good : bad) = middle;
    }
    return good;
}

std::optional<std::vector<Rule>> Ranges::split() const {
    std::vector<Rule> rules;
    size_t first = 0;
    while (first < mAnswers.size()) {
        const size_t last = longest(first);
        if (static_cast<ptrdiff_t>(last - first) < kLeast || rules.size() == kMostRanges) {
            return std::nullopt;
        }
        Rule rule = *ruleFor(first, last);
        if (first != 0) {
            const int64_t sure = at(*mAnswers[first - 1]);
            const int64_t next = at(*mAnswers[first]);
            rule.size = {{SizeOp::kAbove, mAxis, roundest(sure, next - 1), sure, next}};
        }
        rules.insert(rules.begin(), std::move(rule));
        first = last;
    }
    return rules;
}

// Answers that the conditions of a rule, after those before it, are for.
Answers answersFor(const std::vector<Rule>& rules, size_t number, const Answers& answers) {
    Answers its;
    for (const Answer* const answer : answers) {
        const auto first = std::find_if(rules.begin(), rules.end(), [&](const Rule& rule) {
            return std::all_of(rule.size.begin(), rule.size.end(), [&](const SizeTest& test) {
                return holds(test, answer->width, answer->height);
            });
        });
        if (static_cast<size_t>(first - rules.begin()) == number) {
            its.push_back(answer);
        }
    }
    return its;
}

std::vector<Rule> rulesFor(const Answers& answers, const Shape& shape) {
    Rule one = fitRule(answers, shape);
    if (explains(one, answers, shape)) {
        return {one};
    }
    std::optional<std::vector<Rule>> best;
    for (const Axis axis : {Axis::kWidth, Axis::kHeight, Axis::kArea}) {
        auto rules = Ranges(answers, shape, axis).split();
        if (rules && (!best || rules->size() < best->size())) {
            best = std::move(rules);
        }
    }
    return best ? *best : std::vector<Rule>{one};
}

// A device that keeps the planes of some buffers to itself lays them out as it does others.
std::optional<std::vector<Rule>> borrowed(const Pool& pool, const Answers& answers,
                                          const std::vector<Pool>& others) {
    for (const Pool& other : others) {
        if (!isTold(*other.shape) || other.layout.rules.size() != 1) {
            continue;
        }
        Rule rule = other.layout.rules.front();
        const Rule& own = pool.layout.rules.front();
        rule.stride = own.stride;
        rule.answeredStride = own.answeredStride;
        for (const auto& [name, quantity] : kOwnNumbers) {
            rule.*quantity = own.*quantity;
        }
        rule.others.clear();
        if (explains(rule, answers, *pool.shape)) {
            return std::vector<Rule>{rule};
        }
        rule.stride = other.layout.rules.front().stride;
        rule.answeredStride = other.layout.rules.front().answeredStride;
        if (explains(rule, answers, *pool.shape)) {
            return std::vector<Rule>{rule};
        }
    }
    return std::nullopt;
}

Answers answersOf(const Pool& pool) {
    Answers answers;
    for (const auto& [size, answer] : pool.answers) {
        answers.push_back(answer);
    }
    return answers;
}

void addOthers(const Answers& answers, const Shape& shape, std::vector<Rule>& rules) {
    for (size_t i = 0; i < rules.size(); ++i) {
        const Answers its = answersFor(rules, i, answers);
        if (explains(rules[i], its, shape)) {
            rules[i].others = othersOf(rules[i], its, shape);
        }
    }
}

// What an answer between the two sides of a border tells of where it lies.
void tighten(Rule& rule, Case& border, const Answer& answer, const Shape& shape) {
    const int64_t at = onAxis(border.axis, answer.width, answer.height);
    if (!border.limited || at <= border.sure || at >= border.next) {
        return;
    }
    border.upTo = at;
    const bool below = explains(rule, {&answer}, shape);
    border.upTo = at - 1;
    const bool above = explains(rule, {&answer}, shape);
    border.sure = below && !above ? at : border.sure;
    border.next = above && !below ? at : border.next;
    border.upTo = roundest(border.sure, border.next - 1);
}

// Whether a rule that was found from fewer answers is what all of them lead to: it explains them,
// with borders as close as they are known now.
bool isCurrent(std::vector<Rule>& rules, const Answers& answers, const Shape& shape) {
    if (rules.size() != 1 || rules.front().others.size() >= kMostOthers) {
        return false;
    }
    Rule& rule = rules.front();
    bool split = false;
    forEachQuantity(rule, [&](Quantity& quantity) {
        split |= quantity.size() > 1;
        for (Case& border : quantity) {
            for (const Answer* const answer : answers) {
                tighten(rule, border, *answer, shape);
            }
        }
    });
    // The others have borders of their own.
    return (!split || rule.others.empty()) && explains(rule, answers, shape);
}

void findRules(Pool& pool, KnownLayouts& known) {
    const Answers answers = answersOf(pool);
    std::vector<Rule>& rules = known[pool.key];
    if (isCurrent(rules, answers, *pool.shape)) {
        std::erase_if(rules.front().others,
                      [&](const Rule& other) { return !explains(other, answers, *pool.shape); });
    } else {
        rules = rulesFor(answers, *pool.shape);
        addOthers(answers, *pool.shape, rules);
    }
    pool.layout.rules = rules;
}

}  // namespace

std::vector<Layout> findLayouts(const std::vector<Told>& told, const std::vector<Shape>& shapes,
                                KnownLayouts& known) {
    std::vector<Pool> pools = poolsOf(told, shapes);
    for (Pool& pool : pools) {
        findRules(pool, known);
    }
    std::vector<Layout> layouts;
    for (Pool& pool : pools) {
        const Answers answers = answersOf(pool);
        if (!isTold(*pool.shape)) {
            if (auto rules = borrowed(pool, answers, pools)) {
                addOthers(answers, *pool.shape, *rules);
                pool.layout.rules = std::move(*rules);
            }
        }
        layouts.push_back(pool.layout);
    }
    return layouts;
}

}  // namespace zelkcam::profile
