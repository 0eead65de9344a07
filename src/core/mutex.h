// A POSIX mutex that clang's thread-safety analysis understands (std::mutex needs libstdc++).
#pragma once

#include <pthread.h>

#if defined(__clang__)
#define THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define THREAD_ATTRIBUTE(x)
#endif
#define GUARDED_BY(mutex) THREAD_ATTRIBUTE(guarded_by(mutex))
#define REQUIRES(mutex)   THREAD_ATTRIBUTE(requires_capability(mutex))

class THREAD_ATTRIBUTE(capability("mutex")) uplinkd_mutex {
public:
    void create() { pthread_mutex_init(&mutex, nullptr); }
    void lock() THREAD_ATTRIBUTE(acquire_capability()) { pthread_mutex_lock(&mutex); }
    void unlock() THREAD_ATTRIBUTE(release_capability()) { pthread_mutex_unlock(&mutex); }

private:
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
};

// Holds a mutex for a block.
class THREAD_ATTRIBUTE(scoped_lockable) mutex_guard {
public:
    explicit mutex_guard(uplinkd_mutex &guarded) THREAD_ATTRIBUTE(acquire_capability(guarded))
        : mutex(guarded) {
        mutex.lock();
    }
    ~mutex_guard() THREAD_ATTRIBUTE(release_capability()) { mutex.unlock(); }
    mutex_guard(const mutex_guard &) = delete;
    mutex_guard &operator=(const mutex_guard &) = delete;

private:
    uplinkd_mutex &mutex;
};
