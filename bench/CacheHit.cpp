// What a cached layout costs: over the cache's size, with a fresh record, and to two threads.
#include <pthread.h>

#include <algorithm>
#include <compare>
#include <memory>
#include <vector>

#include "bench/Cache.h"
#include "bench/Compare.h"

namespace zelkcam::bench {
namespace {

using zcam::GrallocRequest;
using zcam::GrallocStaticInfo;
using Planes = std::vector<GrallocStaticInfo::Plane>;

constexpr size_t kSharedEntries = 256;

// Which entry is asked for next: no order that a processor could learn, and no memory of its own.
class Pick {
  public:
    Pick(size_t entries, int seed) : mEntries(entries), mState(static_cast<uint32_t>(seed)) {}

    GrallocRequest next() {
        mState = mState * 1664525 + 1013904223;
        return numberedRequest(static_cast<size_t>((uint64_t{mState} * mEntries) >> 32));
    }

  private:
    const size_t mEntries;
    uint32_t mState;
};

// The floor: what a hit cannot do without, and nothing else. A pthread mutex, a binary search in a
// sorted array of the same keys, a copy of the planes.
class BareCache {
  public:
    explicit BareCache(size_t entries) {
        fillCache(entries);
        const auto& provider = *zcam::IGrallocInfoProvider::getInstance();
        for (size_t i = 0; i < entries; ++i) {
            GrallocStaticInfo info;
            const GrallocRequest request = numberedRequest(i);
            provider.query(&request, &info);
            mKeys.push_back(keyOf(request));
            mPlanes.push_back(info.planes);
        }
    }

    void copyPlanes(const GrallocRequest& request, Planes& to) {
        const Key key = keyOf(request);
        pthread_mutex_lock(&mMutex);
        const auto found = std::lower_bound(mKeys.begin(), mKeys.end(), key);
        to = mPlanes[static_cast<size_t>(found - mKeys.begin())];
        pthread_mutex_unlock(&mMutex);
    }

  private:
    struct Key {
        int32_t format, usage, width, height;
        auto operator<=>(const Key&) const = default;
    };

    static Key keyOf(const GrallocRequest& request) {
        return {request.format, 0, request.widthInPixels, request.heightInPixels};
    }

    pthread_mutex_t mMutex = PTHREAD_MUTEX_INITIALIZER;
    std::vector<Key> mKeys;
    std::vector<Planes> mPlanes;
};

void hitReused(benchmark::State& state, size_t entries) {
    fillCache(entries);
    const auto* const provider = zcam::IGrallocInfoProvider::getInstance();
    Pick pick(entries, 1);
    GrallocStaticInfo info;
    measure(state, [&] {
        const GrallocRequest request = pick.next();
        benchmark::DoNotOptimize(provider->query(&request, &info));
    });
}

void bareReused(benchmark::State& state, size_t entries) {
    BareCache cache(entries);
    Pick pick(entries, 1);
    Planes planes;
    measure(state, [&] {
        cache.copyPlanes(pick.next(), planes);
        benchmark::ClobberMemory();
    });
}

void hitFresh(benchmark::State& state, size_t entries) {
    fillCache(entries);
    const auto* const provider = zcam::IGrallocInfoProvider::getInstance();
    Pick pick(entries, 1);
    measure(state, [&] {
        const GrallocRequest request = pick.next();
        GrallocStaticInfo info;
        benchmark::DoNotOptimize(provider->query(&request, &info));
    });
}

void bareFresh(benchmark::State& state, size_t entries) {
    BareCache cache(entries);
    Pick pick(entries, 1);
    measure(state, [&] {
        Planes planes;
        cache.copyPlanes(pick.next(), planes);
        benchmark::DoNotOptimize(planes.data());
    });
}

void hitShared(benchmark::State& state) {
    if (state.thread_index() == 0)
        fillCache(kSharedEntries);
    const auto* const provider = zcam::IGrallocInfoProvider::getInstance();
    Pick pick(kSharedEntries, state.thread_index());
    GrallocStaticInfo info;
    measure(state, [&] {
        const GrallocRequest request = pick.next();
        benchmark::DoNotOptimize(provider->query(&request, &info));
    });
}

void bareShared(benchmark::State& state) {
    static BareCache cache(kSharedEntries);
    Pick pick(kSharedEntries, state.thread_index());
    Planes planes;
    measure(state, [&] {
        cache.copyPlanes(pick.next(), planes);
        benchmark::ClobberMemory();
    });
}

void compareSizes(const std::string& row, size_t entries, void (*ours)(benchmark::State&, size_t),
                  void (*floor)(benchmark::State&, size_t)) {
    compare(
            row + "/" + std::to_string(entries),
            [=](benchmark::State& state) { ours(state, entries); },
            [=](benchmark::State& state) { floor(state, entries); });
}

}  // namespace

void fillCache(size_t entries) {
    static size_t filled = 0;
    auto* const helper = NSCam::IGrallocHelper::singleton();
    if (filled == 0 || filled > entries) {
        helper->clearMap();
        filled = 0;
    }
    for (GrallocStaticInfo info; filled < entries; ++filled) {
        const GrallocRequest request = numberedRequest(filled);
        helper->query(&request, &info);
    }
}

void registerCacheHits() {
    for (const size_t entries : {1, 16, 256, 4096}) {
        compareSizes("hit_reused", entries, hitReused, bareReused);
        compareSizes("hit_fresh", entries, hitFresh, bareFresh);
    }
    compare("hit_two_threads", hitShared, bareShared,
            [](benchmark::internal::Benchmark* run) { run->Threads(2)->UseRealTime(); });
    for (size_t entries = 1; entries <= 65536; entries *= 2)
        compareSizes("growth", entries, hitReused, bareReused);
}

}  // namespace zelkcam::bench
