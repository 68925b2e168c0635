#include "tests/faults/FaultyGralloc.h"

#include <dlfcn.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <string>

#include <aidl/android/hardware/graphics/allocator/BnAllocator.h>

#include "tests/faults/Doors.h"

namespace zelkcam::faults {

namespace {

namespace alloc = aidl::android::hardware::graphics::allocator;
using aidl::android::hardware::graphics::common::PlaneLayout;
using aidl::android::hardware::graphics::common::StandardMetadataType;
using PlaneLayouts = android::hardware::graphics::mapper::StandardMetadata<
        StandardMetadataType::PLANE_LAYOUTS>::value;

// A fault's number is what the call answers; those of other kinds are beyond the codes.
enum Kind : int64_t {
    kNull = 1000,  // success without a result
    kHalf,
    kOdd,  // layouts that no android_ycbcr can describe
    kWithFence,
    kNoFence,
    kNoDescriptors,
};

constexpr Fault kCodes[] = {{"BAD_BUFFER", 2}, {"UNSUPPORTED", 7}};
constexpr Fault kImportFaults[] = {{"BAD_BUFFER", 2}, {"null", kNull}};
constexpr Fault kUnlockFaults[] = {
        {"BAD_BUFFER", 2}, {"failed with a fence", kWithFence}, {"no fence", kNoFence}};
constexpr Fault kReadFaults[] = {
        {"BAD_BUFFER", 2}, {"UNSUPPORTED", 7}, {"half", kHalf}, {"odd planes", kOdd}};
constexpr Fault kAllocateFaults[] = {{"NO_RESOURCES", 1},
                                     {"dead object", STATUS_DEAD_OBJECT},
                                     {"handles without descriptors", kNoDescriptors}};
constexpr Fault kSuffixFaults[] = {{"dead object", STATUS_DEAD_OBJECT}, {"of no library"}};
constexpr Fault kNone[] = {{"null"}};

constexpr Door kImport{"importBuffer", kImportFaults};
constexpr Door kFree{"freeBuffer", kCodes};
constexpr Door kLock{"lock", kCodes};
constexpr Door kUnlock{"unlock", kUnlockFaults};
constexpr Door kGetStandard{"getStandardMetadata", kReadFaults};
constexpr Door kSetStandard{"setStandardMetadata", kCodes};
constexpr Door kGetNote{"getMetadata", kReadFaults};
constexpr Door kSetNote{"setMetadata", kCodes};
constexpr Door kLoad{"AIMapper_loadIMapper", kNone};
constexpr Door kAllocate2{"allocate2", kAllocateFaults};
constexpr Door kSuffix{"getIMapperLibrarySuffix", kSuffixFaults};

const AIMapperV5* gReal = nullptr;
std::shared_ptr<AidlAllocator> gRealAllocator;

AIMapper_Error code(const Fault& fault) {
    return static_cast<AIMapper_Error>(fault.value);
}

// Makes the platform's call, or answers the fault's code in its place.
template <const Door& kDoor, auto kEntry, typename... Arguments>
AIMapper_Error callOrFail(Arguments... arguments) {
    const Fault* const fault = pass(kDoor);
    return fault ? code(*fault) : (gReal->*kEntry)(arguments...);
}

AIMapper_Error importBuffer(const native_handle_t* raw, buffer_handle_t* out) {
    const Fault* const fault = pass(kImport);
    if (fault == nullptr) {
        return gReal->importBuffer(raw, out);
    }
    *out = nullptr;
    return fault->value == kNull ? AIMAPPER_ERROR_NONE : code(*fault);
}

// What a mapper does with a buffer that it fails to free is not the sweep's concern: it is gone.
AIMapper_Error freeBuffer(buffer_handle_t buffer) {
    const Fault* const fault = pass(kFree);
    if (fault == nullptr) {
        return gReal->freeBuffer(buffer);
    }
    const Pause pause;
    gReal->freeBuffer(buffer);
    return code(*fault);
}

AIMapper_Error unlock(buffer_handle_t buffer, int* releaseFence) {
    const Fault* const fault = pass(kUnlock);
    const Pause pause;
    const AIMapper_Error error = gReal->unlock(buffer, releaseFence);
    if (error == AIMAPPER_ERROR_NONE && (fault == nullptr || fault->value == kWithFence)) {
        *releaseFence = newFence();
    }
    if (fault == nullptr || fault->value == kNoFence) {
        return error;
    }
    return fault->value == kWithFence ? AIMAPPER_ERROR_NO_RESOURCES : code(*fault);
}

// A chroma step of three bytes.
int32_t writeOddPlanes(void* destination, size_t size) {
    PlaneLayout layout;
    layout.components.push_back(
            {{"android.hardware.graphics.common.PlaneLayoutComponentType", 2}, 0, 8});
    layout.sampleIncrementInBits = 24;
    return PlaneLayouts::encode({layout}, destination, size);
}

// What a successful read is turned into.
int32_t spoilt(int64_t kind, int32_t real, void* destination, size_t size) {
    switch (kind) {
        case kHalf:
            return real / 2;
        case kOdd:
            return writeOddPlanes(destination, size);
        default:
            return static_cast<int32_t>(-kind);
    }
}

int32_t getStandardMetadata(buffer_handle_t buffer, int64_t type, void* out, size_t size) {
    const Fault* const fault = pass(kGetStandard);
    const int32_t real = gReal->getStandardMetadata(buffer, type, out, size);
    return fault == nullptr || real < 0 ? real : spoilt(fault->value, real, out, size);
}

int32_t getMetadata(buffer_handle_t buffer, AIMapper_MetadataType type, void* out, size_t size) {
    const Fault* const fault = pass(kGetNote);
    const int32_t real = gReal->getMetadata(buffer, type, out, size);
    return fault == nullptr || real < 0 ? real : spoilt(fault->value, real, out, size);
}

class FaultyAllocator final : public alloc::BnAllocator {
  public:
    ndk::ScopedAStatus allocate(const std::vector<uint8_t>&, int32_t,
                                alloc::AllocationResult*) override {
        return ndk::ScopedAStatus::fromStatus(STATUS_UNKNOWN_TRANSACTION);
    }

