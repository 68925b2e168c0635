// Scripted fences, descriptors, properties, clock, hardware binder state and buffer attributes.
//
// Installed, this takes the place of sync_wait, close, property_get_int32, systemTime,
// android::hardware::IPCThreadState's self and flushCommands, plexa_query, plexa_perform and
// plexa_sf_set_status.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <vector>

#include "platform/plexa.h"

namespace zelkcam::test {

struct PlatformScript {
    int syncWaitResult = 0;
    bool hasThreadState = true;             // false: IPCThreadState::self answers null
    std::map<std::string, int> properties;  // what is not here is unset
    std::deque<int64_t> clock;              // nanoseconds, one a reading; 0 when it has run dry

    // What plexa_query reads, by attribute: one value a read, from the start again at the end;
    // without values a read succeeds and writes nothing. Attributes 11 and 12 are read twice a
    // record, for the 64-bit field first, for the 32-bit one second.
    std::map<int, std::vector<int32_t>> attributes;
    std::map<int, int> queryResults;    // of plexa_query, by attribute; 0 unless set
    std::map<int, int> performResults;  // of plexa_perform, by operation; 0 unless set
    uint32_t status = 0;                // every buffer's status word
    uint64_t startOfFrame = 0;

    std::map<int, size_t> reads;  // of each attribute
    // Reads into a slot that did not hold what it must before: -1 for attribute 1, otherwise zeros.
    int wrongPresets = 0;
};

PlatformScript& platformScript();

// A buffer's attributes by name.
struct Attributes {
    int32_t format = 0;
    int32_t width = 0, height = 0, stride = 0, verticalStride = 0, allocSize = 0;
    int32_t usage = 0, flags = 0;
    int32_t stride32 = stride, height32 = height;  // what the second reads answer
};

// What the extension answers of every buffer from now on.
void describeBuffers(const Attributes& attributes);

}  // namespace zelkcam::test
