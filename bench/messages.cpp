// What a message costs: runs in a world of bench/measure beside a daemon. It plays those who send
// to the daemon, the priority listener, and the system's log, and compares with a bare receiver: a
// process of its own that does for a record what the daemon has to do, in the fewest plain calls.
//
//     bench_messages memory PID     memory BEFORE AFTER        KiB (PSS), around a burst
//     bench_messages answers NAME   answers NAME p50 p99 MAX p50 p99 MAX
//                                   µs; the daemon's, then the bare receiver's
//     bench_messages records        records DAEMON RAW LOGGED  per second
//                                   queued COUNT DAEMON LOGGED µs a record
//
// NAME is idle, busy (100 other records a second to each), or stalled (nobody reads the system's
// log; bench/measure has seen to the daemon's console).
#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

#include "bare.h"
#include "base/messages.h"

using namespace std::string_view_literals;

static constexpr char DAEMON[] = "/run/uplinkd/bus/24";
static constexpr char BARE[] = "/run/bare.receiver";
static constexpr char LISTENER[] = "/run/uplinkd/bus/22";

// What the bare receiver is told by: only to answer, to count, or to log one line as the daemon
// does for a message that it does not know.
static constexpr int ANSWER = 0x6F00;
static constexpr int COUNT = 0x6F01;
static constexpr int UNKNOWN = 0x6F02;

// A change of the decision in the mix mode, mobile first: what handlers have to read and write
// until the listener can be told. The mobile network's status is what changes.
static constexpr int MOBILE_STATUS = 201001;
static constexpr int ITEMS_READ[] = {
    201101, 201001, 201002, 201004, 201007, 201008, 201009,
    201111, 201102, 201103, 201104, 201106, 201107,        // for the connection status
    201036, 201113, 201216, 201217, 201218, 201001, 201101 // for the arbitration
};
static constexpr int SETTINGS_READ = 6;
static constexpr int ITEMS_WRITTEN[] = {201036, 201113, 201114};
static constexpr int LINES_LOGGED = 7;

static int listener, sender;
static pid_t bare_receiver;

struct item_path {
    explicit item_path(int id) { snprintf(text, sizeof text, "/run/uplinkd/items/%d", id); }
    char text[40];
};

static void do_bare_work() {
    for (int i = 0; i < SETTINGS_READ; i++)
        bare::read_file(bare::SETTINGS);
    for (const int item : ITEMS_READ)
        bare::read_file(item_path(item).text);
    for (const int item : ITEMS_WRITTEN)
        bare::write_file(item_path(item + 900000).text, "1");
    for (int i = 0; i < LINES_LOGGED; i++)
        bare::log_line();
}

[[noreturn]] static void receive_barely(int socket) {
    uplinkd_msg_t record;
    sockaddr_un from = {};
    for (;;) {
        socklen_t length = sizeof from;
        recvfrom(socket, &record, sizeof record, 0, reinterpret_cast<sockaddr *>(&from), &length);
        if (record.msg_id == UNKNOWN)
            bare::log_line();
        if (record.msg_id == UPLINKD_MSG_ID_WAN_STATUS_CHANGE)
            do_bare_work();
        if (record.msg_id == UPLINKD_MSG_ID_WAN_STATUS_CHANGE || record.msg_id == ANSWER)
            send_to(socket, LISTENER, record);
    }
}

static void send_record(const char *receiver, int msg_id) {
    uplinkd_msg_t record = {};
    record.msg_id = msg_id;
    send_to(sender, receiver, record);
}

static void wait_for_answer() {
    uplinkd_msg_t record;
    if (recv(listener, &record, sizeof record, 0) != sizeof record)
        stop("no answer");
}

// The next status message will find another decision than the last one did.
static void change_status() {
    static bool up = false;
    up = !up;
    bare::write_file(item_path(MOBILE_STATUS).text, up ? "1" : "0");
}

static double seconds_to_answer(const char *receiver, int msg_id) {
    const double begin = now_us();
    send_record(receiver, msg_id);
    wait_for_answer();
    return now_us() - begin;
}

static double decide(const char *receiver) {
    change_status();
    return seconds_to_answer(receiver, UPLINKD_MSG_ID_WAN_STATUS_CHANGE);
}

static void read_system_log(int logger) {
    std::thread([logger] {
        char line[8192];
        for (;;)
            recv(logger, line, sizeof line, 0);
    }).detach();
}

