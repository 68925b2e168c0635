// What a cached layout costs: over the cache's size, with a fresh record, and to two threads.
#include <pthread.h>

#include <algorithm>
#include <barrier>
#include <chrono>
#include <compare>
#include <thread>
#include <vector>

#include "bench/Cache.h"
#include "bench/Compare.h"
#include "utils/gralloc/Log.h"

namespace zelkcam::bench {
namespace {

constexpr char kLogTag[] = "ZelkCam/Bench";
constexpr char kSourcePath[] = "bench/CacheHit";

using zcam::GrallocRequest;
using zcam::GrallocStaticInfo;
using Planes = std::vector<GrallocStaticInfo::Plane>;

constexpr size_t kSharedEntries = 256;

// Which entry is requested next: unpredictable for the processor, and without memory of its own.
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

// A hit that reuses the caller's record.
auto reusingHit(size_t entries) {
    return [=](auto&& measure) {
        fillCache(entries);
        const auto* const provider = zcam::IGrallocInfoProvider::getInstance();
        Pick pick(entries, 1);
        GrallocStaticInfo info;
        measure([&] {
            const GrallocRequest request = pick.next();
            benchmark::DoNotOptimize(provider->query(&request, &info));
        });
    };
}

// The same floor as an interface would offer it: behind a virtual call, with null refused, a closed
// debug statement and a status.
class CalledCache {
  public:
    explicit CalledCache(size_t entries) : mCache(entries) {}
    virtual ~CalledCache() = default;

    [[gnu::noinline]] virtual int query(const GrallocRequest* request, Planes* planes) {
        if (request == nullptr || planes == nullptr) {
            return -1;
        }
        LOGD("%d", request->format);
        mCache.copyPlanes(*request, *planes);
        return 0;
    }

  private:
    BareCache mCache;
};

void compareCalled(const std::string& row, size_t entries) {
    const auto floor = [=](auto&& measure) {
        CalledCache cache(entries);
        CalledCache* called = &cache;
        benchmark::DoNotOptimize(called);  // or the compiler would call the function directly
        Pick pick(entries, 1);
        Planes planes;
        measure([&] {
            const GrallocRequest request = pick.next();
            benchmark::DoNotOptimize(called->query(&request, &planes));
        });
    };
    compare(row + "/" + std::to_string(entries), reusingHit(entries), floor);
}

// Both sides reuse the caller's record.
void compareReused(const std::string& row, size_t entries) {
    const auto floor = [=](auto&& measure) {
        BareCache cache(entries);
        Pick pick(entries, 1);
        Planes planes;
        measure([&] {
            cache.copyPlanes(pick.next(), planes);
            benchmark::ClobberMemory();
        });
    };
    compare(row + "/" + std::to_string(entries), reusingHit(entries), floor);
}

// Both sides fill a record that holds nothing yet.
void compareFresh(const std::string& row, size_t entries) {
    const auto ours = [=](auto&& measure) {
        fillCache(entries);
        const auto* const provider = zcam::IGrallocInfoProvider::getInstance();
        Pick pick(entries, 1);
        measure([&] {
            const GrallocRequest request = pick.next();
            GrallocStaticInfo info;
            benchmark::DoNotOptimize(provider->query(&request, &info));
        });
    };
    const auto floor = [=](auto&& measure) {
        BareCache cache(entries);
        Pick pick(entries, 1);
        measure([&] {
            Planes planes;
            cache.copyPlanes(pick.next(), planes);
            benchmark::DoNotOptimize(planes.data());
        });
    };
    compare(row + "/" + std::to_string(entries), ours, floor);
}

// A slice that two threads work through together, on the wall clock: start to last one out.
template <typename Operation>
void sharedSlice(Cost& cost, const Operation& operation) {
    constexpr int64_t kTimes = 20'000;
    std::barrier gate(3);
    const auto work = [&](int seed) {
        Pick pick(kSharedEntries, seed);
        gate.arrive_and_wait();
        operation(pick, kTimes);
        gate.arrive_and_wait();
    };
    std::thread threads[] = {std::thread(work, 1), std::thread(work, 2)};
    gate.arrive_and_wait();
    const auto start = std::chrono::steady_clock::now();
    gate.arrive_and_wait();
    cost.nanoseconds += (std::chrono::steady_clock::now() - start).count();
    cost.operations += 2 * kTimes;
    for (std::thread& thread : threads) {
        thread.join();
    }
}

void compareShared(benchmark::State& state) {
    fillCache(kSharedEntries);
    const auto* const provider = zcam::IGrallocInfoProvider::getInstance();
    BareCache cache(kSharedEntries);
    const auto ours = [&](Pick& pick, int64_t times) {
        for (GrallocStaticInfo info; times > 0; --times) {
            const GrallocRequest request = pick.next();
            benchmark::DoNotOptimize(provider->query(&request, &info));
        }
    };
    const auto floor = [&](Pick& pick, int64_t times) {
        for (Planes planes; times > 0; --times) {
            cache.copyPlanes(pick.next(), planes);
            benchmark::ClobberMemory();
        }
    };
    Cost oursCost, floorCost;
    for (auto _ : state) {
        const int64_t before = oursCost.nanoseconds + floorCost.nanoseconds;
        sharedSlice(oursCost, ours);
        sharedSlice(floorCost, floor);
        const int64_t taken = oursCost.nanoseconds + floorCost.nanoseconds - before;
        state.SetIterationTime(static_cast<double>(taken) * 1e-9);
    }
    report(state, oursCost, floorCost);
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
        compareReused("hit_reused", entries);
        compareFresh("hit_fresh", entries);
    }
    compareCalled("hit_called", 1);
    benchmark::RegisterBenchmark("hit_two_threads", compareShared)->UseManualTime();
    for (size_t entries = 1; entries <= 65536; entries *= 2) {
        compareReused("growth", entries);
    }
}

}  // namespace zelkcam::bench
