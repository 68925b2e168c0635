#include "tools/grallocinfo/Names.h"

#include "utils/gralloc/NameTables.h"

namespace grallocinfo {

namespace {

// The row of `name`, or null.
template <typename Table>
const typename Table::value_type* findName(const Table& table, std::string_view name) {
    for (const auto& row : table) {
        if (row.name == name) {
            return &row;
        }
    }
    return nullptr;
}

}  // namespace

std::optional<int32_t> formatOfName(std::string_view name) {
    const auto* row = findName(NSCam::gralloc::kPixelFormatNames, name);
    return row ? std::optional(row->code) : std::nullopt;
}

std::optional<uint32_t> usageOfName(std::string_view name) {
    if (const auto* row = findName(NSCam::gralloc::kUsageFieldNames, name)) {
        return row->value;
    }
    const auto* row = findName(NSCam::gralloc::kHardwareUsageNames, name);
    return row ? std::optional(row->value) : std::nullopt;
}

std::optional<int32_t> dataspaceOfName(std::string_view name) {
    using namespace NSCam::gralloc;
    if (const auto* row = findName(kCombinedDataspaceNames, name)) {
        return row->code;
    }
    for (const auto* row :
         {findName(kLegacyDataspaceNames, name), findName(kDataspaceStandardNames, name),
          findName(kDataspaceTransferNames, name), findName(kDataspaceRangeNames, name)}) {
        if (row) {
            return row->code;
        }
    }
    return std::nullopt;
}

}  // namespace grallocinfo
