#include "tests/faults/FaultyGralloc.h"

#include <dlfcn.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>

#include <aidl/android/hardware/graphics/allocator/AllocationError.h>
#include <aidl/android/hardware/graphics/allocator/BnAllocator.h>

#include "host/hidl_gralloc/HidlAllocatorService.h"
#include "host/hidl_gralloc/MapperService.h"
#include "platform/utils.h"
#include "tests/faults/Doors.h"

namespace zelkcam::faults {

namespace {

namespace alloc = aidl::android::hardware::graphics::allocator;
namespace common = aidl::android::hardware::graphics::common;
using android::sp;
using android::hardware::hidl_handle;
using android::hardware::hidl_vec;
using android::hardware::Return;
using android::hardware::Status;
using android::hardware::Void;
using android::hardware::graphics::mapper::V4_0::Error;
using common::PlaneLayout;
using common::PlaneLayoutComponentType;
using common::StandardMetadataType;
using Bytes = hidl_vec<uint8_t>;

// A fault's number is what the call answers; those of other kinds are beyond the codes.
enum Kind : int64_t {
    kNull = 1000,  // success without a result
    kTransport,
    kTruncated,
    kHalf,
    kEmpty,
    kGarbage,
    kGrown,
    kLeast,  // a failure that cannot be negated
    kOdd,    // layouts that no android_ycbcr can say
    kWithFence = 2000,
    kNoFence,
    kTwoFences,
};

#define MAPPER_CODES                                                                   \
    {"BAD_DESCRIPTOR", 1}, {"BAD_BUFFER", 2}, {"BAD_VALUE", 3}, {"NO_RESOURCES", 5}, { \
        "UNSUPPORTED", 7                                                               \
    }

constexpr Fault kCodes[] = {MAPPER_CODES};
constexpr Fault kCodesOrNull[] = {MAPPER_CODES, {"null", kNull}};
constexpr Fault kUnlockFaults[] = {
        MAPPER_CODES, {"failed with a fence", kWithFence}, {"no fence", kNoFence}};
constexpr Fault kReadFaults[] = {MAPPER_CODES,      {"truncated", kTruncated}, {"half", kHalf},
                                 {"empty", kEmpty}, {"garbage", kGarbage},     {"grown", kGrown},
                                 {"least", kLeast}, {"odd planes", kOdd}};
constexpr Fault kNoteFaults[] = {
        MAPPER_CODES, {"truncated", kTruncated}, {"grown", kGrown}, {"least", kLeast}};
constexpr Fault kHidlCodes[] = {MAPPER_CODES, {"transport", kTransport}};
constexpr Fault kHidlCodesOrNull[] = {MAPPER_CODES, {"transport", kTransport}, {"null", kNull}};
constexpr Fault kHidlUnlockFaults[] = {MAPPER_CODES,
                                       {"transport", kTransport},
                                       {"no fence", kNoFence},
                                       {"two fences", kTwoFences}};
constexpr Fault kHidlReadFaults[] = {MAPPER_CODES,        {"transport", kTransport},
                                     {"half", kHalf},     {"truncated", kTruncated},
                                     {"empty", kEmpty},   {"garbage", kGarbage},
                                     {"odd planes", kOdd}};
constexpr Fault kRemote[] = {{"remote", 1}};
constexpr Fault kEntry[] = {{"null"}};
// An allocation fails by a service's own code, by an exception, by a transport's status, after it
// has made the buffers, or with buffers that are none.
constexpr int64_t kException = 100, kAfterwards = 200, kNoDescriptors = 201, kClosed = 202;
constexpr Fault kAllocateFaults[] = {
        {"BAD_DESCRIPTOR", 0},
        {"NO_RESOURCES", 1},
        {"UNSUPPORTED", 2},
        {"illegal argument", kException + EX_ILLEGAL_ARGUMENT},
        {"security", kException + EX_SECURITY},
        {"dead object", STATUS_DEAD_OBJECT},
        {"failed transaction", STATUS_FAILED_TRANSACTION},
        {"refused with buffers", kAfterwards},
        {"handles without descriptors", kNoDescriptors},
        {"descriptors of another kind", kClosed},
};
constexpr Fault kSuffixFaults[] = {{"dead object", STATUS_DEAD_OBJECT},
                                   {"unknown transaction", STATUS_UNKNOWN_TRANSACTION},
                                   {"of no library"}};

constexpr Door kImport{"importBuffer", kCodesOrNull};
constexpr Door kFree{"freeBuffer", kCodes};
constexpr Door kLock{"lock", kCodes};
constexpr Door kUnlock{"unlock", kUnlockFaults};
constexpr Door kGetStandard{"getStandardMetadata", kReadFaults};
constexpr Door kSetStandard{"setStandardMetadata", kCodes};
constexpr Door kGetNote{"getMetadata", kNoteFaults};
constexpr Door kSetNote{"setMetadata", kCodes};
constexpr Door kLoad{"AIMapper_loadIMapper", kEntry};
constexpr Door kAllocate2{"allocate2", kAllocateFaults};
constexpr Door kSuffix{"getIMapperLibrarySuffix", kSuffixFaults};
constexpr Door kHidlCreateDescriptor{"hidl createDescriptor", kHidlCodes};
constexpr Door kHidlImport{"hidl importBuffer", kHidlCodesOrNull};
constexpr Door kHidlFree{"hidl freeBuffer", kHidlCodes};
constexpr Door kHidlLock{"hidl lock", kHidlCodes};
constexpr Door kHidlUnlock{"hidl unlock", kHidlUnlockFaults};
constexpr Door kHidlGet{"hidl get", kHidlReadFaults};
constexpr Door kHidlIsRemote{"hidl isRemote", kRemote};
constexpr Door kHidlAllocate{"hidl allocate", kHidlCodesOrNull};

const AIMapperV5* gReal = nullptr;
std::shared_ptr<AidlAllocator> gRealAllocator;

AIMapper_Error code(const Fault& fault) {
    return static_cast<AIMapper_Error>(fault.value);
}

bool isCode(const Fault& fault) {
    return fault.value < kNull;
}

std::vector<PlaneLayout> oddPlanes() {
    PlaneLayout layout;
    layout.components.push_back({{"android.hardware.graphics.common.PlaneLayoutComponentType",
                                  static_cast<int64_t>(PlaneLayoutComponentType::CB)},
                                 0,
                                 8});
    layout.sampleIncrementInBits = 24;
    layout.heightInSamples = 1;
    return {layout};
}

void spoil(uint8_t* bytes, size_t size) {
    for (size_t i = 0; i < std::min<size_t>(size, 16); ++i) {
        bytes[i] ^= 0xa5;
    }
}

// Makes the platform's call, or answers the fault's code in its place.
template <typename... Parameters, typename... Arguments>
AIMapper_Error callOrFail(const Door& door, AIMapper_Error (*real)(Parameters...),
                          const Arguments&... arguments) {
    const Fault* const fault = pass(door);
    return fault ? code(*fault) : real(arguments...);
}

AIMapper_Error importBuffer(const native_handle_t* raw, buffer_handle_t* out) {
    const Fault* const fault = pass(kImport);
    if (fault == nullptr) {
        return gReal->importBuffer(raw, out);
    }
    if (isCode(*fault)) {
        return code(*fault);
    }
    *out = nullptr;
    return AIMAPPER_ERROR_NONE;
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

AIMapper_Error lock(buffer_handle_t buffer, uint64_t usage, ARect region, int fence, void** out) {
    return callOrFail(kLock, gReal->lock, buffer, usage, region, fence, out);
}

AIMapper_Error unlock(buffer_handle_t buffer, int* releaseFence) {
    const Fault* const fault = pass(kUnlock);
    const Pause pause;
    const AIMapper_Error error = gReal->unlock(buffer, releaseFence);
    const bool fails = fault != nullptr && fault->value != kNoFence;
    if (error == AIMAPPER_ERROR_NONE && (fault == nullptr || fault->value == kWithFence)) {
        *releaseFence = newFence();
    }
    if (!fails) {
        return error;
    }
    return fault->value == kWithFence ? AIMAPPER_ERROR_NO_RESOURCES : code(*fault);
}

int32_t oddMetadata(void* destination, size_t size) {
    using Value = android::hardware::graphics::mapper::StandardMetadata<
            StandardMetadataType::PLANE_LAYOUTS>::value;
    return Value::encode(oddPlanes(), destination, size);
}

int32_t getStandardMetadata(buffer_handle_t buffer, int64_t type, void* destination, size_t size) {
    const Fault* const fault = pass(kGetStandard);
    if (fault == nullptr) {
        return gReal->getStandardMetadata(buffer, type, destination, size);
    }
    if (isCode(*fault)) {
        return -code(*fault);
    }
    const Pause pause;
    if (fault->value == kOdd && type == static_cast<int64_t>(StandardMetadataType::PLANE_LAYOUTS)) {
        return oddMetadata(destination, size);
    }
    const int32_t real = gReal->getStandardMetadata(buffer, type, destination, size);
    switch (fault->value) {
        case kTruncated:
            return std::max(real - 1, 0);
        case kHalf:
            return real / 2;
        case kEmpty:
            return 0;
        case kGarbage:
            spoil(static_cast<uint8_t*>(destination), std::min<size_t>(size, std::max(real, 0)));
            return real;
        case kLeast:
            return INT32_MIN;
        case kGrown:
            return static_cast<int32_t>(size) + 1;
        default:
            return real;
    }
}

AIMapper_Error setStandardMetadata(buffer_handle_t buffer, int64_t type, const void* bytes,
                                   size_t size) {
    return callOrFail(kSetStandard, gReal->setStandardMetadata, buffer, type, bytes, size);
}

int32_t getMetadata(buffer_handle_t buffer, AIMapper_MetadataType type, void* out, size_t size) {
    const Fault* const fault = pass(kGetNote);
    if (fault == nullptr) {
        return gReal->getMetadata(buffer, type, out, size);
    }
    if (isCode(*fault)) {
        return -code(*fault);
    }
    if (fault->value == kLeast) {
        return INT32_MIN;
    }
    return static_cast<int32_t>(fault->value == kGrown ? size + 1 : size - 1);
}

AIMapper_Error setMetadata(buffer_handle_t buffer, AIMapper_MetadataType type, const void* bytes,
                           size_t size) {
    return callOrFail(kSetNote, gReal->setMetadata, buffer, type, bytes, size);
}

ndk::ScopedAStatus refusal(int64_t kind) {
    if (kind < 0) {
        return ndk::ScopedAStatus::fromStatus(static_cast<binder_status_t>(kind));
    }
    if (kind >= kAfterwards) {
        return ndk::ScopedAStatus::fromServiceSpecificError(1);
    }
    // Exceptions have negative numbers, so they lie below their base.
    if (kind > 2) {
        return ndk::ScopedAStatus::fromExceptionCode(static_cast<int>(kind - kException));
    }
    return ndk::ScopedAStatus::fromServiceSpecificError(static_cast<int>(kind));
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
        if (fault != nullptr && fault->value < kAfterwards) {
            return refusal(fault->value);
        }
        ndk::ScopedAStatus status = gRealAllocator->allocate2(info, count, result);
        if (fault == nullptr || !status.isOk()) {
            return status;
        }
        for (auto& buffer : result->buffers) {
            spoil(buffer, fault->value);
        }
        return fault->value == kAfterwards ? refusal(fault->value) : ndk::ScopedAStatus::ok();
    }

    ndk::ScopedAStatus isSupported(const alloc::BufferDescriptorInfo& info, bool* out) override {
        return gRealAllocator->isSupported(info, out);
    }

    ndk::ScopedAStatus getIMapperLibrarySuffix(std::string* suffix) override {
        const Fault* const fault = pass(kSuffix);
        if (fault != nullptr && fault->value != 0) {
            return refusal(fault->value);
        }
        *suffix = fault != nullptr ? "absent" : "faulty";
        return ndk::ScopedAStatus::ok();
    }

  private:
    static void spoil(aidl::android::hardware::common::NativeHandle& buffer, int64_t kind) {
        const Pause pause;
        if (kind == kNoDescriptors) {
            buffer.fds.clear();
        }
        if (kind == kClosed) {
            buffer.fds[0].set(newFence());
        }
    }
};

Error hidlCode(const Fault& fault) {
    return static_cast<Error>(fault.value);
}

// What a call that fails answers: the fault's code, or a success, in either case without a result;
// or that it did not get through.
template <typename Callback, typename... Results>
Return<void> refused(const Fault& fault, const Callback& callback, const Results&... empty) {
    if (fault.value == kTransport) {
        return Status::fromStatusT(android::DEAD_OBJECT);
    }
    callback(isCode(fault) ? hidlCode(fault) : Error::NONE, empty...);
    return Void();
}

// A native handle that closes its descriptors.
hidl_handle fences(int count) {
    native_handle_t* const native = native_handle_create(count, 0);
    std::generate_n(native->data, count, newFence);
    hidl_handle handle;
    handle.setTo(native, true);
    return handle;
}

Bytes spoilt(const Bytes& bytes, int64_t kind) {
    Bytes result = bytes;
    if (kind == kEmpty) {
        result.resize(0);
    }
    if (kind == kHalf) {
        result.resize(bytes.size() / 2);
    }
    if (kind == kTruncated && bytes.size() != 0) {
        result.resize(bytes.size() - 1);
    }
    if (kind == kGarbage) {
        spoil(result.data(), result.size());
    }
    if (kind == kOdd) {
        android::gralloc4::encodePlaneLayouts(oddPlanes(), &result);
    }
    return result;
}

class FaultyMapper final : public host::MapperService {
  public:
    bool isRemote() const override { return pass(kHidlIsRemote) != nullptr; }

