// No service of the platform: locks for this project's own C++ code on both sides of the boundary.
// A POSIX mutex with default attributes, and a condition, that clang's thread-safety analysis
// understands; std::mutex would need libstdc++.
#pragma once

#include <pthread.h>

#if defined(__clang__)
#define UPLINKD_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define UPLINKD_THREAD_ATTRIBUTE(x)
#endif
#define UPLINKD_GUARDED_BY(mutex)    UPLINKD_THREAD_ATTRIBUTE(guarded_by(mutex))
#define UPLINKD_PT_GUARDED_BY(mutex) UPLINKD_THREAD_ATTRIBUTE(pt_guarded_by(mutex))
#define UPLINKD_REQUIRES(mutex)      UPLINKD_THREAD_ATTRIBUTE(requires_capability(mutex))

class UPLINKD_THREAD_ATTRIBUTE(capability("mutex")) uplinkd_mutex {
public:
    void lock() UPLINKD_THREAD_ATTRIBUTE(acquire_capability()) { pthread_mutex_lock(&mutex); }
    void unlock() UPLINKD_THREAD_ATTRIBUTE(release_capability()) { pthread_mutex_unlock(&mutex); }

private:
    friend class uplinkd_condition;
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

// Lets who holds a mutex wait for another thread to change what it guards.
class uplinkd_condition {
public:
    void wait(uplinkd_mutex &held) UPLINKD_REQUIRES(held) {
        pthread_cond_wait(&condition, &held.mutex);
    }
    void signal() { pthread_cond_signal(&condition); }

private:
    pthread_cond_t condition = PTHREAD_COND_INITIALIZER;
};
