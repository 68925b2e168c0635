// grallocinfo profile: record a device's answers, show what rules they follow, list what comes
// along.
#include <unistd.h>

#include <algorithm>
#include <ctime>
#include <iostream>
#include <memory>

#include "platform/properties.h"
#include "profile/Json.h"
#include "profile/Record.h"
#include "profile/Shipped.h"
#include "tools/grallocinfo/Commands.h"
#include "tools/grallocinfo/DeviceChild.h"
#include "tools/grallocinfo/DeviceTraits.h"
#include "tools/grallocinfo/Failure.h"
#include "tools/grallocinfo/Interruption.h"
#include "tools/grallocinfo/Library.h"
#include "tools/grallocinfo/LibraryLog.h"
#include "tools/grallocinfo/Output.h"
#include "tools/grallocinfo/ProfilePage.h"
#include "tools/grallocinfo/ProfileText.h"
#include "tools/grallocinfo/Table.h"

namespace grallocinfo {

namespace {

using zelkcam::profile::Profile;
using zelkcam::profile::Request;

constexpr char kProfileExamples[] =
        "Examples:\n"
        "  grallocinfo profile record -o phone.json\n"
        "  grallocinfo profile show phone.json\n"
        "  grallocinfo profile show phone.json --html phone.html\n"
        "  grallocinfo run --profile phone.json -- ./camera_test";

// What the library names, then the published formats beyond it, the important first.
const std::vector<int32_t> kFormats = {
        0x11, 0x32315659, 0x22, 0x23,       0x1000,     0x36, 0x1,  0x14, 0x20, 0x25, 0x21, 0x111,
        0x24, 0x3,        0x5,  0x20203859, 0x20363159, 0x10, 0x2,  0x4,  0x16, 0x26, 0x2b, 0x38,
        0x39, 0x3a,       0x3b, 0x37,       0x30,       0x31, 0x32, 0x33, 0x34, 0x35};

struct RecordOptions {
    std::string output;
};

struct ShowOptions {
    std::string profile;
    std::string html;
    bool json = false;
};

std::string property(const char* name) {
    char value[PROPERTY_VALUE_MAX] = "";
    property_get(name, value, "");
    std::string text = value;
    std::ranges::replace_if(
            text, [](unsigned char c) { return c < ' ' || c == 0x7f; }, '?');
    return text;
}

// No serial number, nothing about who uses the device.
void describeDevice(Profile& profile) {
    const std::string maker = property("ro.product.manufacturer");
    const std::string model = property("ro.product.model");
    profile.device = maker + (maker.empty() || model.empty() ? "" : " ") + model;
    profile.build = property("ro.build.id");
    profile.name = profile.device.empty() ? "recorded" : profile.device;
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    gmtime_r(&now, &parts);
    char text[32];
    if (std::strftime(text, sizeof(text), "%Y-%m-%dT%H:%M:%SZ", &parts) > 0) {
        profile.recorded = text;
    }
}

// One line that is written over, on a terminal only.
class Progress {
  public:
    ~Progress() {
        if (mShown) {
            std::cerr << "\r\033[K" << std::flush;
        }
    }
    void step() {
        ++mDone;
        if (isatty(STDERR_FILENO) && mDone % 50 == 0) {
            std::cerr << "\rasked " << mDone << " times" << std::flush;
            mShown = true;
        }
    }

  private:
    size_t mDone = 0;
    bool mShown = false;
};

Profile recordDevice(const Interruption& interruption) {
    DeviceChild device(interruption);
    Progress progress;
    Profile profile;
    describeDevice(profile);
    for (size_t i = 0; i < traitProbeCount(); ++i) {
        device.probe(i, profile.traits);
        progress.step();
    }
    zelkcam::profile::record(
            kFormats,
            [&](const Request& request, bool locks) {
                progress.step();
                return device.ask(request, locks);
            },
            profile);
    if (device.deaths() > 0) {
        remark(std::to_string(device.deaths()) +
               " questions ended the process that asked them; that is part of the answer");
    }
    return profile;
}

void runRecord(const RecordOptions& options) {
    openLibraryLog(false);
    if (!options.output.empty()) {
        requireWritable(options.output);  // before a minute is spent
    }
    const Interruption interruption;
    const std::string document = writeJson(recordDevice(interruption));
    if (options.output.empty()) {
        std::cout << document;
        flushOutput();
    } else {
        writeFile(options.output, [&](std::ostream& out) { out << document; });
    }
}

Profile loadProfile(const std::string& nameOrFile) {
    std::string error;
    auto loaded = zelkcam::profile::load(nameOrFile, &error);
    if (!loaded) {
        throw unusable(error + ": expected a profile's name or file");
    }
    return std::move(loaded->profile);
}

void runShow(const ShowOptions& options) {
    const Profile profile = loadProfile(options.profile);
    openLibraryLog(false);
    if (!options.html.empty()) {
        writeFile(options.html, [&](std::ostream& out) { printProfilePage(out, profile); });
    } else if (options.json) {
        writeDocument(profileDocument(profile));
    } else {
        printProfile(std::cout, profile);
        flushOutput();
    }
}

void runListShipped() {
    Table table({{"profile", Align::kLeft}, {"device", Align::kLeft}});
    for (const auto& shipped : zelkcam::profile::shippedProfiles()) {
        const std::string name(shipped.name);
        table.add({name, loadProfile(name).description});
    }
    table.print(std::cout);
    flushOutput();
}

void addRecord(CLI::App& group) {
    const auto options = std::make_shared<RecordOptions>();
    CLI::App* const command = group.add_subcommand(
            "record", "Ask this device what its buffers look like, and write a profile");
    addFile(*command, "-o", options->output, "The profile's file; standard output without");
    command->callback([options] { runRecord(*options); });
}

void addShow(CLI::App& group) {
    const auto options = std::make_shared<ShowOptions>();
    CLI::App* const command = group.add_subcommand("show", "Print the rules of a profile");
    addText(*command, "PROFILE", options->profile, "A profile's name or file");
    addJson(*command, options->json);
    addHtml(*command, options->html);
    command->callback([options] { runShow(*options); });
}

}  // namespace

void addProfile(CLI::App& program) {
    CLI::App* const group =
            program.add_subcommand("profile", "Device profiles: record, show or list them");
    group->require_subcommand(1);
    group->footer(kProfileExamples);
    addRecord(*group);
    addShow(*group);
    group->add_subcommand("list", "List the profiles that come with the host platform")
            ->callback([] { runListShipped(); });
}

}  // namespace grallocinfo
