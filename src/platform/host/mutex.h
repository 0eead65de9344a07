// A mutex and a condition that clang's thread-safety analysis understands, over POSIX threads;
// std::mutex would bring the C++ library along.
#pragma once

#include <pthread.h>

#if defined(__clang__)
#define HOST_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define HOST_THREAD_ANNOTATION(x)
#endif

#define HOST_GUARDED_BY(lock) HOST_THREAD_ANNOTATION(guarded_by(lock))
#define HOST_REQUIRES(lock)   HOST_THREAD_ANNOTATION(requires_capability(lock))

namespace host {

struct HOST_THREAD_ANNOTATION(capability("mutex")) mutex {
    void lock() HOST_THREAD_ANNOTATION(acquire_capability()) { pthread_mutex_lock(&native); }
    void unlock() HOST_THREAD_ANNOTATION(release_capability()) { pthread_mutex_unlock(&native); }

    pthread_mutex_t native = PTHREAD_MUTEX_INITIALIZER;
};

// Holds a mutex for as long as it lives.
struct HOST_THREAD_ANNOTATION(scoped_lockable) mutex_guard {
    explicit mutex_guard(mutex &held) HOST_THREAD_ANNOTATION(acquire_capability(held))
        : guarded(held) {
        guarded.lock();
    }
    ~mutex_guard() HOST_THREAD_ANNOTATION(release_capability()) { guarded.unlock(); }
    mutex_guard(const mutex_guard &) = delete;
    mutex_guard &operator=(const mutex_guard &) = delete;

    mutex &guarded;
};

struct condition {
    void wait(mutex &held) HOST_REQUIRES(held) { pthread_cond_wait(&native, &held.native); }
    void signal() { pthread_cond_signal(&native); }

    pthread_cond_t native = PTHREAD_COND_INITIALIZER;
};

} // namespace host
