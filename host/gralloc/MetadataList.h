// Which metadata there is, and all of it at once, as every mapper offers it.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string_view>
#include <vector>

#include "host/gralloc/ImportedBuffer.h"

namespace zelkcam::host::gralloc {

// What getMetadata answers, and which of it setMetadata takes. Lives as long as the process.
std::span<const AIMapper_MetadataTypeDescription> supportedMetadata();

// Reads a value of unknown size.
AIMapper_Error readWhole(const ImportedBuffer& buffer, std::string_view typeName, int64_t type,
                         std::vector<uint8_t>* value);

using ValueVisitor =
        std::function<void(const AIMapper_MetadataType&, std::span<const uint8_t> value)>;

// Visits every gettable value, an absent one as no bytes. A value that cannot be read is left out.
void forEachValue(const ImportedBuffer& buffer, const ValueVisitor& visit);

}  // namespace zelkcam::host::gralloc
