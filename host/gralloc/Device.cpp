#include "host/gralloc/Device.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <utility>

#include <aidl/android/hardware/graphics/allocator/AllocationError.h>
#include <android/log.h>

#include "host/properties/Environment.h"
#include "profile/Evaluate.h"
#include "profile/Shipped.h"

namespace zelkcam::host::gralloc {
namespace {

using aidl::android::hardware::graphics::allocator::AllocationError;

constexpr char kProfileVariable[] = "ZELKCAM_HOST_PROFILE";
constexpr char kLogTag[] = "ZelkCam/HostGralloc";

struct TheDevice {
    TheDevice(profile::Profile profile, uint64_t number)
        : device(std::move(profile)), fingerprint(number) {}

    profile::Device device;
    uint64_t fingerprint;
};

std::unique_ptr<TheDevice> loadDevice() {
    const char* const chosen = std::getenv(kProfileVariable);
    const std::string name = chosen != nullptr && *chosen != '\0' ? chosen : "default";
    std::string error;
    auto loaded = profile::load(name, &error);
    if (!loaded) {
        reportVariable(kProfileVariable, name.c_str(),
                       ("is not usable, so there are no graphics services: " + error).c_str());
        return nullptr;
    }
    return std::make_unique<TheDevice>(std::move(loaded->profile), loaded->fingerprint);
}

// Never destroyed: clients free buffers in their own exit destructors.
const TheDevice* theDevice() {
    static const TheDevice* const device = loadDevice().release();
    return device;
}

bool isMeaningful(const Description& description) {
    return description.width != 0 && description.height != 0 && description.layerCount != 0 &&
           std::ranges::find(description.name, '\0') != description.name.end();
}

// What the traits refuse, whatever the format.
int32_t refusalByTraits(const Description& description, const profile::Traits& traits) {
    if (description.layerCount > traits.maxLayers) {
        return traits.layersRefusal;
    }
    if (description.reservedSize > static_cast<uint64_t>(traits.maxReservedSize)) {
        return traits.reservedRefusal;
    }
    return profile::kGranted;
}

profile::Reply ask(const TheDevice& device, const Description& description) {
    profile::Reply reply;
    reply.answer = refusalByTraits(description, device.device.profile().traits);
    if (reply.answer != profile::kGranted) {
        return reply;
    }
    return device.device.askAllocator(
            {description.format, description.usage, description.width, description.height});
}

Plane planeOf(const profile::PlaneShape& shape, const profile::PlaneNumbers& numbers) {
    Plane plane{};
    plane.offsetInBytes = numbers.offset;
    plane.strideInBytes = numbers.row;
    plane.totalSizeInBytes = numbers.size;
    plane.widthInSamples = numbers.width;
    plane.heightInSamples = numbers.height;
    plane.sampleIncrementInBits = static_cast<int>(shape.sampleIncrementInBits);
    plane.horizontalSubsampling = static_cast<int>(shape.horizontalSubsampling);
    plane.verticalSubsampling = static_cast<int>(shape.verticalSubsampling);
    for (const profile::Component& component : shape.components) {
        plane.components.add({static_cast<PlaneLayoutComponentType>(component.type),
                              static_cast<int>(component.offsetInBits),
                              static_cast<int>(component.sizeInBits)});
    }
    return plane;
}

// The planes of a device may reach behind what it calls the allocation's size; clients find them
// all the same.
uint64_t pixelBytes(const profile::Reply& reply) {
    int64_t end = std::max<int64_t>(reply.numbers.size, 1);
    for (size_t i = 0; i < reply.shape->planes.size(); ++i) {
        const profile::PlaneNumbers& plane = reply.numbers.planes[i];
        end = std::max(end, plane.offset + plane.size);
    }
    return static_cast<uint64_t>(end);
}

Layout layoutOf(const profile::Reply& reply) {
    const profile::Shape& shape = *reply.shape;
    Layout layout;
    layout.format = shape.format;
    layout.fourcc = shape.fourcc;
    layout.modifier = shape.modifier;
    layout.flags = shape.flags;
    std::ranges::copy(reply.numbers.own, layout.own.begin());
    layout.stride = static_cast<uint32_t>(reply.numbers.stride);
    layout.answeredStride = static_cast<uint32_t>(reply.numbers.answeredStride);
    layout.allocationSize = static_cast<uint64_t>(reply.numbers.size);
    layout.pixelBytes = pixelBytes(reply);
    layout.compression = static_cast<Compression>(shape.compression);
    layout.interlaced = static_cast<Interlaced>(shape.interlaced);
    layout.chromaSiting = static_cast<ChromaSiting>(shape.chromaSiting);
    layout.usageAdded = shape.usageAdded;
    layout.usageRemoved = shape.usageRemoved;
    layout.cropIsPicture = shape.crop == profile::Crop::kPicture;
    layout.refused = shape.refused;
    layout.locks = reply.locks;
    for (size_t i = 0; i < shape.planes.size(); ++i) {
        layout.planes.add(planeOf(shape.planes[i], reply.numbers.planes[i]));
    }
    return layout;
}

AIMapper_Error errorOf(int32_t refusal) {
    switch (static_cast<AllocationError>(refusal)) {
        case AllocationError::BAD_DESCRIPTOR:
            return AIMAPPER_ERROR_BAD_DESCRIPTOR;
        case AllocationError::NO_RESOURCES:
            return AIMAPPER_ERROR_NO_RESOURCES;
        default:
            return AIMAPPER_ERROR_UNSUPPORTED;
    }
}

bool isFirstGuess(const Description& description) {
    static auto& lock = *new std::mutex;
    static auto& known = *new std::set<std::tuple<int32_t, uint64_t, uint32_t, uint32_t>>;
    const std::lock_guard guard(lock);
    return known
            .emplace(description.format, description.usage, description.width, description.height)
            .second;
}

}  // namespace

bool haveDevice() {
    return theDevice() != nullptr;
}

const profile::Traits& deviceTraits() {
    static const auto& none = *new profile::Traits{.refusedUsage = ~uint64_t{0}};
    const TheDevice* const device = theDevice();
    return device != nullptr ? device->device.profile().traits : none;
}

uint64_t deviceFingerprint() {
    const TheDevice* const device = theDevice();
    return device != nullptr ? device->fingerprint : 0;
}

AIMapper_Error decide(const Description& description, Layout* layout) {
    if (!isMeaningful(description)) {
        return AIMAPPER_ERROR_BAD_VALUE;
    }
    const TheDevice* const device = theDevice();
    if (device == nullptr) {
        return AIMAPPER_ERROR_UNSUPPORTED;
    }
    const profile::Reply reply = ask(*device, description);
    layout->isGuess = reply.certainty == profile::Certainty::kGuess;
    if (reply.answer != profile::kGranted) {
        return errorOf(reply.answer);
    }
    const bool isGuess = layout->isGuess;
    *layout = layoutOf(reply);
    layout->isGuess = isGuess;
    return AIMAPPER_ERROR_NONE;
}

int32_t refusalOf(const Description& description) {
    const TheDevice* const device = theDevice();
    const bool asked = device != nullptr && isMeaningful(description);
    const int32_t answer = asked ? ask(*device, description).answer : profile::kGranted;
    return answer != profile::kGranted ? answer : profile::kUnsupported;
}

void warnOfGuess(const Description& description) {
    const TheDevice* const device = theDevice();
    if (device == nullptr || !isFirstGuess(description)) {
        return;
    }
    __android_log_print(ANDROID_LOG_WARN, kLogTag,
                        "the answer to format %#x usage %#llx %ux%u is a guess: the device profile "
                        "%s does not tell",
                        static_cast<uint32_t>(description.format),
                        static_cast<unsigned long long>(description.usage), description.width,
                        description.height, device->device.profile().name.c_str());
}

}  // namespace zelkcam::host::gralloc
