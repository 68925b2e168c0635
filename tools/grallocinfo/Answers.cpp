#include "tools/grallocinfo/Answers.h"

namespace grallocinfo {

double FormatRow::bitsPerPixel() const {
    const double pixels = double(answer.layout.widthInPixels) * answer.layout.heightInPixels;
    return pixels > 0 ? 8.0 * double(geometry.totalBytes()) / pixels : 0;
}

std::optional<double> FormatRow::paddingPercent() const {
    const double total = double(geometry.totalBytes());
    if (!geometry.pictureKnown || total <= 0) {
        return std::nullopt;
    }
    return 100.0 * (total - double(geometry.pictureBytes())) / total;
}

}  // namespace grallocinfo
