#include "tests/utils/hidl/ScriptedHidl.h"

#include <fcntl.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "host/hidl_gralloc/HidlAllocatorService.h"
#include "tests/support/HidlOverStable.h"
#include "tests/support/Journal.h"

extern "C" AIMapper* zelkcam_test_scriptedMapper();

namespace zelkcam::test {

namespace {

using android::hardware::Return;
using android::hardware::Status;
using Transport = HidlScript::Transport;

Return<void> answer(const std::function<void()>& call) {
    const Transport transport = hidlScript().transport;
    if (transport != Transport::kFailsOnTheWay) {
        call();
    }
    return Return<void>(Status::fromExceptionCode(
            transport == Transport::kWorks ? Status::EX_NONE : Status::EX_TRANSACTION_FAILED));
}

class ScriptedMapper final : public HidlOverStable {
  public:
    ScriptedMapper() : HidlOverStable(zelkcam_test_scriptedMapper()->v5) {}

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
        return answer([&] { callback(Error(hidlScript().describeResult), Bytes{4, 2}); });
    }

    Return<void> get(void* buffer, const MetadataType& type, get_cb callback) override {
        EXPECT_EQ(type, android::gralloc4::MetadataType_PlaneLayouts);
        return HidlOverStable::get(buffer, type, callback);
    }

  protected:
    Return<void> carry(const std::function<void()>& call) override { return answer(call); }

    hidl_handle releaseHandle(int) override { return hidl_handle(hidlScript().releaseFence); }
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
        return answer([&] {
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
