// The numbers that describe a buffer, from its standard metadata.
#pragma once

#include <cstdint>
#include <optional>

#include "plexa/StandardMetadata.h"

namespace zelkcam::plexa {

// One number of a buffer; no value when the mapper does not answer. Codes and bit sets that are
// signed in the metadata come as the same low 32 bits with zeros above.
using NumberReader = std::optional<uint64_t> (*)(const Buffer& buffer);

// The reader of a numeric attribute (plexa_attribute_t), null for any other code. Each makes one
// metadata read. A format that the mapper keeps no vendor metadata of makes a second, and an
// implementation-defined or flexible one a third for its fourcc.
NumberReader numberReader(int attribute);

}  // namespace zelkcam::plexa
