#include "plexa/NoteTable.h"

#include <algorithm>

namespace zelkcam::plexa {

plexa_sf_record_t NoteTable::read(uint64_t bufferId) {
    const std::lock_guard lock(mLock);
    const Entry* entry = find(bufferId);
    return entry == nullptr ? plexa_sf_record_t{} : entry->record;
}

void NoteTable::write(uint64_t bufferId, const plexa_sf_record_t& record) {
    const std::lock_guard lock(mLock);
    entryFor(bufferId).record = record;
}

NoteTable::Entry* NoteTable::find(uint64_t bufferId) {
    for (Entry& entry : mEntries) {
        if (entry.lastUse != 0 && entry.bufferId == bufferId) {
            entry.lastUse = ++mUses;
            return &entry;
        }
    }
    return nullptr;
}

NoteTable::Entry& NoteTable::entryFor(uint64_t bufferId) {
    if (Entry* entry = find(bufferId)) {
        return *entry;
    }
    Entry& idlest = *std::min_element(
            mEntries.begin(), mEntries.end(),
            [](const Entry& left, const Entry& right) { return left.lastUse < right.lastUse; });
    idlest = {bufferId, ++mUses, {}};
    return idlest;
}

}  // namespace zelkcam::plexa
