#include "tools/grallocinfo/PrintSvg.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <initializer_list>
#include <sstream>
#include <string_view>
#include <vector>

#include "tools/grallocinfo/Failure.h"

namespace grallocinfo {

namespace {

// The page, in pixels. The picture lies between the offsets and the descriptions.
constexpr double kPageWidth = 1080;
constexpr double kPictureLeft = 196;
constexpr double kPictureTop = 92;
constexpr double kPictureWidth = 470;
constexpr double kPictureHeight = 460;
constexpr double kTallestRow = 48;
constexpr double kDescriptionLeft = 710;
constexpr double kLineHeight = 17;
constexpr double kDescriptionGap = 14;
constexpr double kOffsetGap = 16;
constexpr double kLegendStep = 124;
constexpr double kMargin = 24;

constexpr std::array<const char*, 3> kPlaneColours{"#3d7cc9", "#d9772b", "#3c9d63"};
constexpr char kTailFill[] = "#8a8f98";

struct Scale {
    double pixelsPerByte;
    double pixelsPerRow;
};

struct Point {
    double x, y;
};

struct Box {
    double x, y, width, height;
};

std::string scaleText(const char* unit, double pixels) {
    char text[40];
    (void)snprintf(text, sizeof(text), "%.3g px a %s", pixels, unit);
    return text;
}

std::string number(double value) {
    char text[40];
    (void)snprintf(text, sizeof(text), "%.2f", value);
    return text;
}

uint64_t widestRow(const BufferGeometry& buffer) {
    uint64_t widest = 1;
    for (const PlaneGeometry& plane : buffer.planes) {
        widest = std::max(widest, plane.rowStride);
    }
    return widest;
}

// Rows, the last one in part.
double rowsOf(const PlaneGeometry& plane) {
    return double(plane.size) / double(plane.rowStride);
}

Scale scaleOf(const BufferGeometry& buffer) {
    const double widest = double(widestRow(buffer));
    double unused = double(buffer.totalBytes());
    double rows = 0;
    for (const PlaneGeometry& plane : buffer.planes) {
        unused -= double(plane.size);
        rows += rowsOf(plane);
    }
    rows += std::max(0.0, unused) / widest;
    return {kPictureWidth / widest, std::min(kTallestRow, kPictureHeight / std::max(rows, 1e-9))};
}

// The body is drawn first: only then is the height of the page known.
class SvgPage {
  public:
    explicit SvgPage(const BufferGeometry& buffer) : mBuffer(buffer), mScale(scaleOf(buffer)) {}

    void print(std::ostream& out, const std::string& title, const std::string& subtitle);
    void printInPage(std::ostream& out);

  private:
    void printHeader(std::ostream& out, const std::string& title) const;
    void printBuffer();
    void printPlane(size_t index);
    void printPlaneAreas(const PlaneGeometry& plane, const std::string& colour,
                         const std::string& suffix);
    void printUnused(const char* kind, uint64_t offset, uint64_t bytes, const char* title);
    void printLegend();
    void describe(Point corner, const std::vector<std::string>& lines, const std::string& colour);
    void printOffset(double top, uint64_t offset);
    void printLeader(std::initializer_list<Point> points);
    void printArea(const char* kind, const Box& box, const std::string& fill);
    void printPadding(const char* kind, const Box& box, const std::string& fill,
                      const std::string& colour);
    void printMark(double x, double y, const std::string& colour);
    void printOutline(const Box& box, const std::string& colour);
    void printText(const char* kind, double x, double y, const std::string& text);

