// A HIDL mapper and allocator that answer nothing and remember which operation ran.
#pragma once

#include <atomic>

#include "platform/hidl.h"

namespace recording {

using android::sp;
using android::hardware::hidl_array;
using android::hardware::hidl_death_recipient;
using android::hardware::hidl_handle;
using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using android::hardware::Return;
using android::hardware::Void;
using android::hardware::graphics::mapper::V4_0::Error;
using android::hardware::graphics::mapper::V4_0::IMapper;
using IAllocator = android::hardware::graphics::allocator::V4_0::IAllocator;
using android::hidl::base::V1_0::DebugInfo;
using android::hidl::base::V1_0::IBase;
using Bytes = hidl_vec<uint8_t>;
using Texts = hidl_vec<hidl_string>;
using Description = IMapper::BufferDescriptorInfo;

// Every base operation of an interface, remembered.
template <typename Interface>
class Recording : public Interface {
  public:
    bool isRemote() const override {
        note("isRemote");
        return remote;
    }
    Return<void> interfaceChain(IBase::interfaceChain_cb callback) override {
        note("interfaceChain");
        return chainStatus.isOk() ? Interface::interfaceChain(callback) : Return<void>(chainStatus);
    }
    Return<void> debug(const hidl_handle&, const Texts&) override { return noted("debug"); }
    Return<void> interfaceDescriptor(IBase::interfaceDescriptor_cb) override {
        return noted("interfaceDescriptor");
    }
    Return<void> getHashChain(IBase::getHashChain_cb) override { return noted("getHashChain"); }
    Return<void> setHALInstrumentation() override { return noted("setHALInstrumentation"); }
    Return<bool> linkToDeath(const sp<hidl_death_recipient>&, uint64_t) override {
        note("linkToDeath");
        return true;
    }
    Return<void> ping() override { return noted("ping"); }
    Return<void> getDebugInfo(IBase::getDebugInfo_cb) override { return noted("getDebugInfo"); }
    Return<void> notifySyspropsChanged() override { return noted("notifySyspropsChanged"); }
    Return<bool> unlinkToDeath(const sp<hidl_death_recipient>&) override {
        note("unlinkToDeath");
        return true;
    }

    bool remote = false;
    android::hardware::Status chainStatus;
    mutable std::atomic<const char*> last = "";  // services are called on any thread

  protected:
    void note(const char* operation) const { last = operation; }
    Return<void> noted(const char* operation) {
        note(operation);
        return Void();
    }
};

class RecordingMapper : public Recording<IMapper> {
  public:
    Return<void> createDescriptor(const Description&, createDescriptor_cb) override {
        return noted("createDescriptor");
    }
    Return<void> importBuffer(const hidl_handle&, importBuffer_cb) override {
        return noted("importBuffer");
    }
    Return<Error> freeBuffer(void*) override { return error("freeBuffer"); }
    Return<Error> validateBufferSize(void*, const Description&, uint32_t) override {
        return error("validateBufferSize");
    }
    Return<void> getTransportSize(void*, getTransportSize_cb) override {
        return noted("getTransportSize");
    }
    Return<void> lock(void*, uint64_t, const Rect&, const hidl_handle&, lock_cb) override {
        return noted("lock");
    }
    Return<void> unlock(void*, unlock_cb) override { return noted("unlock"); }
    Return<void> flushLockedBuffer(void*, flushLockedBuffer_cb) override {
        return noted("flushLockedBuffer");
    }
    Return<Error> rereadLockedBuffer(void*) override { return error("rereadLockedBuffer"); }
    Return<void> isSupported(const Description&, isSupported_cb) override {
        return noted("isSupported");
    }
    Return<void> get(void*, const MetadataType&, get_cb) override { return noted("get"); }
    Return<Error> set(void*, const MetadataType&, const Bytes&) override { return error("set"); }
    Return<void> getFromBufferDescriptorInfo(const Description&, const MetadataType&,
                                             getFromBufferDescriptorInfo_cb) override {
        return noted("getFromBufferDescriptorInfo");
    }
    Return<void> listSupportedMetadataTypes(listSupportedMetadataTypes_cb) override {
        return noted("listSupportedMetadataTypes");
    }
    Return<void> dumpBuffer(void*, dumpBuffer_cb) override { return noted("dumpBuffer"); }
    Return<void> dumpBuffers(dumpBuffers_cb) override { return noted("dumpBuffers"); }
    Return<void> getReservedRegion(void*, getReservedRegion_cb) override {
        return noted("getReservedRegion");
    }

  private:
    Return<Error> error(const char* operation) {
        note(operation);
        return Error::UNSUPPORTED;
    }
};

class RecordingAllocator : public Recording<IAllocator> {
  public:
    Return<void> allocate(const Bytes&, uint32_t, allocate_cb) override {
        return noted("allocate");
    }
};

}  // namespace recording
