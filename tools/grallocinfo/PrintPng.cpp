#include "tools/grallocinfo/PrintPng.h"

#include <vector>

#include <png.h>

#include "tools/grallocinfo/Failure.h"

namespace grallocinfo {

namespace {

static_assert(sizeof(Rgb) == 3, "rows are handed to libpng as they are");

constexpr int kBitsPerChannel = 8;

std::ostream& streamOf(png_structp png) {
    return *static_cast<std::ostream*>(png_get_io_ptr(png));
}

void writeBytes(png_structp png, png_bytep bytes, size_t count) {
    streamOf(png).write(reinterpret_cast<const char*>(bytes), static_cast<std::streamsize>(count));
}

void flushBytes(png_structp png) {
    streamOf(png).flush();
}

// libpng must not return from an error; it lets an exception of the application pass.
[[noreturn]] void fail(png_structp, png_const_charp message) {
    throw Failure{ExitCode::kLibraryFailure, "PNG_FAILURE", std::nullopt,
                  std::string("cannot encode the picture: ") + message};
}

void ignoreWarning(png_structp, png_const_charp) {}

class PngWriter {
  public:
    explicit PngWriter(std::ostream& out)
        : mPng(png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, fail, ignoreWarning)),
          mInfo(mPng ? png_create_info_struct(mPng) : nullptr) {
        if (mInfo) {
            png_set_write_fn(mPng, &out, writeBytes, flushBytes);
        }
    }
    ~PngWriter() { png_destroy_write_struct(&mPng, &mInfo); }
    PngWriter(const PngWriter&) = delete;
    PngWriter& operator=(const PngWriter&) = delete;

    void write(const Picture& picture) {
        if (!mInfo) {
            fail(nullptr, "out of memory");
        }
        png_set_IHDR(mPng, mInfo, picture.width(), picture.height(), kBitsPerChannel,
                     PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                     PNG_FILTER_TYPE_DEFAULT);
        png_write_info(mPng, mInfo);
        for (uint32_t y = 0; y < picture.height(); ++y) {
            png_write_row(mPng, &picture.at(0, y).red);
        }
        png_write_end(mPng, mInfo);
    }

  private:
    png_structp mPng;
    png_infop mInfo;
};

}  // namespace

void printPng(std::ostream& out, const Picture& picture) {
    PngWriter(out).write(picture);
}

}  // namespace grallocinfo
