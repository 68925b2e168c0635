#include "tools/grallocinfo/ProfileLayouts.h"

#include <algorithm>
#include <set>

#include "utils/gralloc/NameTables.h"

namespace grallocinfo {

namespace {

using zelkcam::profile::Certainty;
using zelkcam::profile::Component;
using zelkcam::profile::Device;
using zelkcam::profile::FormatRules;
using zelkcam::profile::kGranted;
using zelkcam::profile::PlaneNumbers;
using zelkcam::profile::Reply;
using zelkcam::profile::Request;
using DescribedPlane = zelkcam::profile::PlaneShape;

struct ComponentName {
    int64_t type;
    const char* name;
};

// Each begins with a capital letter, and holds no other.
constexpr ComponentName kComponentNames[] = {{1 << 0, "Y"},  {1 << 1, "Cb"},  {1 << 2, "Cr"},
                                             {1 << 10, "R"}, {1 << 11, "G"},  {1 << 12, "B"},
                                             {1 << 30, "A"}, {1 << 20, "Raw"}};

bool isSameAnswer(const Reply& a, const Reply& b) {
    if (a.answer != b.answer || a.answer != kGranted) {
        return a.answer == b.answer;
    }
    return a.numbers == b.numbers && a.shape->format == b.shape->format &&
           a.shape->modifier == b.shape->modifier && a.shape->planes == b.shape->planes;
}

// One plane as it is drawn: a plane of the device, and those that lie in it.
struct DrawnPlane {
    PlaneNumbers numbers;
    DescribedPlane shape;
};

uint64_t endOf(const PlaneNumbers& plane) {
    return static_cast<uint64_t>(plane.offset) + static_cast<uint64_t>(plane.size);
}

void add(std::vector<DrawnPlane>& planes, const DrawnPlane& plane) {
    if (planes.empty() ||
        static_cast<uint64_t>(plane.numbers.offset) >= endOf(planes.back().numbers)) {
        planes.push_back(plane);
        return;
    }
    DrawnPlane& outer = planes.back();
    outer.numbers.size = std::max(outer.numbers.size,
                                  plane.numbers.offset + plane.numbers.size - outer.numbers.offset);
    outer.shape.components.insert(outer.shape.components.end(), plane.shape.components.begin(),
                                  plane.shape.components.end());
}

std::vector<DrawnPlane> planesToDraw(const Reply& reply) {
    std::vector<DrawnPlane> all;
    for (size_t i = 0; i < reply.shape->planes.size(); ++i) {
        all.push_back({reply.numbers.planes[i], reply.shape->planes[i]});
    }
    std::ranges::stable_sort(all, {}, [](const DrawnPlane& plane) { return plane.numbers.offset; });
    std::vector<DrawnPlane> planes;
    for (const DrawnPlane& plane : all) {
        add(planes, plane);
    }
    return planes;
}

std::string namesOf(const std::vector<Component>& components) {
    std::string text;
    for (const Component& component : components) {
        const auto* const known =
                std::ranges::find(kComponentNames, component.type, &ComponentName::type);
        text += known == std::end(kComponentNames) ? "?" : known->name;
    }
    return text;
}

// The picture's part of a plane by what the device tells of its samples.
void markByDescription(PlaneGeometry& plane, const DrawnPlane& drawn, const ProfileLayout& layout) {
    const auto samplesOf = [](uint32_t pixels, int64_t told, int64_t subsampling) {
        const int64_t most = (pixels + subsampling - 1) / std::max<int64_t>(1, subsampling);
        return static_cast<uint64_t>(told > 0 ? std::min(told, most) : most);
    };
    const DescribedPlane& shape = drawn.shape;
    const uint64_t samples =
            samplesOf(layout.width, drawn.numbers.width, shape.horizontalSubsampling);
    const uint64_t bits = samples * static_cast<uint64_t>(shape.sampleIncrementInBits);
    plane.components = namesOf(shape.components);
    plane.pictureRowBytes = std::min((bits + 7) / 8, plane.rowStride);
    plane.pictureRows = std::min(
            samplesOf(layout.height, drawn.numbers.height, shape.verticalSubsampling), plane.rows);
}

bool isDescribed(const DrawnPlane& plane) {
    return !plane.shape.components.empty() && plane.shape.sampleIncrementInBits > 0;
}

void addDescriptions(BufferGeometry& buffer, const std::vector<DrawnPlane>& planes,
                     const ProfileLayout& layout) {
    if (!std::ranges::all_of(planes, isDescribed)) {
        return;
    }
    for (size_t i = 0; i < planes.size(); ++i) {
        markByDescription(buffer.planes[i], planes[i], layout);
    }
    buffer.pictureKnown = !planes.empty();
}

}  // namespace

std::vector<ProfileLayout> layoutsOf(const Device& device, int32_t format, uint32_t width,
                                     uint32_t height) {
    std::vector<ProfileLayout> layouts;
    for (size_t i = 0; i < kCommonUsages.size(); ++i) {
        const Reply reply = device.askAllocator({format, kCommonUsages[i].bits, width, height});
        auto same = std::ranges::find_if(layouts, [&](const ProfileLayout& layout) {
            return isSameAnswer(layout.reply, reply);
        });
        if (same == layouts.end()) {
            same = layouts.insert(same, {format, width, height, {}, reply, {}});
        }
        same->usages.push_back(i);
        same->certainties.push_back(reply.certainty);
    }
    return layouts;
}

std::vector<int32_t> formatsOf(const std::vector<const Device*>& devices) {
    std::set<int32_t> formats;
    for (const auto& named : NSCam::gralloc::kPixelFormatNames) {
        formats.insert(named.code);
    }
    for (const Device* const device : devices) {
        for (const FormatRules& rules : device->profile().formats) {
            formats.insert(rules.format);
        }
    }
    return {formats.begin(), formats.end()};
}

BufferGeometry geometryOf(const ProfileLayout& layout) {
    const std::vector<DrawnPlane> planes = planesToDraw(layout.reply);
    // The inside of a compressed buffer is the device's own.
    const bool isLinear = layout.reply.shape->modifier == 0;
    zcam::GrallocStaticInfo info;
    info.format = isLinear ? layout.reply.shape->format : 0;
    info.widthInPixels = static_cast<int32_t>(layout.width);
    info.heightInPixels = static_cast<int32_t>(layout.height);
    for (const DrawnPlane& plane : planes) {
        info.planes.push_back({static_cast<uint64_t>(plane.numbers.size),
                               static_cast<uint64_t>(plane.numbers.row)});
    }
    BufferGeometry buffer = geometryOf(info, static_cast<uint64_t>(layout.reply.numbers.size));
    for (size_t i = 0; i < planes.size(); ++i) {
        buffer.planes[i].offset = static_cast<uint64_t>(planes[i].numbers.offset);
        buffer.planesEnd = endOf(planes[i].numbers);
    }
    if (isLinear && !buffer.pictureKnown) {
        addDescriptions(buffer, planes, layout);
    }
    return buffer;
}

std::string usageWords(const ProfileLayout& layout) {
    std::string named;
    std::string others;
    for (size_t i = 0; i < kCommonUsages.size(); ++i) {
        std::string& text = std::ranges::count(layout.usages, i) > 0 ? named : others;
        text += (text.empty() ? "" : "; ") + std::string(kCommonUsages[i].words);
    }
    if (others.empty()) {
        return "all";
    }
    return others.size() < named.size() ? "all but " + others : named;
}

std::string certaintyWords(const ProfileLayout& layout) {
    std::string text;
    constexpr std::pair<Certainty, const char*> kWords[] = {{Certainty::kRecorded, "recorded"},
                                                            {Certainty::kRule, "by rule"},
                                                            {Certainty::kGuess, "guess"}};
    for (const auto& [certainty, words] : kWords) {
        if (std::ranges::count(layout.certainties, certainty) > 0) {
            text += (text.empty() ? "" : ", ") + std::string(words);
        }
    }
    return text;
}

bool isPartlyGuessed(const ProfileLayout& layout) {
    return std::ranges::count(layout.certainties, Certainty::kGuess) > 0;
}

}  // namespace grallocinfo