static void open_world(bool log_is_read) {
    const int receiver = bound_socket(BARE);
    const int logger = bound_socket("/dev/log");
    listener = bound_socket(LISTENER);
    sender = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const timeval patience = {.tv_sec = 5, .tv_usec = 0};
    setsockopt(listener, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    for (const int item : ITEMS_READ)
        bare::write_file(item_path(item).text, "1"); // is a name and an address as well as another

    bare_receiver = fork();
    if (bare_receiver == 0)
        receive_barely(receiver);
    close(receiver);
    if (log_is_read)
        read_system_log(logger);
}

// Whatever the daemon decided before, now it has decided on a mobile network that is down.
static void settle() {
    bare::write_file(item_path(MOBILE_STATUS).text, "0");
    send_record(DAEMON, UPLINKD_MSG_ID_WAN_STATUS_CHANGE);
    usleep(300000);
    uplinkd_msg_t record;
    while (recv(listener, &record, sizeof record, MSG_DONTWAIT) > 0)
        ;
}

// ---- what each command measures

static std::atomic<bool> busy = true;

static void keep_busy() {
    while (busy) {
        send_record(DAEMON, UNKNOWN);
        send_record(BARE, UNKNOWN);
        usleep(10000);
    }
}

static void print_times(std::vector<double> &times) {
    std::sort(times.begin(), times.end());
    printf(" %.0f %.0f %.0f", at_part(times, 0.5), at_part(times, 0.99), times.back());
}

static void measure_answers(std::string_view name) {
    constexpr int SAMPLES = 1000;
    constexpr unsigned PAUSE_US = 2000;
    std::thread others;
    if (name == "busy"sv)
        others = std::thread(keep_busy);
    std::vector<double> daemon, plain;
    for (int sample = 0; sample < SAMPLES; sample++) {
        daemon.push_back(decide(DAEMON));
        usleep(PAUSE_US);
        plain.push_back(decide(BARE));
        usleep(PAUSE_US);
        change_status(); // the bare receiver has no memory: the daemon still has to find a change
    }
    busy = false;
    if (others.joinable())
        others.join();
    printf("answers %s", name.data());
    print_times(daemon);
    print_times(plain);
    printf("\n");
}

// COUNT records and one that is answered.
static double time_of(const char *receiver, int count, int msg_id, int last_id) {
    if (last_id == UPLINKD_MSG_ID_WAN_STATUS_CHANGE)
        change_status();
    const double begin = now_us();
    for (int i = 0; i < count; i++)
        send_record(receiver, msg_id);
    send_record(receiver, last_id);
    wait_for_answer();
    return now_us() - begin;
}

static void measure_records() {
    constexpr int BURST = 1000, ROUNDS = 15;
    std::vector<double> daemon, raw, logged;
    for (int round = 0; round < ROUNDS; round++) {
        daemon.push_back(time_of(DAEMON, BURST, UNKNOWN, UPLINKD_MSG_ID_WAN_STATUS_CHANGE));
        raw.push_back(time_of(BARE, BURST, COUNT, ANSWER));
        logged.push_back(time_of(BARE, BURST, UNKNOWN, ANSWER));
    }
    // Of the burst that was disturbed least: the raw path suffers most where others want a
    // processor.
    const auto rate = [](const std::vector<double> &times) {
        return BURST * 1e6 / *std::min_element(times.begin(), times.end());
    };
    printf("records %.0f %.0f %.0f\n", rate(daemon), rate(raw), rate(logged));

    for (int count = 1; count <= 256; count *= 2) {
        daemon.clear();
        logged.clear();
        for (int round = 0; round < ROUNDS; round++) {
            const double decision = decide(DAEMON);
            daemon.push_back(time_of(DAEMON, count, UNKNOWN, UPLINKD_MSG_ID_WAN_STATUS_CHANGE) -
                             decision);
            logged.push_back(time_of(BARE, count, UNKNOWN, ANSWER));
        }
        printf("queued %d %.1f %.1f\n", count, median(daemon) / count, median(logged) / count);
    }
}

static long proportional_kib(const char *pid) {
    char path[40], line[128];
    snprintf(path, sizeof path, "/proc/%s/smaps_rollup", pid);
    FILE *maps = fopen(path, "re");
    long kib = -1;
    while (maps != nullptr && kib < 0 && fgets(line, sizeof line, maps) != nullptr)
        if (strncmp(line, "Pss:", 4) == 0)
            kib = strtol(line + 4, nullptr, 10);
    if (kib < 0)
        stop(path);
    fclose(maps);
    return kib;
}

static void measure_memory(const char *pid) {
    constexpr int BURST = 300;
    decide(DAEMON); // brings in the program's own pages
    decide(DAEMON);
    const long before = proportional_kib(pid);
    time_of(DAEMON, BURST, UNKNOWN, UPLINKD_MSG_ID_WAN_STATUS_CHANGE);
    sleep(1);
    printf("memory %ld %ld\n", before, proportional_kib(pid));
}

int main(int argc, char **argv) {
    const std::string_view command = argc > 1 ? argv[1] : "";
    const char *operand = argc > 2 ? argv[2] : "";
    open_world(operand != "stalled"sv);
    settle();
    if (command == "memory"sv)
        measure_memory(operand);
    else if (command == "answers"sv)
        measure_answers(operand);
    else
        measure_records();
    kill(bare_receiver, SIGKILL);
    fflush(stdout);
    _exit(0);
}
