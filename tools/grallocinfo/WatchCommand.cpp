// grallocinfo watch: the layout cache of a running program as it fills, from the program's log.
//
// The library writes every entry to its log when it enters the cache, and all of them on
// dumpToLog(). Reading the log leaves the program alone, and is the same on a phone as beside the
// host platform.
#include <iostream>
#include <memory>
#include <string_view>
#include <utility>

#include "tools/grallocinfo/CacheDump.h"
#include "tools/grallocinfo/Commands.h"
#include "tools/grallocinfo/Interruption.h"
#include "tools/grallocinfo/Library.h"
#include "tools/grallocinfo/Output.h"

namespace grallocinfo {

namespace {

constexpr char kWatchExamples[] =
        "Examples:\n"
        "  adb logcat | grallocinfo watch\n"
        "  ZELKCAM_ULOG_LEVEL=5 ./camera-program 2>&1 >/dev/null | grallocinfo watch\n"
        "  grallocinfo watch saved.log --json\n"
        "The entries are debug lines. A program on Linux writes them with ZELKCAM_ULOG_LEVEL=5 in "
        "its\n"
        "environment; on a phone, set the camera log's level to 5.";

constexpr char kExpected[] = "a log file, or - for standard input";
constexpr char kHint[] =
        "no cache entry in the log; they are debug lines, which a program writes with "
        "ZELKCAM_ULOG_LEVEL=5 in its environment (on a phone: with the camera log's level at 5)";

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

// Cuts what a log brings into lines. What a line has beyond any dump line is dropped, so that a log
// without line ends takes no memory.
class LineCutter {
  public:
    template <typename Handle>
    void feed(std::string_view bytes, Handle handle) {
        while (!bytes.empty()) {
            const size_t end = bytes.find('\n');
            mLine += bytes.substr(0, end).substr(0, kLongestDumpLine + 1 - mLine.size());
            if (end == std::string_view::npos) {
                return;
            }
            handle(std::exchange(mLine, {}));
            bytes.remove_prefix(end + 1);
        }
    }

    // The last line, which may lack its end.
    const std::string& rest() const { return mLine; }

  private:
    std::string mLine;
};

// Until the log ends or the user ends it; answers how many lines were of a dump.
template <typename Watcher>
size_t follow(const std::string& path, Watcher& watcher) {
    const Interruption interruption;
    const int log = openInput(path, kExpected);
    size_t found = 0;
    const auto look = [&](const std::string& line) {
        if (const auto read = readDumpLine(line)) {
            std::visit(watcher, *read);
            ++found;
        }
    };
    LineCutter lines;
    char bytes[64 * 1024];
    while (interruption.waitFor(log)) {
        const size_t count = readInput(log, bytes, sizeof(bytes), path, kExpected);
        if (count == 0) {
            break;
        }
        lines.feed({bytes, count}, look);
    }
    look(lines.rest());
    return found;
}

void runWatch(const WatchOptions& options) {
    size_t found = 0;
    if (options.json) {
        JsonWatcher watcher;
        found = follow(options.file, watcher);
        writeDocument(watcher.document());
    } else {
        TextWatcher watcher(std::cout);
        found = follow(options.file, watcher);
    }
    if (found == 0) {
        remark(kHint);
    }
}

}  // namespace

void addWatch(CLI::App& program) {
    const auto options = std::make_shared<WatchOptions>();
    CLI::App* const command = program.add_subcommand(
            "watch", "Show the layout cache of a running program as it fills, from its log");
    addText(*command, "LOG", options->file, "A log file; standard input if not given or -")
            ->required(false);
    addJson(*command, options->json);
    command->footer(kWatchExamples);
    command->callback([options] { runWatch(*options); });
}

}  // namespace grallocinfo
