#include "tools/grallocinfo/ProfileDiff.h"

#include <algorithm>
#include <functional>
#include <map>
#include <set>
#include <utility>

#include "profile/Evaluate.h"
#include "tools/grallocinfo/Failure.h"
#include "tools/grallocinfo/Library.h"
#include "tools/grallocinfo/ProfileLayouts.h"
#include "tools/grallocinfo/ProfileText.h"

namespace grallocinfo {

namespace {

using zelkcam::profile::Device;
using zelkcam::profile::FormatRules;
using zelkcam::profile::kGranted;
using zelkcam::profile::Profile;
using zelkcam::profile::Reply;
using zelkcam::profile::Request;
using zelkcam::profile::Traits;

constexpr std::pair<uint32_t, uint32_t> kSizes[] = {{640, 480},   {1280, 720},  {1920, 1080},
                                                    {3840, 2160}, {4000, 3000}, {1922, 1082},
                                                    {321, 241},   {176, 144}};

// One thing to compare two granted buffers by; a text of what it is.
struct Aspect {
    int weight;
    const char* what;
    std::string (*of)(const Reply& reply);
};

size_t planeCount(const Reply& reply) {
    return reply.shape->planes.size();
}

template <size_t kPlane, int64_t zelkcam::profile::PlaneNumbers::*kField>
std::string planeNumber(const Reply& reply) {
    return kPlane < planeCount(reply) ? std::to_string(reply.numbers.planes[kPlane].*kField) : "-";
}

template <size_t kNumber>
std::string ownNumber(const Reply& reply) {
    const auto& number = reply.numbers.own[kNumber];
    return number ? std::to_string(*number) : "as the mapper tells";
}

std::string componentPlaces(const Reply& reply) {
    std::string text;
    for (const auto& plane : reply.shape->planes) {
        text += text.empty() ? "" : " | ";
        text += std::to_string(plane.sampleIncrementInBits) + " bits:";
        for (const auto& component : plane.components) {
            text += " " + std::to_string(component.type) + "@" +
                    std::to_string(component.offsetInBits);
        }
    }
    return text;
}

std::string formatText(const Reply& reply) {
    return describeFormat(formatName(reply.shape->format), reply.shape->format);
}

using Numbers = zelkcam::profile::PlaneNumbers;

const Aspect kAspects[] = {
        {95, "becomes", formatText},
        {90, "lock for reading",
         [](const Reply& reply) { return std::to_string(reply.locks.read); }},
        {85, "number of planes",
         [](const Reply& reply) { return std::to_string(planeCount(reply)); }},
        {80, "modifier", [](const Reply& reply) { return hex(reply.shape->modifier); }},
        {75, "components", componentPlaces},
        {70, "row of plane 0", planeNumber<0, &Numbers::row>},
        {69, "row of plane 1", planeNumber<1, &Numbers::row>},
        {68, "row of plane 2", planeNumber<2, &Numbers::row>},
        {65, "start of plane 1", planeNumber<1, &Numbers::offset>},
        {64, "start of plane 2", planeNumber<2, &Numbers::offset>},
        {60, "lock for writing",
         [](const Reply& reply) { return std::to_string(reply.locks.write); }},
        {50, "size of plane 0", planeNumber<0, &Numbers::size>},
        {40, "allocation size",
         [](const Reply& reply) { return std::to_string(reply.numbers.size); }},
        {30, "stride", [](const Reply& reply) { return std::to_string(reply.numbers.stride); }},
        {27, "stride of the extension", ownNumber<zelkcam::profile::kOwnStride>},
        {26, "vertical stride of the extension", ownNumber<zelkcam::profile::kOwnRows>},
        {25, "size of the extension", ownNumber<zelkcam::profile::kOwnSize>},
        {20, "chroma siting",
         [](const Reply& reply) { return std::to_string(reply.shape->chromaSiting); }},
};

std::string answerText(const Reply& reply) {
    return reply.answer == kGranted ? "granted" : "refused with " + std::to_string(reply.answer);
}

std::string requestText(const Request& request) {
    return std::to_string(request.width) + "x" + std::to_string(request.height) + " usage " +
           hex(request.usage);
}

class FormatComparison {
  public:
    FormatComparison(const Device& left, const Device& right, int32_t format)
        : mLeft(left), mRight(right), mFormat(format) {}

