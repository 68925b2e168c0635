#include "plexa/Attributes.h"

#include "platform/plexa.h"
#include "plexa/FormatCodes.h"

namespace zelkcam::plexa {
namespace {

// What an allocator keeps of an attribute that no standard metadata carries, or another value of,
// as the extension's vendor metadata: four plain bytes. Most mappers have none.
std::optional<uint32_t> readKept(const Buffer& buffer, plexa_attribute_t attribute) {
    uint32_t value = 0;
    const int32_t size =
            buffer.mapper.getMetadata(buffer.handle, {kTypeName, attribute}, &value, sizeof(value));
    return size == sizeof(value) ? std::optional(value) : std::nullopt;
}

// WIDTH, HEIGHT, ALLOCATION_SIZE and STRIDE are unsigned in the metadata.
template <StandardMetadataType T>
std::optional<uint64_t> readUnsigned(const Buffer& buffer) {
    return readStandard<T>(buffer);
}

template <plexa_attribute_t kAttribute, StandardMetadataType T>
std::optional<uint64_t> readKeptOr(const Buffer& buffer) {
    const auto kept = readKept(buffer, kAttribute);
    return kept ? std::optional<uint64_t>(*kept) : readUnsigned<T>(buffer);
}

// Rows of the first plane, padding included. A plane without a row length gives its rows itself; a
// buffer whose planes are not described has at least the rows that were requested.
std::optional<uint64_t> readVerticalStride(const Buffer& buffer) {
    if (const auto kept = readKept(buffer, PLEXA_GET_VERTICAL_STRIDE)) {
        return *kept;
    }
    const auto planes = readStandard<StandardMetadataType::PLANE_LAYOUTS>(buffer);
    if (!planes) {
        return std::nullopt;
    }
    if (planes->empty()) {
        return readUnsigned<StandardMetadataType::HEIGHT>(buffer);
    }
    const auto& first = planes->front();
    const int64_t rows = first.strideInBytes > 0 ? first.totalSizeInBytes / first.strideInBytes
                                                 : first.heightInSamples;
    return static_cast<uint64_t>(rows);
}

bool isLeftToAllocator(PixelFormat format) {
    return format == PixelFormat::IMPLEMENTATION_DEFINED || format == PixelFormat::YCBCR_420_888;
}

std::optional<PixelFormat> chosenFormat(const Buffer& buffer) {
    const auto requested = readStandard<StandardMetadataType::PIXEL_FORMAT_REQUESTED>(buffer);
    if (!requested || !isLeftToAllocator(*requested)) {
        return requested;
    }
    const auto fourcc = readStandard<StandardMetadataType::PIXEL_FORMAT_FOURCC>(buffer);
    if (!fourcc) {
        return std::nullopt;
    }
    // An unknown code leaves the requested format, which the caller then reports as unresolved.
    return formatOfFourcc(*fourcc).value_or(*requested);
}

std::optional<uint64_t> readFormat(const Buffer& buffer) {
    if (const auto kept = readKept(buffer, PLEXA_GET_FORMAT)) {
        return *kept;
    }
    const auto format = chosenFormat(buffer);
    if (!format) {
        return std::nullopt;
    }
    return static_cast<uint32_t>(*format);
}

std::optional<uint64_t> readUsage(const Buffer& buffer) {
    const auto usage = readStandard<StandardMetadataType::USAGE>(buffer);
    if (!usage) {
        return std::nullopt;
    }
    return static_cast<uint32_t>(*usage);
}

std::optional<uint64_t> readFlags(const Buffer& buffer) {
    return readKept(buffer, PLEXA_GET_BUFFER_FLAGS).value_or(0);
}

struct Number {
    int attribute;
    NumberReader read;
};

constexpr Number kNumbers[] = {
        {PLEXA_GET_WIDTH, readUnsigned<StandardMetadataType::WIDTH>},
        {PLEXA_GET_HEIGHT, readUnsigned<StandardMetadataType::HEIGHT>},
        {PLEXA_GET_STRIDE, readKeptOr<PLEXA_GET_STRIDE, StandardMetadataType::STRIDE>},
        {PLEXA_GET_VERTICAL_STRIDE, readVerticalStride},
        {PLEXA_GET_ALLOC_SIZE,
         readKeptOr<PLEXA_GET_ALLOC_SIZE, StandardMetadataType::ALLOCATION_SIZE>},
        {PLEXA_GET_FORMAT, readFormat},
        {PLEXA_GET_USAGE, readUsage},
        {PLEXA_GET_BUFFER_FLAGS, readFlags},
};

}  // namespace

NumberReader numberReader(int attribute) {
    for (const Number& number : kNumbers) {
        if (number.attribute == attribute) {
            return number.read;
        }
    }
    return nullptr;
}

}  // namespace zelkcam::plexa
