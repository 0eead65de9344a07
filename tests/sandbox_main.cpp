// The main of every test program: the tests run in user and mount namespaces of their own, with
// empty folders where the daemon keeps its files, so that real paths are used and the machine is
// never touched.
//
// The program executes itself once more under unshare(1) instead of calling unshare(2), because a
// sanitizer may have started a thread already, and a process with threads enters no user namespace.
// The mounts are made afterwards, since they may hide the program itself. What a test needs from
// outside it reads relative to the working directory, which stays reachable under any mount.
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

static constexpr const char *INSIDE = "UPLINKD_TEST_SANDBOX";
static constexpr int EXIT_SKIPPED = 77;

static constexpr const char *ENTER = R"(
enter='unshare --user --map-root-user --mount'
if ! $enter true 2>/dev/null; then
    echo 'SKIPPED: user and mount namespaces are refused on this machine'
    exit 77
fi
exec $enter "$0" "$@")";

static bool mount_empty_folders() {
    for (const char *folder : {"/tmp", "/run", "/etc", "/var/log"})
        if (mount("tmpfs", folder, "tmpfs", MS_NOSUID | MS_NODEV, "mode=0755") != 0)
            return false;
    return mkdir("/etc/ppp", 0755) == 0 && chmod("/etc/ppp", 01777) == 0 &&
           chmod("/tmp", 01777) == 0;
}

int main(int argc, char **argv) {
    std::vector<const char *> command = {"sh", "-c", ENTER};
    command.insert(command.end(), argv, argv + argc + 1); // with its null pointer
    testing::InitGoogleTest(&argc, argv);
    if (GTEST_FLAG_GET(list_tests))
        return RUN_ALL_TESTS();
    if (getenv(INSIDE) == nullptr) {
        setenv(INSIDE, "1", 1);
        execvp("sh", const_cast<char *const *>(command.data()));
        perror("sh");
        return EXIT_SKIPPED;
    }
    if (!mount_empty_folders()) {
        printf("SKIPPED: no folder can be mounted in the test's own namespaces\n");
        return EXIT_SKIPPED;
    }
    return RUN_ALL_TESTS();
}
