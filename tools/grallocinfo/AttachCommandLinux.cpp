// grallocinfo attach: import a buffer of another process, describe it, look into it.
#include <cerrno>
#include <cstring>
#include <iostream>
#include <memory>

#include "tools/grallocinfo/AidlBuffer.h"
#include "tools/grallocinfo/Arguments.h"
#include "tools/grallocinfo/Commands.h"
#include "tools/grallocinfo/DescribedBuffer.h"
#include "tools/grallocinfo/LibraryLog.h"
#include "tools/grallocinfo/Output.h"
#include "tools/grallocinfo/Pixels.h"
#include "tools/grallocinfo/PrintPng.h"
#include "tools/grallocinfo/PrintText.h"
#include "tools/grallocinfo/StableMapper.h"
#include "zelkcam/host/HandleTransport.h"

namespace grallocinfo {

namespace {

namespace transport = zelkcam::host;

constexpr char kAttachExamples[] =
        "Examples:\n"
        "  grallocinfo attach /tmp/buffer.sock\n"
        "  grallocinfo attach /tmp/buffer.sock --fill bars\n"
        "  grallocinfo attach /tmp/buffer.sock --png picture.png\n"
        "  grallocinfo attach /tmp/buffer.sock --raw frame.raw\n"
        "  grallocinfo attach /tmp/buffer.sock --load frame.raw --png - > frame.png\n"
        "The buffer is one that 'grallocinfo share', or a program of yours, serves there.";

constexpr std::chrono::seconds kServerPatience{5};
constexpr unsigned kReadOften = 0x3;
constexpr unsigned kWriteOften = 0x30;

struct AttachOptions {
    std::string socket;
    std::string fill;
    std::string load;
    std::string png;
    std::string raw;
    bool json = false;
    bool verbose = false;
};

// A handle as it came from the socket, closed and deleted with its owner.
struct RawHandleDeleter {
    void operator()(native_handle_t* handle) const {
        native_handle_close(handle);
        native_handle_delete(handle);
    }
};
using RawHandle = std::unique_ptr<native_handle_t, RawHandleDeleter>;

Failure receiveFailure(const std::string& path, int error) {
    const std::string from = " from " + inQuotes(path);
    if (error == -EAGAIN) {
        return {ExitCode::kLibraryFailure, "SERVER_TIMEOUT", error,
                "no buffer came" + from + " within " + std::to_string(kServerPatience.count()) +
                        " s: the server is there, but silent"};
    }
    if (error == -EBADMSG || error == -EPROTONOSUPPORT) {
        return {ExitCode::kLibraryFailure, "NOT_A_BUFFER", error,
                "what came" + from + " is not a buffer, or one in a form of another version: " +
                        strerror(-error)};
    }
    return systemFailure("no buffer came" + from, -error);
}

RawHandle receiveFrom(const std::string& path) {
    const auto server = transport::connectTo(path);
    if (!server.ok()) {
        throw unusable("socket path " + inQuotes(path) + " is not usable (" +
                       strerror(-server.error) + "): expected one that a buffer is served at");
    }
    int error = transport::setTimeout(server.value.get(), kServerPatience);
    if (error == 0) {
        auto received = transport::receiveHandle(server.value.get());
        if (received.ok()) {
            return RawHandle(received.value);
        }
        error = received.error;
    }
    throw receiveFailure(path, error);
}

// A buffer of another process, imported for as long as this object lives.
class ImportedBuffer {
  public:
    explicit ImportedBuffer(const native_handle* raw) : mHandle(raw) {
        const int imported = helper().importBuffer(mHandle);
        if (imported != 1 || !mHandle) {
            throw Failure{ExitCode::kLibraryFailure, "IMPORT_REFUSED", imported,
                          "the import answered " + std::to_string(imported) +
                                  ": what came from the socket is not a buffer of this mapper"};
        }
    }
    ~ImportedBuffer() { helper().freeBuffer(mHandle); }
    ImportedBuffer(const ImportedBuffer&) = delete;
    ImportedBuffer& operator=(const ImportedBuffer&) = delete;

    const native_handle* handle() const { return mHandle; }

  private:
    const native_handle* mHandle;
};

// The buffer's pixels, mapped for as long as this object lives.
class PixelLock {
  public:
    PixelLock(const native_handle* handle, unsigned usage, const zcam::GrallocStaticInfo& layout)
        : mHandle(handle) {
        const int status =
                helper().lock(handle, usage, layout.widthInPixels, layout.heightInPixels, &mData);
        if (status != 0) {
            throw Failure{ExitCode::kLibraryFailure, "LOCK_REFUSED", status,
                          "the lock answered " + mapperStatus(status) +
                                  ": the mapper does not give the buffer to the processor; was it "
                                  "allocated with SW_READ and SW_WRITE usage?"};
        }
    }
    ~PixelLock() { helper().unlock(mHandle); }
    PixelLock(const PixelLock&) = delete;
    PixelLock& operator=(const PixelLock&) = delete;

    uint8_t* data() const { return static_cast<uint8_t*>(mData); }

