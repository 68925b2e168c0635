#include "profile/Others.h"

#include <algorithm>
#include <array>
#include <functional>
#include <numeric>
#include <random>

#include "profile/Evaluate.h"
#include "profile/Words.h"

namespace zelkcam::profile {
namespace {

using Answers = std::vector<const Answer*>;

// Alignments that devices have, in bytes, pixels or rows.
constexpr int64_t kAlignments[] = {1,    2,    4,    8,    16,    32,    64, 128, 256, 512,
                                   1024, 2048, 4096, 8192, 16384, 65536, 3,  6,   12,  24,
                                   48,   96,   192,  384,  10,    20,    40, 80,  36,  160};
// And of what planes and buffers start and end at: powers of two.
constexpr int64_t kLargestAlignment = 1 << 20;
constexpr int64_t kOtherTails[] = {0, 1, 2, 3, 4, 8, 16, 32};
constexpr int64_t kOtherHeaderAlignments[] = {1, 64, 128, 256, 512, 1024, 2048, 4096, 65536};
constexpr int64_t kOtherHeaderBytes[] = {1, 2, 4, 8, 16, 32, 64};
constexpr int64_t kBlockPixels[] = {16, 64, 256, 1024, 4096};
constexpr int64_t kBlockSides[] = {1, 4, 8, 16, 32, 64, 128, 256};

// A quantity of a rule and where its value is found in the numbers.
struct Place {
    std::function<Quantity&(Rule&)> quantity;
    std::function<int64_t(const Numbers&)> value;
    Term byDefault;
};

// The quantities that end in a sum and a rounding.
std::vector<Place> sums(const Rule& rule) {
    std::vector<Place> places;
    places.push_back({[](Rule& one) -> Quantity& { return one.allocationSize; },
                      [](const Numbers& numbers) { return numbers.size; },
                      {.base = Base::kTotal}});
    for (size_t i = 0; i < rule.planes.size(); ++i) {
        places.push_back({[i](Rule& one) -> Quantity& { return one.planes[i].offset; },
                          [i](const Numbers& numbers) { return numbers.planes[i].offset; },
                          {}});
        places.push_back({[i](Rule& one) -> Quantity& { return one.planes[i].size; },
                          [i](const Numbers& numbers) { return numbers.planes[i].size; },
                          {.base = Base::kPlane}});
    }
    return places;
}

std::vector<Place> lengths(const Rule& rule) {
    std::vector<Place> places;
    const auto add = [&](auto access, Base byDefault) {
        places.push_back({access, nullptr, {.base = byDefault}});
    };
    if (!rule.alignedWidth.empty()) {  // otherwise nothing is counted from it
        add([](Rule& one) -> Quantity& { return one.alignedWidth; }, Base::kWidth);
    }
    add([](Rule& one) -> Quantity& { return one.alignedHeight; }, Base::kHeight);
    add([](Rule& one) -> Quantity& { return one.stride; }, Base::kAlignedWidth);
    for (const auto& [name, quantity] : kOwnNumbers) {
        if (!(rule.*quantity).empty()) {
            const auto member = quantity;
            add([member](Rule& one) -> Quantity& { return one.*member; }, Base::kConstant);
        }
    }
    for (size_t i = 0; i < rule.planes.size(); ++i) {
        add([i](Rule& one) -> Quantity& { return one.planes[i].row; }, Base::kRow);
        add([i](Rule& one) -> Quantity& { return one.planes[i].rows; }, Base::kAlignedHeight);
        add([i](Rule& one) -> Quantity& { return one.planes[i].width; }, Base::kWidth);
        add([i](Rule& one) -> Quantity& { return one.planes[i].height; }, Base::kHeight);
    }
    return places;
}

// A rule whose quantity at `place` is written out, so that its terms can be changed.
Rule spelled(const Rule& rule, const Place& place) {
    Rule copy = quantitiesOf(rule);
    Quantity& quantity = place.quantity(copy);
    if (quantity.empty()) {
        quantity = {Case{.term = place.byDefault}};
    }
    return copy;
}

// Which case of a quantity an answer is explained by.
size_t caseNumber(const Quantity& quantity, const Answer& answer) {
    const auto found = std::find_if(quantity.begin(), quantity.end(), [&](const Case& one) {
        return !one.limited || onAxis(one.axis, answer.width, answer.height) <= one.upTo;
    });
    return static_cast<size_t>(found - quantity.begin());
}

class Search {
  public:
    Search(const Rule& rule, const Answers& answers, const Shape& shape)
        : mRule(rule), mAnswers(answers), mShape(shape) {
        for (const Answer* const answer : answers) {
            mMaxWidth = std::max(mMaxWidth, answer->width);
            mMaxHeight = std::max(mMaxHeight, answer->height);
            mWidthUnit = std::gcd(mWidthUnit, answer->width);
            mHeightUnit = std::gcd(mHeightUnit, answer->height);
        }
    }

