#include "tests/support/ScriptedGralloc.h"

#include <fcntl.h>

#include <algorithm>

#include <aidl/android/hardware/graphics/allocator/BnAllocator.h>

#include "platform/utils.h"
#include "tests/support/Journal.h"

namespace zelkcam::test {

namespace {

namespace alloc = aidl::android::hardware::graphics::allocator;
namespace mapper = android::hardware::graphics::mapper;

AIMapper_Error toError(int32_t code) {
    return static_cast<AIMapper_Error>(code);
}

AIMapper_Error importBuffer(const native_handle_t* raw, buffer_handle_t* out) {
    const bool isClosed = raw != nullptr && raw->numFds == 1 && raw->data[0] > 0 &&
                          fcntl(raw->data[0], F_GETFD) == -1;
    journal().add(isClosed ? "importBuffer of a closed descriptor" : "importBuffer");
    MapperScript& script = mapperScript();
    int32_t result = 0;
    if (!script.importResults.empty()) {
        result = script.importResults.front();
        script.importResults.pop_front();
    }
    *out = result == 0 && !script.importGivesNull ? native_handle_create(0, 1)
                                                  : script.failedImport;
    if (result == 0 && *out != nullptr) {
        script.imports.insert(*out);
    }
    return toError(result);
}

AIMapper_Error freeBuffer(buffer_handle_t buffer) {
    journal().add("freeBuffer");
    if (mapperScript().imports.erase(buffer) != 0) {
        native_handle_delete(const_cast<native_handle_t*>(buffer));
    }
    return toError(mapperScript().freeResult);
}

AIMapper_Error lock(buffer_handle_t, uint64_t usage, ARect rect, int fence, void** out) {
    char text[128];
    snprintf(text, sizeof(text), "lock usage=%lx rect=%d,%d,%d,%d fence=%s", usage, rect.left,
             rect.top, rect.right, rect.bottom, descriptorName(fence).c_str());
    journal().add(text);
    if (mapperScript().onLock) {
        mapperScript().onLock();
    }
    *out = kMapped;  // a failed lock writes, too
    return toError(mapperScript().lockResult);
}

AIMapper_Error unlock(buffer_handle_t, int* releaseFence) {
    journal().add("unlock");
    if (mapperScript().unlockFence != -1) {
        *releaseFence = mapperScript().unlockFence;
    }
    return toError(mapperScript().unlockResult);
}

int32_t getStandardMetadata(buffer_handle_t, int64_t type, void* destination, size_t size) {
    journal().add("getStandardMetadata " + std::to_string(type) + " " + std::to_string(size));
    MapperScript& script = mapperScript();
    if (script.getMetadata) {
        return script.getMetadata(type, destination, size);
    }
    const auto found = script.metadata.find(type);
    if (found == script.metadata.end()) {
        return -AIMAPPER_ERROR_UNSUPPORTED;
    }
    if (found->second.size() <= size) {
        std::copy(found->second.begin(), found->second.end(), static_cast<uint8_t*>(destination));
    }
    return static_cast<int32_t>(found->second.size());
}

AIMapper_Error setStandardMetadata(buffer_handle_t, int64_t type, const void* bytes, size_t size) {
    journal().add("setStandardMetadata " + std::to_string(type) + " " + std::to_string(size));
    const auto* const first = static_cast<const uint8_t*>(bytes);
    mapperScript().lastSet.assign(first, first + size);
    return toError(mapperScript().setResult);
}

int32_t getMetadata(buffer_handle_t, AIMapper_MetadataType type, void* out, size_t size) {
    journal().add("getMetadata " + std::to_string(type.value));
    auto& notes = mapperScript().notes;
    const std::vector<uint8_t>& value = notes.values[{type.name, type.value}];
    if (value.size() <= size) {
        std::copy(value.begin(), value.end(), static_cast<uint8_t*>(out));
    }
    return notes.readError != 0 ? -notes.readError : static_cast<int32_t>(value.size());
}

AIMapper_Error setMetadata(buffer_handle_t, AIMapper_MetadataType type, const void* bytes,
                           size_t size) {
    journal().add("setMetadata " + std::to_string(type.value));
    const auto* const first = static_cast<const uint8_t*>(bytes);
    if (mapperScript().notes.setError == 0) {
        mapperScript().notes.values[{type.name, type.value}].assign(first, first + size);
    }
    return toError(mapperScript().notes.setError);
}

AIMapper* scriptedMapper() {
    static AIMapper& instance = *new AIMapper{};
    instance.version = static_cast<AIMapper_Version>(mapperScript().version);
    instance.v5.importBuffer = importBuffer;
    instance.v5.freeBuffer = freeBuffer;
    instance.v5.lock = lock;
    instance.v5.unlock = unlock;
    instance.v5.getStandardMetadata = getStandardMetadata;
    instance.v5.setStandardMetadata = setStandardMetadata;
    instance.v5.getMetadata = getMetadata;
    instance.v5.setMetadata = setMetadata;
    return &instance;
}

class ScriptedAllocator final : public alloc::BnAllocator {
  public:
    ndk::ScopedAStatus allocate(const std::vector<uint8_t>&, int32_t,
                                alloc::AllocationResult*) override {
        return ndk::ScopedAStatus::fromStatus(STATUS_UNKNOWN_TRANSACTION);
    }

