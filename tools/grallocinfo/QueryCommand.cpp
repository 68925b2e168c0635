// grallocinfo query: what a buffer looks like in memory.
#include <iostream>
#include <memory>

#include "tools/grallocinfo/AidlBuffer.h"
#include "tools/grallocinfo/Arguments.h"
#include "tools/grallocinfo/Commands.h"
#include "tools/grallocinfo/HidlProbe.h"
#include "tools/grallocinfo/Library.h"
#include "tools/grallocinfo/LibraryLog.h"
#include "tools/grallocinfo/Output.h"
#include "tools/grallocinfo/PrintBlocks.h"
#include "tools/grallocinfo/PrintSvg.h"
#include "tools/grallocinfo/PrintText.h"

namespace grallocinfo {

namespace {

constexpr char kQueryExamples[] =
        "Examples:\n"
        "  grallocinfo query YCrCb_420_SP 1920x1080\n"
        "  grallocinfo query IMPLEMENTATION_DEFINED 4000x3000 --usage 'HW_CAMERA_ZSL' --json\n"
        "  grallocinfo query YV12 1921x1083 --draw\n"
        "  grallocinfo query 0x36 3840x2160 --svg p010.svg\n"
        "  grallocinfo query NV12 1280x720 --backend hidl";

struct QueryOptions {
    std::string format;
    std::string size;
    std::string usage = "0";
    std::string svg;
    std::string backend = "aidl";
    bool force = false;
    bool json = false;
    bool draw = false;
    bool verbose = false;
};

struct QueryOutcome {
    LayoutAnswer answer;
    std::optional<MapperAnswer> mapper;
    Allocation allocation;    // not for text alone
    BufferGeometry geometry;  // likewise
};

zcam::GrallocRequest requestOf(const QueryOptions& options) {
    const Size size = parseSize(options.size);
    return {parseUsage(options.usage), parseFormat(options.format), size.width, size.height};
}

void requireUsableQuery(const QueryOptions& options) {
    if (options.backend != "aidl" && options.backend != "hidl") {
        throw unusable("backend " + inQuotes(options.backend) +
                       " is not usable: expected aidl or hidl");
    }
    if (options.json && (options.draw || !options.svg.empty())) {
        throw unusable(std::string("--json prints one document and nothing else, ") +
                       (options.draw ? "--draw a drawing" : "--svg makes a picture") +
                       ": expected one of them; the document has a picture's numbers, under "
                       "'planes' and 'allocation'");
    }
}

void writePicture(const QueryOutcome& outcome, const std::string& path) {
    const LayoutAnswer& answer = outcome.answer;
    const std::string title = describeFormat(answer.resolvedName, answer.layout.format) + "  " +
                              std::to_string(answer.layout.widthInPixels) + "x" +
                              std::to_string(answer.layout.heightInPixels);
    const std::string subtitle = "requested as " +
                                 describeFormat(answer.requestedName, answer.request.format) +
                                 ", usage " + answer.usageName + "; " +
                                 std::to_string(outcome.geometry.totalBytes()) + " bytes allocated";
    writeFile(path, [&](std::ostream& out) { printSvg(out, outcome.geometry, title, subtitle); });
}

void printOutcome(const QueryOutcome& outcome, const QueryOptions& options) {
    if (options.json) {
        Json document = layoutDocument(outcome.answer);
        document["allocation"] = allocationDocument(outcome.allocation);
        if (outcome.mapper) {
            document["mapper"] = mapperDocument(*outcome.mapper);
        }
        return writeDocument(document);
    }
    printLayout(std::cout, outcome.answer);
    if (outcome.mapper) {
        printComparison(std::cout, outcome.answer, *outcome.mapper);
    }
    if (!options.draw) {
        return;
    }
    std::cout << '\n';
    printBlocks(std::cout, outcome.geometry, colourWanted(), terminalWidth());
    std::cout << '\n';
    printGeometry(std::cout, outcome.geometry);
}

void runQuery(const QueryOptions& options) {
    const zcam::GrallocRequest request = requestOf(options);
    requireUsableQuery(options);
    openLibraryLog(options.verbose);
    startLibrary();
    QueryOutcome outcome{queryLayout(request, options.force), std::nullopt, {}, {}};
    if (options.backend == "hidl") {
        outcome.mapper = probeThroughHidl(request);
    }
    if (options.draw || options.json || !options.svg.empty()) {
        outcome.allocation = probeAllocation(request);
        outcome.geometry = geometryOf(outcome.answer.layout, outcome.allocation.sizeInBytes);
    }
    if (!options.svg.empty()) {
        writePicture(outcome, options.svg);
    }
    if (!isStandardOutput(options.svg)) {
        printOutcome(outcome, options);
    }
}

}  // namespace

void addQuery(CLI::App& program) {
    const auto options = std::make_shared<QueryOptions>();
    CLI::App* const command =
            program.add_subcommand("query", "Ask what a buffer of a format and size looks like");
    addText(*command, "FORMAT", options->format, "Pixel format: a number or a name");
    addText(*command, "WIDTHxHEIGHT", options->size, "Size in pixels; of a BLOB, bytes x 1");
    addUsage(*command, options->usage);
    command->add_flag("--force", options->force, "Probe again instead of asking the cache");
    addJson(*command, options->json);
    addFile(*command, "--svg", options->svg,
            "Draw the planes in memory into an SVG file; - is standard output");
    command->add_flag("--draw", options->draw, "Draw the planes in memory as text");
    addText(*command, "--backend", options->backend,
            "hidl: also probe through the HIDL 4.0 pair and compare")
            ->type_name("aidl|hidl");
    addVerbose(*command, options->verbose);
    command->footer(kQueryExamples);
    command->callback([options] { runQuery(*options); });
}

}  // namespace grallocinfo