    const BufferGeometry& mBuffer;
    const Scale mScale;
    std::ostringstream mBody;
    double mY = kPictureTop;             // where the next plane begins
    double mDescriptionY = kPictureTop;  // the first free line on the right
    double mOffsetY = kPictureTop;       // the first free line on the left
    double mBottom = kPictureTop;        // of everything, known when the legend is drawn
    bool mMarked = false;                // some padding is too thin to be seen
};

std::string counted(uint64_t count, const std::string& thing) {
    return std::to_string(count) + " " + thing + (count == 1 ? "" : "s");
}

// "padding: 24 bytes a row, 2 rows", or that there is none.
std::string paddingText(const PlaneGeometry& plane) {
    std::string text;
    const auto add = [&](uint64_t count, const char* thing, const char* where) {
        if (count > 0) {
            text += (text.empty() ? "padding: " : ", ") + counted(count, thing) + where;
        }
    };
    add(plane.stridePadding(), "byte", " a row");
    add(plane.verticalPadding(), "row", "");
    add(plane.tailBytes, "byte", " of tail");
    return text.empty() ? "no padding" : text;
}

// How the components of an interleaved plane follow each other in a row: "Cr Cb Cr Cb ..."; empty
// for a plane of one component. Each begins with a capital letter.
std::string sequenceText(std::string_view components) {
    std::string once;
    for (const char letter : components) {
        const bool isCapital = letter >= 'A' && letter <= 'Z';
        once += (isCapital && !once.empty() ? " " : "") + std::string(1, letter);
    }
    return components == "RAW" || once.find(' ') == std::string::npos ? ""
                                                                      : once + " " + once + " ...";
}

std::vector<std::string> descriptionOf(const PlaneGeometry& plane, size_t index,
                                       bool pictureKnown) {
    std::vector<std::string> lines;
    lines.push_back("plane " + std::to_string(index) +
                    (plane.components.empty() ? "" : ": " + plane.components));
    lines.push_back(counted(plane.size, "byte") + " from offset " + std::to_string(plane.offset));
    lines.push_back(counted(plane.rows, "row") + ", row stride " +
                    counted(plane.rowStride, "byte"));
    if (!pictureKnown) {
        lines.push_back("what is padding in it is not known");
        return lines;
    }
    lines.push_back("picture: " + counted(plane.pictureRows, "row") + " of " +
                    counted(plane.pictureRowBytes, "byte"));
    lines.push_back(paddingText(plane));
    if (const std::string sequence = sequenceText(plane.components); !sequence.empty()) {
        lines.push_back("in a row: " + sequence);
    }
    return lines;
}

void SvgPage::print(std::ostream& out, const std::string& title, const std::string& subtitle) {
    printText("title", kMargin, 36, title);
    printText("note", kMargin, 58, subtitle);
    printSvgPatterns(mBody);
    printBuffer();
    printHeader(out, title);
    out << mBody.str() << "</svg>\n";
}

void SvgPage::printInPage(std::ostream& out) {
    constexpr double kTop = kPictureTop - kMargin;
    printBuffer();
    out << "<svg class=\"planes\" viewBox=\"0 " << number(kTop) << " " << number(kPageWidth) << " "
        << number(mBottom + kMargin - kTop) << "\">\n"
        << mBody.str() << "</svg>\n";
}

void SvgPage::printBuffer() {
    uint64_t end = 0;
    for (size_t i = 0; i < mBuffer.planes.size(); ++i) {
        const PlaneGeometry& plane = mBuffer.planes[i];
        if (plane.offset > end) {
            printUnused("gap", end, plane.offset - end, "between the planes");
        }
        printPlane(i);
        end = plane.offset + plane.size;
    }
    if (mBuffer.tail() > 0) {
        printUnused("buffer-tail", mBuffer.planesEnd, mBuffer.tail(), "tail of the buffer");
    }
    printOffset(mY, mBuffer.totalBytes());
    printLegend();
}

void SvgPage::printHeader(std::ostream& out, const std::string& title) const {
    const std::string width = number(kPageWidth);
    const std::string height = number(mBottom + kMargin);
    out << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << width << "\" height=\"" << height
        << "\" viewBox=\"0 0 " << width << " " << height << "\">\n"
        << "<title>" << title << "</title>\n"
        << "<style>text { font: 13px sans-serif; fill: #20242a; } .title { font-size: 20px; }"
        << " .note { fill: #5a616b; font-size: 12px; } .head { font-weight: bold; }"
        << " .offset { font-family: monospace; text-anchor: end; font-size: 12px; }"
        << " .leader { stroke: #9aa1ab; fill: none; } .outline { fill: none; }</style>\n"
        << "<rect width=\"100%\" height=\"100%\" fill=\"white\"/>\n";
}

void SvgPage::printPlane(size_t index) {
    const PlaneGeometry& plane = mBuffer.planes[index];
    const std::string suffix = std::to_string(index % kPlaneColours.size());
    const std::string colour = kPlaneColours[index % kPlaneColours.size()];
    mBody << "<g class=\"plane\" data-plane=\"" << index << "\" data-offset=\"" << plane.offset
          << "\" data-size=\"" << plane.size << "\" data-row-stride=\"" << plane.rowStride
          << "\">\n";
    printPlaneAreas(plane, colour, suffix);
    printOffset(mY, plane.offset);
    describe({kPictureLeft + double(plane.rowStride) * mScale.pixelsPerByte, mY},
             descriptionOf(plane, index, mBuffer.pictureKnown), colour);
    mBody << "</g>\n";
    mY += rowsOf(plane) * mScale.pixelsPerRow;
}

void SvgPage::printPlaneAreas(const PlaneGeometry& plane, const std::string& colour,
                              const std::string& suffix) {
    const double width = double(plane.rowStride) * mScale.pixelsPerByte;
    const double pictureWidth = double(plane.pictureRowBytes) * mScale.pixelsPerByte;
    const double pictureHeight = double(plane.pictureRows) * mScale.pixelsPerRow;
    const double rowsHeight = double(plane.rows) * mScale.pixelsPerRow;
    const double height = rowsOf(plane) * mScale.pixelsPerRow;
    printArea("picture", {kPictureLeft, mY, pictureWidth, pictureHeight}, colour);
    printPadding("stride-padding",
                 {kPictureLeft + pictureWidth, mY, width - pictureWidth, pictureHeight},
                 "url(#stride" + suffix + ")", colour);
    printPadding("vertical-padding",
                 {kPictureLeft, mY + pictureHeight, width, rowsHeight - pictureHeight},
                 "url(#vertical" + suffix + ")", colour);
    printPadding("tail", {kPictureLeft, mY + rowsHeight, width, height - rowsHeight},
                 "url(#tail" + suffix + ")", colour);
    printOutline({kPictureLeft, mY, width, height}, colour);
}

// What the buffer holds between planes, or behind the last one.
void SvgPage::printUnused(const char* kind, uint64_t offset, uint64_t bytes, const char* title) {
    const double rows = double(bytes) / double(widestRow(mBuffer));
    const Box box{kPictureLeft, mY, kPictureWidth, rows * mScale.pixelsPerRow};
    mBody << "<g class=\"" << kind << "\" data-size=\"" << bytes << "\">\n";
    printPadding("tail", box, kTailFill, kTailFill);
    printOutline(box, kTailFill);
    printOffset(mY, offset);
    describe({kPictureLeft + kPictureWidth, mY}, {title, counted(bytes, "byte") + " in no plane"},
             kTailFill);
    mBody << "</g>\n";
    mY += box.height;
}

void SvgPage::printLegend() {
    const double y = std::max({mY, mDescriptionY - kDescriptionGap, mOffsetY}) + 30;
    struct Entry {
        const char* fill;
        const char* text;
    };
    static constexpr Entry kEntries[] = {{kPlaneColours[0], "picture"},
                                         {"url(#stride0)", "stride padding"},
                                         {"url(#vertical0)", "vertical padding"},
                                         {"url(#tail0)", "tail"}};
    double x = kPictureLeft;
    for (const Entry& entry : kEntries) {
        printArea("legend", {x, y - 11, 14, 14}, entry.fill);
        printText("note", x + 20, y, entry.text);
        x += kLegendStep;
    }
    mBottom = y;
    if (mMarked) {
        mBottom += kLineHeight;
        printMark(kPictureLeft + 4, mBottom - 4, "#5a616b");
        printText("note", kPictureLeft + 20, mBottom, "padding thinner than a pixel");
    }
    printText("note", kDescriptionLeft, y,
              "across " + scaleText("byte", mScale.pixelsPerByte) + ", down " +
                      scaleText("row", mScale.pixelsPerRow));
}

// Of the area whose upper right corner is `corner`.
void SvgPage::describe(Point corner, const std::vector<std::string>& lines,
                       const std::string& colour) {
    const double y = std::max(corner.y, mDescriptionY);
    printLeader({{corner.x + 6, corner.y + 0.5},
                 {kPictureLeft + kPictureWidth + 6, corner.y + 0.5},
                 {kDescriptionLeft - 10, y + 8}});
    mBody << "<rect x=\"" << number(kDescriptionLeft - 10) << "\" y=\"" << number(y + 1)
          << "\" width=\"4\" height=\"" << number(double(lines.size()) * kLineHeight)
          << "\" fill=\"" << colour << "\"/>\n";
    for (size_t i = 0; i < lines.size(); ++i) {
        printText(i == 0 ? "head" : "line", kDescriptionLeft, y + 13 + double(i) * kLineHeight,
                  lines[i]);
    }
    mDescriptionY = y + double(lines.size()) * kLineHeight + kDescriptionGap;
}

void SvgPage::printOffset(double top, uint64_t offset) {
    const double y = std::max(top, mOffsetY);
    printLeader({{kPictureLeft - 24, y}, {kPictureLeft - 4, top}});
    printText("offset", kPictureLeft - 30, y + 4, std::to_string(offset) + " " + hex(offset));
    mOffsetY = y + kOffsetGap;
}

void SvgPage::printLeader(std::initializer_list<Point> points) {
    mBody << "<path class=\"leader\" d=\"";
    for (const Point& point : points) {
        mBody << (&point == points.begin() ? "M" : "L") << number(point.x) << " "
              << number(point.y);
    }
    mBody << "\"/>\n";
}

void SvgPage::printArea(const char* kind, const Box& box, const std::string& fill) {
    if (box.width <= 0 || box.height <= 0) {
        return;
    }
    mBody << "<rect class=\"" << kind << "\" x=\"" << number(box.x) << "\" y=\"" << number(box.y)
          << "\" width=\"" << number(box.width) << "\" height=\"" << number(box.height)
          << "\" fill=\"" << fill << "\"/>\n";
}

void SvgPage::printPadding(const char* kind, const Box& box, const std::string& fill,
                           const std::string& colour) {
    printArea(kind, box, fill);
    if (box.width > 0 && box.height > 0 && (box.width < 1 || box.height < 1)) {
        printMark(box.x + box.width + 2, box.y + box.height / 2, colour);
        mMarked = true;
    }
}

// An arrow head whose tip is at (x, y).
void SvgPage::printMark(double x, double y, const std::string& colour) {
    mBody << "<path class=\"mark\" d=\"M" << number(x) << " " << number(y) << "l7 -4v8z\" fill=\""
          << colour << "\"/>\n";
}

void SvgPage::printOutline(const Box& box, const std::string& colour) {
    mBody << "<rect class=\"outline\" x=\"" << number(box.x) << "\" y=\"" << number(box.y)
          << "\" width=\"" << number(box.width) << "\" height=\"" << number(box.height)
          << "\" stroke=\"" << colour << "\"/>\n";
}

void SvgPage::printText(const char* kind, double x, double y, const std::string& text) {
    mBody << "<text class=\"" << kind << "\" x=\"" << number(x) << "\" y=\"" << number(y) << "\">"
          << text << "</text>\n";
}

}  // namespace

// One set of patterns a plane: padding keeps its plane's colour.
void printSvgPatterns(std::ostream& out) {
    struct Pattern {
        const char* name;
        const char* path;
    };
    static constexpr Pattern kPatterns[] = {
            {"stride", "M0 6L6 0"}, {"vertical", "M0 3H6M3 0V6"}, {"tail", "M2 3H4M3 2V4"}};
    out << "<defs>\n";
    for (size_t i = 0; i < kPlaneColours.size(); ++i) {
        for (const Pattern& pattern : kPatterns) {
            out << "<pattern id=\"" << pattern.name << i
                << "\" width=\"6\" height=\"6\" patternUnits=\"userSpaceOnUse\">"
                << "<rect width=\"6\" height=\"6\" fill=\"" << kPlaneColours[i]
                << "\" fill-opacity=\"0.2\"/><path d=\"" << pattern.path << "\" stroke=\""
                << kPlaneColours[i] << "\"/></pattern>\n";
        }
    }
    out << "</defs>\n";
}

void printSvgInPage(std::ostream& out, const BufferGeometry& buffer) {
    SvgPage(buffer).printInPage(out);
}

void printSvg(std::ostream& out, const BufferGeometry& buffer, const std::string& title,
              const std::string& subtitle) {
    SvgPage(buffer).print(out, title, subtitle);
}

}  // namespace grallocinfo
