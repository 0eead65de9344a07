// Actions on the system. A command gets an empty signal mask and the default behaviour of the
// signals that end programs, whatever the caller inherited, so that it can be ended with a plain
// killall. No started program inherits a descriptor of the layer.
#include "platform/system.h"

#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

#include "platform/host/files.h"
#include "platform/log.h"

namespace {

int spawn_shell(const char *command, pid_t &child) {
    char shell[] = "sh", option[] = "-c";
    char *const arguments[] = {shell, option, const_cast<char *>(command), nullptr};

    sigset_t none, ordinary;
    sigemptyset(&none);
    sigemptyset(&ordinary);
    for (const int number : {SIGHUP, SIGINT, SIGQUIT, SIGPIPE, SIGTERM, SIGCHLD})
        sigaddset(&ordinary, number);

    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setsigdefault(&attributes, &ordinary);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    const int error = posix_spawn(&child, "/bin/sh", nullptr, &attributes, arguments, environ);
    posix_spawnattr_destroy(&attributes);
    return error;
}

// Waits for CHILD and gives its wait status, or -1 where the kernel keeps none.
int wait_for(pid_t child) {
    int status = 0;
    pid_t ended;
    do
        ended = waitpid(child, &status, 0);
    while (ended < 0 && errno == EINTR);
    return ended == child ? status : -1;
}

void report_error(int report) {
    const int error = errno;
    host::write_all(report, {reinterpret_cast<const char *>(&error), sizeof error});
}

// In the child: becomes `reboot` in a session of its own, or reports into REPORT why it could not.
[[noreturn]] void become_reboot(int report) {
    setsid();
    const int nowhere = host::open_file("/dev/null", O_RDWR);
    for (int standard = STDIN_FILENO; standard <= STDERR_FILENO; standard++)
        dup2(nowhere, standard);

    char program[] = "reboot";
    char *const arguments[] = {program, nullptr};
    execvp(program, arguments);
    report_error(report);
    _exit(127);
}

// Starts `reboot` as a child of init, so that nobody here has to wait for it. Returns 0 once it
// runs or the reason why it does not.
int start_reboot() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        return errno;
    const host::descriptor outcome{ends[0]};
    host::descriptor report{ends[1]};

    const pid_t child = fork();
    if (child < 0)
        return errno;
    if (child == 0) {
        const pid_t grandchild = fork();
        if (grandchild == 0)
            become_reboot(report);
        if (grandchild < 0)
            report_error(report);
        _exit(0);
    }
    report.reset(-1);
    wait_for(child);

    int error = 0;
    return read(outcome, &error, sizeof error) == sizeof error ? error : 0;
}

} // namespace

int system_by_root(const char *command) {
    if (command == nullptr || geteuid() != 0)
        return -1;
    pid_t child = -1;
    if (const int error = spawn_shell(command, child); error != 0) {
        savelog(0, "cannot run the shell: %s", strerror(error));
        return -1;
    }
    return wait_for(child);
}

int util_does_system_opt_reboot(const char *reason) {
    savelog(0, "reboot requested: %s", reason != nullptr ? reason : "no reason given");
    if (const int error = start_reboot(); error != 0) {
        savelog(0, "cannot run reboot: %s", strerror(error));
        return -1;
    }
    return 0;
}
