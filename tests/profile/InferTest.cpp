// Devices that the rules were not written for: recorded, and asked what was not recorded.
#include <random>

#include <gtest/gtest.h>

#include "profile/Evaluate.h"
#include "profile/Json.h"
#include "tests/profile/Devices.h"

namespace zelkcam::test {
namespace {

using namespace profile;

const std::vector<int32_t> kFormats = {0x1,  0x2,  0x3,  0x5,    0x11,       0x14,       0x16,
                                       0x20, 0x22, 0x23, 0x1000, 0x20203859, 0x32315659, 0x24};

Profile recorded(const TestDevice& device, size_t* questions) {
    Profile profile;
    profile.name = device.name;
    record(
            kFormats,
            [&](const Request& request, bool locks) {
                ++*questions;
                Observation seen = device.answer(request);
                if (!locks) {
                    seen.locks.reset();
                }
                return seen;
            },
            profile);
    return profile;
}

// As a camera engineer would ask: usages that occur, any size.
Request anyRequest(std::mt19937& random) {
    constexpr uint64_t kUsages[] = {0,       0x3,     0x30,    0x33,  0x20000, 0x20003, 0x60000,
                                    0x10000, 0x30000, 0x10003, 0x100, 0x800,   0x4000};
    const auto below = [&](size_t limit) { return static_cast<uint32_t>(random() % limit); };
    return {kFormats[below(kFormats.size())], kUsages[below(std::size(kUsages))], 1 + below(4200),
            1 + below(3100)};
}

bool equal(const Reply& reply, const Observation& seen) {
    if (reply.answer != seen.answer) {
        return false;
    }
    return seen.answer != kGranted ||
           (*reply.shape == seen.shape && reply.numbers == seen.numbers &&
            reply.locks == seen.locks.value_or(LockAnswer{}));
}

class Inference : public testing::TestWithParam<TestDevice> {};

TEST_P(Inference, AnswersWhatWasNotRecordedAsTheDeviceDoes) {
    size_t questions = 0;
    const Device device(recorded(GetParam(), &questions));
    EXPECT_LE(questions, kMaxQuestions);
    std::mt19937 random(7);
    int good = 0;
    constexpr int kRequests = 3000;
    for (int i = 0; i < kRequests; ++i) {
        const Request request = anyRequest(random);
        const Reply reply = device.ask(request);
        const bool same = equal(reply, GetParam().answer(request));
        good += same ? 1 : 0;
        EXPECT_TRUE(same || reply.certainty == Certainty::kGuess)
                << std::hex << request.format << " usage " << request.usage << std::dec << " "
                << request.width << "x" << request.height << " answered without a warning";
    }
    EXPECT_GE(good, kRequests * 99 / 100);
    RecordProperty("good", good);
    printf("%s: %zu questions, %d of %d\n", GetParam().name, questions, good, kRequests);
}

TEST_P(Inference, AnswersWhatWasRecordedExactlyAndRecordsItselfAgain) {
    size_t questions = 0;
    const Profile first = recorded(GetParam(), &questions);
    std::string error;
    const auto read = readJson(writeJson(first), &error);
    ASSERT_TRUE(read) << error;
    EXPECT_EQ(*read, first);

    const Device device(*read);
    Profile again;
    again.name = first.name;
    record(
            kFormats,
            [&](const Request& request, bool locks) {
                const Reply reply = device.ask(request);
                EXPECT_EQ(reply.certainty, Certainty::kRecorded);
                return observationOf(reply, locks);
            },
            again);
    EXPECT_EQ(writeJson(again), writeJson(first));
}

INSTANTIATE_TEST_SUITE_P(Devices, Inference, testing::ValuesIn(testDevices()),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace zelkcam::test
