#include "platform/host/own_process.h"

#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace host {

namespace {

std::atomic<pid_t> known_pid = 0;
std::atomic<unsigned> known_namespace = 0;
thread_local pid_t known_tid = 0;

// In the child, whose only thread is the one that forked.
void forget() {
    known_pid = 0;
    known_namespace = 0;
    known_tid = 0;
}

} // namespace

pid_t own_pid() {
    static std::atomic<bool> told = false;
    if (known_pid == 0) {
        if (!told.exchange(true))
            pthread_atfork(nullptr, nullptr, forget);
        known_pid = getpid();
    }
    return known_pid;
}

pid_t own_tid() {
    own_pid(); // sees to it that a fork is noticed
    if (known_tid == 0)
        known_tid = static_cast<pid_t>(syscall(SYS_gettid));
    return known_tid;
}

unsigned own_pid_namespace() {
    own_pid();
    if (known_namespace == 0) {
        const int saved = errno;
        struct stat status = {};
        fstatat(AT_FDCWD, "/proc/self/ns/pid", &status, 0);
        errno = saved;
        known_namespace = static_cast<unsigned>(status.st_ino);
    }
    return known_namespace;
}

} // namespace host
