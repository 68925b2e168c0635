#include "profile/Fit.h"

#include <algorithm>
#include <numeric>

#include "profile/FitTerms.h"

namespace zelkcam::profile {
namespace {

constexpr int64_t kWidestAlignment = 1 << 20;
constexpr size_t kMaxZones = 4;

// Which samples count.
using Chosen = std::vector<uint32_t>;

struct Slack {
    int64_t least = INT64_MAX;
    int64_t most = INT64_MIN;
    int64_t divisor = 0;  // of all targets
};

Slack slackOf(const Series& target, const Series& values, const Chosen& chosen) {
    Slack slack;
    for (const uint32_t i : chosen) {
        const int64_t rest = target[i] - values[i];
        slack.least = std::min(slack.least, rest);
        slack.most = std::max(slack.most, rest);
    }
    for (const uint32_t i : chosen) {
        slack.divisor = std::gcd(slack.divisor, target[i]);
        // No alignment of what follows can be larger than what is needed already.
        if (slack.divisor != 0 && slack.divisor <= slack.most - std::max<int64_t>(slack.least, 0)) {
            break;
        }
    }
    return slack;
}

// The alignments that divide `divisor` and exceed `most`: powers of two first, each ascending.
std::vector<int64_t> alignments(int64_t divisor, int64_t most) {
    std::vector<int64_t> found;
    if (divisor == 0 || divisor <= most) {
        return found;
    }
    const auto add = [&](int64_t odd) {
        for (int64_t candidate = odd; candidate <= kWidestAlignment && divisor % candidate == 0;
             candidate *= 2) {
            if (candidate > most) {
                found.push_back(candidate);
            }
        }
    };
    add(1);
    const auto powers = static_cast<ptrdiff_t>(found.size());
    // No device rounds to anything odder.
    constexpr int64_t kOddest = 45;
    for (int64_t odd = 3; odd <= kOddest; odd += 2) {
        add(odd);
    }
    std::sort(found.begin() + powers, found.end());
    return found;
}

std::optional<Term> exact(const Series& target, const Option& option, const Chosen& chosen) {
    for (const uint32_t i : chosen) {
        if (target[i] != option.values[i]) {
            return std::nullopt;
        }
    }
    return option.term;
}

std::optional<Term> aligned(const Series& target, const Option& option, const Chosen& chosen) {
    for (const uint32_t i : chosen) {
        if (target[i] < option.values[i]) {
            return std::nullopt;
        }
    }
    const Slack slack = slackOf(target, option.values, chosen);
    const auto fitting = alignments(slack.divisor, slack.most);
    if (fitting.empty()) {
        return std::nullopt;
    }
    Term term = option.term;
    term.align = fitting.front();
    return term;
}

// With alignment A the constants of (most - A, least] explain all samples.
std::optional<Term> withConstant(const Series& target, const Option& option, const Chosen& chosen) {
    const Slack slack = slackOf(target, option.values, chosen);
    Term term = option.term;
    if (slack.least == slack.most) {
        term.plus = slack.least;
        return term;
    }
    const auto fitting = alignments(slack.divisor, slack.most - slack.least);
    if (fitting.empty()) {
        return std::nullopt;
    }
    term.align = fitting.front();
    // No device takes something away where it might add nothing.
    const int64_t low =
            std::max<int64_t>(slack.most - term.align + 1, slack.least >= 0 ? 0 : INT64_MIN);
    term.plus = roundest(low, slack.least);
    return term;
}

// So many bytes behind what was rounded: all targets leave the same rest.
std::optional<Term> withExtra(const Series& target, const Option& option, const Chosen& chosen) {
    const Slack slack = slackOf(target, option.values, chosen);
    int64_t divisor = 0;
    for (const uint32_t i : chosen) {
        divisor = std::gcd(divisor, std::abs(target[i] - target[chosen.front()]));
    }
    for (const int64_t align : alignments(divisor, slack.most - slack.least)) {
        const int64_t extra = target[chosen.front()] % align;
        const int64_t low = slack.most - extra - align + 1;
        const int64_t high = slack.least - extra;
        if (extra != 0 && std::max<int64_t>(low, 0) <= high) {
            Term term = option.term;
            term.align = align;
            term.extra = extra;
            term.plus = roundest(std::max<int64_t>(low, 0), high);
            return term;
        }
    }
    return std::nullopt;
}

// More where the value is a whole multiple: what is left out of a formula is the same everywhere,
// and where it is, the value is such a multiple.
std::optional<Term> dodging(const Series& target, const Option& option, const Chosen& chosen) {
    constexpr int64_t kMultiples[] = {4096, 2048, 1024, 8192, 512, 16384, 256};
    constexpr int64_t kWidest = 1024;
    for (int64_t align = 1; align <= kWidest; align *= 2) {
        int64_t extra = 0;
        bool good = true;
        for (const uint32_t i : chosen) {
            const int64_t rest = target[i] - alignUp(option.values[i], align);
            good = good && (rest == 0 || (rest > 0 && (extra == 0 || rest == extra)));
            extra = std::max(extra, rest);
            if (!good) {
                break;
            }
        }
        for (const int64_t multiple : kMultiples) {
            const bool tells = good && extra != 0 &&
                               std::all_of(chosen.begin(), chosen.end(), [&](uint32_t i) {
                                   const int64_t value = alignUp(option.values[i], align);
                                   return (target[i] != value) == (value % multiple == 0);
                               });
            if (tells) {
                Term term = option.term;
                term.align = align;
                term.extra = extra;
                term.extraAt = multiple;
                return term;
            }
        }
    }
    return std::nullopt;
}

std::optional<Term> fitOne(const Series& target, const Option& option, const Chosen& chosen,
                           Effort effort);

// Never less than the least that was seen, if that was seen for several sizes.
std::optional<Term> withLeast(const Series& target, const Option& option, const Chosen& chosen) {
    int64_t least = INT64_MAX;
    for (const uint32_t i : chosen) {
        least = std::min(least, target[i]);
    }
    Chosen larger;
    int64_t most = 0;
    for (const uint32_t i : chosen) {
        if (target[i] > least) {
            larger.push_back(i);
        } else {
            most = std::max(most, option.values[i]);
        }
    }
    constexpr size_t kEnough = 3;
    if (larger.size() < kEnough || chosen.size() < larger.size() + kEnough) {
        return std::nullopt;
    }
    for (const Effort effort : {Effort::kExact, Effort::kAligned, Effort::kPlus}) {
        auto term = fitOne(target, option, larger, effort);
        if (term && alignUp(most + term->plus - option.term.plus, term->align) <= least) {
            term->least = least;
            return term;
        }
    }
    return std::nullopt;
}

std::optional<Term> fitOne(const Series& target, const Option& option, const Chosen& chosen,
                           Effort effort) {
    switch (effort) {
        case Effort::kExact:
            return exact(target, option, chosen);
        case Effort::kAligned:
            return aligned(target, option, chosen);
        case Effort::kPlus:
            return withConstant(target, option, chosen);
        case Effort::kOdd:
        case Effort::kZones:
            break;
    }
    for (const auto& odd : {withLeast, dodging, withExtra}) {
        if (const auto term = odd(target, option, chosen)) {
            return term;
        }
    }
    return std::nullopt;
}

std::optional<Term> fitAny(const Series& target, const std::vector<Option>& options,
                           const Chosen& chosen, Effort most) {
    for (const Effort effort : {Effort::kExact, Effort::kAligned, Effort::kPlus, Effort::kOdd}) {
        if (effort > most) {
            break;
        }
        for (const Option& option : options) {
            if (auto term = fitOne(target, option, chosen, effort)) {
                return term;
            }
        }
    }
    return std::nullopt;
}

// The samples of a range of an axis, as a problem of their own.
class Zones {
  public:
    Zones(const Series& target, const std::vector<Option>& options, const Series& axis)
        : mTarget(target), mOptions(options), mAxis(axis), mEdges(axis) {
        std::sort(mEdges.begin(), mEdges.end());
        mEdges.erase(std::unique(mEdges.begin(), mEdges.end()), mEdges.end());
    }

