#include "plexa/Notes.h"

#include <cerrno>

#include "plexa/NoteTable.h"

namespace zelkcam::plexa {
namespace {

constinit NoteTable gNoteTable;

// The two errors with which a mapper refuses metadata that it does not have.
bool isRefusal(int64_t error) {
    return error == AIMAPPER_ERROR_UNSUPPORTED || error == AIMAPPER_ERROR_BAD_VALUE;
}

template <typename Note>
AIMapper_Error store(const Buffer& buffer, plexa_operation_t operation, const Note& note) {
    return buffer.mapper.setMetadata(buffer.handle, {kTypeName, operation}, &note, sizeof(note));
}

int resultOf(AIMapper_Error error) {
    return error == AIMAPPER_ERROR_NONE ? 0 : -EIO;
}

}  // namespace

int readStatusRecord(const Buffer& buffer, plexa_sf_record_t& out) {
    plexa_sf_record_t record{};
    const int32_t size = buffer.mapper.getMetadata(buffer.handle, {kTypeName, PLEXA_SET_SF_INFO},
                                                   &record, sizeof(record));
    if (size == sizeof(record)) {
        out = record;
        return 0;
    }
    if (size != 0 && !isRefusal(-int64_t{size})) {
        return -EIO;
    }

    // No bytes: never noted, or a mapper that took none, in which case the table has the record.
    const auto id = readStandard<StandardMetadataType::BUFFER_ID>(buffer);
    if (!id && size != 0) {
        return -EIO;
    }
    out = id ? gNoteTable.read(*id) : plexa_sf_record_t{};
    return 0;
}

int writeStatusRecord(const Buffer& buffer, const plexa_sf_record_t& record) {
    const AIMapper_Error error = store(buffer, PLEXA_SET_SF_INFO, record);
    if (!isRefusal(error)) {
        return resultOf(error);
    }
    const auto id = readStandard<StandardMetadataType::BUFFER_ID>(buffer);
    if (!id) {
        return -EIO;
    }
    gNoteTable.write(*id, record);
    return 0;
}

int writeStartOfFrame(const Buffer& buffer, uint64_t time) {
    const AIMapper_Error error = store(buffer, PLEXA_SET_SOF, time);
    return isRefusal(error) ? 0 : resultOf(error);
}

}  // namespace zelkcam::plexa
