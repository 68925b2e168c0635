#include "profile/Record.h"

#include <algorithm>
#include <map>
#include <random>
#include <set>
#include <utility>

#include "profile/Infer.h"
#include "profile/Usage.h"

namespace zelkcam::profile {
namespace {

// What camera code combines. The first counts for the sizes where it is granted.
constexpr uint64_t kUsages[] = {
        0,
        kReadOften | kWriteOften,
        kReadOften,
        kWriteOften,
        kReadRarely,
        kReadRarely | kWriteRarely,
        kCameraWrite,
        kCameraWrite | kReadOften,
        kCameraWrite | kReadOften | kWriteOften,
        kCameraRead,
        kCameraWrite | kCameraRead,
        kCameraWrite | kCameraRead | kReadOften | kWriteOften,
        kCameraWrite | kTexture,
        kCameraWrite | kTexture | kComposer,
        kEncoder,
        kEncoder | kCameraWrite,
        kEncoder | kReadOften,
        kEncoder | kCameraWrite | kTexture,
        kTexture,
        kTexture | kReadOften | kWriteOften,
        kTexture | kRender,
        kTexture | kRender | kComposer,
        kComposer,
        kProtected,
        kProtected | kCameraWrite,
};

// Sizes that every usage is asked about: they tell usages apart.
constexpr Size kCommonSizes[] = {{66, 34}, {1922, 1082}, {4098, 18}};

// One dimension at a time. A row of one pixel shows an alignment at its widest; the numbers beside
// powers of two show where a device begins to do otherwise;
constexpr uint32_t kSweepHeight = 34;
constexpr uint32_t kWidths[] = {1,    2,    18,   33,   130,  258,  514,  640,  770,  1026, 1280,
                                1538, 1920, 2046, 2048, 2050, 3840, 4094, 4096, 4098, 8192, 8194};
constexpr uint32_t kSweepWidth = 66;
constexpr uint32_t kHeights[] = {1,   2,    17,   18,   66,   130,  258,  480,  514, 720,
                                 770, 1026, 1080, 2048, 2050, 4096, 4098, 5002, 8194};
// What cameras have, and large sizes that are whole units of nothing: some devices round a row by
// the number of rows, and rows by their length.
constexpr Size kPictures[] = {{640, 480},   {1280, 720},  {1920, 1080}, {3840, 2160}, {4000, 3000},
                              {4032, 3024}, {1282, 722},  {1026, 1090}, {770, 2050},  {2050, 2050},
                              {2562, 1442}, {3842, 2162}, {514, 4098},  {1030, 3074}};

class Recording {
  public:
    Recording(const Ask& ask, Profile& profile) : mAsk(ask), mProfile(profile) {}

    void recordFormat(int32_t format, size_t formatsToCome);
    void finish();

  private:
    struct Group {
        std::vector<uint64_t> usages;
        std::vector<Answer> answers;  // to the common sizes
    };

    Answer ask(const Request& request, bool locks);
    uint32_t shapeIndex(const Shape& shape);
    std::vector<Group> askCommon(int32_t format);
    void sweep(int32_t format, uint64_t usage);
    bool narrow(int32_t format);
    bool narrowRule(const FormatRules& rules, Rule rule);
    bool narrowCase(const FormatRules& rules, uint64_t usage, const Rule& rule, Case& border);
    bool narrowOpen(const FormatRules& rules, uint64_t usage, const Rule& rule);
    std::optional<uint64_t> sweptUsage(const Rule& rule, const FormatRules& rules) const;
    bool askNew(int32_t format, uint64_t usage, const Size& size);
    bool exhausted() const { return mQuestions >= kMaxQuestions - mReserve; }

