// grallocinfo view: the picture in a raw dump of a buffer, by the planes of a device profile.
#include <algorithm>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "profile/Evaluate.h"
#include "profile/Shipped.h"
#include "tools/grallocinfo/Arguments.h"
#include "tools/grallocinfo/Commands.h"
#include "tools/grallocinfo/DrawnPlanes.h"
#include "tools/grallocinfo/Failure.h"
#include "tools/grallocinfo/Library.h"
#include "tools/grallocinfo/Output.h"
#include "tools/grallocinfo/Pixels.h"
#include "tools/grallocinfo/PrintPng.h"

namespace grallocinfo {

namespace {

using zelkcam::profile::Device;
using zelkcam::profile::kGranted;
using zelkcam::profile::PlaneNumbers;
using zelkcam::profile::Reply;
using zelkcam::profile::Request;

constexpr char kViewExamples[] =
        "Examples:\n"
        "  grallocinfo view frame.raw YCrCb_420_SP 1920x1080 -o frame.png\n"
        "  grallocinfo view frame.raw RAW10 4000x3000 --profile phone.json -o frame.png\n"
        "The dump holds the buffer's bytes, padding included. Without --profile the planes are\n"
        "those of 'default'.";

struct ViewOptions {
    std::string dump;
    std::string format;
    std::string size;
    std::string usage = "0x33";
    std::string profile = "default";
    std::string picture;
};

std::vector<uint8_t> readDump(const std::string& path) {
    const std::string bytes = readWhole(path, "a raw dump of a buffer");
    return {bytes.begin(), bytes.end()};
}

Device loadDevice(const std::string& nameOrFile) {
    std::string error;
    auto loaded = zelkcam::profile::load(nameOrFile, &error);
    if (!loaded) {
        throw unusable(error + ": expected a profile's name or file");
    }
    return Device(std::move(loaded->profile));
}

// Formats of the profile whose buffers of this size are as long.
std::string fittingFormats(const Device& device, const Request& request, int64_t length) {
    std::string text;
    for (const auto& rules : device.profile().formats) {
        const Reply reply =
                device.ask({rules.format, request.usage, request.width, request.height});
        if (reply.answer == kGranted && reply.numbers.size == length) {
            text += (text.empty() ? "" : ", ") +
                    describeFormat(formatName(rules.format), rules.format);
        }
    }
    return text;
}

// The row that would make a buffer of these planes as long, if there is one.
std::optional<int64_t> fittingRow(const Reply& reply, int64_t length) {
    const PlaneNumbers& first = reply.numbers.planes[0];
    int64_t total = 0;
    for (size_t i = 0; i < reply.shape->planes.size(); ++i) {
        total = std::max(total, reply.numbers.planes[i].offset + reply.numbers.planes[i].size);
    }
    if (first.row == 0 || total == 0 || (length * first.row) % total != 0) {
        return std::nullopt;
    }
    return length * first.row / total;
}

// A dump may end with the page that the buffer's last byte lies in.
bool isAsLong(int64_t length, int64_t size) {
    for (const int64_t page : {1, 4096, 16384, 65536}) {
        if (length == (size + page - 1) / page * page) {
            return true;
        }
    }
    return false;
}

void requireLength(const Device& device, const Request& request, const Reply& reply, size_t size) {
    const auto length = static_cast<int64_t>(size);
    if (isAsLong(length, reply.numbers.size)) {
        return;
    }
    std::string hint;
    const std::string formats = fittingFormats(device, request, length);
    if (!formats.empty()) {
        hint += "; as long as one of " + formats;
    }
    if (const auto row = fittingRow(reply, length)) {
        hint += "; rows of " + std::to_string(*row) + " bytes instead of " +
                std::to_string(reply.numbers.planes[0].row) + " would fit";
    }
    throw unusable("the dump holds " + std::to_string(length) + " bytes: expected " +
                   std::to_string(reply.numbers.size) + hint);
}

std::vector<ToldPlane> toldPlanes(const Reply& reply) {
    std::vector<ToldPlane> told;
    for (size_t i = 0; i < reply.shape->planes.size(); ++i) {
        const auto& components = reply.shape->planes[i].components;
        const PlaneNumbers& plane = reply.numbers.planes[i];
        told.push_back({plane.offset, plane.row, components.empty() ? 0 : components.front().type});
    }
    return told;
}

Picture draw(std::vector<uint8_t>& dump, const Request& request, const Reply& reply) {
    zcam::GrallocStaticInfo layout;
    layout.format = reply.shape->format;
    layout.widthInPixels = static_cast<int32_t>(request.width);
    layout.heightInPixels = static_cast<int32_t>(request.height);
    const DrawnPlanes drawn = drawnPlanes(layout, toldPlanes(reply), dump.size());
    const LockedBuffer buffer{dump.data(), dump.size(), drawn.layout, drawn.starts};
    if (reply.shape->modifier != 0 || !holdsPicture(buffer)) {
        throw unusable("there is no picture to be drawn in " +
                       describeFormat(formatName(reply.shape->format), reply.shape->format) +
                       " as this profile has it: expected one of " + describeFormats(pictureFormats()) +
                       ", not compressed; --usage may matter");
    }
    return readPicture(buffer);
}

void runView(const ViewOptions& options) {
    const Size size = parseSize(options.size);
    const Request request{parseFormat(options.format), parseUsage(options.usage),
                          static_cast<uint32_t>(size.width), static_cast<uint32_t>(size.height)};
    const Device device = loadDevice(options.profile);
    const Reply reply = device.ask(request);
    if (reply.answer != kGranted) {
        throw unusable("the device refuses such a buffer with " + std::to_string(reply.answer) +
                       ": expected a format, size and usage that it grants");
    }
    if (reply.certainty == zelkcam::profile::Certainty::kGuess) {
        remark("the planes are a guess: the profile does not tell");
    }
    std::vector<uint8_t> dump = readDump(options.dump);
    requireLength(device, request, reply, dump.size());
    const Picture picture = draw(dump, request, reply);
    writeFile(options.picture, [&](std::ostream& out) { printPng(out, picture); });
}

}  // namespace

void addView(CLI::App& program) {
    const auto options = std::make_shared<ViewOptions>();
    CLI::App* const command = program.add_subcommand(
            "view", "Draw the picture in a raw dump of a buffer, by a device's planes");
    addText(*command, "DUMP", options->dump, "A file of the buffer's bytes");
    addText(*command, "FORMAT", options->format, "Pixel format: a number or a name");
    addText(*command, "WIDTHxHEIGHT", options->size, "Size in pixels");
    addUsage(*command, options->usage);
    addText(*command, "--profile", options->profile, "The device's profile")
            ->type_name("NAME|FILE");
    addFile(*command, "-o", options->picture, "The picture's file, a PNG")->required();
    command->footer(kViewExamples);
    command->callback([options] { runView(*options); });
}

}  // namespace grallocinfo
