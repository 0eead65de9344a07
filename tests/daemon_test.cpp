// Outgoing messages, one handler at a time, and the decision of the arbitration.
#include <atomic>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <thread>
#include <unistd.h>

#include "arbitration/arbitration.h"
#include "arbitration/notice_timer.h"
#include "base/log_forms.h"
#include "base/outgoing.h"
#include "daemon/dispatch.h"
#include "daemon/startup.h"
#include "expect.h"
#include "platform/devinfo_store.h"

TEST(outgoing, builds_one_record_a_message) {
    const uplinkd_msg_t empty = {};
    const std::string payload(4097, 'x');
    memory::bus_result = -7;
    EXPECT_EQ(uplinkd_send_msg(24, 0x5aBc, "abc", 0), -7);
    memory::bus_result = 0;
    EXPECT_EQ(memcmp(&memory::carried.bcast_marker, &empty.bcast_marker, 4112), 0);
    EXPECT_EQ(uplinkd_send_msg2pfilterd(0x7005, "abc", 2), 0);
    EXPECT_STREQ(reinterpret_cast<const char *>(memory::carried.payload), "ab");
    EXPECT_EQ(uplinkd_send_async_msg(23, 1, payload.data(), 4096), 0);
    EXPECT_EQ(memory::carried.payload[4095], 'x');
    EXPECT_EQ(memory::carried.src_app_id, 0);
    EXPECT_EQ(uplinkd_send_broadcast_msg(0x5304), 0);
    EXPECT_EQ(memory::carried.bcast_marker, 1);
    EXPECT_EQ(memcmp(&memory::carried.reserved0, &empty.reserved0, 4108), 0);
    EXPECT_EQ(uplinkd_send_async_msg(24, 0x5aBc, nullptr, 3), -1);
    EXPECT_CALLS(4, R"(
        send 23228 -> uplinkd
        log 0 uplinkd_send_msg: send msg (0x5abc) to uplinkd failed!
        send WAN_CHANGED -> pfilterd
        log 0 uplinkd_send_msg2pfilterd: send msg (0x7005) to pfilterd successfully
        send 1 -> linkprobe
        log 0 uplinkd_send_async_msg: send msg (0x1) to linkprobe successfully
        broadcast WAN_SETUP_COMPLETED from uplinkd
)"
                    "log 0 uplinkd_send_async_msg: send msg (0x5abc) to failed: can not using "
                    "sockmsg_send_common_msg() send msg to myself!");
    EXPECT_EQ(uplinkd_send_msg(23, 1, payload.data(), 4097), -1);
    EXPECT_CALLS(-1, "");
}

// Two sends through one helper: their lines name the place that asked for each.
TEST(log_forms, a_helper_logs_in_the_place_of_its_caller) {
    uplinkd_send_msg(23, 1, nullptr, 0);
    const std::string first = memory::last_log;
    uplinkd_send_async_msg(23, 1, nullptr, 0);
    const auto line_of = [](const std::string &text) {
        return std::stoi(text.substr(text.find("--") + 2));
    };
    EXPECT_LT(line_of(first), line_of(memory::last_log));
}

static int waited_ms;
extern "C" int poll(pollfd *files, nfds_t count, int timeout_ms) {
    const timespec at_once = {};
    const int ready = ppoll(files, count, &at_once, nullptr);
    waited_ms += ready == 0 ? timeout_ms : 0;
    return ready;
}

// A console stopped with Ctrl-S has room for a part of a text at most, and holds a handler up for a
// moment a second.
TEST(log_forms, a_console_that_nobody_reads_costs_its_patience_once_a_second) {
    const int console = posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_EQ(unlockpt(console) + grantpt(console), 0) << strerror(errno);
    const int terminal = open(ptsname(console), O_RDWR | O_NOCTTY);
    ASSERT_GE(terminal, 0) << strerror(errno);
    const int real_output = dup(STDOUT_FILENO);
    dup2(terminal, STDOUT_FILENO);
    uplinkd_debug_mode = 1;
    alarm(10); // ends who blocks
    const std::string text(200, 'x');
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < 3000; ++i)
        UPLINKD_DEBUG("%.*s\n", i % 200, text.c_str());
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
    const int waited = waited_ms;
    std::string shown; // a terminal hands on what is written to it a moment later
    for (char chunk[4096]; !shown.ends_with(": a?.b\r\n");) {
        UPLINKD_DEBUG("a\x1b.b");
        const ssize_t length = read(console, chunk, sizeof chunk);
        shown.append(chunk, static_cast<size_t>(length));
    }
    dup2(real_output, STDOUT_FILENO);
    uplinkd_debug_mode = 0;
    EXPECT_GT(waited, 0);
    EXPECT_LE(waited, 3 * (static_cast<int>(taken.count()) + 2)); // seconds begun
    EXPECT_NE(shown.rfind("[uplinkd] uplinkd--TestBody--"), shown.npos);
}

// Messages that arrive at the same time, on as many threads, are handled one by one.
TEST(dispatch, runs_one_handler_at_a_time) {
    std::atomic<std::thread::id> handling;
    std::atomic<int> overlaps = 0;
    memory::on_call = [&](const std::string &line) {
        if (line.starts_with("log 0 uplinkd_handler_msg: [uplinkd]"))
            handling = std::this_thread::get_id();
        overlaps += handling != std::this_thread::get_id();
        std::this_thread::sleep_for(std::chrono::microseconds(1)); // the others' turn
    };
    given("USR_WAN_MODE=2 WIRED_WAN_REAL_IFACE=eth1 PORT_STATUS_LIST=5,5,5,5");
    std::vector<std::thread> buses;
    for (int i = 0; i < 4; ++i)
        buses.emplace_back([] {
            uplinkd_msg_t message = {};
            message.msg_id = memory::number_of("WAN_WIRED_MODE_CHANGE");
            for (int n = 0; n < 25; ++n)
                uplinkd_handler_msg(&message);
        });
    for (std::thread &bus : buses)
        bus.join();
    EXPECT_EQ(overlaps, 0);
}