    void run();
    void addTo(std::vector<ProfileDifference>& differences) const;

  private:
    void compare(const Request& request);
    void note(int weight, const char* what, const Request& request, const std::string& left,
              const std::string& right);

    const Device& mLeft;
    const Device& mRight;
    const int32_t mFormat;
    size_t mAsked = 0;
    std::map<std::string, ProfileDifference> mFound;
};

void FormatComparison::note(int weight, const char* what, const Request& request,
                            const std::string& left, const std::string& right) {
    ProfileDifference& difference = mFound[what];
    if (difference.requests++ == 0) {
        difference.weight = weight;
        difference.what = what;
        difference.left = left;
        difference.right = right;
        difference.example = requestText(request);
    }
}

void FormatComparison::compare(const Request& request) {
    constexpr int kRefusal = 100;
    const Reply left = mLeft.askAllocator(request);
    const Reply right = mRight.askAllocator(request);
    ++mAsked;
    if (left.answer != right.answer) {
        note(kRefusal, "request", request, answerText(left), answerText(right));
        return;
    }
    if (left.answer != kGranted) {
        return;
    }
    for (const Aspect& aspect : kAspects) {
        const std::string from = aspect.of(left);
        const std::string to = aspect.of(right);
        if (from != to) {
            note(aspect.weight, aspect.what, request, from, to);
        }
    }
}

void FormatComparison::run() {
    for (const auto& [width, height] : kSizes) {
        for (const CommonUsage& usage : kCommonUsages) {
            compare({mFormat, usage.bits, width, height});
        }
    }
}

void FormatComparison::addTo(std::vector<ProfileDifference>& differences) const {
    for (const auto& [what, found] : mFound) {
        differences.push_back(found);
        differences.back().subject = describeFormat(formatName(mFormat), mFormat);
        differences.back().asked = mAsked;
    }
}

void addTraits(const Traits& left, const Traits& right,
               std::vector<ProfileDifference>& differences) {
    constexpr int kTrait = 110;
    const auto from = describe(left);
    const auto to = describe(right);
    for (size_t i = 0; i < from.size(); ++i) {
        if (from[i].second != to[i].second) {
            differences.push_back(
                    {kTrait, "traits", from[i].first, from[i].second, to[i].second, "", 0, 0});
        }
    }
}

}  // namespace

std::vector<ProfileDifference> compareProfiles(const Profile& left, const Profile& right) {
    const Device from(left);
    const Device to(right);
    std::set<int32_t> formats;
    for (const Profile* const profile : {&left, &right}) {
        for (const FormatRules& rules : profile->formats) {
            formats.insert(rules.format);
        }
    }
    std::vector<ProfileDifference> differences;
    addTraits(left.traits, right.traits, differences);
    for (const int32_t format : formats) {
        FormatComparison comparison(from, to, format);
        comparison.run();
        comparison.addTo(differences);
    }
    std::stable_sort(differences.begin(), differences.end(), [](const auto& a, const auto& b) {
        return std::pair(a.weight, a.requests) > std::pair(b.weight, b.requests);
    });
    return differences;
}

void printDifferences(std::ostream& out, const std::vector<ProfileDifference>& differences) {
    for (const ProfileDifference& one : differences) {
        out << one.subject << ": " << one.what << "  " << one.left << " -> " << one.right;
        if (one.asked > 0) {
            out << "  at " << one.example << " (" << one.requests << " of " << one.asked
                << " requests)";
        }
        out << '\n';
    }
    if (differences.empty()) {
        out << "no difference\n";
    }
}

Json differencesDocument(const std::vector<ProfileDifference>& differences) {
    Json document = newDocument();
    Json& list = document["differences"] = Json::array();
    for (const ProfileDifference& one : differences) {
        Json object;
        object["subject"] = one.subject;
        object["what"] = one.what;
        object["a"] = one.left;
        object["b"] = one.right;
        if (one.asked > 0) {
            object["example"] = one.example;
            object["requests"] = one.requests;
            object["asked"] = one.asked;
        }
        list.push_back(object);
    }
    return document;
}

}  // namespace grallocinfo
