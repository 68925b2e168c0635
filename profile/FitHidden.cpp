#include <algorithm>
#include <numeric>

#include "profile/FitSizes.h"
#include "profile/FitTerms.h"

namespace zelkcam::profile {
namespace {

// What chroma adds to the first plane, and how rows of bytes are rounded.
constexpr Ratio kChroma[] = {{1, 1}, {3, 2}, {2, 1}};
constexpr int64_t kRowBytes[] = {1,    2,  4,  8,   16, 32, 64, 128, 256, 512,
                                 1024, 48, 96, 192, 10, 20, 40, 80,  384};
constexpr int64_t kTailRows[] = {0, 1, 2, 8, 4, 3};

// Rows of bytes, so many of them, more for chroma, and some rows behind.
struct Formula {
    const Option& row;
    const Option& rows;
    const Ratio& chroma;
    int64_t tail;

    int64_t at(size_t i) const {
        return row.values[i] * rows.values[i] * chroma.times / chroma.per + tail * row.values[i];
    }
};

class HiddenFitter {
  public:
    HiddenFitter(const Series& target, const Sizes& sizes);
    std::optional<HiddenSize> run();

  private:
    bool possible(const Ratio& pixel, const Ratio& chroma) const;
    std::vector<Option> rowsOf(const Ratio& pixel) const;
    std::optional<HiddenSize> tryRow(const Option& row, const Ratio& chroma, Effort most) const;
    bool leavesPadding(const Formula& formula, Effort most) const;
    std::optional<HiddenSize> tryFormula(const Formula& formula, Effort most) const;

    Series mTarget;  // the largest first: most formulas fail there already
    Sizes mSizes;
    std::vector<Option> mRows;
    int64_t mDivisor;      // of the sizes
    int64_t mDifferences;  // of what they differ by
};

HiddenFitter::HiddenFitter(const Series& target, const Sizes& sizes) {
    std::vector<size_t> order(target.size());
    std::iota(order.begin(), order.end(), size_t{0});
    std::stable_sort(order.begin(), order.end(),
                     [&](size_t a, size_t b) { return sizes.area[a] > sizes.area[b]; });
    Series differences;
    for (const size_t i : order) {
        mTarget.push_back(target[i]);
        mSizes.width.push_back(sizes.width[i]);
        mSizes.height.push_back(sizes.height[i]);
        mSizes.area.push_back(sizes.area[i]);
        differences.push_back(std::abs(target[i] - target.front()));
    }
    for (const int64_t guard : kGuardRows) {
        for (const int64_t align : kRowAlignments) {
            Option rows{{.base = Base::kHeight, .align = align, .extra = guard}, {}};
            for (const int64_t height : mSizes.height) {
                rows.values.push_back(alignUp(height, align) + guard);
            }
            mRows.push_back(std::move(rows));
        }
    }
    mDivisor = divisorOf(mTarget);
    mDifferences = divisorOf(differences);
}

// Of a large buffer padding is the lesser part.
bool HiddenFitter::possible(const Ratio& pixel, const Ratio& chroma) const {
    const int64_t least = mSizes.area.front() * pixel.times / pixel.per * chroma.times / chroma.per;
    return least <= mTarget.front() && (mTarget.front() - least) / 2 <= least;
}

std::vector<Option> HiddenFitter::rowsOf(const Ratio& pixel) const {
    std::vector<Option> rows;
    for (const int64_t align : kRowBytes) {
        rows.push_back(scaled(mSizes.width, {.base = Base::kWidth}, pixel, true));
        rows.back().term.align = align;
        for (int64_t& value : rows.back().values) {
            value = alignUp(value, align);
        }
    }
    for (const int64_t unit : kUnits) {
        rows.push_back(scaled(mSizes.width, {.base = Base::kWidth, .unit = unit}, pixel, true));
    }
    return rows;
}

// Whether what a formula leaves is the same everywhere but for rounding.
bool HiddenFitter::leavesPadding(const Formula& formula, Effort most) const {
    const int64_t divisor = most == Effort::kOdd ? mDifferences : mDivisor;
    int64_t least = INT64_MAX;
    int64_t rest = 0;
    for (size_t i = 0; i < mTarget.size(); ++i) {
        const int64_t left = mTarget[i] - formula.at(i);
        least = std::min(least, left);
        rest = std::max(rest, left);
        if (least < 0 || (rest - least >= divisor && divisor != 0)) {
            return false;
        }
    }
    return true;
}

std::optional<HiddenSize> HiddenFitter::tryFormula(const Formula& formula, Effort most) const {
    if (!leavesPadding(formula, most)) {
        return std::nullopt;
    }
    Option option{{.base = Base::kTotal, .tailRows = formula.tail}, {}};
    for (size_t i = 0; i < mTarget.size(); ++i) {
        option.values.push_back(formula.at(i));
    }
    const auto size = fit(mTarget, {option}, mSizes, most);
    if (!size) {
        return std::nullopt;
    }
    HiddenSize found;
    found.alignedHeight = oneTerm(formula.rows.term);
    found.plane.row = oneTerm(formula.row.term);
    found.plane.size = oneTerm(
            {.base = Base::kPlane, .times = formula.chroma.times, .per = formula.chroma.per});
    found.size = *size;
    return found;
}

std::optional<HiddenSize> HiddenFitter::tryRow(const Option& row, const Ratio& chroma,
                                               Effort most) const {
    for (const Option& rows : mRows) {
        for (const int64_t tail : kTailRows) {
            if (auto found = tryFormula({row, rows, chroma, tail}, most)) {
                return found;
            }
        }
    }
    return std::nullopt;
}

std::optional<HiddenSize> HiddenFitter::run() {
    for (const Effort most : {Effort::kPlus, Effort::kOdd}) {
        for (const Ratio& chroma : kChroma) {
            for (const Ratio& pixel : kBytesPerPixel) {
                if (!possible(pixel, chroma)) {
                    continue;
                }
                for (const Option& row : rowsOf(pixel)) {
                    if (auto found = tryRow(row, chroma, most)) {
                        return found;
                    }
                }
            }
        }
    }
    return std::nullopt;
}

}  // namespace

std::optional<HiddenSize> fitHidden(const Series& target, const Sizes& sizes) {
    return HiddenFitter(target, sizes).run();
}

}  // namespace zelkcam::profile
