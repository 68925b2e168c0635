// grallocinfo formats: every named format at one size.
#include <algorithm>
#include <iostream>
#include <memory>

#include "tools/grallocinfo/AidlBuffer.h"
#include "tools/grallocinfo/Arguments.h"
#include "tools/grallocinfo/Commands.h"
#include "tools/grallocinfo/LibraryLog.h"
#include "tools/grallocinfo/Output.h"
#include "tools/grallocinfo/PrintText.h"
#include "utils/gralloc/NameTables.h"

namespace grallocinfo {

namespace {

constexpr char kFormatsExamples[] =
        "Examples:\n"
        "  grallocinfo formats\n"
        "  grallocinfo formats 1921x1083\n"
        "  grallocinfo formats 1920x1080 --usage HW_VIDEO_ENCODER\n"
        "  grallocinfo formats 4000x3000 --json > this-build.json";

struct FormatsOptions {
    std::string size = "1920x1080";
    std::string usage = "0";
    bool json = false;
    bool verbose = false;
};

FormatRow rowOf(const zcam::GrallocRequest& request) {
    FormatRow row;
    row.status = tryQueryLayout(request, false, row.answer);
    if (row.status == 0) {
        row.allocation = probeAllocation(request);
        row.geometry = geometryOf(row.answer.layout, row.allocation.sizeInBytes);
    } else {
        row.meaning = meaningOf(row.status, request);
    }
    return row;
}

// Nothing is known of any format without an allocator.
void requireAllocator(const FormatList& list) {
    for (const FormatRow& row : list.rows) {
        if (row.status == 0 || row.meaning.code != kNoAllocatorService) {
            return;
        }
    }
    throw Failure{ExitCode::kLibraryFailure, kNoAllocatorService, list.rows.front().status,
                  "every query answered " + std::to_string(list.rows.front().status) + ": " +
                          list.rows.front().meaning.sentence};
}

FormatList listFormats(const Size& size, uint32_t usage) {
    FormatList list{size.width, size.height, usage, usageName(usage), {}};
    for (const auto& format : NSCam::gralloc::kPixelFormatNames) {
        list.rows.push_back(rowOf({usage, format.code, size.width, size.height}));
    }
    requireAllocator(list);
    return list;
}

void runFormats(const FormatsOptions& options) {
    const Size size = parseSize(options.size);
    const uint32_t usage = parseUsage(options.usage);
    openLibraryLog(options.verbose);
    startLibrary();
    const FormatList list = listFormats(size, usage);
    if (options.json) {
        writeDocument(formatsDocument(list));
    } else {
        printFormats(std::cout, list);
    }
    if (std::all_of(list.rows.begin(), list.rows.end(),
                    [](const FormatRow& row) { return row.status != 0; })) {
        remark("every format was refused at this size and usage");
        endWith(static_cast<int>(ExitCode::kLibraryFailure));
    }
}

}  // namespace

void addFormats(CLI::App& program) {
    const auto options = std::make_shared<FormatsOptions>();
    CLI::App* const command =
            program.add_subcommand("formats", "List what every named format looks like");
    addText(*command, "WIDTHxHEIGHT", options->size, "Size in pixels, 1920x1080 if not given")
            ->required(false);
    addUsage(*command, options->usage);
    addJson(*command, options->json);
    addVerbose(*command, options->verbose);
    command->footer(kFormatsExamples);
    command->callback([options] { runFormats(*options); });
}

}  // namespace grallocinfo
