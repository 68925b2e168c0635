// The names of the codes in which calls fail: binder's and HIDL's transports share their statuses.
#pragma once

#include <cstddef>
#include <cstdint>

#include <android/binder_status.h>

namespace zelkcam::host {

struct NamedCode {
    int32_t code;
    const char* name;
};

inline constexpr NamedCode kTransportStatuses[] = {
        {STATUS_OK, "OK"},
        {STATUS_UNKNOWN_ERROR, "UNKNOWN_ERROR"},
        {STATUS_NO_MEMORY, "NO_MEMORY"},
        {STATUS_INVALID_OPERATION, "INVALID_OPERATION"},
        {STATUS_BAD_VALUE, "BAD_VALUE"},
        {STATUS_BAD_TYPE, "BAD_TYPE"},
        {STATUS_NAME_NOT_FOUND, "NAME_NOT_FOUND"},
        {STATUS_PERMISSION_DENIED, "PERMISSION_DENIED"},
        {STATUS_NO_INIT, "NO_INIT"},
        {STATUS_ALREADY_EXISTS, "ALREADY_EXISTS"},
        {STATUS_DEAD_OBJECT, "DEAD_OBJECT"},
        {STATUS_FAILED_TRANSACTION, "FAILED_TRANSACTION"},
        {STATUS_BAD_INDEX, "BAD_INDEX"},
        {STATUS_NOT_ENOUGH_DATA, "NOT_ENOUGH_DATA"},
        {STATUS_WOULD_BLOCK, "WOULD_BLOCK"},
        {STATUS_TIMED_OUT, "TIMED_OUT"},
        {STATUS_UNKNOWN_TRANSACTION, "UNKNOWN_TRANSACTION"},
        {STATUS_FDS_NOT_ALLOWED, "FDS_NOT_ALLOWED"},
        {STATUS_UNEXPECTED_NULL, "UNEXPECTED_NULL"},
};

// Null for a code that is not in the table.
template <size_t N>
constexpr const char* findName(const NamedCode (&table)[N], int32_t code) {
    for (const NamedCode& entry : table) {
        if (entry.code == code) {
            return entry.name;
        }
    }
    return nullptr;
}

}  // namespace zelkcam::host
