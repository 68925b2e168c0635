// A mutex whose rules clang checks: what is annotated as guarded by it may only be touched while it
// is held.
#pragma once

#include <pthread.h>

#if defined(__clang__)
#define ZELKCAM_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define ZELKCAM_THREAD_ANNOTATION(x)
#endif
#define ZELKCAM_GUARDED_BY(mutex) ZELKCAM_THREAD_ANNOTATION(guarded_by(mutex))
#define ZELKCAM_REQUIRES(mutex) ZELKCAM_THREAD_ANNOTATION(requires_capability(mutex))

namespace NSCam::gralloc {

class ZELKCAM_THREAD_ANNOTATION(capability("mutex")) Mutex {
  public:
    Mutex() { pthread_mutex_init(&mMutex, nullptr); }
    ~Mutex() { pthread_mutex_destroy(&mMutex); }
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    void lock() ZELKCAM_THREAD_ANNOTATION(acquire_capability()) { pthread_mutex_lock(&mMutex); }
    void unlock() ZELKCAM_THREAD_ANNOTATION(release_capability()) { pthread_mutex_unlock(&mMutex); }

  private:
    pthread_mutex_t mMutex;
};

class ZELKCAM_THREAD_ANNOTATION(scoped_lockable) MutexLock {
  public:
    explicit MutexLock(Mutex& mutex) ZELKCAM_THREAD_ANNOTATION(acquire_capability(mutex))
        : mMutex(mutex) {
        mMutex.lock();
    }
    ~MutexLock() ZELKCAM_THREAD_ANNOTATION(release_capability()) { mMutex.unlock(); }
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

  private:
    Mutex& mMutex;
};

}  // namespace NSCam::gralloc
