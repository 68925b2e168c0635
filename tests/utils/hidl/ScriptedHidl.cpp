#include "tests/utils/hidl/ScriptedHidl.h"

#include <fcntl.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "host/hidl_gralloc/HidlAllocatorService.h"
#include "host/hidl_gralloc/MapperService.h"
#include "tests/support/Journal.h"

extern "C" AIMapper* zelkcam_test_scriptedMapper();

namespace zelkcam::test {

namespace {

using android::hardware::Return;
using android::hardware::Status;
using Transport = HidlScript::Transport;

const AIMapperV5& stable() {
    static const AIMapperV5& functions = zelkcam_test_scriptedMapper()->v5;
    return functions;
}

// Makes the call, or loses it on the way or on the way back.
Return<void> carry(const std::function<void()>& call) {
    const Transport transport = hidlScript().transport;
    if (transport != Transport::kFailsOnTheWay) {
        call();
    }
    return Return<void>(Status::fromExceptionCode(
            transport == Transport::kWorks ? Status::EX_NONE : Status::EX_TRANSACTION_FAILED));
}

class ScriptedMapper final : public host::MapperService {
  public:
    bool isRemote() const override { return hidlScript().remote; }

    Return<void> createDescriptor(const BufferDescriptorInfo& description,
                                  createDescriptor_cb callback) override {
        auto& request = allocatorScript().requests.emplace_back();
        request.width = static_cast<int32_t>(description.width);
        request.height = static_cast<int32_t>(description.height);
        request.layerCount = static_cast<int32_t>(description.layerCount);
        request.format = static_cast<decltype(request.format)>(description.format);
        request.usage = static_cast<decltype(request.usage)>(description.usage);
        request.reservedSize = static_cast<int64_t>(description.reservedSize);
        std::copy_n(description.name.c_str(), description.name.size(), request.name.begin());
        return carry([&] { callback(Error(hidlScript().describeResult), Bytes{4, 2}); });
    }

    Return<void> importBuffer(const hidl_handle& raw, importBuffer_cb callback) override {
        return carry([&] {
            buffer_handle_t imported = nullptr;
            const auto error = stable().importBuffer(raw.getNativeHandle(), &imported);
            callback(Error(error), const_cast<native_handle*>(imported));
        });
    }

    Return<Error> freeBuffer(void* buffer) override {
        AIMapper_Error error = AIMAPPER_ERROR_NONE;
        const auto carried =
                carry([&] { error = stable().freeBuffer(static_cast<buffer_handle_t>(buffer)); });
        return carried.isOk() ? Return<Error>(Error(error))
                              : Return<Error>(Status::fromStatusT(android::DEAD_OBJECT));
    }

    Return<void> lock(void* buffer, uint64_t usage, const Rect& region, const hidl_handle& fence,
                      lock_cb callback) override {
        return carry([&] {
            const native_handle_t* const handle = fence.getNativeHandle();
            EXPECT_TRUE(!handle || (handle->numFds == 1 && handle->numInts == 0));
            void* data = nullptr;
            const auto error = stable().lock(static_cast<buffer_handle_t>(buffer), usage,
                                             {region.left, region.top, region.width, region.height},
                                             handle ? handle->data[0] : -1, &data);
            callback(Error(error), data);
        });
    }

    Return<void> unlock(void* buffer, unlock_cb callback) override {
        return carry([&] {
            int unused = -1;
            const auto error = stable().unlock(static_cast<buffer_handle_t>(buffer), &unused);
            callback(Error(error), hidl_handle(hidlScript().releaseFence));
        });
    }

    Return<void> get(void* buffer, const MetadataType& type, get_cb callback) override {
        EXPECT_EQ(type, android::gralloc4::MetadataType_PlaneLayouts);
        return carry([&] {
            std::vector<uint8_t> bytes(4096);
            const int32_t size = stable().getStandardMetadata(
                    static_cast<buffer_handle_t>(buffer), type.value, bytes.data(), bytes.size());
            bytes.resize(static_cast<size_t>(std::max(size, 0)));
            callback(size < 0 ? Error(-size) : Error::NONE, bytes);
        });
    }
};

class ScriptedHidlAllocator final : public host::HidlAllocatorService {
  public:
    Return<void> allocate(const Bytes& descriptor, uint32_t count, allocate_cb callback) override {
        journal().add("allocate2");
        AllocatorScript& script = allocatorScript();
        hidlScript().descriptors.push_back(descriptor);
        script.counts.push_back(static_cast<int32_t>(count));
        hidl_vec<hidl_handle> raw(count + static_cast<uint32_t>(script.surplus));
        for (hidl_handle& handle : raw) {
            native_handle_t* const native = native_handle_create(1, 0);
            native->data[0] = open("/dev/null", O_RDWR | O_CLOEXEC);
            script.descriptors.push_back(native->data[0]);
            handle.setTo(native, true);
        }
        return carry([&] {
            callback(Error(script.allocateResult), static_cast<uint32_t>(script.stride), raw);
        });
    }
};

}  // namespace

HidlScript& hidlScript() {
    static HidlScript& instance = *new HidlScript;
    return instance;
}

void registerScriptedHidl() {
    static const auto& mapper = *new android::sp<ScriptedMapper>(new ScriptedMapper);
    static const auto& allocator =
            *new android::sp<ScriptedHidlAllocator>(new ScriptedHidlAllocator);
    stable();  // its loading is not to be heard later
    hidlScript() = {};
    if (mapper->registerAsService() != android::OK ||
        allocator->registerAsService() != android::OK) {
        abort();
    }
}

}  // namespace zelkcam::test

extern "C" {

int dup(int fd) {
    return zelkcam::test::hidlScript().dupFails ? -1 : fcntl(fd, F_DUPFD_CLOEXEC, 0);
}

native_handle_t* native_handle_init(char* storage, int numFds, int numInts) {
    if (zelkcam::test::hidlScript().wrapFails) {
        return nullptr;
    }
    auto* const handle = reinterpret_cast<native_handle_t*>(storage);
    handle->version = sizeof(native_handle_t);
    handle->numFds = numFds;
    handle->numInts = numInts;
    return handle;
}

}  // extern "C"
