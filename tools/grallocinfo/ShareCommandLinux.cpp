// grallocinfo share: allocate one buffer and hand it to whoever connects.
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <memory>

#include "tools/grallocinfo/AidlBuffer.h"
#include "tools/grallocinfo/Arguments.h"
#include "tools/grallocinfo/Commands.h"
#include "tools/grallocinfo/DescribedBuffer.h"
#include "tools/grallocinfo/Interruption.h"
#include "tools/grallocinfo/LibraryLog.h"
#include "tools/grallocinfo/Output.h"
#include "tools/grallocinfo/PrintText.h"
#include "zelkcam/host/HandleTransport.h"

namespace grallocinfo {

namespace {

namespace transport = zelkcam::host;

constexpr char kShareExamples[] =
        "Examples:\n"
        "  grallocinfo share YCrCb_420_SP 1920x1080 /tmp/buffer.sock\n"
        "  grallocinfo share RGBA_8888 640x480 --usage 'SW_READ_OFTEN|HW_TEXTURE' --once b.sock\n"
        "Serves until it is interrupted; prints what it serves when clients may connect.";

// A client that does not read must not keep the others waiting.
constexpr std::chrono::seconds kClientPatience{5};

struct ShareOptions {
    std::string format;
    std::string size;
    std::string socket;
    std::string usage = "SW_READ_OFTEN|SW_WRITE_OFTEN";
    bool once = false;
    bool json = false;
    bool verbose = false;
};

int sendTo(const transport::TransportListener& listener, const native_handle* handle) {
    const auto client = listener.accept();
    if (!client.ok()) {
        return client.error;
    }
    const int error = transport::setTimeout(client.value.get(), kClientPatience);
    return error ? error : transport::sendHandle(client.value.get(), handle);
}

transport::TransportListener listenAt(const std::string& path) {
    auto listener = transport::listenAt(path);
    if (!listener.ok()) {
        throw unusable("socket path " + inQuotes(path) + " is not usable (" +
                       strerror(-listener.error) + "): expected a path for a new socket");
    }
    return std::move(listener.value);
}

void printShared(const BufferAnswer& answer, const ShareOptions& options) {
    if (options.json) {
        Json document = bufferDocument(answer);
        document["socket"] = options.socket;
        return writeDocument(document);
    }
    printBuffer(std::cout, answer);
    std::cout << "\nserving at " << options.socket << '\n';
    flushOutput();
}

void serveBuffer(const transport::TransportListener& listener, const native_handle* handle,
                 bool once, const Interruption& interruption) {
    while (interruption.waitFor(listener.fd())) {
        const int error = sendTo(listener, handle);
        if (error != 0) {
            remark(std::string("a client did not get the buffer: ") + strerror(-error));
        } else if (once) {
            return;
        }
    }
}

void runShare(const ShareOptions& options) {
    const Size size = parseSize(options.size);
    const uint32_t usage = parseUsage(options.usage);
    const zcam::GrallocRequest request{usage, parseFormat(options.format), size.width, size.height};
    openLibraryLog(options.verbose);
    startLibrary();
    const Interruption interruption;
    const auto listener = listenAt(options.socket);
    const AidlBuffer buffer(request, usage);
    printShared(describeBuffer(buffer.handle(), buffer.mapper()), options);
    serveBuffer(listener, buffer.handle(), options.once, interruption);
}

}  // namespace

std::optional<std::string> hostProfile() {
    const char* const chosen = getenv("ZELKCAM_HOST_PROFILE");
    return chosen && *chosen ? chosen : "default";
}

void addShare(CLI::App& program) {
    const auto options = std::make_shared<ShareOptions>();
    CLI::App* const command = program.add_subcommand(
            "share", "Allocate one buffer and serve it to other processes over a socket");
    addText(*command, "FORMAT", options->format, "Pixel format: a number or a name");
    addText(*command, "WIDTHxHEIGHT", options->size, "Size in pixels");
    addText(*command, "SOCKET-PATH", options->socket, "Where to listen");
    addUsage(*command, options->usage);
    command->add_flag("--once", options->once, "End after the first client that got the buffer");
    addJson(*command, options->json);
    addVerbose(*command, options->verbose);
    command->footer(kShareExamples);
    command->callback([options] { runShare(*options); });
}

}  // namespace grallocinfo