  private:
    const native_handle* mHandle;
    void* mData = nullptr;
};

void requirePicture(const BufferAnswer& answer) {
    if (!hasPicture(answer.layout.format)) {
        throw unusable("there is no picture in " +
                       describeFormat(answer.name, answer.layout.format) +
                       ": expected a buffer of " + describeFormats(pictureFormats()));
    }
}

// The buffer, locked as long as `action` works on it.
template <typename Action>
void withPixels(const native_handle* handle, const BufferAnswer& answer, unsigned usage,
                Action action) {
    const PixelLock lock(handle, usage, answer.layout);
    action(LockedBuffer{lock.data(), allocationSizeOf(handle).value_or(0), answer.layout});
}

// The buffer's picture, handed to `action`. By the mapper's planes, between which a device may
// leave room, and without them by the library's.
template <typename Action>
void withPicture(const native_handle* handle, const BufferAnswer& answer, unsigned usage,
                 Action action) {
    requirePicture(answer);
    withPixels(handle, answer, usage, [&](const LockedBuffer& buffer) {
        const DrawnPlanes planes = drawnPlanes(answer.layout, mapperPlanes(handle), buffer.size);
        const LockedBuffer told{buffer.data, buffer.size, planes.layout, planes.starts};
        if (holdsPicture(told)) {
            return action(told);
        }
        if (!holdsPicture(buffer)) {
            throw Failure{ExitCode::kLibraryFailure, "LAYOUT_TOO_LARGE", std::nullopt,
                          "the layout describes more than the buffer holds"};
        }
        action(buffer);
    });
}

void fill(const native_handle* handle, const BufferAnswer& answer, const std::string& pattern) {
    withPicture(handle, answer, kReadOften | kWriteOften, [&](const LockedBuffer& buffer) {
        writePicture(buffer, drawPattern(pattern, uint32_t(answer.layout.widthInPixels),
                                         uint32_t(answer.layout.heightInPixels)));
    });
}

void savePicture(const native_handle* handle, const BufferAnswer& answer, const std::string& path) {
    withPicture(handle, answer, kReadOften, [&](const LockedBuffer& buffer) {
        const Picture picture = readPicture(buffer);
        writeFile(path, [&](std::ostream& out) { printPng(out, picture); });
    });
}

void saveRaw(const native_handle* handle, const BufferAnswer& answer, const std::string& path) {
    withPixels(handle, answer, kReadOften, [&](const LockedBuffer& buffer) {
        writeFile(path, [&](std::ostream& out) {
            out.write(reinterpret_cast<const char*>(buffer.data),
                      static_cast<std::streamsize>(buffer.size));
        });
    });
}

void loadRaw(const native_handle* handle, const BufferAnswer& answer, const std::string& path) {
    const std::string contents = readWhole(path, "what 'grallocinfo attach --raw' saved");
    withPixels(handle, answer, kReadOften | kWriteOften, [&](const LockedBuffer& buffer) {
        if (contents.size() != buffer.size) {
            throw unusable(inQuotes(path) + " holds " + std::to_string(contents.size()) +
                           " bytes: expected the buffer's " + std::to_string(buffer.size));
        }
        memcpy(buffer.data, contents.data(), contents.size());
    });
}

// What changes the buffer first, then what saves it.
void work(const native_handle* handle, const BufferAnswer& answer, const AttachOptions& options) {
    if (!options.load.empty()) {
        loadRaw(handle, answer, options.load);
    }
    if (!options.fill.empty()) {
        fill(handle, answer, options.fill);
    }
    if (!options.png.empty()) {
        savePicture(handle, answer, options.png);
    }
    if (!options.raw.empty()) {
        saveRaw(handle, answer, options.raw);
    }
}

void requireUsable(const AttachOptions& options) {
    if (!options.fill.empty() && !isPattern(options.fill)) {
        throw unusable("pattern " + inQuotes(options.fill) + " is not usable: expected " +
                       patternNames());
    }
    const int printed = isStandardOutput(options.png) + isStandardOutput(options.raw);
    if (printed + options.json > 1) {
        throw unusable(
                "standard output takes one of --json, --png - and --raw -: "
                "expected files for the others");
    }
}

void runAttach(const AttachOptions& options) {
    requireUsable(options);
    openLibraryLog(options.verbose);
    startLibrary();
    RawHandle raw = receiveFrom(options.socket);
    const auto mapper = openMapper();
    const ImportedBuffer buffer(raw.get());
    raw.reset();
    const BufferAnswer answer = describeBuffer(buffer.handle(), *mapper);
    work(buffer.handle(), answer, options);
    if (options.json) {
        return writeDocument(bufferDocument(answer));
    }
    if (!isStandardOutput(options.png) && !isStandardOutput(options.raw)) {
        printBuffer(std::cout, answer);
    }
}

}  // namespace

void addAttach(CLI::App& program) {
    const auto options = std::make_shared<AttachOptions>();
    CLI::App* const command = program.add_subcommand(
            "attach", "Import a buffer that another process serves, and describe it");
    addText(*command, "SOCKET-PATH", options->socket, "Where the buffer is served");
    addJson(*command, options->json);
    CLI::Option* const fill =
            addText(*command, "--fill", options->fill, "Draw a test pattern into the buffer")
                    ->type_name(patternNames());
    addFile(*command, "--load", options->load,
            "Put a file's bytes into the buffer; - is standard input")
            ->excludes(fill);
    addFile(*command, "--png", options->png,
            "Save the buffer's picture as a PNG file; - is standard output");
    addFile(*command, "--raw", options->raw,
            "Save the buffer's bytes, padding included; - is standard output");
    addVerbose(*command, options->verbose);
    command->footer(kAttachExamples);
    command->callback([options] { runAttach(*options); });
}

}  // namespace grallocinfo
