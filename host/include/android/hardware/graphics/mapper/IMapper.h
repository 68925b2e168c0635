// The stable C graphics mapper: the library of a device that makes received buffers usable.
//
// A mapper library exports AIMapper_loadIMapper. Its functions are safe from any thread.
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <sys/cdefs.h>

#include <android/rect.h>
#include <cutils/native_handle.h>

// Clang's nullability words, which GCC lacks.
#if !defined(__clang__)
#ifndef _Nonnull
#define _Nonnull
#endif
#ifndef _Nullable
#define _Nullable
#endif
#ifndef _Null_unspecified
#define _Null_unspecified
#endif
#endif

__BEGIN_DECLS

enum AIMapper_Version : uint32_t {
    AIMAPPER_VERSION_5 = 5,
};

enum AIMapper_Error : int32_t {
    AIMAPPER_ERROR_NONE = 0,
    AIMAPPER_ERROR_BAD_DESCRIPTOR = 1,
    AIMAPPER_ERROR_BAD_BUFFER = 2,
    AIMAPPER_ERROR_BAD_VALUE = 3,
    AIMAPPER_ERROR_NO_RESOURCES = 5,
    AIMAPPER_ERROR_UNSUPPORTED = 7,
};

// A kind of metadata: the name of an enum and the number in it.
typedef struct AIMapper_MetadataType {
    const char* _Nonnull name;
    int64_t value;
} AIMapper_MetadataType;

typedef struct AIMapper_MetadataTypeDescription {
    // The texts live as long as the process; a standard type may go without a description.
    AIMapper_MetadataType metadataType;
    const char* _Nullable description;
    bool isGettable;
    bool isSettable;
    // Zero.
    uint8_t reserved[32];
} AIMapper_MetadataTypeDescription;

// Takes one encoded value, which is valid during the call.
typedef void (*AIMapper_DumpBufferCallback)(void* _Null_unspecified context,
                                            AIMapper_MetadataType metadataType,
                                            const void* _Nonnull value, size_t valueSize);

// Announces the next buffer.
typedef void (*AIMapper_BeginDumpBufferCallback)(void* _Null_unspecified context);

// The functions of version 5; none is null.
typedef struct AIMapperV5 {
    // Makes a received handle usable. The result is a handle of its own, different for every
    // import; `handle` stays the caller's. BAD_BUFFER for a handle that is not a buffer's.
    AIMapper_Error (*_Nonnull importBuffer)(const native_handle_t* _Nonnull handle,
                                            buffer_handle_t _Nullable* _Nonnull outBufferHandle);

    // Ends an import: closes and deletes its handle.
    AIMapper_Error (*_Nonnull freeBuffer)(buffer_handle_t _Nonnull buffer);

    // How much of the handle another process needs to import the buffer.
    AIMapper_Error (*_Nonnull getTransportSize)(buffer_handle_t _Nonnull buffer,
                                                uint32_t* _Nonnull outNumFds,
                                                uint32_t* _Nonnull outNumInts);

    // Gives the address of the buffer's first byte. A region of zeros is the whole buffer. The
    // mapper takes over `acquireFence` (-1 for none) and closes it, on failure too.
    AIMapper_Error (*_Nonnull lock)(buffer_handle_t _Nonnull buffer, uint64_t cpuUsage,
                                    ARect accessRegion, int acquireFence,
                                    void* _Nullable* _Nonnull outData);

    // Ends one lock. `*releaseFence` is -1 or a descriptor, the caller's from then on.
    AIMapper_Error (*_Nonnull unlock)(buffer_handle_t _Nonnull buffer, int* _Nonnull releaseFence);

    // Makes what the processor wrote visible to others without ending the lock.
    AIMapper_Error (*_Nonnull flushLockedBuffer)(buffer_handle_t _Nonnull buffer);

    // Makes what others wrote visible to the processor without ending the lock.
    AIMapper_Error (*_Nonnull rereadLockedBuffer)(buffer_handle_t _Nonnull buffer);

    // Writes the encoded value and answers its size in bytes, whether or not it fitted; a negated
    // AIMapper_Error on failure. An absent optional value has size 0.
    int32_t (*_Nonnull getMetadata)(buffer_handle_t _Nonnull buffer,
                                    AIMapper_MetadataType metadataType, void* _Nullable destBuffer,
                                    size_t destBufferSize);

    // The same for a type of "android.hardware.graphics.common.StandardMetadataType".
    int32_t (*_Nonnull getStandardMetadata)(buffer_handle_t _Nonnull buffer,
                                            int64_t standardMetadataType,
                                            void* _Nullable destBuffer, size_t destBufferSize);

    // Replaces a value of the buffer, for all who share it. Size 0 takes an optional value away.
    AIMapper_Error (*_Nonnull setMetadata)(buffer_handle_t _Nonnull buffer,
                                           AIMapper_MetadataType metadataType,
                                           const void* _Nonnull metadata, size_t metadataSize);

    // The same for a type of "android.hardware.graphics.common.StandardMetadataType".
    AIMapper_Error (*_Nonnull setStandardMetadata)(buffer_handle_t _Nonnull buffer,
                                                   int64_t standardMetadataType,
                                                   const void* _Nonnull metadata,
                                                   size_t metadataSize);

    // A list that lives as long as the process.
    AIMapper_Error (*_Nonnull listSupportedMetadataTypes)(
            const AIMapper_MetadataTypeDescription* _Nullable* _Nonnull outDescriptionList,
            size_t* _Nonnull outNumberOfDescriptions);

    // Calls back for every gettable value of the buffer.
    AIMapper_Error (*_Nonnull dumpBuffer)(buffer_handle_t _Nonnull buffer,
                                          AIMapper_DumpBufferCallback _Nonnull dumpBufferCallback,
                                          void* _Null_unspecified context);

    // The same for every buffer that the process has imported, each announced first.
    AIMapper_Error (*_Nonnull dumpAllBuffers)(
            AIMapper_BeginDumpBufferCallback _Nonnull beginDumpBufferCallback,
            AIMapper_DumpBufferCallback _Nonnull dumpBufferCallback,
            void* _Null_unspecified context);

    // The memory that the allocation reserved for clients; valid until the buffer is freed.
    AIMapper_Error (*_Nonnull getReservedRegion)(buffer_handle_t _Nonnull buffer,
                                                 void* _Nullable* _Nonnull outReservedRegion,
                                                 uint64_t* _Nonnull outReservedSize);
} AIMapperV5;

// A mapper. Use it through a pointer only: a later version is larger, and no field beyond those of
// `version` may be read.
typedef struct AIMapper {
    alignas(alignof(max_align_t)) AIMapper_Version version;
    AIMapperV5 v5;
} AIMapper;

// Gives the mapper of the library, the same functions every time; UNSUPPORTED when there is none.
AIMapper_Error AIMapper_loadIMapper(AIMapper* _Nullable* _Nonnull outImplementation);

__END_DECLS
