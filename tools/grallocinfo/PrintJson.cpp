#include "tools/grallocinfo/PrintJson.h"

#include <cmath>

namespace grallocinfo {

namespace {

Json planesOf(const zcam::GrallocStaticInfo& layout) {
    Json planes = Json::array();
    for (const auto& plane : layout.planes) {
        planes.push_back(
                {{"sizeInBytes", plane.sizeInBytes}, {"rowStrideInBytes", plane.rowStrideInBytes}});
    }
    return planes;
}

void putFormat(Json& object, const std::string& key, int32_t format, const std::string& name) {
    putCode(object, key, format);
    object[key + "Name"] = name;
}

void putUsage(Json& object, uint32_t usage, const std::string& name) {
    putUnsignedCode(object, "usage", usage);
    object["usageName"] = name;
}

void putLayout(Json& object, const zcam::GrallocStaticInfo& layout, const std::string& name) {
    putFormat(object, "format", layout.format, name);
    object["width"] = layout.widthInPixels;
    object["height"] = layout.heightInPixels;
    object["planes"] = planesOf(layout);
}

template <typename Value>
Json orNull(const std::optional<Value>& value) {
    return value ? Json(*value) : Json();
}

Json componentsOf(const MapperPlane& plane) {
    Json components = Json::array();
    for (const MapperComponent& component : plane.components) {
        components.push_back({{"name", component.name},
                              {"offsetInBits", component.offsetInBits},
                              {"sizeInBits", component.sizeInBits}});
    }
    return components;
}

Json mapperPlanes(const std::vector<MapperPlane>& planes) {
    Json objects = Json::array();
    for (const MapperPlane& plane : planes) {
        objects.push_back({{"offsetInBytes", plane.offsetInBytes},
                           {"sizeInBytes", plane.sizeInBytes},
                           {"rowStrideInBytes", plane.strideInBytes},
                           {"widthInSamples", plane.widthInSamples},
                           {"heightInSamples", plane.heightInSamples},
                           {"horizontalSubsampling", plane.horizontalSubsampling},
                           {"verticalSubsampling", plane.verticalSubsampling},
                           {"sampleIncrementInBits", plane.sampleIncrementInBits},
                           {"components", componentsOf(plane)}});
    }
    return objects;
}

double twoDecimals(double value) {
    return std::round(value * 100) / 100;
}

Json formatObject(const FormatRow& row) {
    Json object;
    putFormat(object, "format", row.answer.request.format, row.answer.requestedName);
    object["status"] = row.status;
    if (row.status != 0) {
        object["error"] = {{"code", row.meaning.code},
                           {"status", row.status},
                           {"message", row.meaning.sentence}};
        return object;
    }
    putFormat(object, "resolvedFormat", row.answer.layout.format, row.answer.resolvedName);
    object["planes"] = planesOf(row.answer.layout);
    object["allocation"] = allocationDocument(row.allocation);
    object["bitsPerPixel"] = twoDecimals(row.bitsPerPixel());
    const auto padding = row.paddingPercent();
    object["paddingPercent"] = padding ? Json(twoDecimals(*padding)) : Json();
    return object;
}

std::string hexBytes(const std::vector<uint8_t>& bytes) {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (const uint8_t byte : bytes) {
        text += kDigits[byte >> 4];
        text += kDigits[byte & 0xF];
    }
    return text;
}

Json masteringObject(const MasteringDisplay& display) {
    Json object;
    static constexpr const char* kNames[] = {"primaryRed", "primaryGreen", "primaryBlue",
                                             "whitePoint"};
    for (size_t i = 0; i < display.primaries.size(); ++i) {
        object[kNames[i]] = {{"x", display.primaries[i][0]}, {"y", display.primaries[i][1]}};
    }
    object["maxLuminance"] = display.maxLuminance;
    object["minLuminance"] = display.minLuminance;
    return object;
}

Json hdrObject(const HdrMetadata& hdr) {
    Json object{{"smpte2086", nullptr}, {"cta861_3", nullptr}, {"smpte2094_40", nullptr}};
    if (hdr.smpte2086) {
        object["smpte2086"] = masteringObject(*hdr.smpte2086);
    }
    if (hdr.cta861_3) {
        object["cta861_3"] = {{"maxContentLightLevel", hdr.cta861_3->maxContent},
                              {"maxFrameAverageLightLevel", hdr.cta861_3->maxFrameAverage}};
    }
    if (hdr.smpte2094_40) {
        object["smpte2094_40"] = {{"sizeInBytes", hdr.smpte2094_40->size()},
                                  {"bytesHex", hexBytes(*hdr.smpte2094_40)}};
    }
    return object;
}

}  // namespace

Json newDocument() {
    return Json{{"schemaVersion", kSchemaVersion}};
}

void putCode(Json& object, const std::string& key, int32_t code) {
    object[key] = code;
    object[key + "Hex"] = hex(code);
}

void putUnsignedCode(Json& object, const std::string& key, uint32_t code) {
    object[key] = code;
    object[key + "Hex"] = hex(uint64_t{code});
}

Json layoutDocument(const LayoutAnswer& answer) {
    Json document = newDocument();
    putLayout(document, answer.layout, answer.resolvedName);
    Json& request = document["request"];
    putFormat(request, "format", answer.request.format, answer.requestedName);
    request["width"] = answer.request.widthInPixels;
    request["height"] = answer.request.heightInPixels;
    putUsage(request, answer.request.usage, answer.usageName);
    return document;
}

Json mapperDocument(const MapperAnswer& mapper) {
    return {{"backend", mapper.backend},
            {"strideInPixels", mapper.strideInPixels},
            {"planes", mapperPlanes(mapper.planes)}};
}

Json allocationDocument(const Allocation& allocation) {
    return {{"sizeInBytes", orNull(allocation.sizeInBytes)},
            {"fourcc", orNull(allocation.fourcc)},
            {"fourccName", allocation.fourccName},
            {"modifier", orNull(allocation.modifier)},
            {"planes", mapperPlanes(allocation.planes)}};
}

Json formatsDocument(const FormatList& list) {
    Json document = newDocument();
    document["width"] = list.width;
    document["height"] = list.height;
    putUsage(document, list.usage, list.usageName);
    Json& formats = document["formats"] = Json::array();
    for (const FormatRow& row : list.rows) {
        formats.push_back(formatObject(row));
    }
    return document;
}

Json bufferDocument(const BufferAnswer& buffer) {
    Json document = newDocument();
    putLayout(document, buffer.layout, buffer.name);
    document["layoutSource"] = buffer.isMappersLayout ? "mapper" : "library";
    document["sharedMemoryDescriptors"] = buffer.descriptors;
    document["hdr"] = hdrObject(buffer.hdr);
    return document;
}

Json failureDocument(const Failure& failure) {
    Json document = newDocument();
    document["error"] = {{"code", failure.code},
                         {"status", orNull(failure.status)},
                         {"message", failure.message}};
    return document;
}

void printJson(std::ostream& out, const Json& document) {
    out << document.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
}

}  // namespace grallocinfo
