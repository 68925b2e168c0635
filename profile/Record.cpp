#include "profile/Record.h"

#include <algorithm>
#include <map>
#include <random>
#include <set>
#include <utility>

#include "profile/Infer.h"
#include "profile/Questions.h"
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

// Sizes that every usage is asked about, as they tell usages apart: whole fours, since some devices
// refuse others, and above the thresholds and limits that devices have.
struct FirstSizes {
    Size small;
    Size large;
    Size medium;  // for devices that refuse the large one
};
constexpr FirstSizes kFirst = {{68, 36}, {4100, 3076}, {1028, 1092}};

// A JPEG's buffer is as wide as it has bytes, and many devices grant no other height than 1.
constexpr int32_t kBlob = 0x21;
constexpr FirstSizes kFirstOfBlob = {{5004, 1}, {16000004, 1}, {1000004, 1}};
constexpr Size kBlobs[] = {{1, 1}, {100, 1}, {4095, 1}, {4097, 1}, {65536, 1}, {50000000, 1}};

// One usage of each class is asked about these: they tell whether its layout is known already.
constexpr Size kChecks[] = {{2052, 132}, {132, 2052},  {516, 260},  {1028, 1092}, {1281, 724},
                            {1284, 769}, {1286, 770},  {1024, 768}, {1280, 720},  {1920, 1080},
                            {4096, 36},  {4000, 3000}, {4100, 20}};

// One dimension at a time. A row of one pixel shows an alignment at its widest; the numbers beside
// powers of two show where a device begins to do otherwise;
constexpr uint32_t kSweepHeight = 36;
constexpr uint32_t kWidths[] = {1,    2,    18,   34,   130,  260,  516,  640,  772,  1028, 1280,
                                1540, 1920, 2048, 2052, 2564, 3076, 3840, 4096, 4100, 8192, 8196};
constexpr uint32_t kSweepWidth = 68;
constexpr uint32_t kHeights[] = {1,   2,    18,   66,   130,  260,  480, 516,
                                 772, 1028, 1080, 2048, 2052, 4100, 8196};
// What cameras have, and large sizes that are whole units of nothing: some devices round a row by
// the number of rows, and rows by their length.
constexpr Size kPictures[] = {{3840, 2160}, {4032, 3024}, {1284, 724}, {1028, 1090}, {772, 2052},
                              {2052, 2052}, {2564, 1444}, {516, 4100}, {1030, 3076}};
class Recording {
  public:
    Recording(const Ask& ask, Profile& profile) : mAsk(ask), mProfile(profile) {}

    void askAll(const std::vector<int32_t>& formats);
    void finish();

  private:
    struct Group {
        int32_t format;
        std::vector<uint64_t> usages;
        std::vector<Answer> answers;  // to the sizes that all are asked about
    };

    Answer ask(const Request& request, bool locks);
    bool askNew(int32_t format, uint64_t usage, const Size& size);
    uint32_t shapeIndex(const Shape& shape);
    Group askUsage(int32_t format, uint64_t usage);
    std::vector<Group> askUsages(int32_t format);
    void askChecks(const Group& group);
    void sweep(int32_t format, uint64_t usage);
    void sweepLayouts();
    bool narrow();
    bool narrowFinding(const Finding& finding, uint64_t usage, bool whole);
    bool validate(const Finding& finding, uint64_t usage, int most);
    bool askLimits(int32_t format, uint64_t usage);
    std::vector<Finding> findings();
    size_t answersTo(int32_t format, uint64_t usage) const;
    uint64_t bestKnown(const Finding& finding) const;
    std::map<size_t, size_t> mainFindings(const std::vector<Finding>& findings) const;
    bool exhausted() const { return mQuestions >= kMaxQuestions; }

    const Ask& mAsk;
    Profile& mProfile;
    std::map<std::pair<int32_t, uint64_t>, Samples> mSamples;
    std::map<std::pair<int32_t, uint64_t>, std::set<Size>> mAsked;
    std::map<std::pair<int32_t, uint64_t>, int> mValidated;
    KnownLayouts mKnown;
    Borders mBorders;
    std::set<Size> mLimits;  // sizes that tell what is refused
    size_t mQuestions = 0;
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
    mAsked[key].insert({request.width, request.height});
    return answer;
}