    const Ask& mAsk;
    Profile& mProfile;
    std::map<std::pair<int32_t, uint64_t>, Samples> mSamples;
    std::map<std::pair<int32_t, uint64_t>, std::map<Size, bool>> mAsked;
    std::set<std::pair<int32_t, uint64_t>> mSwept;
    size_t mQuestions = 0;
    size_t mReserve = 0;  // questions that the formats to come need
};

uint32_t Recording::shapeIndex(const Shape& shape) {
    auto& shapes = mProfile.shapes;
    const auto found = std::find(shapes.begin(), shapes.end(), shape);
    if (found != shapes.end()) {
        return static_cast<uint32_t>(found - shapes.begin());
    }
    shapes.push_back(shape);
    return static_cast<uint32_t>(shapes.size() - 1);
}

Answer Recording::ask(const Request& request, bool locks) {
    const Observation observed = mAsk(request, locks);
    ++mQuestions;
    Answer answer;
    answer.width = request.width;
    answer.height = request.height;
    answer.answer = observed.answer;
    if (observed.answer == kGranted) {
        answer.shape = shapeIndex(observed.shape);
        answer.numbers = observed.numbers;
        answer.library = observed.library;
    }
    const std::pair key(request.format, request.usage);
    Samples& samples = mSamples[key];
    samples.format = request.format;
    samples.usage = request.usage;
    if (observed.locks) {
        samples.locks = observed.locks;
    }
    samples.answers.push_back(answer);
    mAsked[key][{request.width, request.height}] = true;
    return answer;
}

// A usage that is refused in the first size is not asked about others, but for the commonest two.
std::vector<Recording::Group> Recording::askCommon(int32_t format) {
    std::vector<Group> groups;
    for (const uint64_t usage : kUsages) {
        Group asked{{usage}, {}};
        for (const auto& [width, height] : kCommonSizes) {
            const bool first = asked.answers.empty();
            asked.answers.push_back(ask({format, usage, width, height}, first));
            const bool common = usage == kUsages[0] || usage == kUsages[1];
            if (first && !common && asked.answers.front().answer != kGranted) {
                break;
            }
        }
        const auto same = std::find_if(groups.begin(), groups.end(), [&](const Group& group) {
            return std::equal(group.answers.begin(), group.answers.end(), asked.answers.begin(),
                              asked.answers.end(), sameAnswer);
        });
        if (same == groups.end()) {
            groups.push_back(asked);
        } else {
            same->usages.push_back(usage);
        }
    }
    return groups;
}

void Recording::sweep(int32_t format, uint64_t usage) {
    std::vector<Size> sizes;
    for (const uint32_t width : kWidths) {
        sizes.emplace_back(width, kSweepHeight);
    }
    for (const uint32_t height : kHeights) {
        sizes.emplace_back(kSweepWidth, height);
    }
    sizes.insert(sizes.end(), std::begin(kPictures), std::end(kPictures));
    const auto& asked = mAsked[{format, usage}];
    for (const auto& [width, height] : sizes) {
        if (!exhausted() && !asked.contains({width, height})) {
            ask({format, usage, width, height}, false);
        }
    }
}

// A usage of the rule's class that was asked about many sizes.
std::optional<uint64_t> Recording::sweptUsage(const Rule& rule, const FormatRules& rules) const {
    const auto isOfClass = [&](uint64_t one) {
        const auto first = std::find_if(rules.rules.begin(), rules.rules.end(),
                                        [&](const Rule& any) { return holds(any.usage, one); });
        return first != rules.rules.end() && first->usage == rule.usage;
    };
    const auto usage = std::find_if(rules.usages.begin(), rules.usages.end(), [&](uint64_t one) {
        return mSwept.contains({rules.format, one}) && isOfClass(one);
    });
    return usage == rules.usages.end() ? std::nullopt : std::optional(*usage);
}

bool Recording::askNew(int32_t format, uint64_t usage, const Size& size) {
    if (exhausted() || mAsked[{format, usage}].contains(size)) {
        return false;
    }
    ask({format, usage, size.first, size.second}, false);
    return true;
}

// A size of the axis that lies between two zones, near their middle and even if it can be: even
// sizes are refused by nobody. `step` counts the tries.
std::optional<Size> between(Axis axis, int64_t sure, int64_t next, int64_t step) {
    const int64_t middle = sure + (next - sure) / 2;
    const int64_t away = (step + 1) / 2 * (step % 2 == 0 ? 1 : -1) * (next - sure > 8 ? 2 : 1);
    const int64_t at = (next - sure > 8 ? middle / 2 * 2 : middle) + away;
    if (axis == Axis::kArea || at <= sure || at >= next) {
        return std::nullopt;
    }
    const auto length = static_cast<uint32_t>(at);
    return axis == Axis::kWidth ? Size{length, kSweepHeight} : Size{kSweepWidth, length};
}

// Asks where the formulas below and above a border differ. `border` is a case of `rule`.
bool Recording::narrowCase(const FormatRules& rules, uint64_t usage, const Rule& rule,
                           Case& border) {
    constexpr int64_t kTries = 100;
    const Case kept = border;
    for (int64_t step = 0; kept.limited && step < kTries; ++step) {
        const auto size = between(kept.axis, kept.sure, kept.next, step);
        if (!size) {
            continue;
        }
        const int64_t at = kept.axis == Axis::kWidth ? size->first : size->second;
        border.upTo = at;
        const auto below = evaluate(rule, size->first, size->second);
        border.upTo = at - 1;
        const auto above = evaluate(rule, size->first, size->second);
        border = kept;
        if (below != above && askNew(rules.format, usage, *size)) {
            return true;
        }
    }
    return false;
}

// Asks where the constants and alignments that the samples leave open give different answers.
bool Recording::narrowOpen(const FormatRules& rules, uint64_t usage, const Rule& rule) {
    constexpr int kTries = 400;
    constexpr int kMost = 4;
    // NOLINTNEXTLINE(cert-msc32-c,cert-msc51-cpp): the same questions every time
    std::minstd_rand random(1);
    int asked = 0;
    for (int i = 0; i < kTries && asked < kMost; ++i) {
        const Size size{2 + 2 * static_cast<uint32_t>(random() % 2040),
                        2 + 2 * static_cast<uint32_t>(random() % 1080)};
        if (evaluate(rule, size.first, size.second) !=
                    evaluate(rule, size.first, size.second, Choice::kOther) &&
            askNew(rules.format, usage, size)) {
            ++asked;
        }
    }
    return asked > 0;
}

bool Recording::narrowRule(const FormatRules& rules, Rule rule) {
    const auto usage = sweptUsage(rule, rules);
    if (!usage) {
        return false;
    }
    bool asked = false;
    for (const SizeTest& test : rule.size) {
        const auto size = between(test.axis, test.sure, test.next, 0);
        asked |= test.op == SizeOp::kAbove && size && askNew(rules.format, *usage, *size);
    }
    bool open = false;
    forEachQuantity(rule, [&](Quantity& quantity) {
        for (Case& one : quantity) {
            open |= one.term.open();
            asked |= narrowCase(rules, *usage, rule, one);
        }
    });
    return asked | (open && narrowOpen(rules, *usage, rule));
}

// Some more questions for what the rules of a format leave open.
bool Recording::narrow(int32_t format) {
    std::vector<const Samples*> samples;
    for (auto& [key, one] : mSamples) {
        if (key.first == format) {
            samples.push_back(&one);
        }
    }
    const FormatRules rules = inferFormat(samples, mProfile.shapes);
    bool asked = false;
    for (const Rule& rule : rules.rules) {
        asked |= narrowRule(rules, rule);
    }
    return asked;
}

void Recording::recordFormat(int32_t format, size_t formatsToCome) {
    mReserve = 0;
    const std::vector<Group> groups = askCommon(format);
    mReserve = formatsToCome * std::size(kUsages) * std::size(kCommonSizes);
    for (const Group& group : groups) {
        const bool granted =
                std::any_of(group.answers.begin(), group.answers.end(),
                            [](const Answer& answer) { return answer.answer == kGranted; });
        if (granted) {
            sweep(format, group.usages.front());
            mSwept.insert({format, group.usages.front()});
        }
    }
    constexpr int kRounds = 14;  // halve the widest gap away
    int round = 0;
    while (round < kRounds && narrow(format)) {
        ++round;
    }
}

void Recording::finish() {
    for (auto& [key, samples] : mSamples) {
        std::sort(samples.answers.begin(), samples.answers.end(),
                  [](const Answer& a, const Answer& b) {
                      return std::pair(a.width, a.height) < std::pair(b.width, b.height);
                  });
        mProfile.samples.push_back(std::move(samples));
    }
    infer(mProfile);
}

}  // namespace

Observation observationOf(const Reply& reply, bool locks) {
    Observation seen;
    seen.answer = reply.answer;
    if (reply.shape != nullptr) {
        seen.shape = *reply.shape;
        seen.numbers = reply.numbers;
        seen.locks = locks ? std::optional(reply.locks) : std::nullopt;
    }
    return seen;
}

void record(const std::vector<int32_t>& formats, const Ask& ask, Profile& profile) {
    profile.shapes.clear();
    profile.samples.clear();
    Recording recording(ask, profile);
    for (size_t i = 0; i < formats.size(); ++i) {
        recording.recordFormat(formats[i], formats.size() - i - 1);
    }
    recording.finish();
}

}  // namespace zelkcam::profile
