// The cache of layouts: one entry for each request seen, in the order of the requests.
#pragma once

#include <cstdint>
#include <span>

#include "platform/utils.h"
#include "utils/gralloc/IGrallocInfoProvider.h"
#include "utils/gralloc/LayoutDerivation.h"

namespace NSCam::gralloc {

// What the cache is asked by. The usage takes part only for the two formats that the allocator
// resolves; the layout of a concrete format is taken to be independent of it.
struct MyRequest {
    int32_t usage = 0;
    int32_t format = 0;
    int32_t widthInPixels = 0;
    int32_t heightInPixels = 0;

    // The implementation-defined format (0x22) and the flexible YCbCr one (0x23).
    static constexpr bool isResolvedByUsage(int32_t format) { return (format & ~1) == 0x22; }

    static constexpr MyRequest of(const zcam::GrallocRequest& request) {
        const bool byUsage = isResolvedByUsage(request.format);
        return {byUsage ? static_cast<int32_t>(request.usage) : 0, request.format,
                request.widthInPixels, request.heightInPixels};
    }
};

// Ascending by format, usage, width, height; every field is compared signed, so a usage with bit 31
// set comes before usage 0.
constexpr bool operator<(const MyRequest& left, const MyRequest& right) {
    if (left.format != right.format)
        return left.format < right.format;
    if (left.usage != right.usage)
        return left.usage < right.usage;
    if (left.widthInPixels != right.widthInPixels)
        return left.widthInPixels < right.widthInPixels;
    return left.heightInPixels < right.heightInPixels;
}

// Not locked: its owner guards it. Entries never expire.
class LayoutCache {
  public:
    using Entry = android::key_value_pair_t<MyRequest, MyStaticInfo>;

    // The layout of `key`, or null. Valid until the cache changes.
    const MyStaticInfo* find(const MyRequest& key) const;

    // Adds a copy of the pair, in place of an entry with the same key.
    void add(const MyRequest& key, const MyStaticInfo& value) { mEntries.add(Entry(key, value)); }

    void remove(const MyRequest& key) { mEntries.remove(Entry(key)); }
    void clear() { mEntries.clear(); }

    std::span<const Entry> entries() const { return {mEntries.array(), mEntries.size()}; }

  private:
    android::SortedVector<Entry> mEntries;
};

}  // namespace NSCam::gralloc
