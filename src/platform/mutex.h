// A POSIX mutex with default attributes that clang's thread-safety analysis understands (std::mutex
// needs libstdc++).
#pragma once

#include <pthread.h>

#if defined(__clang__)
#define UPLINKD_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define UPLINKD_THREAD_ATTRIBUTE(x)
#endif
#define UPLINKD_GUARDED_BY(mutex) UPLINKD_THREAD_ATTRIBUTE(guarded_by(mutex))

class UPLINKD_THREAD_ATTRIBUTE(capability("mutex")) uplinkd_mutex {
public:
    void lock() UPLINKD_THREAD_ATTRIBUTE(acquire_capability()) { pthread_mutex_lock(&mutex); }
    void unlock() UPLINKD_THREAD_ATTRIBUTE(release_capability()) { pthread_mutex_unlock(&mutex); }

private:
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
};

// Holds a mutex for a block.
class UPLINKD_THREAD_ATTRIBUTE(scoped_lockable) mutex_guard {
public:
    explicit mutex_guard(uplinkd_mutex &guarded)
        UPLINKD_THREAD_ATTRIBUTE(acquire_capability(guarded))
        : mutex(guarded) {
        mutex.lock();
    }
    ~mutex_guard() UPLINKD_THREAD_ATTRIBUTE(release_capability()) { mutex.unlock(); }
    mutex_guard(const mutex_guard &) = delete;
    mutex_guard &operator=(const mutex_guard &) = delete;

private:
    uplinkd_mutex &mutex;
};
