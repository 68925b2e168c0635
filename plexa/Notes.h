// What the extension notes on a buffer, kept where every importer of the buffer sees it.
#pragma once

#include <cstdint>

#include "platform/plexa.h"
#include "plexa/StandardMetadata.h"

namespace zelkcam::plexa {

// Each note is vendor metadata of the buffer, its plain bytes in native order, in every process
// that has the buffer.
//
// 0, or a negative errno: -EIO when the mapper fails, which is also its answer for a handle that is
// no buffer.

// Where the mapper takes no such metadata the record stays in this process, by buffer id, for the
// buffers used last. `out` is written on success only, with zeros when nothing was noted yet.
int readStatusRecord(const Buffer& buffer, plexa_sf_record_t& out);
int writeStatusRecord(const Buffer& buffer, const plexa_sf_record_t& record);

// The start of frame is for readers in other processes: where the mapper does not take it nobody
// could read it, so it is dropped, with 0 all the same, since every frame is stamped.
int writeStartOfFrame(const Buffer& buffer, uint64_t time);

}  // namespace zelkcam::plexa
