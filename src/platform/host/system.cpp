// Actions on the system. A command gets an empty signal mask and the default behaviour of the
// signals that end programs, whatever the caller inherited, so that it can be ended with a plain
// killall. No started program inherits a descriptor of the layer. A command's shell ends with the
// process that started it, what it has put into the background does not: whoever takes over from a
// daemon that was killed is not to find half of a command still going on. (A shell that leaves the
// last program of a command line to a child, as dash and bash do, ends alone.)
#include "platform/system.h"

#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>

#include "platform/host/files.h"
#include "platform/host/own_process.h"
#include "platform/log.h"

namespace {

// Waits for CHILD and gives its wait status, or -1 where the kernel keeps none.
int wait_for(pid_t child) {
    int status = 0;
    pid_t ended;
    do
        ended = waitpid(child, &status, 0);
    while (ended < 0 && errno == EINTR);
    return ended == child ? status : -1;
}

// ---- in a child, which shares its parent's memory until it executes

// Becomes a shell that ends with the PARENT, or gives the reason why it could not.
int become_shell(const char *command, pid_t parent) {
    char shell[] = "sh", option[] = "-c";
    char *const arguments[] = {shell, option, const_cast<char *>(command), nullptr};

    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent)
        return ECHILD; // too late for the wish
    for (const int number : {SIGHUP, SIGINT, SIGQUIT, SIGPIPE, SIGTERM, SIGCHLD})
        signal(number, SIG_DFL);
    const sigset_t none = {}; // zeroes are the empty set in Linux
    pthread_sigmask(SIG_SETMASK, &none, nullptr);
    execvp("/bin/sh", arguments);
    return errno;
}

// Becomes `reboot` in a session of its own, or gives the reason why it could not.
int become_reboot() {
    setsid();
    const int nowhere = host::open_file("/dev/null", O_RDWR);
    for (int standard = STDIN_FILENO; standard <= STDERR_FILENO; standard++)
        dup2(nowhere, standard);

    char program[] = "reboot";
    char *const arguments[] = {program, nullptr};
    execvp(program, arguments);
    return errno;
}

// ---- in the parent, whose thread waits until the child has executed; the others go on

// (posix_spawn can neither pass on the shell's wish nor make a grandchild.)
// NOLINTBEGIN(*vfork,*Vfork,bugprone-unsafe-functions)

// Starts a shell and waits for its end. STATUS receives its wait status. Returns 0, or the reason
// why there is no shell.
int run_shell(const char *command, int &status) {
    const pid_t parent = host::own_pid();
    volatile int error = 0;
    const pid_t child = vfork();
    if (child == 0) {
        error = become_shell(command, parent);
        _exit(127);
    }
    if (child < 0)
        return errno;
    status = wait_for(child);
    return error;
}

// Starts `reboot` as a child of init, so that nobody here has to wait for it. Returns 0 once it
// runs or the reason why it does not.
int start_reboot() {
    volatile int error = 0;
    const pid_t child = vfork();
    if (child == 0) {
        const pid_t grandchild = vfork();
        if (grandchild <= 0)
            error = grandchild == 0 ? become_reboot() : errno;
        _exit(0);
    }
    if (child < 0)
        return errno;
    wait_for(child);
    return error;
}

// NOLINTEND(*vfork,*Vfork,bugprone-unsafe-functions)

} // namespace

int system_by_root(const char *command) {
    if (command == nullptr || geteuid() != 0)
        return -1;
    int status = -1;
    if (const int error = run_shell(command, status); error != 0) {
        savelog(0, "cannot run the shell: %s", strerror(error));
        return -1;
    }
    return status;
}

int util_does_system_opt_reboot(const char *reason) {
    savelog(0, "reboot requested: %s", reason != nullptr ? reason : "no reason given");
    if (const int error = start_reboot(); error != 0) {
        savelog(0, "cannot run reboot: %s", strerror(error));
        return -1;
    }
    return 0;
}
