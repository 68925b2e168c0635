#include "tests/check/Buffers.h"

#include "utils/gralloc/IGrallocHelper.h"
#include "utils/gralloc/aidl/v2/allocator/allocator.h"
#include "utils/gralloc/hidl/allocator/allocator.h"

namespace zelkcam::test {

namespace {

using NSCam::GrallocAllocator::Allocator;
using NSCam::GrallocAllocatorAidlV2::AllocatorAidl;
using NSCam::GrallocMapper::Mapper;
using NSCam::GrallocMapperAidlV2::MapperV5;
using HidlRect = android::hardware::graphics::mapper::V4_0::IMapper::Rect;

template <typename MapperType, typename AllocatorType, typename PixelFormat, typename Rect>
class BackendBuffers : public Buffers {
  public:
    template <typename... Service>
    explicit BackendBuffers(std::string name, Service... service)
        : mName(std::move(name)),
          mMapper(*new MapperType(service...)),
          mAllocator(*new AllocatorType(service..., mMapper)) {}

    std::string name() const override { return mName; }

    const native_handle* allocate(int32_t format, uint32_t width, uint32_t height,
                                  uint64_t usage) override {
        const native_handle* handle = nullptr;
        uint32_t stride = 0;
        mAllocator.allocate(width, height, static_cast<PixelFormat>(format), 1, usage, &handle,
                            &stride, 0, "");
        return handle;
    }
    const native_handle* import(const native_handle* raw) override {
        const native_handle* handle = nullptr;
        mMapper.importBuffer(raw, &handle);
        return handle;
    }
    void free(const native_handle* handle) override { mMapper.freeBuffer(handle); }
    unsigned char* lock(const native_handle* handle, uint64_t usage, int fence) override {
        void* data = nullptr;
        mMapper.lock(handle, usage, Rect{0, 0, 0, 0}, fence, &data);
        return static_cast<unsigned char*>(data);
    }
    int unlock(const native_handle* handle) override { return mMapper.unlock(handle); }
    std::vector<PlaneLayout> planes(const native_handle* handle) override {
        std::vector<PlaneLayout> planes;
        mMapper.getPlaneLayouts(handle, &planes);
        return planes;
    }
    int32_t lockPlanes(const native_handle* handle, uint64_t usage, int fence) override {
        android_ycbcr planes;
        return mMapper.lock(handle, usage, Rect{0, 0, 0, 0}, fence, &planes);
    }

  private:
    const std::string mName;
    const MapperType& mMapper;
    const AllocatorType& mAllocator;
};

using AidlBuffers =
        BackendBuffers<MapperV5, AllocatorAidl, NSCam::GrallocAllocatorAidlV2::PixelFormat, ARect>;
using HidlBuffers =
        BackendBuffers<Mapper, Allocator, NSCam::GrallocAllocator::PixelFormat, HidlRect>;

// The facade allocates nothing for its clients.
class FacadeBuffers : public AidlBuffers {
  public:
    FacadeBuffers() : AidlBuffers("facade", AllocatorAidl::createInstance()) {}
    const native_handle* import(const native_handle* raw) override {
        return mFacade.importBuffer(raw) != 0 ? raw : nullptr;
    }
    void free(const native_handle* handle) override { mFacade.freeBuffer(handle); }
    unsigned char* lock(const native_handle* handle, uint64_t usage, int) override {
        void* data = nullptr;
        mFacade.lock(handle, static_cast<uint32_t>(usage), 0, 0, &data);
        return static_cast<unsigned char*>(data);
    }
    int unlock(const native_handle* handle) override {
        mFacade.unlock(handle);
        return -1;
    }

  private:
    NSCam::IGrallocHelper& mFacade = *NSCam::IGrallocHelper::singleton();
};

}  // namespace

Buffers& buffersBy(const std::string& name) {
    if (name == "facade") {
        return *new FacadeBuffers;
    }
    if (name == "hidl") {
        return *new HidlBuffers("hidl");
    }
    return *new AidlBuffers("aidl", AllocatorAidl::createInstance());
}

}  // namespace zelkcam::test