bool Recording::askNew(int32_t format, uint64_t usage, const Size& size) {
    const auto& asked = mAsked[{format, usage}];
    if (exhausted() || asked.contains(size)) {
        return false;
    }
    ask({format, usage, size.first, size.second}, false);
    return true;
}

// A usage that is refused in the first size is not asked about others, but for the commonest two.
Recording::Group Recording::askUsage(int32_t format, uint64_t usage) {
    const auto& [small, large, medium] = format == kBlob ? kFirstOfBlob : kFirst;
    Group asked{format, {usage}, {}};
    asked.answers.push_back(ask({format, usage, small.first, small.second}, true));
    const bool common = usage == kUsages[0] || usage == kUsages[1];
    if (common || asked.answers.front().answer == kGranted) {
        asked.answers.push_back(ask({format, usage, large.first, large.second}, false));
        if (asked.answers.back().answer != kGranted) {
            asked.answers.push_back(ask({format, usage, medium.first, medium.second}, false));
        }
    }
    return asked;
}

std::vector<Recording::Group> Recording::askUsages(int32_t format) {
    std::vector<Group> groups;
    for (const uint64_t usage : kUsages) {
        const Group asked = askUsage(format, usage);
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

void Recording::askChecks(const Group& group) {
    const bool granted = std::any_of(group.answers.begin(), group.answers.end(),
                                     [](const Answer& one) { return one.answer == kGranted; });
    if (!granted) {
        return;
    }
    for (const Size& size : kChecks) {
        askNew(group.format, group.usages.front(), size);
    }
    if (group.format == kBlob) {
        for (const Size& size : kBlobs) {
            askNew(group.format, group.usages.front(), size);
        }
    }
}

void Recording::sweep(int32_t format, uint64_t usage) {
    for (const uint32_t width : kWidths) {
        askNew(format, usage, {width, kSweepHeight});
    }
    for (const uint32_t height : kHeights) {
        askNew(format, usage, {kSweepWidth, height});
    }
    for (const Size& size : kPictures) {
        askNew(format, usage, size);
    }
}

std::vector<Finding> Recording::findings() {
    std::vector<const Samples*> samples;
    for (const auto& [key, one] : mSamples) {
        samples.push_back(&one);
    }
    return findRules(samples, mProfile.shapes, mKnown);
}

size_t Recording::answersTo(int32_t format, uint64_t usage) const {
    const auto found = mSamples.find({format, usage});
    return found == mSamples.end() ? 0 : found->second.answers.size();
}

uint64_t Recording::bestKnown(const Finding& finding) const {
    return *std::max_element(finding.usages.begin(), finding.usages.end(),
                             [&](uint64_t a, uint64_t b) {
                                 return answersTo(finding.format, a) < answersTo(finding.format, b);
                             });
}

// For each layout, which of the findings that follow it is known best.
std::map<size_t, size_t> Recording::mainFindings(const std::vector<Finding>& findings) const {
    std::map<size_t, size_t> mains;
    std::map<size_t, size_t> most;
    for (size_t i = 0; i < findings.size(); ++i) {
        const size_t answers = answersTo(findings[i].format, bestKnown(findings[i]));
        for (const FoundRule& found : findings[i].rules) {
            if (found.layout != kNoLayout && answers > most[found.layout]) {
                most[found.layout] = answers;
                mains[found.layout] = i;
            }
        }
    }
    return mains;
}

// Each layout is asked about many sizes once, whatever formats and usages share it.
void Recording::sweepLayouts() {
    const std::vector<Finding> all = findings();
    for (const auto& [layout, main] : mainFindings(all)) {
        sweep(all[main].format, bestKnown(all[main]));
    }
}

// Any sizes, to see whether the rules hold. Where they do not, other usages may differ, too.
bool Recording::validate(const Finding& finding, uint64_t usage, int most) {
    constexpr int kAtOnce = 8;
    int& count = mValidated[{finding.format, finding.usages.front()}];
    bool asked = false;
    for (int i = 0; i < kAtOnce && count < most; ++i) {
        // NOLINTNEXTLINE(cert-msc32-c,cert-msc51-cpp): the same questions every time
        std::minstd_rand random(static_cast<uint32_t>(count + 1 + int64_t{finding.format} * 64));
        random.discard(3);
        const auto unit = static_cast<uint32_t>(count % 4 == 3 ? 1 : 4);
        const auto width = static_cast<uint32_t>(random() % 4096);
        const auto height = static_cast<uint32_t>(random() % 3072);
        const Size size{width / unit * unit + unit, height / unit * unit + unit};
        const uint64_t other = finding.usages[static_cast<size_t>(count) % finding.usages.size()];
        const uint64_t chosen = count % 2 == 0 ? usage : other;
        ++count;
        asked |= askNew(finding.format, chosen, size);
    }
    return asked;
}

// Asks where the formulas on the two sides of a border differ, and where formulas do that explain
// the samples equally well.
bool Recording::narrowFinding(const Finding& finding, uint64_t usage, bool whole) {
    constexpr size_t kMost = 4;
    const auto& asked = mAsked[{finding.format, usage}];
    const auto isNew = [&](const Size& size) { return !asked.contains(size); };
    std::vector<Size> sizes = betweenBorders(finding, mProfile.shapes, mBorders, whole, isNew);
    for (const FoundRule& found : finding.rules) {
        if (whole && !found.rule.others.empty()) {
            const Shape& shape = mProfile.shapes[found.rule.shape];
            const auto more = tellingApart(found, shape, kMost, [&](const Size& size) {
                return isNew(size) && !isRefused(finding, size);
            });
            sizes.insert(sizes.end(), more.begin(), more.end());
        }
    }
    bool any = false;
    for (const Size& size : sizes) {
        any |= askNew(finding.format, usage, size);
    }
    return any;
}

bool Recording::askLimits(int32_t format, uint64_t usage) {
    constexpr size_t kMost = 12;
    bool asked = false;
    size_t count = 0;
    for (const Size& size : mLimits) {
        asked |= ++count <= kMost && askNew(format, usage, size);
    }
    return asked;
}

// Whether no other finding of the format is about more usages.
bool isMostUsages(const std::vector<Finding>& findings, size_t number) {
    return std::none_of(findings.begin(), findings.end(), [&](const Finding& other) {
        return other.format == findings[number].format &&
               other.usages.size() > findings[number].usages.size();
    });
}

// Some more questions for what the rules leave open.
bool Recording::narrow() {
    constexpr int kMain = 16;
    constexpr int kOther = 4;
    const std::vector<Finding> all = findings();
    std::set<size_t> mains;
    for (const auto& [layout, main] : mainFindings(all)) {
        mains.insert(main);
    }
    for (const Finding& finding : all) {
        addBorders(finding, mBorders);
        addLimitChecks(finding, mLimits);
    }
    const auto isGranted = [](const Finding& finding) {
        return std::any_of(finding.rules.begin(), finding.rules.end(),
                           [](const FoundRule& found) { return found.rule.answer == kGranted; });
    };
    bool asked = false;
    // First what concerns whole formats, in case that questions run out.
    for (size_t i = 0; i < all.size(); ++i) {
        if (isGranted(all[i]) || isMostUsages(all, i)) {
            asked |= askLimits(all[i].format, bestKnown(all[i]));
        }
    }
    for (size_t i = 0; i < all.size() && !exhausted(); ++i) {
        const bool isMain = mains.contains(i);
        const uint64_t usage = bestKnown(all[i]);
        asked |= narrowFinding(all[i], usage, isMain);
        asked |= isGranted(all[i]) && validate(all[i], usage, isMain ? kMain : kOther);
    }
    return asked;
}

void Recording::askAll(const std::vector<int32_t>& formats) {
    std::vector<Group> groups;
    for (const int32_t format : formats) {
        const auto its = askUsages(format);
        groups.insert(groups.end(), its.begin(), its.end());
    }
    for (const Group& group : groups) {
        askChecks(group);
    }
    sweepLayouts();
    constexpr int kRounds = 24;
    for (int round = 0; round < kRounds && narrow(); ++round) {
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
    recording.askAll(formats);
    recording.finish();
}

}  // namespace zelkcam::profile
