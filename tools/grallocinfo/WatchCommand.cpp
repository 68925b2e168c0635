// grallocinfo watch: the layout cache of a running program as it fills, from the program's log.
//
// The library writes every entry to its log when it enters the cache, and all of them on
// dumpToLog(). Reading the log leaves the program alone, and is the same on a phone as beside the
// host platform.
#include <fstream>
#include <iostream>
#include <memory>

#include "tools/grallocinfo/CacheDump.h"
#include "tools/grallocinfo/Commands.h"
#include "tools/grallocinfo/Library.h"
#include "tools/grallocinfo/Output.h"

namespace grallocinfo {

namespace {

constexpr char kExamples[] =
        "Examples:\n"
        "  adb logcat | grallocinfo watch\n"
        "  ZELKCAM_ULOG_LEVEL=5 ./camera-program 2>&1 >/dev/null | grallocinfo watch\n"
        "  grallocinfo watch saved.log --json\n"
        "The entries are debug lines: the camera log switchboard must let level 5 through.";

struct WatchOptions {
    std::string file = "-";
    bool json = false;
};

// Prints an entry line by line, as the log brings it.
class TextWatcher {
  public:
    explicit TextWatcher(std::ostream& out) : mOut(out) {}

    void operator()(const DumpedTime& time) { mTime = std::to_string(time.microseconds); }
    void operator()(const DumpedRequest& request) {
        mOut << describe(request) << "  usage " << request.usageName << " ("
             << hex(static_cast<int32_t>(request.usage)) << ")";
    }
    void operator()(const DumpedAnswer& answer) {
        mOut << "\n  -> " << describe(answer) << "  allocated in " << mTime << " us" << std::endl;
    }
    void operator()(const DumpedPlane& plane) {
        mOut << "     plane " << plane.index << "  row stride " << plane.rowStrideInBytes
             << "  size " << plane.sizeInBytes << std::endl;
    }

  private:
    static std::string describe(const DumpedRecord& record) {
        return std::to_string(record.width) + "x" + std::to_string(record.height) + " " +
               describeFormat(record.formatName, record.format);
    }

    std::ostream& mOut;
    std::string mTime = "?";
};

Json recordObject(const DumpedRecord& record) {
    Json object;
    putCode(object, "format", record.format);
    object["formatName"] = record.formatName;
    object["width"] = record.width;
    object["height"] = record.height;
    putUnsignedCode(object, "usage", record.usage);
    object["usageName"] = record.usageName;
    return object;
}

// Collects entries; lines of an entry whose beginning the log does not hold are left out.
class JsonWatcher {
  public:
    void operator()(const DumpedTime& time) { mTime = time.microseconds; }
    void operator()(const DumpedRequest& request) {
        mEntries.push_back({{"request", recordObject(request)},
                            {"answer", nullptr},
                            {"allocationMicroseconds", mTime},
                            {"planes", Json::array()}});
    }
    void operator()(const DumpedAnswer& answer) {
        if (!mEntries.empty()) {
            mEntries.back()["answer"] = recordObject(answer);
        }
    }
    void operator()(const DumpedPlane& plane) {
        if (!mEntries.empty()) {
            mEntries.back()["planes"].push_back({{"sizeInBytes", plane.sizeInBytes},
                                                 {"rowStrideInBytes", plane.rowStrideInBytes}});
        }
    }

    Json document() const {
        Json document = newDocument();
        document["entries"] = mEntries;
        return document;
    }

  private:
    int64_t mTime = 0;
    Json mEntries = Json::array();
};

template <typename Watcher>
void follow(std::istream& log, Watcher& watcher) {
    for (std::string line; std::getline(log, line);) {
        if (const auto read = readDumpLine(line)) {
            std::visit(watcher, *read);
        }
    }
}

void watchLog(std::istream& log, bool json) {
    if (json) {
        JsonWatcher watcher;
        follow(log, watcher);
        return writeDocument(watcher.document());
    }
    TextWatcher watcher(std::cout);
    follow(log, watcher);
}

void runWatch(const WatchOptions& options) {
    if (options.file == "-") {
        return watchLog(std::cin, options.json);
    }
    std::ifstream file = openFile(options.file, "a log file, or - for standard input");
    watchLog(file, options.json);
}

}  // namespace

void addWatch(CLI::App& program) {
    const auto options = std::make_shared<WatchOptions>();
    CLI::App* const command = program.add_subcommand(
            "watch", "Show the layout cache of a running program as it fills, from its log");
    addText(*command, "LOG", options->file, "A log file; standard input if not given or -")
            ->required(false);
    addJson(*command, options->json);
    command->footer(kExamples);
    command->callback([options] { runWatch(*options); });
}

}  // namespace grallocinfo