// Nobody waits for anybody here, so that the thread sanitizer sees who forgets a lock: messages
// arrive before, while and after start-up evaluates the mode, and arm the timer in any moment of
// its life.
TEST(threads, meet_in_start_up_handlers_and_notice_timer) {
    std::atomic<int> notices = 0, begun = 0, ended = 0;
    memory::on_sleep = [&ended](unsigned seconds) {
        thread_local std::shared_ptr<void> end;
        if (seconds == 1 && end == nullptr)
            end = {&ended, [](void *count) { ++*static_cast<std::atomic<int> *>(count); }};
        std::this_thread::yield();
    };
    memory::on_call = [&](const std::string &line) {
        notices += line.starts_with("send MIX_MODE_NOTICE");
        begun += line.find("turn the timer on") != line.npos;
    };
    given("USR_WAN_MODE=5 USR_WAN_COMMUNICATION_PRIORITY_STRATEGY=1 USR_FLOW_SMS_NOTICE_DELAY=1");
    memory::flags["downlinkd_init_completed"] = "1";
    put_file("/tmp/.flag_settingsd_init_finished", "");
    const int mobile = memory::number_of("MOBILE_NETSTATUS");
    const int wan = memory::number_of("WIRED_WAN_NETSTATUS");
    const auto hand_over = [&](const char *to_mobile, const char *message_name) {
        set_devinfo_value_by_id(mobile, to_mobile, 1);
        set_devinfo_value_by_id(wan, "1", 1); // which a mode change takes down
        uplinkd_msg_t message = {};
        message.msg_id = memory::number_of(message_name);
        uplinkd_handler_msg(&message);
    };
    alarm(60);
    std::thread bus([&] {
        for (int n = 0; n < 1500; ++n)
            hand_over(n % 2 ? "1" : "0", n % 5 ? "WAN_STATUS_CHANGE" : "WAN_MODE_CHANGE");
    });
    for (int n = 0; n < 20; ++n) // in a process once: this is for the odds
        uplinkd_init();
    bus.join();
    hand_over("0", "WAN_STATUS_CHANGE");
    const int before = notices;
    hand_over("1", "WAN_STATUS_CHANGE");
    while (ended < begun)
        std::this_thread::yield();
    EXPECT_GT(notices, before) << "an arming was lost";
}

// Downwards; every rung has a rule of its own, and comes before those below it.
TEST(arbitration, every_rung_of_both_ladders) {
    using enum arbitration_rule;
    const struct {
        arbitration_inputs in; // mode, strategy; mobile network up, connected; WAN up, connected
        arbitration_rule rule;
    } rungs[] = {
        {{5, 0, 1, 1, 1, 1}, mobile_first_mobile_connected},
        {{5, 0, 1, 1, 0, 0}, mobile_first_mobile_connected},
        {{5, 0, 1, 0, 1, 1}, mobile_first_wan_instead},
        {{5, 0, 1, 0, 0, 1}, mobile_first_wan_down},
        {{5, 0, 0, 0, 0, 1}, mobile_first_mobile_down},
        {{7, 1, 1, 1, 1, 1}, wan_first_wan_connected},
        {{7, 1, 0, 0, 1, 1}, wan_first_wan_connected},
        {{7, 1, 1, 1, 1, 0}, wan_first_mobile_instead},
        {{7, 1, 0, 1, 1, 0}, wan_first_mobile_down},
        {{7, 1, 0, 1, 0, 0}, wan_first_wan_down},
    };
    for (const auto &rung : rungs)
        EXPECT_EQ(arbitrate(rung.in).rule, rung.rule) << arbitration_rule_text(rung.rule);
}

TEST(arbitration, the_whole_domain) {
    for (int n = 0; n < 11 * 5 * 16; ++n) {
        const bool up[] = {(n & 1) != 0, (n & 2) != 0}, connected[] = {(n & 4) != 0, (n & 8) != 0};
        const int mode = n / 16 % 11 - 1, strategy = n / 176 - 1;
        EXPECT_EQ(arbitrate({mode, strategy, up[0], connected[0], up[1], connected[1]}).priority,
                  expected_priority(mode, strategy, up, connected))
            << "mode " << mode << " strategy " << strategy << " states " << n % 16;
    }
}

// The linker has this called for pthread_create().
static bool threads_are_refused = false;
extern "C" decltype(pthread_create) __real_pthread_create;
extern "C" int __wrap_pthread_create(pthread_t *thread, const pthread_attr_t *attributes,
                                     void *(*run)(void *), void *argument) {
    return threads_are_refused ? EAGAIN : __real_pthread_create(thread, attributes, run, argument);
}

TEST(notice_timer, survives_a_thread_that_cannot_be_created) {
    threads_are_refused = true;
    uplinkd_notice_timer_arm();
    uplinkd_notice_timer_arm();
    threads_are_refused = false;
    EXPECT_CALLS(4, R"(
        log 3 uplinkd_notice_timer_arm: pthread_create() error
        log 3 uplinkd_notice_timer_arm: pthread_create() error)");
    const mutex_guard guard(uplinkd_notice_mutex);
    EXPECT_EQ(uplinkd_notice_countdown, 0);
}
