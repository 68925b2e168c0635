// A device's own mapper as a class:
//
//     class Mapper final : public vendor::mapper::IMapperV5Impl { ... };
//
//     extern "C" AIMapper_Error AIMapper_loadIMapper(AIMapper** outImplementation) {
//         static vendor::mapper::IMapperProvider<Mapper> provider;
//         return provider.load(outImplementation);
//     }
#pragma once

#include <mutex>
#include <optional>
#include <type_traits>

#include <android-base/unique_fd.h>
#include <android/hardware/graphics/mapper/IMapper.h>
#include <log/log.h>

namespace vendor::mapper {

// The calls of AIMapperV5 in their order, with their rules; they come from any thread.
struct IMapperV5Impl {
    static const auto version = AIMAPPER_VERSION_5;

    virtual ~IMapperV5Impl() = default;

    virtual AIMapper_Error importBuffer(const native_handle_t* _Nonnull handle,
                                        buffer_handle_t _Nullable* _Nonnull outBufferHandle) = 0;
    virtual AIMapper_Error freeBuffer(buffer_handle_t _Nonnull buffer) = 0;
    virtual AIMapper_Error getTransportSize(buffer_handle_t _Nonnull buffer,
                                            uint32_t* _Nonnull outNumFds,
                                            uint32_t* _Nonnull outNumInts) = 0;
    virtual AIMapper_Error lock(buffer_handle_t _Nonnull buffer, uint64_t cpuUsage,
                                ARect accessRegion, int acquireFence,
                                void* _Nullable* _Nonnull outData) = 0;
    virtual AIMapper_Error unlock(buffer_handle_t _Nonnull buffer, int* _Nonnull releaseFence) = 0;
    virtual AIMapper_Error flushLockedBuffer(buffer_handle_t _Nonnull buffer) = 0;
    virtual AIMapper_Error rereadLockedBuffer(buffer_handle_t _Nonnull buffer) = 0;
    virtual int32_t getMetadata(buffer_handle_t _Nonnull buffer, AIMapper_MetadataType metadataType,
                                void* _Nullable outData, size_t outDataSize) = 0;
    virtual int32_t getStandardMetadata(buffer_handle_t _Nonnull buffer,
                                        int64_t standardMetadataType, void* _Nullable outData,
                                        size_t outDataSize) = 0;
    virtual AIMapper_Error setMetadata(buffer_handle_t _Nonnull buffer,
                                       AIMapper_MetadataType metadataType,
                                       const void* _Nonnull metadata, size_t metadataSize) = 0;
    virtual AIMapper_Error setStandardMetadata(buffer_handle_t _Nonnull buffer,
                                               int64_t standardMetadataType,
                                               const void* _Nonnull metadata,
                                               size_t metadataSize) = 0;
    virtual AIMapper_Error listSupportedMetadataTypes(
            const AIMapper_MetadataTypeDescription* _Nullable* _Nonnull outDescriptionList,
            size_t* _Nonnull outNumberOfDescriptions) = 0;
    virtual AIMapper_Error dumpBuffer(buffer_handle_t _Nonnull buffer,
                                      AIMapper_DumpBufferCallback _Nonnull dumpBufferCallback,
                                      void* _Null_unspecified context) = 0;
    virtual AIMapper_Error dumpAllBuffers(
            AIMapper_BeginDumpBufferCallback _Nonnull beginDumpBufferCallback,
            AIMapper_DumpBufferCallback _Nonnull dumpBufferCallback,
            void* _Null_unspecified context) = 0;
    virtual AIMapper_Error getReservedRegion(buffer_handle_t _Nonnull buffer,
                                             void* _Nullable* _Nonnull outReservedRegion,
                                             uint64_t* _Nonnull outReservedSize) = 0;
};

namespace provider {

// Each library that a process loads has one of its own, therefore hidden.
__attribute__((visibility("hidden"))) inline IMapperV5Impl* _Nullable gImplementation = nullptr;

// The C function that calls one operation.
template <auto OPERATION>
struct Entry;
template <typename Result, typename... Arguments, Result (IMapperV5Impl::*OPERATION)(Arguments...)>
struct __attribute__((visibility("hidden"))) Entry<OPERATION> {
    static Result call(Arguments... arguments) {
        return (gImplementation->*OPERATION)(arguments...);
    }
};

template <auto OPERATION>
inline constexpr auto entry = Entry<OPERATION>::call;

}  // namespace provider

// Makes the one IMPL of a library when the mapper is loaded for the first time. Another provider's
// load in the same library ends the process.
template <typename IMPL>
class IMapperProvider {
    static_assert(IMPL::version >= AIMAPPER_VERSION_5, "the oldest version is 5");
    static_assert(std::is_final_v<IMPL>, "an implementation is final");
    static_assert(std::is_constructible_v<IMPL>, "an implementation is made without arguments");

  public:
    explicit IMapperProvider() = default;

    // Always AIMAPPER_ERROR_NONE and the same mapper, which is as old as this object. Any thread.
    AIMapper_Error load(AIMapper* _Nullable* _Nonnull outImplementation) {
        std::call_once(mOnce, [this] { bind(); });
        *outImplementation = &mMapper;
        return AIMAPPER_ERROR_NONE;
    }

  private:
    void bind() {
        LOG_ALWAYS_FATAL_IF(provider::gImplementation != nullptr,
                            "this library has a mapper already");
        provider::gImplementation = &mImplementation.emplace();
        using provider::entry;
        using I = IMapperV5Impl;
        mMapper.version = IMPL::version;
        mMapper.v5 = {
                .importBuffer = entry<&I::importBuffer>,
                .freeBuffer = entry<&I::freeBuffer>,
                .getTransportSize = entry<&I::getTransportSize>,
                .lock = entry<&I::lock>,
                .unlock = entry<&I::unlock>,
                .flushLockedBuffer = entry<&I::flushLockedBuffer>,
                .rereadLockedBuffer = entry<&I::rereadLockedBuffer>,
                .getMetadata = entry<&I::getMetadata>,
                .getStandardMetadata = entry<&I::getStandardMetadata>,
                .setMetadata = entry<&I::setMetadata>,
                .setStandardMetadata = entry<&I::setStandardMetadata>,
                .listSupportedMetadataTypes = entry<&I::listSupportedMetadataTypes>,
                .dumpBuffer = entry<&I::dumpBuffer>,
                .dumpAllBuffers = entry<&I::dumpAllBuffers>,
                .getReservedRegion = entry<&I::getReservedRegion>,
        };
    }

    std::once_flag mOnce;
    std::optional<IMPL> mImplementation;
    AIMapper mMapper = {};
};

}  // namespace vendor::mapper
