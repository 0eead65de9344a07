// uplinkctl watch: nothing lost, nothing out of order, whatever the rate.
#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <sys/wait.h>
#include <vector>

#include "host_test.h"
#include "platform/devinfo_store.h"
#include "platform/log.h"

static constexpr char EVENTS[] = "/tmp/events";

// A running `uplinkctl watch --json`.
class watcher {
public:
    watcher() {
        pid = fork();
        if (pid == 0) {
            if (freopen(EVENTS, "w", stdout) == nullptr)
                _exit(1);
            execl("./uplinkctl", "uplinkctl", "watch", "--json", nullptr);
            _exit(1);
        }
        wait_for("\"live\"");
    }
    ~watcher() { stop(); }

    void send(int signal) const { kill(pid, signal); }

    // Ends it, and returns its lines.
    std::vector<std::string> stop() {
        if (pid > 0) {
            kill(pid, SIGTERM);
            waitpid(pid, &status, 0);
            EXPECT_EQ(status, 0);
            pid = 0;
        }
        std::vector<std::string> lines;
        std::ifstream file(EVENTS);
        for (std::string line; std::getline(file, line);)
            lines.push_back(line);
        return lines;
    }

    static void wait_for(const std::string &text) {
        for (int i = 0; i < 2000 && file_text(EVENTS).find(text) == std::string::npos; i++)
            usleep(10000);
    }

private:
    pid_t pid;
    int status = 0;
};

static size_t count(const std::vector<std::string> &lines, const std::string &part) {
    return static_cast<size_t>(std::count_if(lines.begin(), lines.end(), [&](const auto &line) {
        return line.find(part) != std::string::npos;
    }));
}

static void store_number(int id, int number) {
    const std::string text = std::to_string(number);
    set_devinfo_value_by_id(id, text.c_str(), static_cast<int>(text.size()));
}

static void log_number(int number) {
    savelog(0, "number %d", number);
}

TEST(Watch, SaysEachOfAThousandChangesASecondInItsPlace) {
    init_log_params("TEST");
    log_number(0);
    watcher running;
    constexpr int CHANGES = 2000;
    for (int i = 1; i <= CHANGES; i++) { // two lines of the log, then an item
        if (i % 200 == 1)
            running.send(SIGSTOP); // it has not always its turn at once
        if (i % 200 == 51)
            running.send(SIGCONT);
        log_number(2 * i - 1);
        log_number(2 * i);
        store_number(i % 2 == 0 ? 201102 : 201104, i);
        usleep(1000);
    }
    watcher::wait_for("\"new\":\"" + std::to_string(CHANGES) + "\"");
    put_file(ITEMS + "201102.bak", "no item");
    int items = 0, lines = 0, wrong = 0;
    for (const std::string &event : running.stop()) {
        if (event.find("\"kind\":\"log\"") != std::string::npos) {
            lines++;
            wrong += event.find("number " + std::to_string(lines) + "\"") == std::string::npos;
        } else if (event.find("\"kind\":\"item\"") != std::string::npos ||
                   event.find("\"kind\":\"missed\"") != std::string::npos) {
            items++;
            wrong += lines != 2 * items;
        }
    }
    EXPECT_EQ(items, CHANGES);
    EXPECT_EQ(lines, 2 * CHANGES);
    EXPECT_EQ(wrong, 0);
}

TEST(Watch, FollowsTheLogIntoTheNextFile) {
    init_log_params("TEST");
    watcher running;
    constexpr int LINES = 12000;
    for (int i = 1; i <= LINES; i++)
        savelog(0, "number %d %0100d", i, 0);
    watcher::wait_for("number " + std::to_string(LINES) + " ");
    const auto lines = running.stop();
    ASSERT_TRUE(std::filesystem::exists(LOG + ".1"));
    EXPECT_EQ(count(lines, "\"text\":\"number "), static_cast<size_t>(LINES));
}

TEST(Watch, SaysWhenTheKernelHasLostEvents) {
    watcher running;
    running.send(SIGSTOP);
    std::ifstream limit_file("/proc/sys/fs/inotify/max_queued_events");
    int limit = 0;
    limit_file >> limit;
    if (limit > 100000)
        GTEST_SKIP() << "this kernel queues " << limit << " events";
    for (int i = 1; i <= limit; i++)
        store_number(201102, i);
    running.send(SIGCONT);
    watcher::wait_for("\"new\":\"" + std::to_string(limit) + "\"");
    const auto lines = running.stop();
    EXPECT_EQ(count(lines, "\"kind\":\"overflow\""), 1u);
    EXPECT_EQ(count(lines, "\"new\":\"" + std::to_string(limit) + "\""), 1u);
}

TEST(Watch, TellsNobodyAnAccountAndInPrivateNoAddress) {
    const auto run = [](const std::string &command) {
        return WEXITSTATUS(system(("PATH=.:$PATH; " + command).c_str()));
    };
    ASSERT_EQ(run("uplinkctl config set USR_WAN_PPPOE_USERNAME log;"
                  "uplinkctl config set USR_WAN_PPPOE_PASSWORD_1 \"it's me\";"
                  "uplinkctl config set USR_WAN_IPADDR_V4 192.0.2.1;"
                  "uplinkctl config set USR_WAN_SUBMASK_V4 255.255.255.192"),
              0);
    ASSERT_EQ(run("uplinkctl record /tmp/recording --private & until grep -qs live "
                  "/tmp/recording; do sleep .01; done;"
                  "devinfo WIRED_WAN_IP 192.0.2.1; devinfo WIRED_WAN_GATEWAY 192.0.2.2;"
                  "devinfo WIRED_WAN_MAC 02:aa:bb:cc:dd:ee; devinfo WIRED_WAN_IPV6_IP "
                  "2001:db8::1:2; devinfo WIRED_WAN_NETMASK 255.255.255.0;"
                  "devinfo WIRED_WAN_DNS \"a log of it's me's\";"
                  "mkdir -p /var/log/uplinkd; echo 'x y[1] 0 to 192.0.2.1:53 via 2001:db8::1:2.' "
                  ">>" +
                  LOG +
                  "; until grep -q ' via ' /tmp/recording; do sleep .01; done;"
                  "kill $!; wait $!"),
              0);
    const std::string recording = file_text("/tmp/recording");
    for (const char *secret : {"it's me", "192.0.2.", "bb:cc", "db8", "\"log of", "a log of"})
        EXPECT_EQ(recording.find(secret), std::string::npos) << secret << "\n" << recording;
    for (const char *kept :
         {"255.255.255.192", "255.255.255.0", "\"kind\":\"item\"", "a (left out)"})
        EXPECT_NE(recording.find(kept), std::string::npos) << kept << "\n" << recording;
    // Two neighbours stay neighbours, and one address the same.
    const auto value = [&](const std::string &name) {
        const size_t at = recording.find("\"new\":\"", recording.find("\"" + name + "\""));
        return recording.substr(at + 7, recording.find('"', at + 7) - at - 7);
    };
    EXPECT_EQ(value("USR_WAN_IPADDR_V4"), value("WIRED_WAN_IP"));
    const std::string ip = value("WIRED_WAN_IP"), gateway = value("WIRED_WAN_GATEWAY");
    EXPECT_NE(ip, gateway);
    EXPECT_EQ(ip.substr(0, ip.rfind('.')), gateway.substr(0, gateway.rfind('.')));
}
