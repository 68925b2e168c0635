// The words of a profile document, for reading and for writing.
#pragma once

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>
#include <utility>

#include "profile/Profile.h"

namespace zelkcam::profile {

template <typename E, size_t N>
struct Words {
    std::array<std::pair<E, std::string_view>, N> entries;

    constexpr std::string_view of(E value) const {
        for (const auto& [known, word] : entries) {
            if (known == value) {
                return word;
            }
        }
        return {};
    }
    constexpr std::optional<E> find(std::string_view wanted) const {
        for (const auto& [value, word] : entries) {
            if (word == wanted) {
                return value;
            }
        }
        return std::nullopt;
    }
};

inline constexpr Words<Base, 11> kBases{{{{Base::kConstant, "constant"},
                                          {Base::kWidth, "width"},
                                          {Base::kHeight, "height"},
                                          {Base::kAlignedWidth, "alignedWidth"},
                                          {Base::kAlignedHeight, "alignedHeight"},
                                          {Base::kRow, "row"},
                                          {Base::kArea, "area"},
                                          {Base::kPlane, "plane"},
                                          {Base::kEnd, "end"},
                                          {Base::kStart, "start"},
                                          {Base::kTotal, "total"}}}};
inline constexpr Words<Axis, 3> kAxes{
        {{{Axis::kWidth, "width"}, {Axis::kHeight, "height"}, {Axis::kArea, "area"}}}};
inline constexpr Words<UsageOp, 3> kUsageOps{
        {{{UsageOp::kAny, "any"}, {UsageOp::kAll, "all"}, {UsageOp::kNone, "none"}}}};
inline constexpr Words<Crop, 2> kCrops{{{{Crop::kPlane, "plane"}, {Crop::kPicture, "picture"}}}};
inline constexpr Words<AcquireFence, 2> kAcquireFences{
        {{{AcquireFence::kLeftOpen, "leftOpen"}, {AcquireFence::kClosed, "closed"}}}};

// What a mapper answers to odd calls, in the order in which it is written.
inline constexpr std::array<std::pair<std::string_view, int32_t Traits::*>, 14> kMapperAnswers{{
        {"lockWithoutUsage", &Traits::lockWithoutUsage},
        {"lockWithOtherUsage", &Traits::lockWithOtherUsage},
        {"lockWithOnlyOtherUsage", &Traits::lockWithOnlyOtherUsage},
        {"nestedLock", &Traits::nestedLock},
        {"foreignHandle", &Traits::foreignHandle},
        {"foreignRead", &Traits::foreignRead},
        {"foreignSet", &Traits::foreignSet},
        {"foreignImport", &Traits::foreignImport},
        {"unlockedFlush", &Traits::unlockedFlush},
        {"unlockedReread", &Traits::unlockedReread},
        {"flushAfterRead", &Traits::flushAfterRead},
        {"rereadAfterWrite", &Traits::rereadAfterWrite},
        {"setUndecodable", &Traits::setUndecodable},
        {"setConstant", &Traits::setConstant},
}};

// The quantities of a rule and of a plane by name, in the order in which they are written.
template <typename T>
struct Named {
    std::string_view name;
    Quantity T::*quantity;
};
inline constexpr std::array<Named<Rule>, 9> kRuleQuantities{{
        {"alignedWidth", &Rule::alignedWidth},
        {"alignedHeight", &Rule::alignedHeight},
        {"header", &Rule::header},
        {"stride", &Rule::stride},
        {"answeredStride", &Rule::answeredStride},
        {"allocationSize", &Rule::allocationSize},
        {"extensionStride", &Rule::extensionStride},
        {"verticalStride", &Rule::verticalStride},
        {"extensionSize", &Rule::extensionSize},
}};

// Those of Numbers::own, in its order.
inline constexpr std::array<Named<Rule>, kOwnCount> kOwnNumbers{{
        {"extensionStride", &Rule::extensionStride},
        {"verticalStride", &Rule::verticalStride},
        {"extensionSize", &Rule::extensionSize},
}};
inline constexpr std::array<Named<PlaneRule>, 6> kPlaneQuantities{{
        {"row", &PlaneRule::row},
        {"rows", &PlaneRule::rows},
        {"size", &PlaneRule::size},
        {"offset", &PlaneRule::offset},
        {"width", &PlaneRule::width},
        {"height", &PlaneRule::height},
}};

}  // namespace zelkcam::profile
