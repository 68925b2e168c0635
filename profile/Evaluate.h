// What a profile answers to a request.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <unordered_map>

#include "profile/Profile.h"

namespace zelkcam::profile {

// Clients read an allocation's size as a signed 32-bit number: nothing larger is ever granted.
inline constexpr int64_t kMaxAllocationSize = INT32_MAX;
// The service-specific code of a refusal that no rule gives: UNSUPPORTED.
inline constexpr int32_t kUnsupported = 2;

enum class Certainty : uint8_t { kRecorded, kRule, kGuess };

struct Reply {
    int32_t answer = kUnsupported;  // kGranted, or the refusal
    const Shape* shape = nullptr;   // of a granted request
    Numbers numbers;
    LockAnswer locks;
    Certainty certainty = Certainty::kRule;
};

int64_t onAxis(Axis axis, int64_t width, int64_t height);
bool holds(const SizeTest& test, int64_t width, int64_t height);
bool holds(const std::vector<UsageTest>& tests, uint64_t usage);

// The numbers of one rule, without its conditions. None when a product or sum leaves 63 bits, when
// a quantity is negative and when the buffer exceeds kMaxAllocationSize.
enum class Choice : uint8_t { kChosen, kOther };
std::optional<Numbers> evaluate(const Rule& rule, uint32_t width, uint32_t height,
                                Choice choice = Choice::kChosen);

// Visits all quantities of a rule, which may be const.
template <typename R, typename Visit>
void forEachQuantity(R& rule, const Visit& visit) {
    for (auto& plane : rule.planes) {
        for (auto* one :
             {&plane.row, &plane.rows, &plane.size, &plane.offset, &plane.width, &plane.height}) {
            visit(*one);
        }
    }
    for (auto* one :
         {&rule.alignedWidth, &rule.alignedHeight, &rule.header, &rule.stride, &rule.answeredStride,
          &rule.allocationSize, &rule.extensionStride, &rule.verticalStride, &rule.extensionSize}) {
        visit(*one);
    }
}

// A rule of nothing but the quantities of another.
Rule quantitiesOf(const Rule& rule);

// What the buffer-attribute extension makes of what the mapper tells, for one of Own;
// nothing where the mapper does not tell.
std::optional<int64_t> told(const Shape& shape, const Numbers& numbers, uint32_t height,
                            size_t own);

// What a rule's numbers look like from outside: some devices keep planes to themselves, and what
// the mapper tells as well is not the extension's own.
Numbers asTold(const Shape& shape, Numbers numbers, uint32_t height);

// A profile ready to answer. Nothing changes once it is made, so any thread may ask.
class Device {
  public:
    explicit Device(Profile profile);

    const Profile& profile() const { return mProfile; }

    // As the allocator answers: what was recorded of a usage counts before the trait, which tells
    // of one format and size.
    Reply askAllocator(const Request& request) const;
    // By samples, then by rules; traits do not count here.
    Reply ask(const Request& request) const;
    // By rules alone.
    Reply askRules(const Request& request) const;
    LockAnswer locks(int32_t format, uint64_t usage) const;

  private:
    struct Key {
        size_t operator()(const Request& request) const;
    };
    struct Place {
        uint32_t group;
        uint32_t answer;
    };

    const FormatRules* find(int32_t format) const;
    Reply recorded(const Place& place) const;

    Profile mProfile;
    std::unordered_map<Request, Place, Key> mSamples;
};

}  // namespace zelkcam::profile
