// Devices that the rules were not written for: recorded, and asked what was not recorded.
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <random>
#include <sstream>

#include <gtest/gtest.h>

#include "profile/Evaluate.h"
#include "profile/Json.h"
#include "tests/profile/Devices.h"
#include "tests/profile/LibraryAnswers.h"

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

// As a camera engineer would ask: usages that occur, pictures of every other size.
Request anyRequest(std::mt19937& random) {
    constexpr std::pair<uint32_t, uint32_t> kPictures[] = {
            {176, 144},   {352, 288},   {640, 480},   {1280, 720},  {1440, 1080}, {1920, 1080},
            {2592, 1944}, {3840, 2160}, {4000, 3000}, {4032, 3024}, {4608, 3456}, {8000, 6000}};
    constexpr uint64_t kUsages[] = {0,       0x3,     0x30,    0x33,  0x20000, 0x20003, 0x60000,
                                    0x10000, 0x30000, 0x10003, 0x100, 0x800,   0x4000};
    const auto below = [&](size_t limit) { return static_cast<uint32_t>(random() % limit); };
    const auto [width, height] = random() % 2 == 0 ? kPictures[below(std::size(kPictures))]
                                                   : std::pair(1 + below(4200), 1 + below(3100));
    return {kFormats[below(kFormats.size())], kUsages[below(std::size(kUsages))], width, height};
}

bool equal(const Reply& reply, const Observation& seen) {
    if (reply.answer != seen.answer) {
        return false;
    }
    return seen.answer != kGranted ||
           (*reply.shape == seen.shape && reply.numbers == seen.numbers &&
            reply.locks == seen.locks.value_or(LockAnswer{}));
}

std::string words(const Request& request) {
    std::ostringstream text;
    text << std::hex << request.format << " usage " << request.usage << std::dec << " "
         << request.width << "x" << request.height;
    return text.str();
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
                << words(request) << " answered without a warning";
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

// A file while the test runs.
class ProfileFile {
  public:
    explicit ProfileFile(const Profile& profile) { std::ofstream(mPath) << writeJson(profile); }
    ~ProfileFile() { std::remove(mPath.c_str()); }
    const std::string& path() const { return mPath; }

  private:
    const std::string mPath = testing::TempDir() + "profile." + std::to_string(getpid());
};

struct Score {
    int equal = 0;
    int guesses = 0;
};

Score compare(const TestDevice& device, const ProfileFile& profile,
              const std::vector<Question>& questions) {
    const auto right = askLibrary("MADE_UP_DEVICE", device.name, questions);
    const auto given = askLibrary("ZELKCAM_HOST_PROFILE", profile.path(), questions);
    Score score;
    for (size_t i = 0; i < questions.size(); ++i) {
        const bool same = given[i].text == right[i].text;
        score.equal += same ? 1 : 0;
        score.guesses += given[i].isGuess ? 1 : 0;
        EXPECT_TRUE(same || given[i].isGuess)
                << words(questions[i].request) << ": " << given[i].text
                << " without a warning, not " << right[i].text;
    }
    return score;
}

TEST_P(Inference, AnswersThroughTheLibraryAsOnTheDevice) {
    constexpr int kRequests = 300;
    size_t asked = 0;
    const Profile profile = recorded(GetParam(), &asked);
    const ProfileFile file(profile);
    std::mt19937 random(11);
    std::vector<Question> unseen, seen;
    for (int i = 0; i < kRequests; ++i) {
        const Request request = anyRequest(random);
        unseen.push_back({request, About::kRequest});
        unseen.push_back({request, About::kBuffer});
        const Samples& samples = profile.samples[random() % profile.samples.size()];
        const Answer& answer = samples.answers[random() % samples.answers.size()];
        seen.push_back(
                {{samples.format, samples.usage, answer.width, answer.height}, About::kBuffer});
    }
    const Score inferred = compare(GetParam(), file, unseen);
    EXPECT_GE(inferred.equal, 2 * kRequests * 99 / 100);
    const Score replayed = compare(GetParam(), file, seen);
    EXPECT_EQ(replayed.equal, kRequests);
    EXPECT_EQ(replayed.guesses, 0);
}

INSTANTIATE_TEST_SUITE_P(Devices, Inference, testing::ValuesIn(testDevices()),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace zelkcam::test
