#include <cerrno>
#include <climits>
#include <cstring>
#include <memory>

#include "platform/hwbinder.h"
#include "platform/plexa.h"
#include "platform/properties.h"
#include "platform/utils.h"
#include "utils/gralloc/Backends.h"
#include "utils/gralloc/BufferAttributes.h"
#include "utils/gralloc/CodeTable.h"
#include "utils/gralloc/FacadeLog.h"
#include "utils/gralloc/IGrallocHelper.h"
#include "utils/gralloc/LayoutDerivation.h"
#include "utils/gralloc/LayoutRecords.h"
#include "utils/gralloc/Mutex.h"
#include "utils/gralloc/Names.h"
#include "utils/gralloc/WrappingMath.h"

namespace NSCam::gralloc {

namespace {

using android::String8;
using zcam::GrallocRequest;
using zcam::GrallocStaticInfo;

// Bits of a buffer's status word.
constexpr int kStatusDirtyCamera = 0xc03;
constexpr int kStatusColorspaceMask = static_cast<int>(0xe0000000);
constexpr int kStatusColorspaceJfif = 0x40000000;

// A buffer that is freed at the end of its scope.
class ProbeBuffer {
  public:
    explicit ProbeBuffer(const native_handle* handle) : mHandle(handle) {}
    ~ProbeBuffer() { gAllocator->free(mHandle); }
    ProbeBuffer(const ProbeBuffer&) = delete;
    ProbeBuffer& operator=(const ProbeBuffer&) = delete;

  private:
    const native_handle* const mHandle;
};

// Allocates one buffer of the request and returns the allocator's status. A success may come
// without a handle.
int32_t allocateProbe(const MyRequest& key, const native_handle** handle) {
    uint32_t stride = 0;
    const auto format = static_cast<GrallocAllocatorAidlV2::PixelFormat>(key.format);
    return gAllocator ? gAllocator->allocate(static_cast<uint32_t>(key.widthInPixels),
                                             static_cast<uint32_t>(key.heightInPixels), format, 1,
                                             static_cast<uint32_t>(key.usage), handle, &stride, 0,
                                             "determine")
                      : kNoBackend;
}

// The request for a known layout by its concrete format.
MyRequest concreteRequest(const GrallocStaticInfo& info, int32_t width, int32_t height) {
    return {.usage = 0, .format = info.format, .widthInPixels = width, .heightInPixels = height};
}

// The public part of a cached layout, planes copied into the caller's vector.
void copyLayout(const MyStaticInfo& from, GrallocStaticInfo& to) {
    to = static_cast<const GrallocStaticInfo&>(from);
}

// What takes mLock is noexcept: an exception, such as a failed allocation's, ends the process. A
// client that caught it would otherwise go on with a helper that hangs at the next call.
class GrallocHelperImp : public IGrallocHelper {
  public:
    GrallocHelperImp();
    ~GrallocHelperImp() override;

    int query(const GrallocRequest* pRequest, GrallocStaticInfo* pStaticInfo,
              bool forceRequery) const noexcept override;
    int query(const native_handle* handle, GrallocStaticInfo* pStaticInfo,
              GrallocDynamicInfo* pDynamicInfo) const noexcept override;
    int setDirtyCamera(const native_handle* handle) const override;
    int setColorspace_JFIF(const native_handle* handle) const override;
    int setBufferSOF(const native_handle* handle, unsigned long sof) const override;
    String8 queryPixelFormatName(int format) const override;
    String8 queryGrallocUsageName(int usage) const override;
    String8 queryDataspaceName(int dataspace) const override;
    void dumpToLog() const noexcept override;
    int importBuffer(const native_handle*& handle) override;
    int freeBuffer(const native_handle* handle) override;
    int lock(const native_handle* handle, unsigned int usage, int width, int height,
             void** vaddr) override;
    int unlock(const native_handle* handle) override;
    int setBufferStatus(const native_handle* handle, int mask, int value) const override;
    void clearMap() noexcept override;

  private:
    using Entry = android::key_value_pair_t<MyRequest, MyStaticInfo>;

    bool initialize();

    // The cached layout of a request, or null. Valid until the cache changes.
    const MyStaticInfo* findLocked(const MyRequest& key) const ZELKCAM_REQUIRES(mLock);

