#include "profile/Evaluate.h"

#include <algorithm>
#include <utility>

#include "profile/Words.h"

namespace zelkcam::profile {
namespace {

// Arithmetic that remembers whether a value left its range; a negative value is out of range, too.
class Checked {
  public:
    int64_t add(int64_t a, int64_t b) {
        int64_t sum = 0;
        mGood &= !__builtin_add_overflow(a, b, &sum);
        return sum;
    }
    int64_t multiply(int64_t a, int64_t b) {
        int64_t product = 0;
        mGood &= !__builtin_mul_overflow(a, b, &product);
        return product;
    }
    int64_t alignUp(int64_t value, int64_t alignment) {
        return alignment == 1 ? value : multiply(add(value, alignment - 1) / alignment, alignment);
    }
    int64_t natural(int64_t value) {
        mGood &= value >= 0;
        return value;
    }
    bool good() const { return mGood; }

  private:
    bool mGood = true;
};

class Evaluation {
  public:
    Evaluation(const Rule& rule, uint32_t width, uint32_t height, Choice choice)
        : mRule(rule), mWidth(width), mHeight(height), mChoice(choice) {}

    std::optional<Numbers> run();

  private:
    int64_t base(const Term& term, size_t self);
    int64_t value(const Term& term, size_t self);
    int64_t value(const Quantity& quantity, size_t self, int64_t byDefault);
    void measurePlane(size_t index);
    bool placePlanes();
    bool isPlaced(const Term& term) const;
    int64_t endOf(size_t plane) {
        return mMath.add(mNumbers.planes[plane].offset, mNumbers.planes[plane].size);
    }