    Return<void> createDescriptor(const BufferDescriptorInfo& description,
                                  createDescriptor_cb callback) override {
        const Fault* const fault = pass(kHidlCreateDescriptor);
        return fault ? refused(*fault, callback, Bytes())
                     : MapperService::createDescriptor(description, callback);
    }

    Return<void> importBuffer(const hidl_handle& raw, importBuffer_cb callback) override {
        const Fault* const fault = pass(kHidlImport);
        return fault ? refused(*fault, callback, nullptr)
                     : MapperService::importBuffer(raw, callback);
    }

    Return<Error> freeBuffer(void* buffer) override {
        const Fault* const fault = pass(kHidlFree);
        if (fault == nullptr) {
            return MapperService::freeBuffer(buffer);
        }
        const Pause pause;
        MapperService::freeBuffer(buffer).isOk();
        return isCode(*fault) ? Return<Error>(hidlCode(*fault))
                              : Return<Error>(Status::fromStatusT(android::DEAD_OBJECT));
    }

    Return<void> lock(void* buffer, uint64_t usage, const Rect& region, const hidl_handle& fence,
                      lock_cb callback) override {
        const Fault* const fault = pass(kHidlLock);
        return fault ? refused(*fault, callback, nullptr)
                     : MapperService::lock(buffer, usage, region, fence, callback);
    }

