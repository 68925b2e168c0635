#include "profile/FitTerms.h"

#include <algorithm>
#include <numeric>

namespace zelkcam::profile {

Ratio reduced(int64_t times, int64_t per) {
    const int64_t common = std::gcd(times, per);
    return {times / common, per / common};
}

Option scaled(const Series& base, Term term, Ratio ratio, bool up) {
    term.times = ratio.times;
    term.per = ratio.per;
    term.up = up && ratio.per != 1;
    Option option{term, {}};
    option.values.reserve(base.size());
    for (const int64_t value : base) {
        const int64_t product = alignUp(value, term.unit) * ratio.times;
        option.values.push_back((term.up ? product + ratio.per - 1 : product) / ratio.per);
    }
    return option;
}

Option plain(const Series& base, Term term) {
    return scaled(base, term, {1, 1}, false);
}

bool isConstant(const Series& series) {
    return std::all_of(series.begin(), series.end(),
                       [&](int64_t value) { return value == series.front(); });
}

Quantity oneTerm(const Term& term) {
    return {Case{.term = term}};
}

int64_t divisorOf(const Series& series) {
    return std::accumulate(series.begin(), series.end(), int64_t{0},
                           [](int64_t a, int64_t b) { return std::gcd(a, b); });
}

}  // namespace zelkcam::profile
