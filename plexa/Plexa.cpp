// The three functions of the extension. Failures are negative errno values:
//
//   -EINVAL  a null argument, or a code that the extension does not have
//   -ENODEV  no mapper: no allocator service, or no usable library of the name that it gives
//   -EIO     the mapper failed or refused the handle, or what it answered cannot be used
//   -ERANGE  a number beyond the 32 bits of its attribute
//   -EBADF   the first descriptor of a handle that has none
#include "platform/plexa.h"

#include <cerrno>
#include <cstring>

#include "plexa/Attributes.h"
#include "plexa/MapperLibrary.h"
#include "plexa/Notes.h"

// Exported by the version script, which cannot bring back what is hidden here.
#define PLEXA_EXPORT __attribute__((visibility("default")))

namespace {

using namespace zelkcam::plexa;

// Callers' slots need not be aligned for what they receive.
template <typename T>
int give(void* out, const T& value) {
    std::memcpy(out, &value, sizeof(value));
    return 0;
}

template <typename T>
T taken(const void* in) {
    T value;
    std::memcpy(&value, in, sizeof(value));
    return value;
}

int queryDescriptor(const native_handle& handle, void* out) {
    return handle.numFds > 0 ? give(out, handle.data[0]) : -EBADF;
}

int queryNumber(const Buffer& buffer, NumberReader read, void* out) {
    const auto number = read(buffer);
    if (!number) {
        return -EIO;
    }
    return *number <= UINT32_MAX ? give(out, static_cast<uint32_t>(*number)) : -ERANGE;
}

int queryStatusRecord(const Buffer& buffer, void* out) {
    plexa_sf_record_t record;
    const int error = readStatusRecord(buffer, record);
    return error == 0 ? give(out, record) : error;
}

}  // namespace

PLEXA_EXPORT int plexa_query(const native_handle* handle, int attribute, void* out) {
    if (handle == nullptr || out == nullptr) {
        return -EINVAL;
    }
    if (attribute == PLEXA_GET_ION_FD) {
        return queryDescriptor(*handle, out);
    }
    const NumberReader read = numberReader(attribute);
    if (read == nullptr && attribute != PLEXA_GET_SF_INFO) {
        return -EINVAL;
    }
    const AIMapperV5* mapper = mapperFunctions();
    if (mapper == nullptr) {
        return -ENODEV;
    }
    const Buffer buffer{*mapper, handle};
    return read == nullptr ? queryStatusRecord(buffer, out) : queryNumber(buffer, read, out);
}

PLEXA_EXPORT int plexa_perform(const native_handle* handle, int operation, void* in) {
    const bool isKnown = operation == PLEXA_SET_SF_INFO || operation == PLEXA_SET_SOF;
    if (handle == nullptr || in == nullptr || !isKnown) {
        return -EINVAL;
    }
    const AIMapperV5* mapper = mapperFunctions();
    if (mapper == nullptr) {
        return -ENODEV;
    }
    const Buffer buffer{*mapper, handle};
    return operation == PLEXA_SET_SF_INFO ? writeStatusRecord(buffer, taken<plexa_sf_record_t>(in))
                                          : writeStartOfFrame(buffer, taken<uint64_t>(in));
}

// The status word is the record's first 32 bits.
PLEXA_EXPORT int plexa_sf_set_status(plexa_sf_record_t* record, int mask, int value) {
    if (record == nullptr) {
        return -EINVAL;
    }
    const auto bits = static_cast<uint32_t>(mask);
    const uint32_t word = (taken<uint32_t>(record) & ~bits) | (static_cast<uint32_t>(value) & bits);
    return give(record, word);
}
