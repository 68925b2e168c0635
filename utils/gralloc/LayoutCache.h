// The cache of layouts: one entry for each request seen, in the order of the requests.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

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
    if (left.format != right.format) {
        return left.format < right.format;
    }
    if (left.usage != right.usage) {
        return left.usage < right.usage;
    }
    if (left.widthInPixels != right.widthInPixels) {
        return left.widthInPixels < right.widthInPixels;
    }
    return left.heightInPixels < right.heightInPixels;
}

// A request as one number that compares as the request does. The sign bits are turned over, so that
// a signed order becomes an unsigned one.
class PackedRequest {
  public:
    explicit constexpr PackedRequest(const MyRequest& key)
        : mNumber(static_cast<Number>(word(key.format, key.usage)) << 64 |
                  word(key.widthInPixels, key.heightInPixels)) {}

    friend constexpr bool operator<(PackedRequest left, PackedRequest right) {
        return left.mNumber < right.mNumber;
    }
    friend constexpr bool operator==(PackedRequest left, PackedRequest right) {
        return left.mNumber == right.mNumber;
    }

  private:
    using Number = unsigned __int128;

    static constexpr uint64_t word(int32_t high, int32_t low) {
        return (uint64_t{static_cast<uint32_t>(high)} << 32 | static_cast<uint32_t>(low)) ^
               0x80000000'80000000;
    }

    Number mNumber;
};
static_assert(PackedRequest({.usage = INT32_MIN}) < PackedRequest({.usage = 0}));
static_assert(PackedRequest({.format = -1}) < PackedRequest({.usage = 1, .format = 0}));
static_assert(PackedRequest({.widthInPixels = 1, .heightInPixels = INT32_MAX}) <
              PackedRequest({.widthInPixels = 2, .heightInPixels = INT32_MIN}));

// Not locked: its owner guards it. Entries never expire.
//
// The keys stand once more beside the entries, packed: a search touches 16 bytes a step instead of
// an entry, and compares once.
class LayoutCache {
  public:
    using Entry = android::key_value_pair_t<MyRequest, MyStaticInfo>;

    // The layout of `key`, or null. Valid until the cache changes.
    const MyStaticInfo* find(const MyRequest& key) const;

    // Adds a copy of the pair, in place of an entry with the same key.
    void add(const MyRequest& key, const MyStaticInfo& value);

    void remove(const MyRequest& key);
    void clear();

    std::span<const Entry> entries() const { return {mEntries.array(), mEntries.size()}; }

  private:
    android::SortedVector<Entry> mEntries;
    std::vector<PackedRequest> mKeys;  // of mEntries, in their order
};

}  // namespace NSCam::gralloc
