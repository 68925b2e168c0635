#include "tests/utils/hidl/ScriptedHidl.h"

#include <fcntl.h>
#include <unistd.h>

#include "host/hidl_gralloc/HidlAllocatorService.h"
#include "host/hidl_gralloc/MapperService.h"

namespace zelkcam::test {

namespace {

using android::hardware::Return;
using android::hardware::Status;
using Transport = HidlScript::Transport;

Status transportStatus() {
    return Status::fromExceptionCode(hidlScript().transport == Transport::kWorks
                                             ? Status::EX_NONE
                                             : Status::EX_TRANSACTION_FAILED);
}

template <typename Callback>
Return<void> answer(const char* call, const Callback& callback) {
    journal().add(call);
    if (hidlScript().transport != Transport::kFailsOnTheWay) {
        callback();
    }
    journal().add(std::string(call) + " is over");
    return Return<void>(transportStatus());
}

class ScriptedMapper final : public host::MapperService {
  public:
    bool isRemote() const override { return remote; }

    Return<void> createDescriptor(const Description& description,
                                  createDescriptor_cb callback) override {
        hidlScript().descriptions.push_back(description);
        return answer("createDescriptor", [&] { callback(hidlScript().error, Bytes{4, 2}); });
    }

    Return<void> importBuffer(const hidl_handle& raw, importBuffer_cb callback) override {
        HidlScript& script = hidlScript();
        const size_t number = script.imported.size();
        script.imported.push_back(raw.getNativeHandle());
        const bool fails = static_cast<int>(number) == script.failingImport;
        return answer("importBuffer", [&] {
            callback(fails ? Error::BAD_BUFFER : script.error,
                     const_cast<native_handle*>(importOf(number)));
        });
    }

    Return<Error> freeBuffer(void* buffer) override {
        char text[32];
        snprintf(text, sizeof(text), "freeBuffer %p", buffer);
        journal().add(text);
        if (hidlScript().transport != Transport::kWorks) {
            return Return<Error>(transportStatus());
        }
        return hidlScript().error;
    }

    Return<void> lock(void* buffer, uint64_t usage, const Rect& region, const hidl_handle& fence,
                      lock_cb callback) override {
        const native_handle_t* const handle = fence.getNativeHandle();
        EXPECT_TRUE(!handle || (handle->numFds == 1 && handle->numInts == 0));
        hidlScript().lock = {buffer, usage, region,
                             handle ? descriptorName(handle->data[0]) : "none",
                             handle && fcntl(handle->data[0], F_GETFD) != -1};
        return answer("lock", [&] { callback(hidlScript().lockError, kMapped); });
    }

    Return<void> unlock(void*, unlock_cb callback) override {
        return answer("unlock", [&] {
            callback(hidlScript().error, hidl_handle(hidlScript().releaseFence));
        });
    }

    Return<void> get(void*, const MetadataType& type, get_cb callback) override {
        EXPECT_EQ(type, android::gralloc4::MetadataType_PlaneLayouts);
        const HidlScript& script = hidlScript();
        return answer("get", [&] {
            callback(script.error,
                     script.metadata ? *script.metadata : Bytes(encoded(script.planes)));
        });
    }

    bool remote = false;
};

class ScriptedAllocator final : public host::HidlAllocatorService {
  public:
    Return<void> allocate(const Bytes& descriptor, uint32_t count, allocate_cb callback) override {
        HidlScript& script = hidlScript();
        script.descriptors.push_back(descriptor);
        script.counts.push_back(count);
        hidl_vec<hidl_handle> raw(script.allocated.size());
        for (size_t i = 0; i < raw.size(); ++i) {
            raw[i] = hidl_handle(script.allocated[i]);
        }
        return answer("allocate", [&] { callback(script.error, 128, raw); });
    }
};

ScriptedMapper& mapperService() {
    static const android::sp<ScriptedMapper>& service =
            *new android::sp<ScriptedMapper>(new ScriptedMapper);
    return *service;
}

}  // namespace

HidlScript& hidlScript() {
    static HidlScript& instance = *new HidlScript;
    return instance;
}

const native_handle* importOf(size_t number) {
    return reinterpret_cast<const native_handle*>(0x1000 + number);
}

void makeMapperRemote() {
    mapperService().remote = true;
}

void HidlBackendTest::SetUp() {
    DoublesTest::SetUp();
    platformScript() = {};
    hidlScript() = {};
    ASSERT_EQ(mapperService().registerAsService(), android::OK);
    static const android::sp<ScriptedAllocator>& service =
            *new android::sp<ScriptedAllocator>(new ScriptedAllocator);
    ASSERT_EQ(service->registerAsService(), android::OK);
    mapper.emplace();
    allocator.emplace(*mapper);
}

int32_t HidlBackendTest::lock(Shape shape, int fence) {
    constexpr IMapper::Rect kRegion = {1, 2, 3, 4};
    if (shape == Shape::kPlain) {
        return mapper->lock(buffer, 0x1'0000'0003, kRegion, fence, &data);
    }
    if (shape == Shape::kLayout) {
        return mapper->lock(buffer, 0x1'0000'0003, kRegion, fence, &data, &pixel, &stride);
    }
    return mapper->lock(buffer, 0x1'0000'0003, kRegion, fence, &ycbcr);
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
