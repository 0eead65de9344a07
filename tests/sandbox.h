// Enters user and mount namespaces of the program's own, with empty folders where the daemon keeps
// its files, so that tests use real paths and never touch the machine.
//
// The program executes itself once more under unshare(1) instead of calling unshare(2), because a
// sanitizer may have started a thread already, and a process with threads enters no user namespace.
// The mounts are made afterwards, since they may hide the program itself. What a test needs from
// outside it reads relative to the working directory, which stays reachable under any mount.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

inline constexpr int EXIT_SKIPPED = 77;

inline bool mount_empty_folders() {
    for (const char *folder : {"/tmp", "/run", "/etc", "/var/log"})
        if (mount("tmpfs", folder, "tmpfs", MS_NOSUID | MS_NODEV, "mode=0755") != 0)
            return false;
    return mkdir("/etc/ppp", 0755) == 0 && chmod("/etc/ppp", 01777) == 0 &&
           chmod("/tmp", 01777) == 0;
}

// Returns 0 inside, or what the program is to exit with. COMMAND is the program's own, with the
// null pointer at its end; unshare gets the MORE options.
inline int enter_sandbox(std::vector<const char *> command, const std::string &more = "") {
    static constexpr const char *INSIDE = "UPLINKD_TEST_SANDBOX";
    if (getenv(INSIDE) == nullptr) {
        const std::string enter = "enter='unshare --user --map-root-user --mount " + more + R"('
if ! $enter true 2>/dev/null; then
    echo 'SKIPPED: user and mount namespaces are refused on this machine'
    exit 77
fi
exec $enter "$0" "$@")";
        setenv(INSIDE, "1", 1);
        command.insert(command.begin(), {"sh", "-c", enter.c_str()});
        execvp("sh", const_cast<char *const *>(command.data()));
        perror("sh");
        return EXIT_SKIPPED;
    }
    if (mount_empty_folders())
        return 0;
    printf("SKIPPED: no folder can be mounted in the test's own namespaces\n");
    return EXIT_SKIPPED;
}
