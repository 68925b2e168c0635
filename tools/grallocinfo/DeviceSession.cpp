#include "tools/grallocinfo/DeviceSession.h"

#include <unistd.h>

#include <algorithm>
#include <string>

#include "platform/plexa.h"
#include "platform/utils.h"
#include "tools/grallocinfo/Failure.h"
#include "tools/grallocinfo/Library.h"
#include "tools/grallocinfo/StableMapper.h"

namespace grallocinfo {

namespace {

namespace common = aidl::android::hardware::graphics::common;
using zelkcam::profile::kGranted;
using zelkcam::profile::kOtherException;
using zelkcam::profile::Observation;
using zelkcam::profile::PlaneNumbers;
using zelkcam::profile::PlaneShape;
using zelkcam::profile::Request;
using zelkcam::profile::Shape;
using T = StandardMetadataType;

constexpr uint64_t kRead = 0x3;
constexpr uint64_t kWrite = 0x30;
constexpr int32_t kNv21 = 0x11;
constexpr int32_t kYv12 = 0x32315659;
constexpr uint64_t kProtected = 1 << 14;

// A number within what a profile keeps; a mapper may answer anything.
int64_t bounded(int64_t value) {
    return std::clamp<int64_t>(value, 0, INT32_MAX);
}

int64_t boundedBits(int64_t value) {
    return std::clamp<int64_t>(value, -1, 1024);
}

PlaneShape shapeOf(const common::PlaneLayout& plane, size_t componentsLeft) {
    PlaneShape shape;
    shape.sampleIncrementInBits = boundedBits(plane.sampleIncrementInBits);
    shape.horizontalSubsampling = std::clamp<int64_t>(plane.horizontalSubsampling, 0, 64);
    shape.verticalSubsampling = std::clamp<int64_t>(plane.verticalSubsampling, 0, 64);
    const size_t most = std::min(zelkcam::profile::kMaxPlaneComponents, componentsLeft);
    for (size_t i = 0; i < std::min(plane.components.size(), most); ++i) {
        const common::PlaneLayoutComponent& component = plane.components[i];
        shape.components.push_back({component.type.value,
                                    std::clamp<int64_t>(component.offsetInBits, -1024, 1024),
                                    boundedBits(component.sizeInBits)});
    }
    return shape;
}

PlaneNumbers numbersOf(const common::PlaneLayout& plane) {
    return {bounded(plane.offsetInBytes), bounded(plane.strideInBytes),
            bounded(plane.totalSizeInBytes), bounded(plane.widthInSamples),
            bounded(plane.heightInSamples)};
}

// Reads one buffer's metadata into a shape and its numbers.
class Reader {
  public:
    Reader(const SessionBuffer& buffer, const Request& request)
        : mBuffer(buffer), mRequest(request) {}

    void read(Observation& seen);

  private:
    template <T kType>
    auto optional() {
        int32_t code = 0;
        auto result = mBuffer.read<kType>(&code);
        if (!result) {
            mRefused.push_back({static_cast<int64_t>(kType), code});
        }
        return result;
    }
    template <T kType, typename V>
    auto value(V otherwise) {
        const auto result = optional<kType>();
        return result ? static_cast<V>(*result) : otherwise;
    }

    void readShape(Shape& shape);
    void readPlanes(Observation& seen);
    void readOwn(Observation& seen) const;
    void readOthers();