    Return<void> unlock(void* buffer, unlock_cb callback) override {
        const Fault* const fault = pass(kHidlUnlock);
        hidl_handle fence;
        {
            const Pause pause;
            MapperService::unlock(buffer, [](Error, const hidl_handle&) {}).isOk();
            if (fault == nullptr || fault->value == kTwoFences) {
                fence = fences(fault == nullptr ? 1 : 2);
            }
        }
        if (fault != nullptr && fault->value < kNoFence) {
            return refused(*fault, callback, hidl_handle());
        }
        callback(Error::NONE, fence);
        const Pause pause;
        fence = nullptr;
        return Void();
    }

    Return<void> get(void* buffer, const MetadataType& type, get_cb callback) override {
        const Fault* const fault = pass(kHidlGet);
        if (fault == nullptr) {
            return MapperService::get(buffer, type, callback);
        }
        if (isCode(*fault) || fault->value == kTransport) {
            return refused(*fault, callback, Bytes());
        }
        return MapperService::get(buffer, type, [&](Error error, const Bytes& bytes) {
            callback(error, spoilt(bytes, fault->value));
        });
    }
};

class FaultyHidlAllocator final : public host::HidlAllocatorService {
  public:
    Return<void> allocate(const Bytes& descriptor, uint32_t count, allocate_cb callback) override {
        const Fault* const fault = pass(kHidlAllocate);
        if (fault == nullptr) {
            return HidlAllocatorService::allocate(descriptor, count, callback);
        }
        const hidl_vec<hidl_handle> nothing(isCode(*fault) ? 0 : count);
        return refused(*fault, callback, 64, nothing);
    }
};

void findReal() {
    const std::string name = std::string(AidlAllocator::descriptor) + "/default";
    gRealAllocator =
            AidlAllocator::fromBinder(ndk::SpAIBinder(AServiceManager_checkService(name.c_str())));
    void* const library = android_load_sphal_library("mapper.default.so", RTLD_NOW);
    AIMapper* mapper = nullptr;
    reinterpret_cast<decltype(&AIMapper_loadIMapper)>(dlsym(library, "AIMapper_loadIMapper"))(
            &mapper);
    gReal = &mapper->v5;
    const std::shared_ptr<AidlAllocator> faulty = ndk::SharedRefBase::make<FaultyAllocator>();
    if (AServiceManager_addService(faulty->asBinder().get(), name.c_str()) != EX_NONE) {
        abort();
    }
}

}  // namespace

void installFaultyGralloc() {
    setenv("ZELKCAM_HOST_SPHAL_PATH", FAULTY_MAPPER_FOLDER, 1);
    findReal();
    const sp<FaultyMapper> mapper = new FaultyMapper;
    const sp<FaultyHidlAllocator> allocator = new FaultyHidlAllocator;
    if (mapper->registerAsService() != android::OK ||
        allocator->registerAsService() != android::OK) {
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
    mapper.v5.lock = lock;
    mapper.v5.unlock = unlock;
    mapper.v5.getStandardMetadata = getStandardMetadata;
    mapper.v5.setStandardMetadata = setStandardMetadata;
    mapper.v5.getMetadata = getMetadata;
    mapper.v5.setMetadata = setMetadata;
    return pass(kLoad) ? nullptr : &mapper;
}