    // Answers a request by a probe, and enters it. Not inlined: a hit would save its registers too.
    [[gnu::noinline]] int queryProbeLocked(const MyRequest& key,
                                           GrallocStaticInfo& staticInfo) const
            ZELKCAM_REQUIRES(mLock);
    // Probes the layout of a request. Returns 0, -12, or what the derivation failed with.
    int determine(const MyRequest& key, MyStaticInfo& value) const;
    int queryLayoutLocked(const native_handle* handle, const Extra& extra,
                          GrallocStaticInfo* pStaticInfo) const ZELKCAM_REQUIRES(mLock);
    int queryDynamicInfo(const native_handle* handle, GrallocDynamicInfo& dynamicInfo) const;
    void addToMapLocked(const MyRequest& key, const MyStaticInfo& value) const
            ZELKCAM_REQUIRES(mLock);
    void dump(const MyRequest& key, const MyStaticInfo& value) const;

    mutable Mutex mLock;
    mutable android::SortedVector<Entry> mMap ZELKCAM_GUARDED_BY(mLock);
    // What start-up found. Nothing reads either afterwards.
    bool mInitialized = false;
    int32_t mLogLevel = 0;
};

GrallocHelperImp::GrallocHelperImp() {
    LOGD("+");
    mLogLevel = property_get_int32("vendor.debug.camera.log", 0);
    if (mLogLevel == 0) {
        mLogLevel = property_get_int32("debug.zelkcam.utils.gralloc.loglevel", 0);
    }
    if (!initialize()) {
        LOGE("%s initialize fail", __func__);
    }
    LOGD("-");
}

bool GrallocHelperImp::initialize() {
    LOGD("+");
    const auto service = AllocatorAidl::createInstance();
    if (!service) {
        LOGE("Failed to create allocator instance");
        return false;
    }
    gMapper = std::make_unique<const MapperV5>(service);
    gAllocator = std::make_unique<const AllocatorAidl>(service, *gMapper);
    mInitialized = true;
    LOGD("-");
    return true;
}

// Leaves the backends alone: they are destroyed after the helper, the allocator first.
GrallocHelperImp::~GrallocHelperImp() {
    LOGD("+");
    LOGD("-");
}

int GrallocHelperImp::query(const GrallocRequest* pRequest, GrallocStaticInfo* pStaticInfo,
                            bool forceRequery) const noexcept {
    if (pRequest == nullptr) {
        LOGE("NULL pRequest");
        return -EINVAL;
    }
    if (pStaticInfo == nullptr) {
        LOGE("NULL pStaticInfo");
        return -EINVAL;
    }
    // Contract: spelt so; log readers search for it.
    LOGD("Grallc Request: u(0x%x) f(0x%x) w(%d) h(%d)", pRequest->usage,
         static_cast<uint32_t>(pRequest->format), pRequest->widthInPixels,
         pRequest->heightInPixels);

    const MyRequest key = MyRequest::of(*pRequest);
    const MutexLock lock(mLock);
    const MyStaticInfo* const known = findLocked(key);
    if (known == nullptr || forceRequery) {
        return queryProbeLocked(key, *pStaticInfo);
    }
    copyLayout(*known, *pStaticInfo);
    return 0;
}

int GrallocHelperImp::queryProbeLocked(const MyRequest& key, GrallocStaticInfo& staticInfo) const {
    // Contract: gone even if the probe below fails; the next request then probes again.
    mMap.remove(Entry(key));

    MyStaticInfo value;
    if (const int result = determine(key, value); result != 0) {
        return result;
    }

    addToMapLocked(key, value);
    copyLayout(value, staticInfo);
    if (!MyRequest::isResolvedByUsage(key.format)) {
        return 0;
    }

    // A later request for the resolved format needs no probe of its own.
    const MyRequest resolved = concreteRequest(value, key.widthInPixels, key.heightInPixels);
    if (findLocked(resolved) == nullptr) {
        addToMapLocked(resolved, value);
    }
    return 0;
}

int GrallocHelperImp::determine(const MyRequest& key, MyStaticInfo& value) const {
    const native_handle* handle = nullptr;
    const nsecs_t start = systemTime(SYSTEM_TIME_MONOTONIC);
    const int32_t result = allocateProbe(key, &handle);
    if (result != 0 || handle == nullptr) {
        // Contract: spelt so; log readers search for it.
        LOGE("Bad allcation handle:%p %dx%d format:%#x(%s) usage:%#x(%s)",
             static_cast<const void*>(handle), key.widthInPixels, key.heightInPixels,
             static_cast<uint32_t>(key.format), gQueryPixelFormatName(key.format).c_str(),
             static_cast<uint32_t>(key.usage), gQueryGrallocUsageName(key.usage).c_str());
        return -ENOMEM;
    }
    value.allocTimeNs = systemTime(SYSTEM_TIME_MONOTONIC) - start;

    const ProbeBuffer probe(handle);
    return queryStaticInfo(handle, value);
}

const MyStaticInfo* GrallocHelperImp::findLocked(const MyRequest& key) const {
    const Entry* const found = findRow(mMap.array(), mMap.size(), key, &Entry::key);
    return found == nullptr ? nullptr : &found->value;
}

void GrallocHelperImp::addToMapLocked(const MyRequest& key, const MyStaticInfo& value) const {
    dump(key, value);
    mMap.add(Entry(key, value));
}

// NOLINTNEXTLINE(readability-function-size): six statements, were they not macros
void GrallocHelperImp::dump(const MyRequest& key, const MyStaticInfo& value) const {
    LOGD("*****************************************************************************");
    LOGD("!!!gralloc time: %ld us", static_cast<long>(value.allocTimeNs / 1000));
    LOGD("%dx%d usage:0x%08x(%s) format:0x%08x(%s) -->", key.widthInPixels, key.heightInPixels,
         static_cast<uint32_t>(key.usage), queryGrallocUsageName(key.usage).c_str(),
         static_cast<uint32_t>(key.format), queryPixelFormatName(key.format).c_str());
    LOGD("%dx%d usage:0x%08x(%s) format:0x%08x(%s)", value.widthInPixels, value.heightInPixels,
         static_cast<uint32_t>(value.usage), queryGrallocUsageName(value.usage).c_str(),
         static_cast<uint32_t>(value.format), queryPixelFormatName(value.format).c_str());
    for (size_t i = 0; i < value.planes.size(); ++i) {
        LOGD("  [%zu] sizeInBytes:%zu rowStrideInBytes:%zu", i, size_t{value.planes[i].sizeInBytes},
             size_t{value.planes[i].rowStrideInBytes});
    }
}

void GrallocHelperImp::dumpToLog() const noexcept {
    LOGD("+");
    const MutexLock lock(mLock);
    for (size_t i = 0; i < mMap.size(); ++i) {
        dump(mMap[i].key, mMap[i].value);
    }
    LOGD("-");
}

void GrallocHelperImp::clearMap() noexcept {
    const MutexLock lock(mLock);
    LOGI("Clear the stream info map");
    mMap.clear();
}

int GrallocHelperImp::query(const native_handle* handle, GrallocStaticInfo* pStaticInfo,
                            GrallocDynamicInfo* pDynamicInfo) const noexcept {
    if (handle == nullptr) {
        LOGE("NULL buffer_handle_t");
        return -EINVAL;
    }
    Extra extra;
    if (gQueryExtra(handle, extra) != 0) {
        return INT32_MIN;
    }

    const MutexLock lock(mLock);
    if (const int result = queryLayoutLocked(handle, extra, pStaticInfo); result != 0) {
        return result;
    }
    return pDynamicInfo == nullptr ? 0 : queryDynamicInfo(handle, *pDynamicInfo);
}

int GrallocHelperImp::queryLayoutLocked(const native_handle* handle, const Extra& extra,
                                        GrallocStaticInfo* pStaticInfo) const {
    const MyRequest key = {.usage = 0,
                           .format = extra.format,
                           .widthInPixels = static_cast<int32_t>(extra.width),
                           .heightInPixels = static_cast<int32_t>(extra.height)};
    if (const MyStaticInfo* known = findLocked(key)) {
        // Contract: `pStaticInfo` is not tested here, only where the layout is not cached yet.
        copyLayout(*known, *pStaticInfo);
        return 0;
    }
    LOGW_AS("query", "Not found: %dx%d %s", key.widthInPixels, key.heightInPixels,
            gQueryPixelFormatName(key.format).c_str());

    MyStaticInfo info;
    if (const int result = queryStaticInfo(handle, info); result != 0) {
        return result;
    }

    // Looked up again by the derivation's answer: it has read the attributes itself.
    const MyRequest derived = concreteRequest(info, info.widthInPixels, info.heightInPixels);
    if (findLocked(derived) == nullptr) {
        addToMapLocked(derived, info);
    }
    if (pStaticInfo != nullptr) {
        copyLayout(info, *pStaticInfo);
    }
    return 0;
}

int GrallocHelperImp::queryDynamicInfo(const native_handle* handle,
                                       GrallocDynamicInfo& dynamicInfo) const {
    int32_t ionFd = -1;
    const int result = plexa_query(handle, PLEXA_GET_ION_FD, &ionFd);
    if (result != 0 || ionFd < 0) {
        LOGE_AS("query", "[buffer_handle_t:%p] err:%d ionFd:%d", static_cast<const void*>(handle),
                result, ionFd);
        return INT32_MIN;
    }
    // Contract: appended to what earlier queries left there.
    dynamicInfo.ionFds.add(ionFd);
    return 0;
}

String8 GrallocHelperImp::queryPixelFormatName(int format) const {
    return gQueryPixelFormatName(format);
}

String8 GrallocHelperImp::queryGrallocUsageName(int usage) const {
    return gQueryGrallocUsageName(usage);
}

String8 GrallocHelperImp::queryDataspaceName(int dataspace) const {
    return gQueryDataspaceName(dataspace);
}

// Contract: the handle itself is not tested for null.
int GrallocHelperImp::importBuffer(const native_handle*& handle) {
    if (handle->numFds == 0 && handle->numInts == 0) {
        handle = nullptr;
        return 1;
    }
    const android::hardware::hidl_handle wrapped(handle);
    const native_handle* const raw = wrapped.getNativeHandle();
    const native_handle* imported = nullptr;
    const int32_t status = gMapper ? gMapper->importBuffer(raw, &imported) : kNoBackend;
    if (status != 0) {
        LOGE("importBuffer(%p), numFds:%d, numInts:%d, failed: %d", static_cast<const void*>(raw),
             raw->numFds, raw->numInts, status);
        return 0;
    }
    handle = imported;
    return 1;
}

int GrallocHelperImp::freeBuffer(const native_handle* handle) {
    if (handle == nullptr) {
        return -1;
    }
    return gMapper ? gMapper->freeBuffer(handle) : kNoBackend;
}

int GrallocHelperImp::lock(const native_handle* handle, unsigned int usage, int width, int height,
                           void** vaddr) {
    const ARect region = {0, 0, width, height};
    const int32_t status = gMapper ? gMapper->lock(handle, usage, region, -1, vaddr) : kNoBackend;
    if (status != 0) {
        LOGE("lock(...) failed %d (%s)", status, strerror(negated(status)));
    }
    return status;
}

// Contract: 0 whatever the mapper answered; callers wait for the writes, not for a result.
int GrallocHelperImp::unlock(const native_handle* handle) {
    unlockAndWait(handle);
    return 0;
}

// Contract: only the result of the store counts. A failed fetch is not looked at: a record that
// holds just the edited bits is stored then.
int GrallocHelperImp::setBufferStatus(const native_handle* handle, int mask, int value) const {
    plexa_sf_record_t record = {};
    plexa_query(handle, PLEXA_GET_SF_INFO, &record);
    plexa_sf_set_status(&record, mask, value);
    return plexa_perform(handle, PLEXA_SET_SF_INFO, &record);
}

int GrallocHelperImp::setDirtyCamera(const native_handle* handle) const {
    return setBufferStatus(handle, kStatusDirtyCamera, kStatusDirtyCamera);
}

int GrallocHelperImp::setColorspace_JFIF(const native_handle* handle) const {
    return setBufferStatus(handle, kStatusColorspaceMask, kStatusColorspaceJfif);
}

int GrallocHelperImp::setBufferSOF(const native_handle* handle, unsigned long sof) const {
    return plexa_perform(handle, PLEXA_SET_SOF, &sof);
}

// The one helper of the process, behind both accessors.
GrallocHelperImp& helper() {
    static GrallocHelperImp instance;
    return instance;
}

}  // namespace

}  // namespace NSCam::gralloc

NSCam::IGrallocHelper* NSCam::IGrallocHelper::singleton() {
    return &NSCam::gralloc::helper();
}

zcam::IGrallocInfoProvider* zcam::IGrallocInfoProvider::getInstance() {
    return &NSCam::gralloc::helper();
}
