// Which bits of a usage make the difference.
#include <algorithm>
#include <array>
#include <optional>
#include <set>

#include "profile/Evaluate.h"
#include "profile/Infer.h"
#include "profile/Usage.h"

namespace zelkcam::profile {
namespace {

using Usages = std::vector<std::pair<uint64_t, size_t>>;

// What drivers test, the likelier first.
constexpr std::array kMasks = {
        kReadMask | kWriteMask,
        kProtected,
        kReadMask,
        kWriteMask,
        kEncoder,
        kCameraWrite | kCameraRead,
        kCameraWrite,
        kCameraRead,
        kTexture,
        kComposer,
        kRender,
        kTexture | kRender,
        kTexture | kComposer,
        kTexture | kRender | kComposer,
        kEncoder | kCameraWrite,
        kEncoder | kCameraWrite | kCameraRead,
        kCameraWrite | kReadMask,
        kTexture | kRender | kComposer | kEncoder,
        kTexture | kRender | kComposer | kCameraWrite | kCameraRead | kEncoder,
        ~uint64_t{0},
        uint64_t{0x1},  // often, not rarely
        uint64_t{0x10},
};

// The class that all usages which meet the tests are of, and how many they are.
struct Catch {
    size_t number = 0;
    size_t count = 0;
    bool whole = false;  // no usage of the class is left behind
};

std::optional<Catch> catchOf(const std::vector<UsageTest>& tests, const Usages& usages) {
    Catch caught;
    for (const auto& [usage, number] : usages) {
        if (!holds(tests, usage)) {
            continue;
        }
        if (caught.count > 0 && number != caught.number) {
            return std::nullopt;
        }
        caught.number = number;
        ++caught.count;
    }
    if (caught.count == 0) {
        return std::nullopt;
    }
    const auto members = std::count_if(usages.begin(), usages.end(), [&](const auto& usage) {
        return usage.second == caught.number;
    });
    caught.whole = static_cast<size_t>(members) == caught.count;
    return caught;
}

std::vector<UsageTest> singleTests() {
    std::vector<UsageTest> tests;
    for (const uint64_t mask : kMasks) {
        tests.push_back({UsageOp::kAny, mask});
        tests.push_back({UsageOp::kNone, mask});
        if ((mask & (mask - 1)) != 0 && mask != ~uint64_t{0}) {
            tests.push_back({UsageOp::kAll, mask});
        }
    }
    return tests;
}

// One condition, then two together; a whole class before a part of one, then the larger part.
UsageClass bestClass(const Usages& usages) {
    static const std::vector<UsageTest> kTests = singleTests();
    UsageClass best;
    Catch most;
    const auto offer = [&](const std::vector<UsageTest>& tests) {
        const auto caught = catchOf(tests, usages);
        if (caught && std::pair(caught->whole, caught->count) > std::pair(most.whole, most.count)) {
            most = *caught;
            best = {tests, caught->number};
        }
    };
    for (const UsageTest& test : kTests) {
        offer({test});
    }
    if (most.whole) {
        return best;
    }
    for (size_t i = 0; i < kTests.size(); ++i) {
        for (size_t j = i + 1; j < kTests.size(); ++j) {
            offer({kTests[i], kTests[j]});
        }
    }
    if (most.count == 0) {
        // Some odd bit: the usage itself.
        const auto& [usage, number] = usages.front();
        best = {{{UsageOp::kAll, usage}, {UsageOp::kNone, ~usage}}, number};
    }
    return best;
}

}  // namespace

std::vector<UsageClass> separate(Usages usages) {
    std::vector<UsageClass> classes;
    while (!usages.empty()) {
        std::set<size_t> numbers;
        for (const auto& [usage, number] : usages) {
            numbers.insert(number);
        }
        if (numbers.size() == 1) {
            classes.push_back({{}, *numbers.begin()});
            break;
        }
        classes.push_back(bestClass(usages));
        std::erase_if(usages,
                      [&](const auto& usage) { return holds(classes.back().tests, usage.first); });
    }
    return classes;
}

}  // namespace zelkcam::profile
