#include "plexa/Notes.h"

#include <cerrno>

#include "plexa/NoteTable.h"

namespace zelkcam::plexa {
namespace {

constexpr char kTypeName[] = "zelkcam.plexa.BufferAttribute";

constinit NoteTable gNoteTable;

// The two errors with which a mapper refuses metadata that it does not have.
bool isRefusal(int64_t error) {
    return error == AIMAPPER_ERROR_UNSUPPORTED || error == AIMAPPER_ERROR_BAD_VALUE;
}

// Where one kind of note lives: its number in the mapper, its field in the table.
template <typename T>
struct Note {
    int64_t number;
    T BufferNotes::*field;
};
constexpr Note<plexa_sf_record_t> kStatusRecord{PLEXA_SET_SF_INFO, &BufferNotes::status};
constexpr Note<uint64_t> kStartOfFrame{PLEXA_SET_SOF, &BufferNotes::startOfFrame};

template <typename T>
int readFromTable(const Buffer& buffer, const Note<T>& note, T& out) {
    const auto id = readStandard<StandardMetadataType::BUFFER_ID>(buffer);
    if (!id) {
        return -EIO;
    }
    out = gNoteTable.read(*id).*note.field;
    return 0;
}

template <typename T>
int writeToTable(const Buffer& buffer, const Note<T>& note, const T& value) {
    const auto id = readStandard<StandardMetadataType::BUFFER_ID>(buffer);
    if (!id) {
        return -EIO;
    }
    gNoteTable.edit(*id, [&](BufferNotes& notes) { notes.*note.field = value; });
    return 0;
}

template <typename T>
int readNote(const Buffer& buffer, const Note<T>& note, T& out) {
    T value{};
    const int32_t size = buffer.mapper.getMetadata(buffer.handle, {kTypeName, note.number}, &value,
                                                   sizeof(value));
    if (size < 0 && isRefusal(-int64_t{size})) {
        return readFromTable(buffer, note, out);
    }
    if (size != sizeof(value) && size != 0) {  // no bytes at all: never noted
        return -EIO;
    }
    out = value;
    return 0;
}

template <typename T>
int writeNote(const Buffer& buffer, const Note<T>& note, const T& value) {
    const AIMapper_Error error = buffer.mapper.setMetadata(buffer.handle, {kTypeName, note.number},
                                                           &value, sizeof(value));
    if (isRefusal(error)) {
        return writeToTable(buffer, note, value);
    }
    return error == AIMAPPER_ERROR_NONE ? 0 : -EIO;
}

}  // namespace

int readStatusRecord(const Buffer& buffer, plexa_sf_record_t& out) {
    return readNote(buffer, kStatusRecord, out);
}

int writeStatusRecord(const Buffer& buffer, const plexa_sf_record_t& record) {
    return writeNote(buffer, kStatusRecord, record);
}

int readStartOfFrame(const Buffer& buffer, uint64_t& out) {
    return readNote(buffer, kStartOfFrame, out);
}

int writeStartOfFrame(const Buffer& buffer, uint64_t time) {
    return writeNote(buffer, kStartOfFrame, time);
}

}  // namespace zelkcam::plexa