    ndk::ScopedAStatus allocate2(const alloc::BufferDescriptorInfo& description, int32_t count,
                                 alloc::AllocationResult* result) override {
        journal().add("allocate2");
        AllocatorScript& script = allocatorScript();
        script.requests.push_back(description);
        script.counts.push_back(count);
        if (script.onAllocate) {
            script.onAllocate();
        }
        result->stride = script.stride;
        for (int i = 0; i < count + script.surplus; ++i) {
            result->buffers.push_back(newBuffer());
        }
        if (script.allocateResult != 0) {
            return ndk::ScopedAStatus::fromServiceSpecificError(script.allocateResult);
        }
        return script.allocateStatus ? script.allocateStatus() : ndk::ScopedAStatus::ok();
    }

    ndk::ScopedAStatus isSupported(const alloc::BufferDescriptorInfo&, bool* answer) override {
        *answer = true;
        return ndk::ScopedAStatus::ok();
    }

    ndk::ScopedAStatus getIMapperLibrarySuffix(std::string* suffix) override {
        journal().add("getIMapperLibrarySuffix");
        *suffix = allocatorScript().suffix;
        return allocatorScript().suffixStatus ? allocatorScript().suffixStatus()
                                              : ndk::ScopedAStatus::ok();
    }

  private:
    static aidl::android::hardware::common::NativeHandle newBuffer() {
        aidl::android::hardware::common::NativeHandle handle;
        const int fd = open("/dev/null", O_RDWR | O_CLOEXEC);
        allocatorScript().descriptors.push_back(fd);
        handle.fds.emplace_back(fd);
        handle.ints = {1, 2};
        return handle;
    }
};

}  // namespace

MapperScript& mapperScript() {
    static MapperScript& instance = *new MapperScript;
    return instance;
}

AllocatorScript& allocatorScript() {
    static AllocatorScript& instance = *new AllocatorScript;
    return instance;
}

std::shared_ptr<alloc::IAllocator> scriptedAllocator() {
    static auto& instance =
            *new std::shared_ptr<alloc::IAllocator>(ndk::SharedRefBase::make<ScriptedAllocator>());
    setenv("ZELKCAM_HOST_SPHAL_PATH", SCRIPTED_MAPPER_FOLDER, 1);
    return instance;
}

void registerScriptedAllocator() {
    const std::string name = std::string(alloc::IAllocator::descriptor) + "/default";
    if (AServiceManager_addService(scriptedAllocator()->asBinder().get(), name.c_str()) !=
        EX_NONE) {
        abort();
    }
}

PlaneLayoutComponent component(PlaneLayoutComponentType type, int64_t offsetInBits,
                               int64_t sizeInBits) {
    return {{"android.hardware.graphics.common.PlaneLayoutComponentType",
             static_cast<int64_t>(type)},
            offsetInBits,
            sizeInBits};
}

PlaneLayout plane(int64_t offset, int64_t increment, int64_t stride,
                  std::vector<PlaneLayoutComponent> components) {
    PlaneLayout layout;
    layout.components = std::move(components);
    layout.offsetInBytes = offset;
    layout.sampleIncrementInBits = increment;
    layout.strideInBytes = stride;
    return layout;
}

std::vector<uint8_t> encoded(const std::vector<PlaneLayout>& planes) {
    using Value = mapper::StandardMetadata<StandardMetadataType::PLANE_LAYOUTS>::value;
    std::vector<uint8_t> bytes(Value::encode(planes, nullptr, 0));
    if (Value::encode(planes, bytes.data(), bytes.size()) != static_cast<int32_t>(bytes.size())) {
        abort();
    }
    return bytes;
}

void describePlanes(const std::vector<PlaneLayout>& planes) {
    mapperScript().metadata[static_cast<int64_t>(StandardMetadataType::PLANE_LAYOUTS)] =
            encoded(planes);
}

}  // namespace zelkcam::test

// Called by the loaded library; the program's own definition, so that the script is the test's.
extern "C" AIMapper* zelkcam_test_scriptedMapper() {
    zelkcam::test::journal().add("AIMapper_loadIMapper");
    return zelkcam::test::mapperScript().entryGivesNull ? nullptr : zelkcam::test::scriptedMapper();
}
