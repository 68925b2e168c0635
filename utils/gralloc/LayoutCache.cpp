#include "utils/gralloc/LayoutCache.h"

#include <algorithm>

namespace NSCam::gralloc {

const MyStaticInfo* LayoutCache::find(const MyRequest& key) const {
    const auto all = entries();
    const auto entry = std::lower_bound(
            all.begin(), all.end(), key,
            [](const Entry& entry, const MyRequest& key) { return entry.key < key; });
    return entry != all.end() && !(key < entry->key) ? &entry->value : nullptr;
}

}  // namespace NSCam::gralloc
