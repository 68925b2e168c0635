#include "tests/profile/LibraryAnswers.h"

#include <dlfcn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "tests/support/LogCapture.h"
#include "utils/gralloc/IGrallocHelper.h"
#include "utils/gralloc/aidl/v2/allocator/allocator.h"

namespace zelkcam::test {
namespace {

using namespace NSCam;
using GrallocAllocatorAidlV2::AllocatorAidl;
using GrallocMapperAidlV2::MapperV5;

constexpr char kMadeUpDevice[] = "MADE_UP_DEVICE";

void chooseDevice(const std::string& variable, const std::string& value) {
    setenv(variable.c_str(), value.c_str(), 1);
    if (variable == kMadeUpDevice) {
        setenv("ZELKCAM_HOST_SPHAL_PATH", std::filesystem::path(MADE_UP_FILE).parent_path().c_str(),
               1);
        // Registers the device's service.
        if (dlopen(MADE_UP_FILE, RTLD_NOW) == nullptr) {
            abort();
        }
    }
}

int queryBuffer(const profile::Request& request, zcam::GrallocStaticInfo* layout) {
    static const auto& service = *new std::shared_ptr(AllocatorAidl::createInstance());
    static const auto& mapper = *new MapperV5(service);
    static const auto& allocator = *new AllocatorAidl(service, mapper);
    const native_handle* buffer = nullptr;
    uint32_t stride = 0;
    const int32_t error =
            allocator.allocate(request.width, request.height,
                               static_cast<GrallocAllocatorAidlV2::PixelFormat>(request.format), 1,
                               request.usage, &buffer, &stride, 0, "");
    if (error != 0) {
        return error;
    }
    const int status = IGrallocHelper::singleton()->query(buffer, layout, nullptr);
    allocator.free(buffer);
    return status;
}

std::string answerTo(const Question& question) {
    const profile::Request& request = question.request;
    zcam::GrallocStaticInfo layout;
    const zcam::GrallocRequest asked{static_cast<uint32_t>(request.usage), request.format,
                                     static_cast<int32_t>(request.width),
                                     static_cast<int32_t>(request.height)};
    IGrallocHelper* const helper = IGrallocHelper::singleton();
    helper->clearMap();
    const int status = question.about == About::kRequest ? helper->query(&asked, &layout)
                                                         : queryBuffer(request, &layout);
    std::string text = std::to_string(status) + " " + std::to_string(layout.format);
    for (const auto& plane : layout.planes) {
        text += " " + std::to_string(plane.sizeInBytes) + "/" +
                std::to_string(plane.rowStrideInBytes);
    }
    return text;
}

bool wasGuess() {
    const auto lines = takeRawLog();
    return std::any_of(lines.begin(), lines.end(), [](const LogLine& line) {
        return line.text.find("is a guess") != std::string::npos;
    });
}

// A line for each question, in a file: whether the answer was announced as a guess, and the answer.
void answerAll(std::span<const Question> questions, const std::string& path) {
    std::ofstream out(path);
    for (const Question& question : questions) {
        const std::string text = answerTo(question);
        out << (wasGuess() ? 'g' : ' ') << text << std::endl;
    }
}

}  // namespace

std::vector<LibraryAnswer> askLibrary(const char* variable, const std::string& value,
                                      std::span<const Question> questions) {
    const std::string path = testing::TempDir() + "answers." + std::to_string(getpid());
    std::vector<LibraryAnswer> answers;
    while (answers.size() < questions.size()) {
        const pid_t child = fork();
        if (child == 0) {
            chooseDevice(variable, value);
            answerAll(questions.subspan(answers.size()), path);
            _exit(0);
        }
        int status = 0;
        waitpid(child, &status, 0);
        std::ifstream in(path);
        for (std::string line; std::getline(in, line);) {
            answers.push_back({line.substr(1), line.front() == 'g'});
        }
        if (status != 0) {
            answers.push_back({"ended with " + std::to_string(status), false});
        }
        std::remove(path.c_str());
    }
    return answers;
}

}  // namespace zelkcam::test
