// A scripted buffer-attribute extension: takes the place of plexa_query, plexa_perform and
// plexa_sf_set_status.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "platform/plexa.h"

namespace zelkcam::test {

// What the extension says of every buffer. The journal reads "plexa_query 15", "plexa_perform 100".
struct PlexaScript {
    // By attribute, one value a read, from the start again at the end; without values a read
    // succeeds and writes nothing. Attributes 11 and 12 are read twice a record: for the 64-bit
    // field first, for the 32-bit one second.
    std::map<int, std::vector<int32_t>> values;
    std::map<int, int> results;         // of plexa_query, by attribute; 0 unless set
    std::map<int, int> performResults;  // of plexa_perform, by operation; 0 unless set
    uint32_t status = 0;                // the buffer's status word
    uint64_t startOfFrame = 0;
    std::map<int, size_t> reads;  // how often each attribute was read
    int failFrom =
            0;  // the number of the read, counted from 1, from which on all fail; 0 for never
    int readsInAll = 0;
    // Reads into a slot that did not hold what it must before: -1 for attribute 1, otherwise zeros.
    int wrongPresets = 0;
};

PlexaScript& plexaScript();

// A buffer's attributes by name, with what an ordinary allocator would say.
struct Attributes {
    int32_t format = 0;
    int32_t width = 0, height = 0, stride = 0, verticalStride = 0, allocSize = 0;
    int32_t usage = 0, flags = 0;
    int32_t stride32 = stride, height32 = height;  // what the second reads answer
};

void describeBuffers(const Attributes& attributes);

}  // namespace zelkcam::test