    const Rule& mRule;
    const int64_t mWidth;
    const int64_t mHeight;
    const Choice mChoice;
    Checked mMath;
    Numbers mNumbers;
    int64_t mAlignedWidth = 0;
    int64_t mAlignedHeight = 0;
    int64_t mHeader = 0;
    int64_t mTotal = 0;
    std::array<int64_t, kMaxPlanes> mRows{};
    std::array<bool, kMaxPlanes> mPlaced{};
};

// Which case of a quantity counts for a size. The other choice takes the other side of a border
// that nobody knows exactly.
const Case& caseFor(const Quantity& quantity, int64_t width, int64_t height, Choice choice) {
    for (const Case& one : quantity) {
        if (!one.limited) {
            return one;
        }
        const int64_t at = onAxis(one.axis, width, height);
        const bool unknown = at > one.sure && at < one.next;
        const bool below = at <= one.upTo;
        if (choice == Choice::kOther && unknown ? !below : below) {
            return one;
        }
    }
    return quantity.back();
}

int64_t Evaluation::base(const Term& term, size_t self) {
    switch (term.base) {
        case Base::kConstant:
            return 0;
        case Base::kWidth:
            return mWidth;
        case Base::kHeight:
            return mHeight;
        case Base::kAlignedWidth:
            return mAlignedWidth;
        case Base::kAlignedHeight:
            return mAlignedHeight;
        case Base::kRow:
            return mNumbers.planes[0].row;
        case Base::kArea:
            return mMath.multiply(mAlignedWidth, mAlignedHeight);
        case Base::kPlane:
            return mMath.multiply(mNumbers.planes[self].row, mRows[self]);
        case Base::kEnd:
            return endOf(term.plane);
        case Base::kStart:
            return mNumbers.planes[term.plane].offset;
        case Base::kTotal:
            return mTotal;
    }
    return 0;
}

int64_t Evaluation::value(const Term& term, size_t self) {
    const bool other = mChoice == Choice::kOther;
    const int64_t whole =
            mMath.alignUp(base(term, self), other && term.orUnit ? term.orUnit : term.unit);
    const int64_t scaled = mMath.multiply(whole, term.times);
    const int64_t divided =
            term.per == 1 ? scaled
                          : (term.up ? mMath.add(scaled, term.per - 1) : scaled) / term.per;
    int64_t sum = mMath.add(divided, other && term.plusOpen ? term.orPlus : term.plus);
    const int64_t tailRows = other && term.plusOpen ? term.orTailRows : term.tailRows;
    if (tailRows != 0) {
        sum = mMath.add(sum, mMath.multiply(tailRows, mNumbers.planes[0].row));
    }
    if (term.header) {
        sum = mMath.add(sum, mHeader);
    }
    const int64_t aligned =
            mMath.alignUp(mMath.natural(sum), other && term.orAlign ? term.orAlign : term.align);
    const int64_t extra = term.extra != 0 && aligned % term.extraAt == 0 ? term.extra : 0;
    return std::max(mMath.natural(mMath.add(aligned, extra)), term.least);
}

int64_t Evaluation::value(const Quantity& quantity, size_t self, int64_t byDefault) {
    return quantity.empty() ? byDefault
                            : value(caseFor(quantity, mWidth, mHeight, mChoice).term, self);
}

void Evaluation::measurePlane(size_t index) {
    const PlaneRule& rule = mRule.planes[index];
    PlaneNumbers& plane = mNumbers.planes[index];
    plane.row = value(rule.row, index, mNumbers.planes[0].row);
    mRows[index] = value(rule.rows, index, mAlignedHeight);
    plane.size = value(rule.size, index, mMath.multiply(plane.row, mRows[index]));
    plane.width = value(rule.width, index, mWidth);
    plane.height = value(rule.height, index, mHeight);
}

bool Evaluation::isPlaced(const Term& term) const {
    return (term.base != Base::kEnd && term.base != Base::kStart) || mPlaced[term.plane];
}

// A plane may be placed behind one that comes later in the list.
bool Evaluation::placePlanes() {
    const size_t count = mRule.planes.size();
    for (size_t pass = 0; pass < count; ++pass) {
        for (size_t i = 0; i < count; ++i) {
            const Quantity& offset = mRule.planes[i].offset;
            if (mPlaced[i] ||
                (!offset.empty() && !isPlaced(caseFor(offset, mWidth, mHeight, mChoice).term))) {
                continue;
            }
            mNumbers.planes[i].offset = value(offset, i, 0);
            mPlaced[i] = true;
            mTotal = std::max(mTotal, endOf(i));
        }
    }
    return std::all_of(mPlaced.begin(), mPlaced.begin() + static_cast<ptrdiff_t>(count),
                       [](bool placed) { return placed; });
}

std::optional<Numbers> Evaluation::run() {
    mAlignedWidth = value(mRule.alignedWidth, 0, mWidth);
    mAlignedHeight = value(mRule.alignedHeight, 0, mHeight);
    mHeader = value(mRule.header, 0, 0);
    for (size_t i = 0; i < mRule.planes.size(); ++i) {
        measurePlane(i);
    }
    if (!placePlanes()) {
        return std::nullopt;
    }
    mNumbers.stride = value(mRule.stride, 0, mAlignedWidth);
    mNumbers.answeredStride = value(mRule.answeredStride, 0, mNumbers.stride);
    mNumbers.size = value(mRule.allocationSize, 0, mTotal);
    for (size_t i = 0; i < kOwnNumbers.size(); ++i) {
        const Quantity& quantity = mRule.*kOwnNumbers[i].quantity;
        if (!quantity.empty()) {
            mNumbers.own[i] = value(quantity, 0, 0);
            mMath.add(*mNumbers.own[i], INT64_MAX - UINT32_MAX);  // of 32 bits, too
        }
    }
    const bool fits = mNumbers.size <= kMaxAllocationSize && mTotal <= kMaxAllocationSize &&
                      mNumbers.stride <= UINT32_MAX && mNumbers.answeredStride <= UINT32_MAX;
    return mMath.good() && fits ? std::optional(mNumbers) : std::nullopt;
}

int32_t refusalByUsage(uint64_t usage, const Traits& traits) {
    if ((usage & traits.refusedUsage) != 0) {
        return traits.usageRefusal;
    }
    return usage == 0 ? traits.zeroUsage : kGranted;
}

// Whether usages matter, and this one was not recorded.
bool isUnknownUsage(const FormatRules& format, uint64_t usage) {
    const bool matters = std::any_of(format.rules.begin(), format.rules.end(),
                                     [](const Rule& rule) { return !rule.usage.empty(); });
    return matters && !format.usages.empty() &&
           std::find(format.usages.begin(), format.usages.end(), usage) == format.usages.end();
}

// Whether a recorded rule is asked about more than its samples tell, or does not explain them. What
// refuses some sizes grants no larger ones.
bool isBeyond(const Rule& rule, uint32_t width, uint32_t height) {
    if (!rule.evidence || rule.evidence->exceptions > 0) {
        return rule.evidence.has_value();
    }
    return rule.answer == kGranted &&
           (width > rule.evidence->maxWidth || height > rule.evidence->maxHeight);
}

// Whether the rules were told apart by a size that nobody recorded.
bool nearLimit(const std::vector<SizeTest>& tests, int64_t width, int64_t height) {
    return std::any_of(tests.begin(), tests.end(), [&](const SizeTest& test) {
        const int64_t at = onAxis(test.axis, width, height);
        const bool limit = test.op == SizeOp::kAbove || test.op == SizeOp::kUpTo;
        return limit && at > test.sure && at < test.next;
    });
}

}  // namespace

int64_t onAxis(Axis axis, int64_t width, int64_t height) {
    return axis == Axis::kWidth ? width : axis == Axis::kHeight ? height : width * height;
}

bool holds(const SizeTest& test, int64_t width, int64_t height) {
    switch (test.op) {
        case SizeOp::kAbove:
            return onAxis(test.axis, width, height) > test.limit;
        case SizeOp::kUpTo:
            return onAxis(test.axis, width, height) <= test.limit;
        case SizeOp::kOddWidth:
            return width % test.unit != 0;
        case SizeOp::kOddHeight:
            return height % test.unit != 0;
    }
    return false;
}

bool holds(const std::vector<UsageTest>& tests, uint64_t usage) {
    return std::all_of(tests.begin(), tests.end(), [usage](const UsageTest& test) {
        const uint64_t common = usage & test.mask;
        return test.op == UsageOp::kAny   ? common != 0
               : test.op == UsageOp::kAll ? common == test.mask
                                          : common == 0;
    });
}

std::optional<Numbers> evaluate(const Rule& rule, uint32_t width, uint32_t height, Choice choice) {
    // Beyond this the axis of areas would overflow, and no buffer is so large.
    if (width > INT32_MAX || height > INT32_MAX || rule.planes.size() > kMaxPlanes) {
        return std::nullopt;
    }
    return Evaluation(rule, width, height, choice).run();
}

Rule quantitiesOf(const Rule& rule) {
    Rule quantities = rule;
    quantities.usage.clear();
    quantities.size.clear();
    quantities.shape = 0;
    quantities.evidence.reset();
    quantities.others.clear();
    return quantities;
}

std::optional<int64_t> told(const Shape& shape, const Numbers& numbers, uint32_t height,
                            size_t own) {
    constexpr int64_t kTypes[] = {23, 15, 10};  // STRIDE, PLANE_LAYOUTS and ALLOCATION_SIZE
    const bool isRefused =
            std::any_of(shape.refused.begin(), shape.refused.end(),
                        [&](const Refused& refused) { return refused.type == kTypes[own]; });
    if (isRefused) {
        return std::nullopt;
    }
    if (own != kOwnRows) {
        return own == kOwnStride ? numbers.stride : numbers.size;
    }
    if (shape.planes.empty()) {
        return height;
    }
    const PlaneNumbers& first = numbers.planes[0];
    return first.row > 0 ? first.size / first.row : first.height;
}

Numbers asTold(const Shape& shape, Numbers numbers, uint32_t height) {
    if (shape.planes.empty()) {
        numbers.planes = {};
    }
    for (size_t i = 0; i < numbers.own.size(); ++i) {
        if (numbers.own[i] && numbers.own[i] == told(shape, numbers, height, i)) {
            numbers.own[i].reset();
        }
    }
    return numbers;
}

namespace {

// Whether a request lies where the rule's samples do not tell its numbers.
bool isOpen(const Rule& rule, const Shape& shape, const Request& request, const Numbers& chosen) {
    if (!rule.evidence) {
        return false;
    }
    const auto differs = [&](const Rule& other, Choice choice) {
        const auto its = evaluate(other, request.width, request.height, choice);
        return !its || asTold(shape, *its, request.height) != chosen;
    };
    return isBeyond(rule, request.width, request.height) || differs(rule, Choice::kOther) ||
           std::any_of(rule.others.begin(), rule.others.end(),
                       [&](const Rule& other) { return differs(other, Choice::kChosen); });
}

}  // namespace

size_t Device::Key::operator()(const Request& request) const {
    uint64_t hash = static_cast<uint32_t>(request.format);
    for (const uint64_t part : {request.usage, uint64_t{request.width} << 32 | request.height}) {
        hash = (hash ^ part) * 0x9e3779b97f4a7c15;
        hash ^= hash >> 29;
    }
    return hash;
}

Device::Device(Profile profile) : mProfile(std::move(profile)) {
    size_t count = 0;
    for (const Samples& group : mProfile.samples) {
        count += group.answers.size();
    }
    mSamples.reserve(count);
    for (uint32_t i = 0; i < mProfile.samples.size(); ++i) {
        const Samples& group = mProfile.samples[i];
        for (uint32_t j = 0; j < group.answers.size(); ++j) {
            const Answer& answer = group.answers[j];
            mSamples.emplace(Request{group.format, group.usage, answer.width, answer.height},
                             Place{i, j});
        }
    }
}

const FormatRules* Device::find(int32_t format) const {
    const auto found = std::lower_bound(
            mProfile.formats.begin(), mProfile.formats.end(), format,
            [](const FormatRules& rules, int32_t wanted) { return rules.format < wanted; });
    return found != mProfile.formats.end() && found->format == format ? &*found : nullptr;
}

LockAnswer Device::locks(int32_t format, uint64_t usage) const {
    for (const LockRule& rule : mProfile.locks) {
        const bool concerned =
                rule.formats.empty() ||
                std::find(rule.formats.begin(), rule.formats.end(), format) != rule.formats.end();
        if (concerned && holds(rule.usage, usage)) {
            return rule.answer;
        }
    }
    return {};
}

Reply Device::recorded(const Place& place) const {
    const Samples& group = mProfile.samples[place.group];
    const Answer& answer = group.answers[place.answer];
    Reply reply;
    reply.answer = answer.answer;
    reply.numbers = answer.numbers;
    reply.certainty = Certainty::kRecorded;
    if (answer.answer == kGranted) {
        reply.shape = &mProfile.shapes[answer.shape];
        reply.locks = group.locks ? *group.locks : locks(group.format, group.usage);
    }
    return reply;
}

Reply Device::ask(const Request& request) const {
    if (!mSamples.empty()) {
        const auto found = mSamples.find(request);
        if (found != mSamples.end()) {
            return recorded(found->second);
        }
    }
    return askRules(request);
}

Reply Device::askAllocator(const Request& request) const {
    Reply reply = ask(request);
    const int32_t refusal = refusalByUsage(request.usage, mProfile.traits);
    if (refusal == kGranted || reply.certainty == Certainty::kRecorded) {
        return reply;
    }
    const FormatRules* const format = find(request.format);
    if (format != nullptr && std::find(format->usages.begin(), format->usages.end(),
                                       request.usage) != format->usages.end()) {
        return reply;
    }
    const bool isRefused = reply.answer != kGranted && reply.certainty != Certainty::kGuess;
    reply.answer = isRefused ? reply.answer : refusal;
    reply.certainty = Certainty::kRule;
    return reply;
}

Reply Device::askRules(const Request& request) const {
    Reply reply;
    const FormatRules* const format = find(request.format);
    if (format == nullptr) {
        return reply;
    }
    bool open = isUnknownUsage(*format, request.usage);
    for (const Rule& rule : format->rules) {
        if (!holds(rule.usage, request.usage)) {
            continue;
        }
        open = open || nearLimit(rule.size, request.width, request.height);
        if (!std::all_of(rule.size.begin(), rule.size.end(), [&](const SizeTest& test) {
                return holds(test, request.width, request.height);
            })) {
            continue;
        }
        reply.answer = rule.answer;
        if (rule.answer == kGranted) {
            const auto numbers = evaluate(rule, request.width, request.height);
            if (!numbers) {
                reply.answer = kUnsupported;
                return reply;
            }
            reply.shape = &mProfile.shapes[rule.shape];
            reply.numbers = asTold(*reply.shape, *numbers, request.height);
            reply.locks = locks(request.format, request.usage);
            open = open || isOpen(rule, *reply.shape, request, reply.numbers);
        } else {
            open = open || isBeyond(rule, request.width, request.height);
        }
        reply.certainty = open ? Certainty::kGuess : Certainty::kRule;
        return reply;
    }
    return reply;
}

}  // namespace zelkcam::profile
