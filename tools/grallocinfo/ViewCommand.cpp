// grallocinfo view: the picture in a raw dump of a buffer, by the planes of a device profile.
#include <algorithm>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "platform/utils.h"
#include "profile/Evaluate.h"
#include "profile/Shipped.h"
#include "tools/grallocinfo/Arguments.h"
#include "tools/grallocinfo/Commands.h"
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

constexpr int32_t k422 = 0x10;
constexpr int32_t k422Interleaved = 0x14;
constexpr int64_t kCb = 2;
constexpr int64_t kCr = 4;

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

// Rows of a plane of the dump, copied to the end of `out`.
void copyRows(const std::vector<uint8_t>& dump, const PlaneNumbers& plane, uint32_t rows,
              std::vector<uint8_t>& out) {
    for (uint32_t y = 0; y < rows; ++y) {
        const int64_t from = plane.offset + y * plane.row;
        const int64_t left =
                std::clamp<int64_t>(static_cast<int64_t>(dump.size()) - from, 0, plane.row);
        if (left > 0) {
            out.insert(out.end(), dump.begin() + from, dump.begin() + from + left);
        }
        out.resize(out.size() + static_cast<size_t>(plane.row - left));
    }
}

// Two planes of 4:2:2 as one in which Y, Cb, Y and Cr follow each other.
void interleave422(const std::vector<uint8_t>& dump, const Reply& reply, const Request& request,
                   std::vector<uint8_t>& out) {
    std::vector<uint8_t> luma;
    std::vector<uint8_t> chroma;
    copyRows(dump, reply.numbers.planes[0], request.height, luma);
    copyRows(dump, reply.numbers.planes[1], request.height, chroma);
    for (uint32_t y = 0; y < request.height; ++y) {
        const uint8_t* const ys =
                luma.data() + static_cast<size_t>(reply.numbers.planes[0].row) * y;
        const uint8_t* const cs =
                chroma.data() + static_cast<size_t>(reply.numbers.planes[1].row) * y;
        for (uint32_t x = 0; x + 1 < request.width; x += 2) {
            out.insert(out.end(), {ys[x], cs[x], ys[x + 1], cs[x + 1]});
        }
    }
}

// The plane that begins with the component; the last one where the device tells of none.
size_t planeWith(const Reply& reply, int64_t component, size_t otherwise) {
    for (size_t i = 0; i < reply.shape->planes.size(); ++i) {
        const auto& components = reply.shape->planes[i].components;
        if (!components.empty() && components.front().type == component) {
            return i;
        }
    }
    return otherwise;
}

// The planes in the order and form in which pictures are drawn: what interleaves is one plane.
std::vector<PlaneNumbers> drawnPlanes(const Reply& reply) {
    const auto& planes = reply.numbers.planes;
    const size_t count = reply.shape->planes.size();
    if (reply.shape->format == HAL_PIXEL_FORMAT_YV12 && count == 3) {
        return {planes[0], planes[planeWith(reply, kCr, 1)], planes[planeWith(reply, kCb, 2)]};
    }
    if (count == 3) {
        return {planes[0], planes[1].offset < planes[2].offset ? planes[1] : planes[2]};
    }
    return {planes.begin(), planes.begin() + static_cast<ptrdiff_t>(count)};
}

bool is422(const Reply& reply, const Request& request) {
    return reply.shape->format == k422 && reply.shape->planes.size() == 2 &&
           reply.numbers.planes[0].row >= request.width &&
           reply.numbers.planes[1].row >= request.width;
}

// The planes of the dump one after the other, as the library's layouts have them.
void collectPlanes(const std::vector<uint8_t>& dump, const Request& request, const Reply& reply,
                   std::vector<uint8_t>& pixels, zcam::GrallocStaticInfo& layout) {
    const auto planes = drawnPlanes(reply);
    for (const PlaneNumbers& plane : planes) {
        const size_t before = pixels.size();
        const bool whole = &plane == &planes.front() || plane.height > request.height / 2 + 1;
        copyRows(dump, plane, whole ? request.height : (request.height + 1) / 2, pixels);
        layout.planes.push_back({.sizeInBytes = pixels.size() - before,
                                 .rowStrideInBytes = static_cast<uint64_t>(plane.row)});
    }
}

Picture draw(const std::vector<uint8_t>& dump, const Request& request, const Reply& reply) {
    std::vector<uint8_t> pixels;
    zcam::GrallocStaticInfo layout;
    layout.format = reply.shape->format;
    layout.widthInPixels = static_cast<int32_t>(request.width);
    layout.heightInPixels = static_cast<int32_t>(request.height);
    if (is422(reply, request)) {
        interleave422(dump, reply, request, pixels);
        layout.format = k422Interleaved;
        layout.widthInPixels = static_cast<int32_t>(request.width / 2 * 2);
        layout.planes = {{.sizeInBytes = pixels.size(),
                          .rowStrideInBytes = uint64_t{request.width} / 2 * 4}};
    } else {
        collectPlanes(dump, request, reply, pixels, layout);
    }
    const LockedBuffer buffer{pixels.data(), pixels.size(), layout};
    if (!holdsPicture(buffer)) {
        throw unusable("there is no picture to be drawn in " +
                       describeFormat(formatName(reply.shape->format), reply.shape->format) +
                       " as this profile has it: expected an RGB, YCbCr, Y8 or raw format that is "
                       "not compressed; --usage may matter");
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
    const std::vector<uint8_t> dump = readDump(options.dump);
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
