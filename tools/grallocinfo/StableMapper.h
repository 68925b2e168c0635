// The device's stable C mapper without the library between: for what the library does not read.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/allocator.h"
#include "platform/mapper.h"
#include "tools/grallocinfo/Answers.h"
#include "tools/grallocinfo/DrawnPlanes.h"

namespace grallocinfo {

// The allocator service that the library uses; null when there is none.
std::shared_ptr<aidl::android::hardware::graphics::allocator::IAllocator> findAllocatorService();

// The mapper that `allocator` names, which every user of it in the process shares, or null. Its
// library stays loaded.
const AIMapper* findStableMapper(
        aidl::android::hardware::graphics::allocator::IAllocator& allocator);

// "mapper.default.so"; empty when the service does not tell.
std::string mapperLibraryName(aidl::android::hardware::graphics::allocator::IAllocator& allocator);

// What the mapper reports about an imported buffer. What it does not tell stays empty.
Allocation describeAllocation(const native_handle* handle);

// An imported buffer's layout as the mapper alone describes it, for formats that the library has no
// rule for. Nothing when the mapper does not describe it whole.
std::optional<zcam::GrallocStaticInfo> mapperLayout(const native_handle* handle);

// Where the mapper has the planes of an imported buffer; none when it does not tell.
std::vector<ToldPlane> mapperPlanes(const native_handle* handle);

// A published record as the tool's own.
MapperPlane mapperPlane(const aidl::android::hardware::graphics::common::PlaneLayout& layout);

}  // namespace grallocinfo
