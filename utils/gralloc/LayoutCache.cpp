#include "utils/gralloc/LayoutCache.h"

namespace NSCam::gralloc {
namespace {

// The last key that is not above `key`, or the first one. No branch depends on a comparison: what
// is asked for next cannot be foreseen, and each wrong guess would cost more than the step.
size_t lastNotAbove(const std::vector<PackedRequest>& keys, PackedRequest key) {
    const PackedRequest* base = keys.data();
    for (size_t left = keys.size(); left > 1;) {
        const size_t half = left / 2;
        base += !(key < base[half]) * half;
        left -= half;
    }
    return static_cast<size_t>(base - keys.data());
}

}  // namespace

const MyStaticInfo* LayoutCache::find(const MyRequest& key) const {
    if (mKeys.empty()) {
        return nullptr;
    }
    const PackedRequest packed(key);
    const size_t index = lastNotAbove(mKeys, packed);
    return mKeys[index] == packed ? &mEntries.array()[index].value : nullptr;
}

void LayoutCache::add(const MyRequest& key, const MyStaticInfo& value) {
    const ssize_t index = mEntries.add(Entry(key, value));
    // A replaced entry keeps its place.
    if (mEntries.size() > mKeys.size()) {
        mKeys.insert(mKeys.begin() + index, PackedRequest(key));
    }
}

void LayoutCache::remove(const MyRequest& key) {
    const ssize_t index = mEntries.remove(Entry(key));
    if (index >= 0) {
        mKeys.erase(mKeys.begin() + index);
    }
}

void LayoutCache::clear() {
    mEntries.clear();
    mKeys.clear();
}

}  // namespace NSCam::gralloc
