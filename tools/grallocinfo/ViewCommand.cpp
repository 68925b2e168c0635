// grallocinfo view: the picture in a raw dump of a buffer, by the planes of a device profile.
#include <algorithm>
#include <cmath>
#include <memory>
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

// A dump may end with the page that the buffer's last byte lies in.
constexpr int64_t kPages[] = {1, 4096, 16384, 65536};

int64_t roundedUp(int64_t value, int64_t unit) {
    return (value + unit - 1) / unit * unit;
}

bool isAsLong(int64_t length, int64_t size) {
    return std::ranges::any_of(kPages,
                               [&](int64_t page) { return length == roundedUp(size, page); });
}

bool fits(const Device& device, const Request& request, int64_t length) {
    const Reply reply = device.askAllocator(request);
    return reply.answer == kGranted && isAsLong(length, reply.numbers.size);
}

void append(std::string& list, const std::string& text) {
    list += (list.empty() ? "" : ", ") + text;
}

// Formats of the profile whose buffers of this size are as long.
std::string fittingFormats(const Device& device, Request request, int64_t length) {
    std::string text;
    for (const auto& rules : device.profile().formats) {
        request.format = rules.format;
        if (fits(device, request, length)) {
            append(text, describeFormat(formatName(rules.format), rules.format));
        }
    }
    return text;
}

// Shipped profiles under which such a buffer is as long.
std::string fittingProfiles(const Request& request, int64_t length) {
    std::string text;
    for (const auto& shipped : zelkcam::profile::shippedProfiles()) {
        const std::string name(shipped.name);
        if (fits(loadDevice(name), request, length)) {
            append(text, name);
        }
    }
    return text;
}

struct Rows {
    int64_t count;
    int64_t bytes;
};

// In steps in which devices round, the tightest first.
std::vector<Rows> likelyRows(int64_t height, int64_t bytes) {
    std::vector<Rows> rows;
    for (const int64_t countUnit : {1, 2, 8, 16, 32, 64}) {
        for (const int64_t unit : {1, 16, 32, 64, 128, 256, 512, 1024}) {
            rows.push_back({roundedUp(height, countUnit), roundedUp(bytes, unit)});
        }
    }
    return rows;
}

// Longer rows of the first plane, or more of them, that make the buffer as long if chroma goes
// along.
std::string fittingRows(const Reply& reply, const Request& request, int64_t length) {
    const PlaneNumbers& first = reply.numbers.planes[0];
    if (reply.shape->planes.empty() || first.size <= 0) {
        return "";
    }
    int64_t total = 0;
    for (size_t i = 0; i < reply.shape->planes.size(); ++i) {
        total = std::max(total, reply.numbers.planes[i].offset + reply.numbers.planes[i].size);
    }
    const double share = static_cast<double>(total) / static_cast<double>(first.size);
    const int64_t bits = reply.shape->planes[0].sampleIncrementInBits;
    const int64_t visible = bits > 0 ? (request.width * bits + 7) / 8 : first.row;
    for (const int64_t page : kPages) {
        for (const auto& [count, bytes] : likelyRows(request.height, visible)) {
            const double size = static_cast<double>(count) * static_cast<double>(bytes) * share;
            if (length == roundedUp(std::llround(size), page)) {
                return std::to_string(count) + " rows of " + std::to_string(bytes) + " bytes";
            }
        }
    }
    return "";
}

void requireLength(const Device& device, const Request& request, const Reply& reply, size_t size) {
    const auto length = static_cast<int64_t>(size);
    if (isAsLong(length, reply.numbers.size)) {
        return;
    }
    std::string hint;
    const std::pair<const char*, std::string> hints[] = {
            {"; as long as one of ", fittingFormats(device, request, length)},
            {"; as long as under the profiles ", fittingProfiles(request, length)},
            {"; as long as with ", fittingRows(reply, request, length)}};
    for (const auto& [lead, text] : hints) {
        hint += text.empty() ? "" : lead + text;
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

Failure noPicture(const Reply& reply) {
    const std::string what = describeFormat(formatName(reply.shape->format), reply.shape->format);
    if (reply.shape->modifier != 0) {
        return unusable(what + " of this usage is compressed under this profile (modifier " +
                        hex(reply.shape->modifier) +
                        "): expected a --usage that lets the processor read");
    }
    return unusable("there is no picture to be drawn in " + what +
                    " as this profile has it: expected one of " +
                    describeFormats(pictureFormats()));
}

Picture draw(std::vector<uint8_t>& dump, const Request& request, const Reply& reply) {
    zcam::GrallocStaticInfo layout;
    layout.format = reply.shape->format;
    layout.widthInPixels = static_cast<int32_t>(request.width);
    layout.heightInPixels = static_cast<int32_t>(request.height);
    const DrawnPlanes drawn = drawnPlanes(layout, toldPlanes(reply), dump.size());
    const LockedBuffer buffer{dump.data(), dump.size(), drawn.layout, drawn.starts};
    if (!holdsPicture(buffer)) {
        throw noPicture(reply);
    }
    return readPicture(buffer);
}

void runView(const ViewOptions& options) {
    const Size size = parseSize(options.size);
    const Request request{parseFormat(options.format), parseUsage(options.usage),
                          static_cast<uint32_t>(size.width), static_cast<uint32_t>(size.height)};
    const Device device = loadDevice(options.profile);
    const Reply reply = device.askAllocator(request);
    if (reply.answer != kGranted) {
        throw unusable("the device refuses such a buffer with " + std::to_string(reply.answer) +
                       ": expected a format, size and usage that it grants");
    }
    if (reply.certainty == zelkcam::profile::Certainty::kGuess) {
        remark("the planes are a guess: the profile does not tell");
    }
    if (reply.shape->modifier != 0 || !hasPicture(reply.shape->format)) {
        throw noPicture(reply);
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