    ndk::ScopedAStatus allocate2(const alloc::BufferDescriptorInfo& info, int32_t count,
                                 alloc::AllocationResult* result) override {
        const Fault* const fault = pass(kAllocate2);
        if (fault != nullptr && fault->value < 0) {
            return ndk::ScopedAStatus::fromStatus(static_cast<binder_status_t>(fault->value));
        }
        if (fault != nullptr && fault->value < kNull) {
            return ndk::ScopedAStatus::fromServiceSpecificError(static_cast<int>(fault->value));
        }
        ndk::ScopedAStatus status = gRealAllocator->allocate2(info, count, result);
        if (fault == nullptr || !status.isOk()) {
            return status;
        }
        const Pause pause;
        for (auto& buffer : result->buffers) {
            buffer.fds.clear();
        }
        return ndk::ScopedAStatus::ok();
    }

    ndk::ScopedAStatus isSupported(const alloc::BufferDescriptorInfo& info, bool* out) override {
        return gRealAllocator->isSupported(info, out);
    }

    ndk::ScopedAStatus getIMapperLibrarySuffix(std::string* suffix) override {
        const Fault* const fault = pass(kSuffix);
        *suffix = fault != nullptr ? "absent" : "faulty";
        return fault != nullptr && fault->value != 0
                       ? ndk::ScopedAStatus::fromStatus(static_cast<binder_status_t>(fault->value))
                       : ndk::ScopedAStatus::ok();
    }
};

void findReal(const std::string& instance) {
    gRealAllocator = AidlAllocator::fromBinder(
            ndk::SpAIBinder(AServiceManager_checkService(instance.c_str())));
    void* const library = android_load_sphal_library("mapper.default.so", RTLD_NOW);
    AIMapper* mapper = nullptr;
    reinterpret_cast<decltype(&AIMapper_loadIMapper)>(dlsym(library, "AIMapper_loadIMapper"))(
            &mapper);
    gReal = &mapper->v5;
}

}  // namespace

void installFaultyGralloc() {
    setenv("ZELKCAM_HOST_SPHAL_PATH", FAULTY_MAPPER_FOLDER, 1);
    const std::string instance = std::string(AidlAllocator::descriptor) + "/default";
    findReal(instance);
    const std::shared_ptr<AidlAllocator> faulty = ndk::SharedRefBase::make<FaultyAllocator>();
    if (AServiceManager_addService(faulty->asBinder().get(), instance.c_str()) != EX_NONE) {
        abort();
    }
}

const std::shared_ptr<AidlAllocator>& realAllocator() {
    return gRealAllocator;
}

const AIMapperV5& realMapper() {
    return *gReal;
}

int newFence() {
    return eventfd(1, EFD_CLOEXEC);
}

}  // namespace zelkcam::faults

// Called by the loaded library.
extern "C" AIMapper* zelkcam_faults_mapper() {
    using namespace zelkcam::faults;
    static AIMapper mapper = {.version = AIMAPPER_VERSION_5, .v5 = realMapper()};
    mapper.v5.importBuffer = importBuffer;
    mapper.v5.freeBuffer = freeBuffer;
    mapper.v5.lock = callOrFail<kLock, &AIMapperV5::lock>;
    mapper.v5.unlock = unlock;
    mapper.v5.getStandardMetadata = getStandardMetadata;
    mapper.v5.setStandardMetadata = callOrFail<kSetStandard, &AIMapperV5::setStandardMetadata>;
    mapper.v5.getMetadata = getMetadata;
    mapper.v5.setMetadata = callOrFail<kSetNote, &AIMapperV5::setMetadata>;
    return pass(kLoad) ? nullptr : &mapper;
}
