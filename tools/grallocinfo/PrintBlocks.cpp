#include "tools/grallocinfo/PrintBlocks.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <set>
#include <string>
#include <string_view>

namespace grallocinfo {

namespace {

constexpr size_t kUsualColumns = 64;
constexpr size_t kFewestColumns = 16;
constexpr size_t kLines = 24;

// Blue, orange, green and grey of middle lightness: readable on black and on white.
constexpr std::array<const char*, 3> kColours{"\033[38;5;32m", "\033[38;5;166m", "\033[38;5;29m"};
constexpr char kTailColour[] = "\033[38;5;244m";
constexpr char kColourOff[] = "\033[0m";

constexpr char kPicture[] = "█";
constexpr char kStridePadding[] = "░";
constexpr char kVerticalPadding[] = "▒";
constexpr char kTail[] = "·";
constexpr std::string_view kLabelGap = "  ";

void repeat(std::string& line, const char* character, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        line += character;
    }
}

// What a part of the cells is, and what the rest of them.
struct Regions {
    const char* part;
    const char* rest;
};

class BlockDrawing {
  public:
    BlockDrawing(std::ostream& out, const BufferGeometry& buffer, bool colour,
                 std::optional<size_t> terminalWidth);

    void print();

  private:
    std::string labelOf(size_t index) const;
    std::string tailLabel() const { return "tail at " + std::to_string(mBuffer.planesEnd); }
    void printPlane(size_t index);
    void printTail();
    void printLine(const char* colour, const std::string& cells, const std::string& label);
    void printLegend();
    size_t cellsOf(const Regions& regions, uint64_t part, uint64_t whole, size_t cells);
    size_t linesOf(const std::string& region, double rows);

    std::ostream& mOut;
    const BufferGeometry& mBuffer;
    const bool mColour;
    size_t mColumns = kUsualColumns;
    uint64_t mWidest = 1;
    double mRows = 0;
    std::set<std::string> mEnlarged;  // the regions that are drawn larger than to scale
};

// The labels stand right of the cells, which leave them room.
BlockDrawing::BlockDrawing(std::ostream& out, const BufferGeometry& buffer, bool colour,
                           std::optional<size_t> terminalWidth)
    : mOut(out), mBuffer(buffer), mColour(colour) {
    size_t label = buffer.tail() > 0 ? tailLabel().size() : 0;
    for (size_t i = 0; i < buffer.planes.size(); ++i) {
        const PlaneGeometry& plane = buffer.planes[i];
        mWidest = std::max(mWidest, plane.rowStride);
        mRows += double(plane.size) / double(plane.rowStride);
        label = std::max(label, labelOf(i).size());
    }
    mRows += double(buffer.tail()) / double(mWidest);
    const size_t taken = label + kLabelGap.size();
    if (terminalWidth) {
        mColumns = std::max(kFewestColumns, *terminalWidth > taken ? *terminalWidth - taken : 0);
    }
}

// `part` of `whole`, of which `cells` are drawn: a padding that is there costs a cell, and so does
// a picture.
size_t BlockDrawing::cellsOf(const Regions& regions, uint64_t part, uint64_t whole, size_t cells) {
    if (part == 0 || part == whole || cells < 2) {
        return part == 0 ? 0 : cells;
    }
    const auto exact =
            static_cast<size_t>(std::llround(double(part) / double(whole) * double(cells)));
    const size_t drawn = std::clamp<size_t>(exact, 1, cells - 1);
    if (drawn != exact) {
        mEnlarged.insert(drawn > exact ? regions.part : regions.rest);
    }
    return drawn;
}

std::string BlockDrawing::labelOf(size_t index) const {
    const PlaneGeometry& plane = mBuffer.planes[index];
    return "plane " + std::to_string(index) + " " + plane.components + " at " +
           std::to_string(plane.offset);
}

size_t BlockDrawing::linesOf(const std::string& region, double rows) {
    const auto exact = std::llround(rows / std::max(mRows, 1e-9) * kLines);
    if (exact < 1) {
        mEnlarged.insert(region);
    }
    return std::max<size_t>(1, static_cast<size_t>(exact));
}

void BlockDrawing::printLine(const char* colour, const std::string& cells,
                             const std::string& label) {
    mOut << (mColour ? colour : "") << cells << (mColour ? kColourOff : "")
         << (label.empty() ? "" : kLabelGap) << label << '\n';
}

void BlockDrawing::printPlane(size_t index) {
    const PlaneGeometry& plane = mBuffer.planes[index];
    const std::string name = "plane " + std::to_string(index);
    const size_t lines = linesOf(name, double(plane.size) / double(plane.rowStride));
    const size_t columns = std::max<size_t>(
            1, cellsOf({"narrow plane", "nothing"}, plane.rowStride, mWidest, mColumns));
    const size_t pictureColumns =
            cellsOf({"picture", "stride padding"}, plane.pictureRowBytes, plane.rowStride, columns);
    // A plane without one whole row is all tail.
    const size_t tailLines = plane.rows == 0 ? lines : plane.tailBytes > 0 && lines > 1 ? 1 : 0;
    if (tailLines > 0 && plane.rows > 0) {
        mEnlarged.insert("tail");
    }
    const size_t tailColumns =
            cellsOf({"tail", "nothing"}, plane.tailBytes, plane.rowStride, columns);
    const size_t pictureLines = cellsOf({"picture", "vertical padding"}, plane.pictureRows,
                                        plane.rows, lines - tailLines);
    for (size_t line = 0; line < lines; ++line) {
        std::string cells;
        if (line < pictureLines) {
            repeat(cells, kPicture, pictureColumns);
            repeat(cells, kStridePadding, columns - pictureColumns);
        } else {
            const bool isTail = line >= lines - tailLines;
            repeat(cells, isTail ? kTail : kVerticalPadding, isTail ? tailColumns : columns);
        }
        printLine(kColours[index % kColours.size()], cells, line == 0 ? labelOf(index) : "");
    }
}

void BlockDrawing::printTail() {
    const size_t lines = linesOf("tail", double(mBuffer.tail()) / double(mWidest));
    std::string cells;
    repeat(cells, kTail, mColumns);
    for (size_t line = 0; line < lines; ++line) {
        printLine(kTailColour, cells, line == 0 ? tailLabel() : "");
    }
}

void BlockDrawing::printLegend() {
    mOut << kPicture << " picture  " << kStridePadding << " stride padding  " << kVerticalPadding
         << " vertical padding  " << kTail << " tail\n";
    std::string names;
    mEnlarged.erase("nothing");
    for (const std::string& region : mEnlarged) {
        names += (names.empty() ? "" : ", ") + region;
    }
    mOut << (names.empty() ? "" : "drawn larger than to scale: " + names + "\n");
}

void BlockDrawing::print() {
    for (size_t i = 0; i < mBuffer.planes.size(); ++i) {
        printPlane(i);
    }
    if (mBuffer.tail() > 0) {
        printTail();
    }
    printLegend();
}

}  // namespace

void printBlocks(std::ostream& out, const BufferGeometry& buffer, bool colour,
                 std::optional<size_t> terminalWidth) {
    BlockDrawing(out, buffer, colour, terminalWidth).print();
}

}  // namespace grallocinfo
