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
#include <cstring>
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

static int enter_namespaces(char **argv) {
    setenv(INSIDE, "1", 1);
    std::vector<const char *> command = {"sh", "-c", ENTER, "/proc/self/exe"};
    char self[4096] = {};
    if (readlink("/proc/self/exe", self, sizeof self - 1) > 0)
        command.back() = self;
    for (char **argument = argv + 1; *argument != nullptr; ++argument)
        command.push_back(*argument);
    command.push_back(nullptr);
    execvp("sh", const_cast<char *const *>(command.data()));
    perror("sh");
    return EXIT_SKIPPED;
}

static bool mount_empty_folders() {
    for (const char *folder : {"/tmp", "/run", "/etc", "/var/log"})
        if (mount("tmpfs", folder, "tmpfs", MS_NOSUID | MS_NODEV, "mode=0755") != 0)
            return false;
    return mkdir("/etc/ppp", 0755) == 0 && chmod("/etc/ppp", 01777) == 0 &&
           chmod("/tmp", 01777) == 0;
}

int main(int argc, char **argv) {
    bool only_lists = false;
    for (int i = 1; i < argc; ++i)
        only_lists |= strncmp(argv[i], "--gtest_list_tests", 18) == 0;
    if (!only_lists && getenv(INSIDE) == nullptr)
        return enter_namespaces(argv);
    if (!only_lists && !mount_empty_folders()) {
        printf("SKIPPED: no folder can be mounted in the test's own namespaces\n");
        return EXIT_SKIPPED;
    }
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
