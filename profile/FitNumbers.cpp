#include "profile/FitNumbers.h"

#include <algorithm>
#include <numeric>
#include <set>

#include "profile/Evaluate.h"
#include "profile/FitSizes.h"
#include "profile/FitTerms.h"
#include "profile/Words.h"

namespace zelkcam::profile {
namespace {

// The largest of the ratios that no target falls short of.
Ratio likeliest(const std::vector<Ratio>& ratios, const Series& base, const Series& target) {
    Ratio best{1, 1};
    for (const Ratio& ratio : ratios) {
        const bool fits = std::equal(base.begin(), base.end(), target.begin(),
                                     [&](int64_t value, int64_t wanted) {
                                         return value * ratio.times <= wanted * ratio.per;
                                     });
        if (fits && ratio.times * best.per > best.times * ratio.per) {
            best = ratio;
        }
    }
    return best;
}

class RuleFitter {
  public:
    RuleFitter(const std::vector<const Answer*>& answers, const Shape& shape, Rule& rule);
    void run();

  private:
    template <typename Read>
    Series collect(const Read& read) const {
        Series series;
        series.reserve(mAnswers.size());
        for (const Answer* const answer : mAnswers) {
            series.push_back(read(*answer));
        }
        return series;
    }
    Series ofPlane(size_t plane, int64_t PlaneNumbers::*field) const {
        return collect([&](const Answer& answer) { return answer.numbers.planes[plane].*field; });
    }
    Series valuesOf(const Quantity& quantity, const Series& base) const;
    // Several sizes with one value are a constant; one size may be anything.
    bool constant(const Series& target, Quantity& quantity) const;
    bool fitRowByPixels(const Series& target, const std::vector<Ratio>& ratios, Effort most);
    bool fitRowsOfFirst(const Series& size, Effort most);
    bool fitHiddenRows(const Series& size);
    bool fitRounded(const Series& size, const Series& row, const Term& height, Effort effort);
    bool fitArea(const Series& target, Quantity& quantity);
    void fitFirstRow();
    void addUnits(Ratio ratio, std::vector<Option>& options) const;
    bool fitWithoutPlanes(const Series& target);
    void fitTail(const Series& target, const std::vector<Option>& ends, Effort most);
    void fitFirstSize();
    void fitNextRow(size_t plane);
    void fitNextSize(size_t plane);
    bool fitRowsOfNext(size_t plane, const Series& size);
    void fitOffset(size_t plane);
    void fitSamples(size_t plane);
    void fitStrides();
    void fitOwn(size_t number, const std::vector<Option>& options);
    void fitSize();
    void settle(const Series& target, const std::vector<Option>& options, Quantity& quantity);

