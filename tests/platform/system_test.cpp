#include <csignal>
#include <cstdlib>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include "host_test.h"
#include "platform/bus.h"
#include "platform/devinfo_store.h"
#include "platform/log.h"
#include "platform/network.h"
#include "platform/system.h"

static uid_t user = 0;

extern "C" uid_t geteuid() noexcept {
    return user;
}

TEST(System, RunsTheShellAsRootOnly) {
    EXPECT_EQ(system_by_root("x=3; exit \"$x\""), 3 << 8);
    user = 1000;
    EXPECT_EQ(system_by_root("true"), -1);
}

// A client that outlives the daemon must neither keep its sockets nor ignore what killall sends.
TEST(System, AStartedProgramInheritsNothing) {
    // What this process was itself left with, a log of CTest's say, is not the layer's.
    constexpr unsigned CLOSE_ON_EXEC = 4; // not every C library knows the call
    ASSERT_EQ(syscall(SYS_close_range, 3U, ~0U, CLOSE_ON_EXEC), 0);
    signal(SIGPIPE, SIG_IGN);
    sigset_t blocked;
    sigfillset(&blocked);
    pthread_sigmask(SIG_BLOCK, &blocked, nullptr);
    const auto ignore = [](const uplinkd_msg_t *) { return 0; };
    ASSERT_EQ(init_sockmsg(24, ignore, 0), 0);
    const std::jthread busy([](const std::stop_token &stop) {
        for (uplinkd_msg_t record{}; !stop.stop_requested(); sockmsg_send_common_msg(24, &record)) {
            savelog(0, "busy");
            set_devinfo_value_by_id(3, "1", 1);
        }
    });
    for (int round = 0; round < 30; round++) // 3 is the folder that ls reads
        EXPECT_EQ(system_by_root("! ls /proc/self/fd | grep -vx '[0-3]' >&2"), 0);
    // No bit of SIGPIPE and none of SIGTERM in either set.
    EXPECT_EQ(system_by_root("[ $(grep -Ec '^Sig(Blk|Ign):.*[028a]...$' /proc/self/status) = 2 ]"),
              0);
}

// Under ThreadSanitizer and qemu-user it is a fork, from which no reason comes back.
static bool is_vfork_real() {
    volatile bool is_shared = false;
    const pid_t child = vfork();
    if (child == 0) {
        is_shared = true;
        _exit(0);
    }
    waitpid(child, nullptr, 0);
    return is_shared;
}

TEST(System, RebootsWithWhatIsOnThePath) {
    put_file("/tmp/bin/reboot", "#!/bin/sh\necho $# > /tmp/asked\n");
    chmod("/tmp/bin/reboot", 0755);
    ASSERT_EQ(mkfifo("/tmp/asked", 0600), 0);
    setenv("PATH", "/tmp/none:/tmp/bin", 1);
    EXPECT_EQ(util_does_system_opt_reboot("test"), 0);
    EXPECT_EQ(file_text("/tmp/asked"), "0\n");
    setenv("PATH", "/tmp/none", 1);
    EXPECT_EQ(util_does_system_opt_reboot("test"), is_vfork_real() ? -1 : 0);
}

// All networks among sixteen addresses, as bit sets of their members; non-contiguous masks too.
TEST(Network, RelationsAgreeWithTheSetsOfAddresses) {
    const auto text = [](const char *start, unsigned end) { return start + std::to_string(end); };
    for (unsigned bits = 0; bits < 0x10000; bits++) {
        const unsigned a = bits & 15, ma = bits >> 4 & 15, b = bits >> 8 & 15, mb = bits >> 12;
        unsigned in_a = 0, in_b = 0;
        for (unsigned address = 0; address < 16; address++) {
            in_a |= ((address & ma) == (a & ma) ? 1u : 0u) << address;
            in_b |= ((address & mb) == (b & mb) ? 1u : 0u) << address;
        }
        const unsigned both = in_a & in_b;
        const int expected = both == 0      ? 3
                             : in_a == in_b ? 0
                             : both == in_b ? 1
                             : both == in_a ? 2
                                            : 4;
        ASSERT_EQ(util_get_2_network_segment_relations4(
                      text("10.0.0.", a).c_str(), text("255.255.255.", ma | 0xf0).c_str(),
                      text("10.0.0.", b).c_str(), text("255.255.255.", mb | 0xf0).c_str()),
                  expected)
            << a << "/" << ma << " and " << b << "/" << mb;
    }
    for (const char *wrong : {"", " ", "1.2.3", "1.2.3.4 ", "01.2.3.4", "0x1.2.3.4", "1.2.3.256",
                              "1.2.3.4.5", "16909060", "1..3.4", "1.2.3.4\n"})
        EXPECT_EQ(util_get_2_network_segment_relations4("1.2.3.4", "255.0.0.0", "1.2.3.4", wrong),
                  *wrong == '\0' ? 3 : -1)
            << wrong;
}

TEST(Network, InterfacesAnswerOrLeaveTheTextEmpty) {
    char text[IPV4_TEXT_SIZE] = "old";
    for (const char *name : {"", "no-such-if", "lo34567890123456"})
        EXPECT_TRUE(cmd_get_netmask(name, text) == -1 && *text == '\0') << name;
    EXPECT_TRUE(cmd_get_netmask("lo", text) == 0 && text == std::string("255.0.0.0")) << text;
    const unsigned char MAC[] = {0x00, 0x1a, 0x22, 0xff, 0x0b, 0xc0};
    EXPECT_EQ(util_network_get_mac_string(MAC, text, 17), -1);
    EXPECT_EQ(util_network_get_mac_string(MAC, text, 18), 0);
    EXPECT_STREQ(text, "00:1a:22:ff:0b:c0");
}
