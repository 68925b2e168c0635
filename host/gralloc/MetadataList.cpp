#include "host/gralloc/MetadataList.h"

namespace zelkcam::host::gralloc {
namespace {

std::vector<AIMapper_MetadataTypeDescription> describeMetadata() {
    std::vector<AIMapper_MetadataTypeDescription> list;
    for (int64_t type = 1; type <= kLastStandardType; ++type) {
        const bool settable = isSettable(kStandardTypeName, type);
        list.push_back({{kStandardTypeName.data(), type}, nullptr, true, settable, {}});
    }
    for (const SettableRule& rule : kSettableRules) {
        if (rule.description != nullptr) {
            list.push_back({{rule.typeName.data(), rule.type}, rule.description, true, true, {}});
        }
    }
    return list;
}

}  // namespace

std::span<const AIMapper_MetadataTypeDescription> supportedMetadata() {
    static const auto& descriptions = *new auto(describeMetadata());
    return descriptions;
}

AIMapper_Error readWhole(const ImportedBuffer& buffer, std::string_view typeName, int64_t type,
                         std::vector<uint8_t>* value) {
    // Others may put a longer value in place between two reads, though hardly this often.
    constexpr int kAttempts = 8;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        const int32_t size = buffer.getMetadata(typeName, type, value->data(), value->size());
        if (size < 0) {
            return static_cast<AIMapper_Error>(-size);
        }
        const bool fitted = static_cast<size_t>(size) <= value->size();
        value->resize(static_cast<size_t>(size));
        if (fitted) {
            return AIMAPPER_ERROR_NONE;
        }
    }
    return AIMAPPER_ERROR_NO_RESOURCES;
}

void forEachValue(const ImportedBuffer& buffer, const ValueVisitor& visit) {
    std::vector<uint8_t> value(512);
    for (const AIMapper_MetadataTypeDescription& known : supportedMetadata()) {
        const AIMapper_MetadataType& type = known.metadataType;
        if (readWhole(buffer, type.name, type.value, &value) == AIMAPPER_ERROR_NONE) {
            visit(type, value);
        }
    }
}

}  // namespace zelkcam::host::gralloc
