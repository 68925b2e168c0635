#include "tools/grallocinfo/PrintPng.h"

#include <vector>

#include <png.h>

#include "tools/grallocinfo/Failure.h"

namespace grallocinfo {

namespace {

png_uint_32 pngFormat(Samples samples) {
    switch (samples) {
        case Samples::kRgb8:
            return PNG_FORMAT_RGB;
        case Samples::kGrey8:
            return PNG_FORMAT_GRAY;
        case Samples::kLinearRgb16:
            return PNG_FORMAT_LINEAR_RGB;
        case Samples::kLinearGrey16:
            return PNG_FORMAT_LINEAR_Y;
    }
    return PNG_FORMAT_RGB;
}

}  // namespace

void printPng(std::ostream& out, const Picture& picture) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = picture.width();
    image.height = picture.height();
    image.format = pngFormat(picture.samples());
    png_alloc_size_t size = PNG_IMAGE_PNG_SIZE_MAX(image);
    std::vector<char> file(size);
    if (!png_image_write_to_memory(&image, file.data(), &size, 0, picture.row(0), 0, nullptr)) {
        throw Failure{ExitCode::kLibraryFailure, "PNG_FAILURE", std::nullopt,
                      std::string("cannot encode the picture: ") + image.message};
    }
    out.write(file.data(), static_cast<std::streamsize>(size));
}

}  // namespace grallocinfo
