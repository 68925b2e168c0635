#include "profile/Fit.h"

#include <algorithm>
#include <numeric>

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

bool isPowerOfTwo(int64_t value) {
    return (value & (value - 1)) == 0;
}

// The alignments that divide `divisor` and exceed `most`: powers of two first, each ascending.
std::vector<int64_t> alignments(int64_t divisor, int64_t most) {
    std::vector<int64_t> found;
    if (divisor == 0 || divisor <= most) {
        return found;
    }
    for (int64_t candidate = 1; candidate <= kWidestAlignment; candidate *= 2) {
        if (candidate > most && divisor % candidate == 0) {
            found.push_back(candidate);
        }
    }
    std::vector<int64_t> others;
    for (int64_t low = 1; low * low <= divisor && low <= kWidestAlignment; ++low) {
        if (divisor % low != 0) {
            continue;
        }
        for (const int64_t candidate : {low, divisor / low}) {
            if (candidate > most && candidate <= kWidestAlignment && !isPowerOfTwo(candidate)) {
                others.push_back(candidate);
            }
        }
    }
    std::sort(others.begin(), others.end());
    found.insert(found.end(), others.begin(), others.end());
    return found;
}

int64_t alternative(const std::vector<int64_t>& fitting) {
    const int64_t largest = *std::max_element(fitting.begin(), fitting.end());
    return largest == fitting.front() ? 0 : largest;
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
    term.orAlign = alternative(fitting);
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
    term.plusOpen = true;
    term.orPlus = term.plus == low ? slack.least : low;
    term.orTailRows = term.tailRows;
    return term;
}

std::optional<Term> fitOne(const Series& target, const Option& option, const Chosen& chosen,
                           Effort effort) {
    switch (effort) {
        case Effort::kExact:
            return exact(target, option, chosen);
        case Effort::kAligned:
            return aligned(target, option, chosen);
        case Effort::kPlus:
        case Effort::kZones:
            return withConstant(target, option, chosen);
    }
    return std::nullopt;
}

// Another unit that explains the samples as well, by a formula that is the same otherwise.
void noteOtherUnit(const Series& target, const std::vector<Option>& options, const Chosen& chosen,
                   Effort effort, Term& term) {
    for (const Option& option : options) {
        if (option.term.unit <= term.unit || option.term.base != term.base ||
            option.term.times != term.times || option.term.per != term.per) {
            continue;
        }
        if (const auto other = fitOne(target, option, chosen, effort)) {
            term.orUnit = other->unit;
            term.orAlign = other->align;
            return;
        }
    }
}

std::optional<Term> fitAny(const Series& target, const std::vector<Option>& options,
                           const Chosen& chosen, Effort most) {
    for (const Effort effort : {Effort::kExact, Effort::kAligned, Effort::kPlus}) {
        if (effort > most) {
            break;
        }
        for (const Option& option : options) {
            if (auto term = fitOne(target, option, chosen, effort)) {
                if (term->unit != 1) {
                    noteOtherUnit(target, options, chosen, effort, *term);
                }
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
        plain.orUnit = option.term.orUnit;
        plain.orAlign = option.term.orAlign;
        plain.plusOpen = option.term.plusOpen;
        plain.orPlus = option.term.orPlus;
        plain.orTailRows = option.term.orTailRows;
        if (!(plain == option.term)) {
            continue;
        }
        for (size_t i = 0; i < mTarget.size(); ++i) {
            const int64_t sum = option.values[i] + term.plus - option.term.plus;
            const int64_t value = (sum + term.align - 1) / term.align * term.align;
            if (mAxis[i] >= from && mAxis[i] <= to && value != mTarget[i]) {
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
        count += (values[i] + alignment - 1) / alignment * alignment == target[i] ? 1 : 0;
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