    const std::vector<const Answer*>& mAnswers;
    const Shape& mShape;
    Rule& mRule;
    Sizes mSizes;
    Series mAlignedWidth;
    Series mAlignedHeight;
    bool mManySizes;
    bool mBlockTaken = false;
};

RuleFitter::RuleFitter(const std::vector<const Answer*>& answers, const Shape& shape, Rule& rule)
    : mAnswers(answers), mShape(shape), mRule(rule) {
    mSizes.width = collect([](const Answer& answer) { return int64_t{answer.width}; });
    mSizes.height = collect([](const Answer& answer) { return int64_t{answer.height}; });
    mSizes.area =
            collect([](const Answer& answer) { return int64_t{answer.width} * answer.height; });
    mAlignedWidth = mSizes.width;
    mAlignedHeight = mSizes.height;
    mManySizes = !isConstant(mSizes.width) && !isConstant(mSizes.height);
}

bool RuleFitter::constant(const Series& target, Quantity& quantity) const {
    if (!isConstant(target) || !(mManySizes || target.front() == 0)) {
        return false;
    }
    quantity = oneTerm({.plus = target.front()});
    return true;
}

// What cannot be explained whole is explained as far as possible.
void RuleFitter::settle(const Series& target, const std::vector<Option>& options,
                        Quantity& quantity) {
    if (constant(target, quantity)) {
        return;
    }
    const auto found = fit(target, options, mSizes, Effort::kZones);
    quantity = found ? *found : fitMost(target, options);
}

Series RuleFitter::valuesOf(const Quantity& quantity, const Series& base) const {
    Series values;
    for (size_t i = 0; i < base.size(); ++i) {
        const Case* chosen = &quantity.back();
        for (const Case& one : quantity) {
            if (!one.limited || mSizes.on(one.axis)[i] <= one.upTo) {
                chosen = &one;
                break;
            }
        }
        const Term& term = chosen->term;
        const int64_t product = (term.base == Base::kConstant ? 0 : base[i]) * term.times;
        const int64_t divided = (term.up ? product + term.per - 1 : product) / term.per;
        values.push_back(alignUp(divided + term.plus, term.align));
    }
    return values;
}

bool RuleFitter::fitRowByPixels(const Series& target, const std::vector<Ratio>& ratios,
                                Effort most) {
    for (const int64_t alignment : kUnits) {
        Series pixels;
        pixels.reserve(mSizes.width.size());
        for (const int64_t width : mSizes.width) {
            pixels.push_back(alignUp(width, alignment));
        }
        std::vector<Option> options;
        options.reserve(ratios.size());
        for (const Ratio& ratio : ratios) {
            options.push_back(scaled(pixels, {.base = Base::kAlignedWidth}, ratio, false));
        }
        const auto found = fit(target, options, mSizes, most);
        if (found) {
            mRule.alignedWidth = oneTerm({.base = Base::kWidth, .align = alignment});
            mAlignedWidth = pixels;
            mRule.planes[0].row = *found;
            return true;
        }
    }
    return false;
}

void RuleFitter::fitFirstRow() {
    const Series target = ofPlane(0, &PlaneNumbers::row);
    Quantity& row = mRule.planes[0].row;
    if (constant(target, row)) {
        return;
    }
    std::vector<Ratio> ratios(std::begin(kBytesPerPixel), std::end(kBytesPerPixel));
    const int64_t increment = mShape.planes[0].sampleIncrementInBits;
    if (increment > 0) {
        ratios.insert(ratios.begin(), reduced(increment, 8));
    }
    std::vector<Option> options;
    options.reserve(ratios.size());
    for (const Ratio& ratio : ratios) {
        options.push_back(scaled(mSizes.width, {.base = Base::kWidth}, ratio, true));
    }
    if (const auto found = fit(target, options, mSizes, Effort::kAligned)) {
        row = *found;
        return;
    }
    if (fitRowByPixels(target, ratios, Effort::kAligned)) {
        return;
    }
    if (const auto found = fit(target, options, mSizes, Effort::kOdd)) {
        row = *found;
        return;
    }
    if (!fitRowByPixels(target, ratios, Effort::kOdd)) {
        addUnits(increment > 0 ? ratios.front() : likeliest(ratios, mSizes.width, target), options);
        settle(target, options, row);
    }
}

// Rows of whole units, for devices that round to other units by size.
void RuleFitter::addUnits(Ratio ratio, std::vector<Option>& options) const {
    for (const int64_t unit : kUnits) {
        options.push_back(scaled(mSizes.width, {.base = Base::kWidth, .unit = unit}, ratio, true));
    }
}

// Rows as size divided by row, where that leaves nothing.
bool RuleFitter::fitRowsOfFirst(const Series& size, Effort most) {
    const Series row = ofPlane(0, &PlaneNumbers::row);
    Series rows;
    for (size_t i = 0; i < size.size(); ++i) {
        if (row[i] == 0 || size[i] % row[i] != 0) {
            return false;
        }
        rows.push_back(size[i] / row[i]);
    }
    const auto found = fit(rows, {plain(mSizes.height, {.base = Base::kHeight})}, mSizes, most);
    if (!found) {
        return false;
    }
    if (!(*found == oneTerm({.base = Base::kHeight}))) {
        mRule.alignedHeight = *found;
        mAlignedHeight = rows;
    }
    return true;
}

// Rows that only show through a rounded size, some behind the picture perhaps.
bool RuleFitter::fitHiddenRows(const Series& size) {
    const Series row = ofPlane(0, &PlaneNumbers::row);
    for (const Effort effort : {Effort::kAligned, Effort::kPlus}) {
        for (const int64_t guard : kGuardRows) {
            for (const int64_t alignment : kRowAlignments) {
                const Term term{.base = Base::kHeight, .align = alignment, .extra = guard};
                if (fitRounded(size, row, term, effort)) {
                    return true;
                }
            }
        }
    }
    return false;
}

// The first plane's size as so many rows, rounded.
bool RuleFitter::fitRounded(const Series& size, const Series& row, const Term& height,
                            Effort effort) {
    Series rows;
    Series bytes;
    for (size_t i = 0; i < size.size(); ++i) {
        rows.push_back(alignUp(mSizes.height[i], height.align) + height.extra);
        bytes.push_back(rows[i] * row[i]);
    }
    const auto found = fit(size, {plain(bytes, {.base = Base::kPlane})}, mSizes, effort);
    if (!found) {
        return false;
    }
    mRule.planes[0].size = *found;
    if (!(height == Term{.base = Base::kHeight})) {
        mRule.alignedHeight = oneTerm(height);
    }
    mAlignedHeight = rows;
    return true;
}

// A size that depends on blocks of pixels and on no row. What a device tells the components of is
// not compressed.
bool RuleFitter::fitArea(const Series& target, Quantity& quantity) {
    if (mBlockTaken || !mRule.alignedWidth.empty()) {
        return false;
    }
    const bool readable = !mShape.planes.empty() && !mShape.planes.front().components.empty();
    auto found = fitBlocks(target, mSizes);
    if (!found && !readable) {
        found = fitHeader(target, mSizes);
    }
    if (!found) {
        return false;
    }
    mBlockTaken = true;
    mRule.alignedWidth = found->alignedWidth;
    mRule.alignedHeight = found->alignedHeight;
    mRule.header = found->header;
    quantity = found->size;
    if (!mRule.alignedWidth.empty()) {
        mAlignedWidth = valuesOf(mRule.alignedWidth, mSizes.width);
    }
    if (!mRule.alignedHeight.empty()) {
        mAlignedHeight = valuesOf(mRule.alignedHeight, mSizes.height);
    }
    return true;
}

bool RuleFitter::fitWithoutPlanes(const Series& target) {
    const auto found = fitHidden(target, mSizes);
    if (found) {
        mRule.alignedHeight = found->alignedHeight;
        mRule.planes = {found->plane};
        mRule.allocationSize = found->size;
    }
    return found.has_value();
}

void RuleFitter::fitFirstSize() {
    const Series size = ofPlane(0, &PlaneNumbers::size);
    Quantity& quantity = mRule.planes[0].size;
    if (constant(size, quantity) || fitRowsOfFirst(size, Effort::kOdd) || fitHiddenRows(size) ||
        fitArea(size, quantity) || fitRowsOfFirst(size, Effort::kZones)) {
        return;
    }
    const Series row = ofPlane(0, &PlaneNumbers::row);
    Series bytes;
    for (size_t i = 0; i < size.size(); ++i) {
        bytes.push_back(row[i] * mSizes.height[i]);
    }
    std::vector<Option> options{plain(bytes, {.base = Base::kPlane})};
    for (const Ratio& ratio : kBytesPerPixel) {
        options.push_back(scaled(mSizes.area, {.base = Base::kArea}, ratio, true));
    }
    settle(size, options, quantity);
}

void RuleFitter::fitNextRow(size_t plane) {
    const Series target = ofPlane(plane, &PlaneNumbers::row);
    const Series first = ofPlane(0, &PlaneNumbers::row);
    std::vector<Option> options;
    for (const Ratio ratio : {Ratio{1, 1}, Ratio{1, 2}, Ratio{2, 1}, Ratio{1, 4}}) {
        options.push_back(scaled(first, {.base = Base::kRow}, ratio, false));
    }
    const PlaneShape& shape = mShape.planes[plane];
    const int64_t bits = std::max<int64_t>(shape.sampleIncrementInBits, 1);
    const Ratio ratio = reduced(bits, 8 * std::max<int64_t>(shape.horizontalSubsampling, 1));
    for (const bool up : {true, false}) {
        options.push_back(scaled(mSizes.width, {.base = Base::kWidth}, ratio, up));
    }
    for (const Ratio other : kBytesPerPixel) {
        options.push_back(scaled(mSizes.width, {.base = Base::kWidth}, other, true));
    }
    addUnits(ratio, options);
    settle(target, options, mRule.planes[plane].row);
}

bool RuleFitter::fitRowsOfNext(size_t plane, const Series& size) {
    const Series row = ofPlane(plane, &PlaneNumbers::row);
    Series rows;
    for (size_t i = 0; i < size.size(); ++i) {
        if (row[i] == 0 || size[i] % row[i] != 0) {
            return false;
        }
        rows.push_back(size[i] / row[i]);
    }
    const int64_t per = std::max<int64_t>(mShape.planes[plane].verticalSubsampling, 1);
    std::vector<Option> options;
    for (const bool up : {false, true}) {
        options.push_back(scaled(mAlignedHeight, {.base = Base::kAlignedHeight}, {1, per}, up));
        options.push_back(scaled(mSizes.height, {.base = Base::kHeight}, {1, per}, up));
    }
    options.push_back(scaled(mAlignedHeight, {.base = Base::kAlignedHeight}, {1, 2}, false));
    const auto found = fit(rows, options, mSizes, Effort::kAligned);
    if (found) {
        mRule.planes[plane].rows = *found;
    }
    return found.has_value();
}

void RuleFitter::fitNextSize(size_t plane) {
    const Series size = ofPlane(plane, &PlaneNumbers::size);
    PlaneRule& rule = mRule.planes[plane];
    if (constant(size, rule.size) || fitRowsOfNext(plane, size)) {
        return;
    }
    const Series row = ofPlane(plane, &PlaneNumbers::row);
    const int64_t per = std::max<int64_t>(mShape.planes[plane].verticalSubsampling, 1);
    const std::pair<Base, const Series*> bases[] = {{Base::kAlignedHeight, &mAlignedHeight},
                                                    {Base::kHeight, &mSizes.height}};
    for (const Effort effort : {Effort::kExact, Effort::kAligned, Effort::kPlus}) {
        for (const int64_t align : kRowAlignments) {
            for (const auto& [base, heights] : bases) {
                for (const int way : {0, 1, 2}) {
                    // Halved after the product, or whole rows, rounded up or down.
                    const Term rows{.base = base,
                                    .up = way == 1,
                                    .per = way == 0 ? 1 : per,
                                    .align = align};
                    const Series counted = valuesOf(oneTerm(rows), *heights);
                    Series bytes;
                    for (size_t i = 0; i < size.size(); ++i) {
                        bytes.push_back(row[i] * counted[i]);
                    }
                    const auto option =
                            scaled(bytes, {.base = Base::kPlane}, {1, way == 0 ? per : 1}, false);
                    if (const auto found = fit(size, {option}, mSizes, effort)) {
                        rule.rows = oneTerm(rows);
                        rule.size = *found;
                        return;
                    }
                }
            }
        }
    }
    Series bytes;
    for (size_t i = 0; i < size.size(); ++i) {
        bytes.push_back(row[i] * mAlignedHeight[i] / per);
    }
    rule.rows = oneTerm({.base = Base::kAlignedHeight});
    Option option = plain(bytes, {.base = Base::kPlane});
    option.term.per = per;
    settle(size, {option}, rule.size);
}

// A plane is placed by those that lie before it in memory.
void RuleFitter::fitOffset(size_t plane) {
    const Series target = ofPlane(plane, &PlaneNumbers::offset);
    Quantity& offset = mRule.planes[plane].offset;
    if (isConstant(target) && (mManySizes || target.front() == 0)) {
        if (target.front() != 0) {
            offset = oneTerm({.plus = target.front()});
        }
        return;
    }
    std::vector<Option> options;
    const auto before = [&](size_t other) {
        const PlaneNumbers& mine = mAnswers.front()->numbers.planes[plane];
        const PlaneNumbers& its = mAnswers.front()->numbers.planes[other];
        return std::pair(its.offset, other) < std::pair(mine.offset, plane);
    };
    for (size_t i = mShape.planes.size(); i-- > 0;) {
        if (i != plane && before(i)) {
            const auto number = static_cast<uint8_t>(i);
            options.push_back(plain(collect([&](const Answer& answer) {
                                        const PlaneNumbers& its = answer.numbers.planes[i];
                                        return its.offset + its.size;
                                    }),
                                    {.base = Base::kEnd, .plane = number}));
            options.push_back(plain(ofPlane(i, &PlaneNumbers::offset),
                                    {.base = Base::kStart, .plane = number}));
        }
    }
    Series pixels;
    for (size_t i = 0; i < target.size(); ++i) {
        pixels.push_back(mAlignedWidth[i] * mAlignedHeight[i]);
    }
    for (const int64_t bytes : {16, 32, 8, 4, 1, 2, 64}) {
        options.push_back(scaled(pixels, {.base = Base::kArea}, reduced(bytes, 256), true));
    }
    settle(target, options, offset);
}

void RuleFitter::fitSamples(size_t plane) {
    const PlaneShape& shape = mShape.planes[plane];
    PlaneRule& rule = mRule.planes[plane];
    const auto options = [](const Series& exact, Base base, const Series& aligned, Base alignedBase,
                            int64_t per) {
        std::vector<Option> list;
        for (const int64_t divisor : {per, int64_t{1}, int64_t{2}}) {
            for (const bool up : {false, true}) {
                list.push_back(scaled(exact, {.base = base}, {1, divisor}, up));
                list.push_back(scaled(aligned, {.base = alignedBase}, {1, divisor}, up));
            }
        }
        return list;
    };
    auto widths = options(mSizes.width, Base::kWidth, mAlignedWidth, Base::kAlignedWidth,
                          std::max<int64_t>(shape.horizontalSubsampling, 1));
    const Series row = ofPlane(0, &PlaneNumbers::row);
    for (const Ratio& ratio : kBytesPerPixel) {
        widths.push_back(scaled(row, {.base = Base::kRow}, {ratio.per, ratio.times}, false));
    }
    settle(ofPlane(plane, &PlaneNumbers::width), widths, rule.width);
    settle(ofPlane(plane, &PlaneNumbers::height),
           options(mSizes.height, Base::kHeight, mAlignedHeight, Base::kAlignedHeight,
                   std::max<int64_t>(shape.verticalSubsampling, 1)),
           rule.height);
}

void RuleFitter::fitStrides() {
    std::vector<Option> options;
    if (!mShape.planes.empty()) {
        const Series row = ofPlane(0, &PlaneNumbers::row);
        for (const Ratio& ratio : kBytesPerPixel) {
            options.push_back(scaled(row, {.base = Base::kRow}, {ratio.per, ratio.times}, false));
        }
    }
    options.push_back(plain(mAlignedWidth, {.base = Base::kAlignedWidth}));
    options.push_back(plain(mSizes.width, {.base = Base::kWidth}));
    for (const Ratio& ratio : kBytesPerPixel) {
        options.push_back(scaled(mSizes.width, {.base = Base::kWidth}, ratio, true));
    }
    const Series stride = collect([](const Answer& answer) { return answer.numbers.stride; });
    settle(stride, options, mRule.stride);
    const Series answered =
            collect([](const Answer& answer) { return answer.numbers.answeredStride; });
    if (answered != stride) {
        settle(answered, options, mRule.answeredStride);
    }
    fitOwn(kOwnStride, options);
}

// What an extension of the maker's own counts otherwise than the mapper.
void RuleFitter::fitOwn(size_t number, const std::vector<Option>& options) {
    const bool own = std::any_of(mAnswers.begin(), mAnswers.end(), [&](const Answer* answer) {
        return answer->numbers.own[number].has_value();
    });
    if (own) {
        const Series target = collect([&](const Answer& answer) {
            const auto otherwise = told(mShape, answer.numbers, answer.height, number);
            return answer.numbers.own[number].value_or(otherwise.value_or(0));
        });
        settle(target, options, mRule.*kOwnNumbers[number].quantity);
    }
}

// Rows behind the planes, or behind one of them.
void RuleFitter::fitTail(const Series& target, const std::vector<Option>& ends, Effort most) {
    for (const Option& end : ends) {
        for (const int64_t tail : {1, 2, 4, 8, 16, 32, 3}) {
            Option option = end;
            option.term.tailRows = tail;
            for (size_t i = 0; i < option.values.size(); ++i) {
                option.values[i] += tail * mAnswers[i]->numbers.planes[0].row;
            }
            const auto found = fit(target, {option}, mSizes, most);
            if (found) {
                mRule.allocationSize = *found;
                return;
            }
        }
    }
}

void RuleFitter::fitSize() {
    const Series target = collect([](const Answer& answer) { return answer.numbers.size; });
    if (mShape.planes.empty() && fitWithoutPlanes(target)) {
        return;
    }
    std::vector<Option> options;
    const size_t planes = mShape.planes.size();
    const auto endOf = [](const Answer& answer, size_t plane) {
        const PlaneNumbers& numbers = answer.numbers.planes[plane];
        return numbers.offset + numbers.size;
    };
    const Series total = collect([&](const Answer& answer) {
        int64_t most = 0;
        for (size_t i = 0; i < planes; ++i) {
            most = std::max(most, endOf(answer, i));
        }
        return most;
    });
    options.push_back(plain(total, {.base = Base::kTotal}));
    for (size_t i = 0; i < planes; ++i) {
        options.push_back(plain(collect([&](const Answer& answer) { return endOf(answer, i); }),
                                {.base = Base::kEnd, .plane = static_cast<uint8_t>(i)}));
    }
    fitOwn(kOwnSize, options);
    for (const Effort most : {Effort::kPlus, Effort::kOdd}) {
        const auto found = fit(target, options, mSizes, most);
        if (found) {
            mRule.allocationSize = *found == oneTerm({.base = Base::kTotal}) ? Quantity() : *found;
            return;
        }
        if (planes != 0) {
            fitTail(target, options, most);
        }
        if (!mRule.allocationSize.empty()) {
            return;
        }
    }
    if (!fitArea(target, mRule.allocationSize)) {
        settle(target, options, mRule.allocationSize);
    }
}

void RuleFitter::run() {
    const size_t planes = mShape.planes.size();
    mRule.planes.resize(planes);
    if (planes > 0) {
        fitFirstRow();
        fitFirstSize();
    }
    for (size_t i = 1; i < planes; ++i) {
        fitNextRow(i);
        fitNextSize(i);
    }
    for (size_t i = 0; i < planes; ++i) {
        fitOffset(i);
        fitSamples(i);
    }
    fitSize();
    fitStrides();
    fitOwn(kOwnRows, {plain(mSizes.height, {.base = Base::kHeight}),
                      plain(mAlignedHeight, {.base = Base::kAlignedHeight})});
}

}  // namespace

void fitNumbers(const std::vector<const Answer*>& answers, const Shape& shape, Rule& rule) {
    RuleFitter(answers, shape, rule).run();
}

}  // namespace zelkcam::profile
