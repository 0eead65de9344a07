// What single operations cost beside their bare calls, in processor time: runs in a world of
// bench/measure, on folders of its own. Prints lines
//
//     cost OPERATION OURS BARE      µs for one
//     settings KEYS OURS BARE       a read of the last of so many
//     broadcast LISTENERS OURS BARE
#include <csignal>
#include <cstdio>
#include <ctime>
#include <string>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "bare.h"
#include "batch/script_runner.h"
#include "platform/config_store.h"
#include "platform/devinfo_store.h"
#include "platform/log.h"

static constexpr int ITEM = 201102;
static constexpr char ITEM_FILE[] = "/run/uplinkd/items/201102";
static constexpr char BATCH_LINE[] = "ip address add 192.0.2.100/255.255.255.0 dev eth1";
static constexpr int BATCH_LINES = 20;
static constexpr int ROUNDS = 21;
static constexpr unsigned PAUSE_US = 1000; // in which listeners catch up

using operation = void (*)();

static double processor_us() {
    timespec used = {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &used);
    return static_cast<double>(used.tv_sec) * 1e6 + static_cast<double>(used.tv_nsec) / 1e3;
}

static double cost_of(operation run, int times) {
    const double before = processor_us();
    for (int i = 0; i < times; i++)
        run();
    return (processor_us() - before) / times;
}

// Takes turns, so that what else the machine does meets both; DIVISOR is how many are in one run.
static void compare(const char *name, operation ours, operation plain, int times = 300,
                    int divisor = 1) {
    std::vector<double> our_costs, plain_costs;
    for (int round = 0; round < ROUNDS; round++) {
        our_costs.push_back(cost_of(ours, times) / divisor);
        usleep(PAUSE_US);
        plain_costs.push_back(cost_of(plain, times) / divisor);
        usleep(PAUSE_US);
    }
    printf("%s %.2f %.2f\n", name, median(our_costs), median(plain_costs));
    fflush(stdout);
}

static void read_setting() {
    char text[20];
    cfg_get_item(LAST_SETTING, text, sizeof text);
}

static void operations() {
    compare(
        "cost item_write", [] { set_devinfo_value_by_id(ITEM, "192.168.1.1", 12); },
        [] { bare::write_file(ITEM_FILE, "192.168.1.1"); });
    compare(
        "cost item_read",
        [] {
            char text[20];
            get_devinfo_value_by_id(ITEM, text, sizeof text);
        },
        [] { bare::read_file(ITEM_FILE); });
    write_settings(100);
    compare("cost setting_read", read_setting, [] { bare::read_file(bare::SETTINGS); });
    compare(
        "cost log_line",
        [] {
            savelog(0, "[uplinkd] %s--%d: recv msg(0x%04X)", "uplinkd_handler_msg", 101, 0x5304);
        },
        bare::log_line);
    compare(
        "cost batch_line",
        [] {
            const batch commands("bench");
            for (int line = 0; line < BATCH_LINES; line++)
                uplinkd_file_append_line(TMP_SCRIPT, "%s", BATCH_LINE);
        },
        [] {
            unlink("/run/bare.batch");
            for (int line = 0; line < BATCH_LINES; line++)
                bare::append_line("/run/bare.batch", "ip address add 192.0.2.100/255.255.255.0 "
                                                     "dev eth1\n");
        },
        30, BATCH_LINES);
}

static void growing_settings() {
    for (const int keys : {10, 30, 100, 300, 1000, 3000, 10000}) {
        write_settings(keys);
        const std::string name = "settings " + std::to_string(keys);
        const auto read_barely = [] { bare::read_file(bare::SETTINGS); };
        compare(name.c_str(), read_setting, read_barely, 30);
    }
}

static std::vector<int> listeners;
static std::vector<std::string> endpoints;

[[noreturn]] static void listen_to_all() {
    uplinkd_msg_t record;
    for (;;)
        for (const int listener : listeners)
            recv(listener, &record, sizeof record, MSG_DONTWAIT);
}

// What the records of one broadcast take is more than root in a namespace may have: bench/measure
// runs this as root outside of one, where it can.
static int roomy_socket() {
    constexpr int SIZE = 1024 * 1024;
    const int roomy = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (setsockopt(roomy, SOL_SOCKET, SO_SNDBUFFORCE, &SIZE, sizeof SIZE) != 0)
        setsockopt(roomy, SOL_SOCKET, SO_SNDBUF, &SIZE, sizeof SIZE);
    return roomy;
}

// The listeners are a process of their own, whose time does not count. It never sleeps, so that no
// record stays in a socket, where it would count against the sender's buffer. More listeners than
// that has room for are left out.
static void growing_broadcast() {
    constexpr int OURS = 24;
    static const int sender = roomy_socket();
    static const uplinkd_msg_t record = {};
    for (const size_t count : {1, 2, 4, 8, 16, 32, 64}) {
        while (listeners.size() < count) {
            endpoints.push_back("/run/uplinkd/bus/" + std::to_string(1000 + listeners.size()));
            listeners.push_back(bound_socket(endpoints.back().c_str()));
        }
        const pid_t reader = fork();
        if (reader == 0)
            listen_to_all();
        const bool all_heard = sockmsg_send_broadcast_msg(OURS, &record) == static_cast<int>(count);
        const std::string name = "broadcast " + std::to_string(count);
        if (all_heard)
            compare(
                name.c_str(), [] { sockmsg_send_broadcast_msg(OURS, &record); },
                [] {
                    for (const std::string &endpoint : endpoints)
                        send_to(sender, endpoint.c_str(), record);
                },
                1);
        kill(reader, SIGKILL);
        waitpid(reader, nullptr, 0);
    }
}

int main() {
    for (const char *folder : {"/run/uplinkd", "/run/uplinkd/items", "/run/uplinkd/bus"})
        mkdir(folder, 0750);
    init_log_params("UPLINKD");
    operations();
    growing_settings();
    const auto ignore = [](const uplinkd_msg_t *) { return 0; };
    if (init_sockmsg(24, ignore, 0) != 0) // as the daemon sends
        stop("bus");
    growing_broadcast();
    return 0;
}