    std::vector<Rule> run();

  private:
    struct Rest {
        int64_t least = INT64_MAX;
        int64_t most = INT64_MIN;
        int64_t divisor = 0;  // of all targets
    };

    void offer(const Rule& other);
    void changeSum(const Rule& rule, const Place& place);
    void changeEnd();
    std::optional<Rest> restOf(const Rule& other, const Place& place, size_t number) const;
    void changeConstants(const Rule& other, const Place& place, size_t number);
    void changeLengths();
    void changeTerm(Rule& other, Term& term);
    void changeHidden();
    void changeBlocks();
    bool differs(const Rule& other) const;
    bool full() const { return mFound.size() >= kMostOthers; }

    const Rule& mRule;
    Answers mAnswers;
    const Shape& mShape;
    uint32_t mMaxWidth = 0;
    uint32_t mMaxHeight = 0;
    // Odd sizes, say, where the device grants none.
    uint32_t mWidthUnit = 0;
    uint32_t mHeightUnit = 0;
    std::vector<Rule> mFound;
    mutable std::vector<std::optional<Numbers>> mProbes;
};

bool Search::differs(const Rule& other) const {
    const auto& probes = probeSizes();
    if (mProbes.empty()) {
        for (const Size& size : probes) {
            mProbes.push_back(toldBy(mRule, mShape, size));
        }
    }
    for (size_t i = 0; i < probes.size(); ++i) {
        const auto& [width, height] = probes[i];
        const bool asked = width <= mMaxWidth && height <= mMaxHeight && width % mWidthUnit == 0 &&
                           height % mHeightUnit == 0;
        if (asked && mProbes[i] && toldBy(other, mShape, probes[i]) != mProbes[i]) {
            return true;
        }
    }
    return false;
}

void Search::offer(const Rule& other) {
    if (full()) {
        return;
    }
    // Most fail at an answer that made another fail: it is asked first next time.
    for (size_t i = 0; i < mAnswers.size(); ++i) {
        const Answer& answer = *mAnswers[i];
        if (toldBy(other, mShape, {answer.width, answer.height}) != answer.numbers) {
            std::swap(mAnswers[i], mAnswers[i / 2]);
            return;
        }
    }
    const bool known = std::find(mFound.begin(), mFound.end(), other) != mFound.end();
    if (!known && differs(other)) {
        mFound.push_back(other);
    }
}

// What is left of each target for a sum's constant and alignment, if that can be told.
std::optional<Search::Rest> Search::restOf(const Rule& other, const Place& place,
                                           size_t number) const {
    Rule plain = other;
    const Term found = place.quantity(plain)[number].term;
    Term& term = place.quantity(plain)[number].term;
    term.plus = 0;
    term.align = 1;
    term.extra = 0;
    term.least = 0;
    const Quantity quantity = place.quantity(plain);
    Rest rest;
    for (const Answer* const answer : mAnswers) {
        const int64_t target =
                place.value(answer->numbers) - (found.extraAt == 1 ? found.extra : 0);
        if (caseNumber(quantity, *answer) != number ||
            (found.least != 0 && target <= found.least)) {
            continue;
        }
        const auto numbers = evaluate(plain, answer->width, answer->height);
        if (!numbers) {
            return std::nullopt;
        }
        rest.least = std::min(rest.least, target - place.value(*numbers));
        rest.most = std::max(rest.most, target - place.value(*numbers));
        rest.divisor = std::gcd(rest.divisor, target);
        if (rest.most - rest.least >= kLargestAlignment) {
            return std::nullopt;
        }
    }
    return rest.least <= rest.most ? std::optional(rest) : std::nullopt;
}

// Solves for the constant: with each alignment a range of constants may explain all, and its ends
// tell whether the constant matters for a size.
void Search::changeConstants(const Rule& other, const Place& place, size_t number) {
    const auto rest = restOf(other, place, number);
    if (!rest) {
        return;
    }
    Rule solved = other;
    Term& term = place.quantity(solved)[number].term;
    const Term found = term;
    std::vector<int64_t> alignments{found.align};
    for (int64_t align = 1; align <= kLargestAlignment; align *= 2) {
        alignments.push_back(align);
    }
    for (const int64_t align : alignments) {
        const int64_t low =
                std::max(rest->most - align + 1, found.plus >= 0 ? int64_t{0} : INT64_MIN);
        if (low > rest->least || rest->divisor % align != 0) {
            continue;
        }
        for (const int64_t plus : {low, rest->least}) {
            term.align = align;
            term.plus = plus;
            if (!(term == found)) {
                offer(solved);
            }
        }
    }
}

void Search::changeSum(const Rule& rule, const Place& place) {
    Rule copy = spelled(rule, place);
    for (size_t number = 0; number < place.quantity(copy).size(); ++number) {
        const Term term = place.quantity(copy)[number].term;
        changeConstants(copy, place, number);
        if (term.base == Base::kConstant ||
            (term.base != Base::kTotal && term.base != Base::kEnd)) {
            continue;
        }
        for (const int64_t rows : kOtherTails) {
            if (rows == term.tailRows || full() || copy.planes.empty()) {
                continue;
            }
            place.quantity(copy)[number].term.tailRows = rows;
            changeConstants(copy, place, number);
            place.quantity(copy)[number].term = term;
        }
    }
}

// The end of another plane. Of chroma that is interleaved the plane that begins a byte later ends a
// byte behind the pixels, and the devices that tell such planes count without it.
void Search::changeEnd() {
    const Place size = sums(mRule)[0];
    Rule copy = spelled(mRule, size);
    for (Case& one : size.quantity(copy)) {
        const Term kept = one.term;
        if (kept.base != Base::kTotal && kept.base != Base::kEnd) {
            continue;
        }
        one.term.base = Base::kTotal;
        one.term.plane = 0;
        offer(copy);
        one.term.base = Base::kEnd;
        for (size_t plane = 0; plane < copy.planes.size(); ++plane) {
            one.term.plane = static_cast<uint8_t>(plane);
            offer(copy);
        }
        one.term = kept;
    }
}

// Another unit, alignment or way to round a half.
void Search::changeTerm(Rule& other, Term& term) {
    const Term kept = term;
    for (const int64_t align : kAlignments) {
        term.align = align;
        offer(other);
        term = kept;
        if (kept.base == Base::kWidth && kept.unit != 1) {
            term.unit = align;
            offer(other);
            term = kept;
        }
    }
    if (kept.per != 1) {
        term.up = !kept.up;
        offer(other);
        term = kept;
    }
    constexpr std::pair<Base, Base> kPairs[] = {{Base::kWidth, Base::kAlignedWidth},
                                                {Base::kAlignedWidth, Base::kWidth},
                                                {Base::kHeight, Base::kAlignedHeight},
                                                {Base::kAlignedHeight, Base::kHeight}};
    for (const auto& [from, to] : kPairs) {
        if (kept.base == from) {
            term.base = to;
            offer(other);
            term = kept;
        }
    }
}

void Search::changeLengths() {
    for (const Place& place : lengths(mRule)) {
        Rule copy = spelled(mRule, place);
        for (Case& one : place.quantity(copy)) {
            changeTerm(copy, one.term);
        }
    }
}

// Where the device does not tell its planes, rows and their number show through the size together.
void Search::changeHidden() {
    if (!mShape.planes.empty() || mRule.planes.size() != 1) {
        return;
    }
    Rule copy = spelled(mRule, sums(mRule)[0]);
    if (copy.alignedHeight.empty()) {
        copy.alignedHeight = {Case{.term = {.base = Base::kHeight}}};
    }
    if (copy.planes[0].row.size() != 1 || copy.alignedHeight.size() != 1) {
        return;
    }
    const Place size = sums(copy)[0];
    for (const int64_t bytes : kAlignments) {
        for (const int64_t rows : {1, 2, 4, 6, 8, 16, 24, 32, 48, 64}) {
            if (full()) {
                return;
            }
            copy.planes[0].row[0].term.align = bytes;
            copy.alignedHeight[0].term.align = rows;
            changeSum(copy, size);
        }
    }
}

// Blocks and headers show through the size, too.
void Search::changeBlocks() {
    if (mRule.header.size() != 1 || mRule.planes.empty()) {
        return;
    }
    Rule copy = quantitiesOf(mRule);
    Term& header = copy.header[0].term;
    const Term kept = header;
    for (const int64_t align : kOtherHeaderAlignments) {
        for (const int64_t bytes : kOtherHeaderBytes) {
            for (const int64_t pixels : kBlockPixels) {
                header.align = align;
                header.times = bytes;
                header.per = pixels;
                header.up = true;
                offer(copy);
            }
        }
    }
    header = kept;
    for (const int64_t width : kBlockSides) {
        for (const int64_t height : kBlockSides) {
            copy.alignedWidth = {Case{.term = {.base = Base::kWidth, .align = width}}};
            copy.alignedHeight = {Case{.term = {.base = Base::kHeight, .align = height}}};
            offer(copy);
        }
    }
}

std::vector<Rule> Search::run() {
    changeEnd();
    for (const Place& place : sums(mRule)) {
        changeSum(mRule, place);
    }
    changeLengths();
    changeHidden();
    changeBlocks();
    return std::move(mFound);
}

std::vector<Size> makeProbes() {
    constexpr uint32_t kUnits[] = {32,  64,  96,   128,  192,  256,  320,  384, 512,
                                   640, 768, 1024, 1280, 1536, 2048, 3072, 4096};
    constexpr Size kPictures[] = {{176, 144},   {352, 288},   {720, 480},   {640, 480},
                                  {800, 600},   {1024, 768},  {1280, 720},  {1440, 1080},
                                  {1600, 1200}, {1920, 1080}, {1920, 1088}, {2592, 1944},
                                  {2560, 1440}, {3264, 2448}, {3840, 2160}, {4000, 3000},
                                  {4032, 3024}, {4096, 2160}, {4160, 3120}};
    std::vector<Size> sizes(std::begin(kPictures), std::end(kPictures));
    for (const uint32_t width : kUnits) {
        for (const uint32_t height : kUnits) {
            sizes.emplace_back(width, height);
        }
    }
    // NOLINTNEXTLINE(cert-msc32-c,cert-msc51-cpp): the same sizes every time
    std::minstd_rand random(1);
    for (int i = 0; i < 1500; ++i) {
        const auto unit = static_cast<uint32_t>(i % 4 == 0 ? 1 : i % 4 == 1 ? 2 : 4);
        const auto width = static_cast<uint32_t>(random() % 4100);
        const auto height = static_cast<uint32_t>(random() % 3100);
        sizes.emplace_back((width / unit + 1) * unit, (height / unit + 1) * unit);
    }
    return sizes;
}

}  // namespace

const std::vector<Size>& probeSizes() {
    static const std::vector<Size> kSizes = makeProbes();
    return kSizes;
}

std::optional<Numbers> toldBy(const Rule& rule, const Shape& shape, const Size& size) {
    const auto numbers = evaluate(rule, size.first, size.second);
    return numbers ? std::optional(asTold(shape, *numbers, size.second)) : std::nullopt;
}

bool explains(const Rule& rule, const Answers& answers, const Shape& shape) {
    return std::all_of(answers.begin(), answers.end(), [&](const Answer* answer) {
        return toldBy(rule, shape, {answer->width, answer->height}) == answer->numbers;
    });
}

std::vector<Rule> othersOf(const Rule& rule, const Answers& answers, const Shape& shape) {
    return Search(rule, answers, shape).run();
}

}  // namespace zelkcam::profile
