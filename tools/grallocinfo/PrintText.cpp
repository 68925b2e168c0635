#include "tools/grallocinfo/PrintText.h"

#include <cstdio>

#include "tools/grallocinfo/Failure.h"
#include "tools/grallocinfo/Table.h"

namespace grallocinfo {

namespace {

std::string sizeText(int32_t width, int32_t height) {
    return std::to_string(width) + "x" + std::to_string(height);
}

std::string decimals(double value, const char* unit) {
    char text[40];
    (void)snprintf(text, sizeof(text), "%.1f%s", value, unit);
    return text;
}

std::string floatText(float value) {
    char text[40];
    (void)snprintf(text, sizeof(text), "%.6g", double(value));
    return text;
}

void printPlanes(std::ostream& out, const zcam::GrallocStaticInfo& layout) {
    Table table({{"plane"}, {"row stride"}, {"size"}});
    for (size_t i = 0; i < layout.planes.size(); ++i) {
        table.add({std::to_string(i), std::to_string(layout.planes[i].rowStrideInBytes),
                   std::to_string(layout.planes[i].sizeInBytes)});
    }
    table.print(out);
}

// "1920+960", or "-" for none.
template <typename Value>
std::string sum(const std::vector<zcam::GrallocStaticInfo::Plane>& planes, Value value) {
    std::string text;
    for (const auto& plane : planes) {
        text += (text.empty() ? "" : "+") + std::to_string(plane.*value);
    }
    return text.empty() ? "-" : text;
}

std::vector<std::string> formatCells(const FormatRow& row) {
    using Plane = zcam::GrallocStaticInfo::Plane;
    const auto& [request, requestedName, usageName, layout, resolvedName] = row.answer;
    std::vector<std::string> cells{hex(request.format), requestedName};
    if (row.status != 0) {
        cells.insert(cells.end(), {"-", "-", "-", "-", "-", "-"});
        cells.push_back("status " + std::to_string(row.status) + ": " + row.meaning.sentence);
        return cells;
    }
    const auto padding = row.paddingPercent();
    cells.insert(
            cells.end(),
            {std::to_string(layout.planes.size()), sum(layout.planes, &Plane::rowStrideInBytes),
             sum(layout.planes, &Plane::sizeInBytes), std::to_string(row.geometry.totalBytes()),
             decimals(row.bitsPerPixel(), ""), padding ? decimals(*padding, " %") : "-"});
    if (layout.format != request.format) {
        cells.push_back("resolved to " + describeFormat(resolvedName, layout.format));
    }
    return cells;
}

std::string textOf(const MasteringDisplay& display) {
    static constexpr const char* kNames[] = {"red", "green", "blue", "white"};
    std::string text;
    for (size_t i = 0; i < display.primaries.size(); ++i) {
        const auto& [x, y] = display.primaries[i];
        text += std::string(kNames[i]) + " (" + floatText(x) + ", " + floatText(y) + "), ";
    }
    return text + "luminance " + floatText(display.minLuminance) + " to " +
           floatText(display.maxLuminance) + " cd/m2";
}

std::string textOf(const ContentLight& light) {
    return "content " + floatText(light.maxContent) + ", frame average " +
           floatText(light.maxFrameAverage) + " cd/m2";
}

std::string textOf(const std::vector<uint8_t>& payload) {
    return std::to_string(payload.size()) + " bytes";
}

template <typename Value>
std::string textOrNone(const std::optional<Value>& value) {
    return value ? textOf(*value) : "none";
}

struct GeometryRow {
    const char* title;
    bool isOfPicture;  // unknown where a vendor keeps the inside of a format to itself
    std::string (*textOf)(const PlaneGeometry&);
};

constexpr GeometryRow kGeometryRows[] = {
        {"holds", false, [](const PlaneGeometry& plane) { return plane.components; }},
        {"offset", false, [](const PlaneGeometry& plane) { return std::to_string(plane.offset); }},
        {"size", false, [](const PlaneGeometry& plane) { return std::to_string(plane.size); }},
        {"row stride", false,
         [](const PlaneGeometry& plane) { return std::to_string(plane.rowStride); }},
        {"rows", false, [](const PlaneGeometry& plane) { return std::to_string(plane.rows); }},
        {"picture row", true,
         [](const PlaneGeometry& plane) { return std::to_string(plane.pictureRowBytes); }},
        {"picture rows", true,
         [](const PlaneGeometry& plane) { return std::to_string(plane.pictureRows); }},
        {"stride padding", true,
         [](const PlaneGeometry& plane) { return std::to_string(plane.stridePadding()); }},
        {"vertical padding", true,
         [](const PlaneGeometry& plane) { return std::to_string(plane.verticalPadding()); }},
        {"tail", false, [](const PlaneGeometry& plane) { return std::to_string(plane.tailBytes); }},
};

// "Cr@0:8 Cb@8:8": name, bit offset and bits.
std::string componentsText(const MapperPlane& plane) {
    std::string text;
    for (const auto& [name, offset, size] : plane.components) {
        text += (text.empty() ? "" : " ") + name + "@" + std::to_string(offset) + ":" +
                std::to_string(size);
    }
    return text;
}

void printHdr(std::ostream& out, const HdrMetadata& hdr) {
    out << "SMPTE2086     " << textOrNone(hdr.smpte2086) << "\nCTA861_3      "
        << textOrNone(hdr.cta861_3) << "\nSMPTE2094_40  " << textOrNone(hdr.smpte2094_40) << '\n';
}

}  // namespace

void printLayout(std::ostream& out, const LayoutAnswer& answer) {
    const zcam::GrallocRequest& request = answer.request;
    out << "requested  " << describeFormat(answer.requestedName, request.format) << "  "
        << sizeText(request.widthInPixels, request.heightInPixels) << "  usage " << answer.usageName
        << " (" << hex(static_cast<int32_t>(request.usage)) << ")\n";
    out << "resolved   " << describeFormat(answer.resolvedName, answer.layout.format) << "  "
        << sizeText(answer.layout.widthInPixels, answer.layout.heightInPixels) << "\n\n";
    printPlanes(out, answer.layout);
}

void printComparison(std::ostream& out, const LayoutAnswer& answer, const MapperAnswer& mapper) {
    const auto& planes = answer.layout.planes;
    out << "\nthe " << mapper.backend << " mapper, " << mapper.strideInPixels
        << " pixels between rows:\n\n";
    Table table({{"plane"},
                 {"row stride"},
                 {"size"},
                 {"offset"},
                 {"samples"},
                 {"bits"},
                 {"components", Align::kLeft},
                 {"the library's", Align::kLeft}});
    for (size_t i = 0; i < mapper.planes.size(); ++i) {
        const MapperPlane& plane = mapper.planes[i];
        const bool known = i < planes.size();
        const bool same = known && planes[i].rowStrideInBytes == uint64_t(plane.strideInBytes) &&
                          planes[i].sizeInBytes == uint64_t(plane.sizeInBytes);
        table.add(
                {std::to_string(i), std::to_string(plane.strideInBytes),
                 std::to_string(plane.sizeInBytes), std::to_string(plane.offsetInBytes),
                 std::to_string(plane.widthInSamples) + "x" + std::to_string(plane.heightInSamples),
                 std::to_string(plane.sampleIncrementInBits), componentsText(plane),
                 same    ? "same"
                 : known ? "differs"
                         : "no such plane"});
    }
    table.print(out);
}

void printFormats(std::ostream& out, const FormatList& list) {
    out << sizeText(list.width, list.height) << ", usage " << list.usageName << "\n\n";
    Table table({{"code", Align::kLeft},
                 {"name", Align::kLeft},
                 {"planes"},
                 {"row strides"},
                 {"sizes"},
                 {"allocation"},
                 {"bits/pixel"},
                 {"padding"},
                 {"", Align::kLeft}});
    for (const FormatRow& row : list.rows) {
        table.add(formatCells(row));
    }
    table.print(out);
}

void printBuffer(std::ostream& out, const BufferAnswer& buffer) {
    out << "buffer  " << describeFormat(buffer.name, buffer.layout.format) << "  "
        << sizeText(buffer.layout.widthInPixels, buffer.layout.heightInPixels)
        << (buffer.descriptors.empty() ? "" : "  shared-memory descriptor");
    for (const int descriptor : buffer.descriptors) {
        out << " " << descriptor;
    }
    out << (buffer.isMappersLayout ? "\nthe library has no layout rule for the format: these are "
                                     "the mapper's planes"
                                   : "")
        << "\n\n";
    printPlanes(out, buffer.layout);
    out << "\n";
    printHdr(out, buffer.hdr);
}

// A column a plane: three rows of all these numbers would be wider than a terminal.
void printGeometry(std::ostream& out, const BufferGeometry& buffer) {
    std::vector<Table::Column> columns{{"plane", Align::kLeft}};
    for (size_t i = 0; i < buffer.planes.size(); ++i) {
        columns.push_back({std::to_string(i)});
    }
    Table table(columns);
    for (const auto& [title, isOfPicture, textOf] : kGeometryRows) {
        std::vector<std::string> cells{title};
        for (const PlaneGeometry& plane : buffer.planes) {
            cells.push_back(isOfPicture && !buffer.pictureKnown ? "-" : textOf(plane));
        }
        table.add(cells);
    }
    table.print(out);
    out << "planes end at " << buffer.planesEnd;
    if (buffer.allocationSize) {
        out << ", the buffer at " << *buffer.allocationSize << ", tail " << buffer.tail();
    }
    out << "; all in bytes and rows\n";
}

}  // namespace grallocinfo
