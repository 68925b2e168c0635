// A mapper written as a class, as a device's own is.
#include <string>

#include <android/hardware/graphics/mapper/utils/IMapperProvider.h>
#include <gtest/gtest.h>

namespace {

std::string gReached;

// Notes the call; what it is given is the answer.
#define CALL(NAME, PARAMETERS)                \
    AIMapper_Error NAME PARAMETERS override { \
        gReached = #NAME;                     \
        return AIMAPPER_ERROR_NONE;           \
    }
#define GET(NAME, TYPE)                                                                  \
    int32_t NAME(buffer_handle_t, TYPE, void* data, size_t size) override {              \
        gReached = #NAME;                                                                \
        return data == nullptr ? -AIMAPPER_ERROR_BAD_VALUE : static_cast<int32_t>(size); \
    }
struct ProvidedMapper final : vendor::mapper::IMapperV5Impl {
    CALL(importBuffer, (const native_handle_t*, buffer_handle_t*))
    CALL(freeBuffer, (buffer_handle_t))
    CALL(getTransportSize, (buffer_handle_t, uint32_t*, uint32_t*))
    CALL(unlock, (buffer_handle_t, int*))
    CALL(flushLockedBuffer, (buffer_handle_t))
    CALL(rereadLockedBuffer, (buffer_handle_t))
    GET(getMetadata, AIMapper_MetadataType)
    GET(getStandardMetadata, int64_t)
    CALL(setMetadata, (buffer_handle_t, AIMapper_MetadataType, const void*, size_t))
    CALL(setStandardMetadata, (buffer_handle_t, int64_t, const void*, size_t))
    CALL(listSupportedMetadataTypes, (const AIMapper_MetadataTypeDescription**, size_t*))
    CALL(dumpBuffer, (buffer_handle_t, AIMapper_DumpBufferCallback, void*))
    CALL(dumpAllBuffers, (AIMapper_BeginDumpBufferCallback, AIMapper_DumpBufferCallback, void*))
    CALL(getReservedRegion, (buffer_handle_t, void**, uint64_t*))
    AIMapper_Error lock(buffer_handle_t, uint64_t usage, ARect region, int fence,
                        void** data) override {
        *data = this;
        return region.bottom == 4 && fence == -1 ? static_cast<AIMapper_Error>(usage)
                                                 : AIMAPPER_ERROR_BAD_BUFFER;
    }
};

#undef CALL
#undef GET

TEST(MapperProvider, PassesTheCallsOfTheTableOnToTheOneObject) {
    static vendor::mapper::IMapperProvider<ProvidedMapper> provider;
    AIMapper* mapper = nullptr;
    AIMapper* again = nullptr;
    ASSERT_EQ(provider.load(&mapper), AIMAPPER_ERROR_NONE);
    ASSERT_EQ(provider.load(&again), AIMAPPER_ERROR_NONE);
    EXPECT_EQ(mapper, again);
    EXPECT_EQ(mapper->version, AIMAPPER_VERSION_5);
    const native_handle_t buffer{};
    mapper->v5.freeBuffer(&buffer);
    EXPECT_EQ(gReached, "freeBuffer");
    mapper->v5.flushLockedBuffer(&buffer);
    EXPECT_EQ(gReached, "flushLockedBuffer");
    mapper->v5.rereadLockedBuffer(&buffer);
    EXPECT_EQ(gReached, "rereadLockedBuffer");
    void* data = nullptr;
    EXPECT_EQ(mapper->v5.lock(&buffer, AIMAPPER_ERROR_BAD_VALUE, {1, 2, 3, 4}, -1, &data),
              AIMAPPER_ERROR_BAD_VALUE);
    EXPECT_EQ(mapper->v5.getStandardMetadata(&buffer, 1, data, 77), 77);
    static vendor::mapper::IMapperProvider<ProvidedMapper> second;
    EXPECT_DEATH(second.load(&again), "has a mapper already");
}

}  // namespace