    std::optional<Quantity> split(Axis axis) const;

  private:
    std::optional<Term> fitRange(size_t first, size_t last) const;
    size_t longest(size_t first, std::optional<Term>* term) const;
    bool explains(const Term& term, int64_t from, int64_t to) const;

    const Series& mTarget;
    const std::vector<Option>& mOptions;
    const Series& mAxis;
    Series mEdges;
};

std::optional<Term> Zones::fitRange(size_t first, size_t last) const {
    Chosen chosen;
    for (uint32_t i = 0; i < mTarget.size(); ++i) {
        if (mAxis[i] >= mEdges[first] && mAxis[i] <= mEdges[last]) {
            chosen.push_back(i);
        }
    }
    // A constant explains any one size.
    return fitAny(mTarget, mOptions, chosen, last - first >= 2 ? Effort::kPlus : Effort::kAligned);
}

// The last edge up to which one formula explains all from `first` on. A formula is looked for anew
// only where the one at hand fails.
size_t Zones::longest(size_t first, std::optional<Term>* term) const {
    size_t last = first;
    *term = fitRange(first, last);
    while (*term && last + 1 < mEdges.size()) {
        if (!explains(**term, mEdges[last + 1], mEdges[last + 1])) {
            const auto next = fitRange(first, last + 1);
            if (!next) {
                break;
            }
            *term = next;
        }
        ++last;
    }
    if (const auto settled = fitRange(first, last)) {
        *term = settled;
    }
    return last;
}

bool Zones::explains(const Term& term, int64_t from, int64_t to) const {
    for (const Option& option : mOptions) {
        Term plain = term;
        plain.plus = option.term.plus;
        plain.align = option.term.align;
        if (!(plain == option.term)) {
            continue;
        }
        for (size_t i = 0; i < mTarget.size(); ++i) {
            const int64_t sum = option.values[i] + term.plus - option.term.plus;
            if (mAxis[i] >= from && mAxis[i] <= to && alignUp(sum, term.align) != mTarget[i]) {
                return false;
            }
        }
        return true;
    }
    return false;
}

std::optional<Quantity> Zones::split(Axis axis) const {
    Quantity quantity;
    size_t first = 0;
    while (quantity.size() < kMaxZones) {
        std::optional<Term> term;
        const size_t last = longest(first, &term);
        // A zone of one size explains nothing but itself.
        if (!term || (last == first && mEdges.size() > 2)) {
            return std::nullopt;
        }
        if (!quantity.empty()) {
            // The formula of the lower zone may have reached too far.
            size_t low = first - 1;
            while (low > 0 && explains(*term, mEdges[low], mEdges[first])) {
                --low;
            }
            Case& below = quantity.back();
            below.limited = true;
            below.axis = axis;
            below.upTo = roundest(mEdges[low], mEdges[first] - 1);
            below.sure = mEdges[low];
            below.next = mEdges[first];
        }
        quantity.push_back({.term = *term});
        if (last + 1 == mEdges.size()) {
            return quantity;
        }
        first = last + 1;
    }
    return std::nullopt;
}

int64_t matches(const Series& target, const Series& values, int64_t alignment) {
    int64_t count = 0;
    for (size_t i = 0; i < target.size(); ++i) {
        count += alignUp(values[i], alignment) == target[i] ? 1 : 0;
    }
    return count;
}

}  // namespace

int64_t roundest(int64_t low, int64_t high) {
    if (low <= 0 && high >= 0) {
        return 0;
    }
    if (high < 0) {
        return -roundest(-high, -low);
    }
    int64_t best = high;
    for (int64_t bit = 1; bit <= high; bit *= 2) {
        const int64_t rounded = high / bit * bit;
        if (rounded < low) {
            break;
        }
        best = rounded;
    }
    return best;
}

std::optional<Quantity> fit(const Series& target, const std::vector<Option>& options,
                            const Sizes& sizes, Effort most) {
    Chosen all(target.size());
    std::iota(all.begin(), all.end(), 0u);
    if (const auto term = fitAny(target, options, all, most)) {
        return Quantity{Case{.term = *term}};
    }
    if (most < Effort::kZones) {
        return std::nullopt;
    }
    std::optional<Quantity> best;
    for (const Axis axis : {Axis::kWidth, Axis::kHeight, Axis::kArea}) {
        const auto zones = Zones(target, options, sizes.on(axis)).split(axis);
        if (zones && (!best || zones->size() < best->size())) {
            best = zones;
        }
    }
    return best;
}

Quantity fitMost(const Series& target, const std::vector<Option>& options) {
    Term best;
    int64_t most = -1;
    for (const Option& option : options) {
        for (const int64_t odd : {1, 3, 5}) {
            for (int64_t alignment = odd; alignment <= 65536; alignment *= 2) {
                const int64_t count = matches(target, option.values, alignment);
                if (count > most) {
                    most = count;
                    best = option.term;
                    best.align = alignment;
                }
            }
        }
    }
    return {Case{.term = best}};
}

}  // namespace zelkcam::profile