    const SessionBuffer& mBuffer;
    const Request& mRequest;
    std::vector<zelkcam::profile::Refused> mRefused;
};

void Reader::read(Observation& seen) {
    readShape(seen.shape);
    readPlanes(seen);
    seen.numbers.stride = bounded(value<T::STRIDE>(int64_t{0}));
    seen.numbers.answeredStride = bounded(mBuffer.answeredStride());
    seen.numbers.size = bounded(static_cast<int64_t>(value<T::ALLOCATION_SIZE>(0)));
    readOthers();
    std::sort(mRefused.begin(), mRefused.end(),
              [](const auto& a, const auto& b) { return a.type < b.type; });
    seen.shape.refused = mRefused;
    readOwn(seen);
}

void Reader::readShape(Shape& shape) {
    shape.fourcc = value<T::PIXEL_FORMAT_FOURCC>(uint32_t{0});
    shape.modifier = value<T::PIXEL_FORMAT_MODIFIER>(uint64_t{0});
    if (const auto usage = optional<T::USAGE>()) {
        shape.usageAdded = static_cast<uint64_t>(*usage) & ~mRequest.usage;
        shape.usageRemoved = mRequest.usage & ~static_cast<uint64_t>(*usage);
    }
    if (const auto compression = optional<T::COMPRESSION>()) {
        shape.compression = compression->value;
    }
    if (const auto interlaced = optional<T::INTERLACED>()) {
        shape.interlaced = interlaced->value;
    }
    if (const auto siting = optional<T::CHROMA_SITING>()) {
        shape.chromaSiting = siting->value;
    }
    int32_t format = 0;
    plexa_query(mBuffer.handle(), PLEXA_GET_FORMAT, &format);
    plexa_query(mBuffer.handle(), PLEXA_GET_BUFFER_FLAGS, &shape.flags);
    shape.format = format;
}

void Reader::readPlanes(Observation& seen) {
    const auto planes = optional<T::PLANE_LAYOUTS>();
    size_t componentsLeft = zelkcam::profile::kMaxComponents;
    for (size_t i = 0; planes && i < std::min(planes->size(), zelkcam::profile::kMaxPlanes); ++i) {
        seen.shape.planes.push_back(shapeOf((*planes)[i], componentsLeft));
        componentsLeft -= seen.shape.planes.back().components.size();
        seen.numbers.planes[i] = numbersOf((*planes)[i]);
    }
    const auto crops = optional<T::CROP>();
    if (!crops || crops->empty() || !planes || planes->empty()) {
        return;
    }
    const common::Rect& last = crops->back();
    const common::PlaneLayout& plane = planes->back();
    const bool isPlane = last.right == plane.widthInSamples && last.bottom == plane.heightInSamples;
    seen.shape.crop = isPlane ? zelkcam::profile::Crop::kPlane : zelkcam::profile::Crop::kPicture;
}

// A maker's own extension may count otherwise than the mapper.
void Reader::readOwn(Observation& seen) const {
    constexpr int kAttributes[] = {PLEXA_GET_STRIDE, PLEXA_GET_VERTICAL_STRIDE,
                                   PLEXA_GET_ALLOC_SIZE};  // in the order of Own
    for (size_t i = 0; i < std::size(kAttributes); ++i) {
        uint32_t number = 0;
        if (plexa_query(mBuffer.handle(), kAttributes[i], &number) == 0) {
            seen.numbers.own[i] = bounded(number);
        }
    }
    seen.numbers = asTold(seen.shape, seen.numbers, mRequest.height);
}

// What a profile keeps nothing of but that it is refused. Some mappers refuse with an error number
// that is positive, and too small for an encoded value.
constexpr int32_t kNoEncoding = 72;

void Reader::readOthers() {
    for (const T type :
         {T::BUFFER_ID, T::NAME, T::WIDTH, T::HEIGHT, T::LAYER_COUNT, T::PIXEL_FORMAT_REQUESTED,
          T::PROTECTED_CONTENT, T::DATASPACE, T::BLEND_MODE, T::SMPTE2086, T::CTA861_3,
          T::SMPTE2094_40, T::SMPTE2094_10}) {
        int32_t code = 0;
        mBuffer.readBytes(static_cast<int64_t>(type), &code);
        if (code < 0 || (code > 0 && code <= kNoEncoding)) {
            mRefused.push_back({static_cast<int64_t>(type), code});
        }
    }
}

// Whether the library would lock the buffer to find its chroma, and end the process on a failure.
bool isLocatedByLock(int32_t format, uint64_t usage) {
    return format == kYv12 || (format == kNv21 && (usage & kProtected) == 0);
}

std::vector<int64_t> askLibrary(const SessionBuffer& buffer) {
    helper().clearMap();
    zcam::GrallocStaticInfo layout;
    NSCam::GrallocDynamicInfo dynamic;
    std::vector<int64_t> answer{helper().query(buffer.handle(), &layout, &dynamic)};
    if (answer.front() == 0) {
        for (const auto& plane : layout.planes) {
            answer.push_back(static_cast<int64_t>(plane.sizeInBytes));
            answer.push_back(static_cast<int64_t>(plane.rowStrideInBytes));
        }
    }
    return answer;
}

}  // namespace

DeviceSession::DeviceSession() : mService(findAllocatorService()) {
    if (mService == nullptr) {
        throw Failure{ExitCode::kLibraryFailure, kNoAllocatorService, std::nullopt,
                      noAllocatorService()};
    }
    const AIMapper* const mapper = findStableMapper(*mService);
    if (mapper == nullptr) {
        throw Failure{ExitCode::kLibraryFailure, "NO_MAPPER", std::nullopt,
                      "the mapper library " + mapperLibraryName(*mService) + " cannot be loaded"};
    }
    mMapper = &mapper->v5;
}

BufferDescriptorInfo DeviceSession::describe(const Request& request) {
    BufferDescriptorInfo info;
    info.name = {'r', 'e', 'c', 'o', 'r', 'd'};
    info.width = static_cast<int32_t>(request.width);
    info.height = static_cast<int32_t>(request.height);
    info.layerCount = 1;
    info.format = static_cast<common::PixelFormat>(request.format);
    info.usage = static_cast<common::BufferUsage>(request.usage);
    return info;
}

int32_t DeviceSession::allocate(const BufferDescriptorInfo& info, int64_t* stride,
                                std::vector<NativeHandle>* out) const {
    aidl::android::hardware::graphics::allocator::AllocationResult result;
    const ndk::ScopedAStatus status = mService->allocate2(info, 1, &result);
    if (!status.isOk()) {
        const bool specific = status.getExceptionCode() == EX_SERVICE_SPECIFIC;
        const int32_t code = specific ? status.getServiceSpecificError() : kOtherException;
        return code >= 0 ? code : kOtherException;
    }
    if (result.buffers.empty()) {
        return kOtherException;
    }
    *stride = result.stride;
    if (out != nullptr) {
        out->push_back(std::move(result.buffers.front()));
    }
    return kGranted;
}

SessionBuffer::SessionBuffer(const DeviceSession& session, const BufferDescriptorInfo& info)
    : mSession(session), mAnswer(session.allocate(info, &mStride, &mBuffers)) {
    if (mAnswer != kGranted) {
        return;
    }
    mRaw = android::makeFromAidl(mBuffers.front());
    if (session.mapper().importBuffer(mRaw, &mHandle) != AIMAPPER_ERROR_NONE) {
        mHandle = nullptr;
        mAnswer = kOtherException;
    }
}

SessionBuffer::~SessionBuffer() {
    if (mHandle != nullptr) {
        mSession.mapper().freeBuffer(mHandle);
    }
    if (mRaw != nullptr) {
        native_handle_delete(mRaw);
    }
}

int32_t SessionBuffer::tryLock(uint64_t cpuUsage) const {
    void* data = nullptr;
    const int32_t error = mSession.mapper().lock(mHandle, cpuUsage, {0, 0, 0, 0}, -1, &data);
    if (error == AIMAPPER_ERROR_NONE) {
        unlock();
    }
    return error;
}

void SessionBuffer::unlock() const {
    int fence = -1;
    mSession.mapper().unlock(mHandle, &fence);
    if (fence >= 0) {
        close(fence);
    }
}

std::vector<uint8_t> SessionBuffer::readBytes(int64_t type, int32_t* code) const {
    constexpr size_t kLargest = 65536;
    std::vector<uint8_t> bytes(4096);
    const auto get = [&] {
        return mSession.mapper().getStandardMetadata(mHandle, type, bytes.data(), bytes.size());
    };
    *code = get();
    if (*code > static_cast<int32_t>(bytes.size()) && *code <= static_cast<int32_t>(kLargest)) {
        bytes.resize(static_cast<size_t>(*code));
        *code = get();
    }
    const bool fits = *code >= 0 && *code <= static_cast<int32_t>(bytes.size());
    bytes.resize(fits ? static_cast<size_t>(*code) : 0);
    return bytes;
}

Observation DeviceSession::observe(const Request& request, bool locks, bool library) {
    Observation seen;
    const SessionBuffer buffer(*this, describe(request));
    seen.answer = buffer.answer();
    if (seen.answer != kGranted) {
        return seen;
    }
    Reader(buffer, request).read(seen);
    int32_t lockable = 0;
    if (locks) {
        seen.locks = {buffer.tryLock(kRead), buffer.tryLock(kWrite)};
        lockable = seen.locks->read;
    } else if (library && isLocatedByLock(seen.shape.format, request.usage)) {
        lockable = buffer.tryLock(kRead);
    }
    if (library && (lockable == 0 || !isLocatedByLock(seen.shape.format, request.usage))) {
        seen.library = askLibrary(buffer);
    }
    return seen;
}

}  // namespace grallocinfo
