#include "profile/Questions.h"

#include <algorithm>
#include <cmath>
#include <optional>

#include "profile/Evaluate.h"
#include "profile/Record.h"

namespace zelkcam::profile {
namespace {

using IsNew = std::function<bool(const Size&)>;

// The closest that a device which refuses odd sizes lets a border be known.
constexpr int64_t kClose = 2;
// Areas cannot be chosen freely; this close they make no difference to anybody.
constexpr int64_t kCloseArea = 256;

// One border of a rule; the limit can be moved to see what would follow.
struct Movable {
    Axis axis;
    int64_t* limit;
    int64_t sure;
    int64_t next;
};

std::vector<Movable> movablesOf(Finding& finding, bool whole) {
    std::vector<Movable> movables;
    for (FoundRule& found : finding.rules) {
        auto& tests = found.rule.size;
        for (size_t i = 0; i < tests.size(); ++i) {
            const bool isLimit = tests[i].op == SizeOp::kAbove || tests[i].op == SizeOp::kUpTo;
            if (isLimit && (whole || i < found.own)) {
                movables.push_back({tests[i].axis, &tests[i].limit, tests[i].sure, tests[i].next});
            }
        }
        if (!whole) {
            continue;
        }
        forEachQuantity(found.rule, [&](Quantity& quantity) {
            for (Case& one : quantity) {
                if (one.limited) {
                    movables.push_back({one.axis, &one.upTo, one.sure, one.next});
                }
            }
        });
    }
    return movables;
}

// Sizes of so much on an axis, with different amounts on the other.
std::vector<Size> sizesAt(Axis axis, int64_t at) {
    std::vector<Size> sizes;
    const auto length = static_cast<uint32_t>(at);
    if (axis == Axis::kArea) {
        for (const double ratio : {16.0 / 9, 1.0, 4.0, 0.5, 12.0}) {
            const auto width = static_cast<int64_t>(std::sqrt(static_cast<double>(at) * ratio)) /
                                       kClose * kClose +
                               kClose;
            const int64_t height = at / width / kClose * kClose;
            if (height > 0) {
                sizes.emplace_back(static_cast<uint32_t>(width), static_cast<uint32_t>(height));
            }
        }
        return sizes;
    }
    for (const uint32_t other : {36U, 516U, 1092U, 2172U, 4U}) {
        sizes.push_back(axis == Axis::kWidth ? Size{length, other} : Size{other, length});
    }
    return sizes;
}

// Where to look between two sizes: at borders known from elsewhere, then in the middle. Sizes of
// whole fours are refused by nobody.
std::vector<int64_t> positions(const Movable& border, const Borders& known) {
    std::vector<int64_t> found;
    for (const auto& [axis, sure, next] : known) {
        if (axis == border.axis && sure >= border.sure && next <= border.next) {
            found.push_back(sure);
            found.push_back(next);
        }
    }
    const int64_t gap = border.next - border.sure;
    const int64_t middle = border.sure + gap / 2;
    for (const int64_t unit : {4, 2, 1}) {
        for (const int64_t step : {0, 1, -1, 3, -4, 9, -11, 21}) {
            found.push_back(middle / unit * unit + step * unit);
        }
    }
    std::erase_if(found, [&](int64_t at) { return at <= border.sure || at >= border.next; });
    return found;
}

// A size that tells on which side of it a border lies.
std::optional<Size> between(const Finding& finding, const std::vector<Shape>& shapes,
                            const Movable& border, const Borders& known, const IsNew& isNew) {
    const int64_t close = border.axis == Axis::kArea ? kCloseArea : 1;
    if (border.next - border.sure <= close) {
        return std::nullopt;
    }
    const int64_t kept = *border.limit;
    std::optional<Size> telling;
    for (const int64_t position : positions(border, known)) {
        for (const Size& size : sizesAt(border.axis, position)) {
            const int64_t at = onAxis(border.axis, size.first, size.second);
            if (telling || at <= border.sure || at >= border.next || !isNew(size)) {
                continue;
            }
            *border.limit = at;
            const auto below = predict(finding, shapes, size);
            *border.limit = at - 1;
            if (predict(finding, shapes, size) != below) {
                telling = size;
            }
        }
    }
    *border.limit = kept;
    return telling;
}

// Of a device that takes 4,096 and more.
constexpr uint32_t kLong = 4096;

// Sizes beside a limit that is known by now, and how far it leaves `largest`. A size beyond it that
// is odd, too, tells which of the two the device looks at first.
void addSizesAt(const SizeTest& test, bool refusesOdd, std::set<Size>& sizes, Size& largest) {
    constexpr int64_t kLongest = 1 << 30;
    const bool above = test.op == SizeOp::kAbove;
    const int64_t close = test.axis == Axis::kArea ? kCloseArea : kClose;
    if (isOdd(test) || test.next - test.sure > close) {
        return;
    }
    const auto sure = static_cast<uint32_t>(std::min(test.sure, kLongest));
    const auto at = above ? static_cast<uint32_t>(std::min(test.next, kLongest)) : sure;
    const uint32_t other = above ? 36 : 1028;
    if (test.axis == Axis::kArea) {
        const uint32_t length = at / kLong / 4 * 4 + (above ? 4 : 0);
        sizes.insert({{kLong, length}, {length, kLong}});
        return;
    }
    const bool isWidth = test.axis == Axis::kWidth;
    sizes.insert(isWidth ? Size{at, other} : Size{other, at});
    if (refusesOdd && above) {
        sizes.insert(isWidth ? Size{at | 1, other + 1} : Size{other + 1, at | 1});
    }
    if (above) {
        (isWidth ? largest.first : largest.second) = sure;
    }
}

}  // namespace

void addBorders(const Finding& finding, Borders& borders) {
    Finding copy = finding;
    for (const Movable& one : movablesOf(copy, true)) {
        if (one.next - one.sure <= kClose) {
            borders.emplace(one.axis, one.sure, one.next);
        }
    }
}

std::vector<Size> betweenBorders(Finding finding, const std::vector<Shape>& shapes,
                                 const Borders& known, bool whole, const IsNew& isNew) {
    std::vector<Size> sizes;
    for (const Movable& one : movablesOf(finding, whole)) {
        const auto size = between(finding, shapes, one, known, isNew);
        if (size && std::find(sizes.begin(), sizes.end(), *size) == sizes.end()) {
            sizes.push_back(*size);
        }
    }
    return sizes;
}

std::vector<Size> tellingApart(const FoundRule& found, const Shape& shape, size_t most,
                               const IsNew& isNew) {
    std::vector<Size> sizes;
    std::vector<const Rule*> others;
    for (const Rule& other : found.rule.others) {
        others.push_back(&other);
    }
    while (!others.empty() && sizes.size() < most) {
        std::optional<Size> best;
        std::vector<const Rule*> left = others;
        for (const Size& size : probeSizes()) {
            const auto& tests = found.rule.size;
            const bool holdsAll = std::all_of(tests.begin(), tests.end(), [&](const auto& test) {
                return holds(test, size.first, size.second);
            });
            if (!holdsAll || left.empty() || !isNew(size)) {
                continue;
            }
            const auto numbers = toldBy(found.rule, shape, size);
            std::vector<const Rule*> alike;
            std::copy_if(others.begin(), others.end(), std::back_inserter(alike),
                         [&](const Rule* other) { return toldBy(*other, shape, size) == numbers; });
            if (numbers && alike.size() < left.size()) {
                left = alike;
                best = size;
            }
        }
        if (!best) {
            break;
        }
        sizes.push_back(*best);
        others = left;
    }
    return sizes;
}

void addLimitChecks(const Finding& finding, std::set<Size>& sizes) {
    bool refusesOdd = false;
    for (const FoundRule& found : finding.rules) {
        refusesOdd |= std::any_of(found.rule.size.begin(), found.rule.size.end(), isOdd);
    }
    Size largest{kLong, kLong};
    for (const FoundRule& found : finding.rules) {
        for (size_t i = 0; found.rule.answer != kGranted && i < found.own; ++i) {
            addSizesAt(found.rule.size[i], refusesOdd, sizes, largest);
        }
    }
    if (largest != Size{kLong, kLong}) {
        sizes.insert(largest);
    }
    std::erase_if(sizes, [](const Size& size) { return size.first == 0 || size.second == 0; });
}

}  // namespace zelkcam::profile
