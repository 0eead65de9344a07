// Start-up, outgoing messages, and the decision of the arbitration.
#include <atomic>
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

TEST(startup, waits_for_its_elders_and_evaluates_once) {
    int sleeps = 0;
    memory::on_call = [&](const std::string &line) {
        sleeps += line == "sleep 3";
        if (sleeps == 2)
            write_file("/tmp/.flag_settingsd_init_finished", "");
        memory::flags["downlinkd_init_completed"] = sleeps == 4 ? "10" : "0";
    };
    memory::bus_result = -1;
    given("USR_WAN_MODE=1 USR_WAN_LINK_DETECT_SW=1");
    EXPECT_EQ(uplinkd_init(), 0);
    std::vector<std::string> calls = memory::take(0);
    std::erase_if(calls, [](auto &line) { return line.find("wan_") != line.npos; });
    EXPECT_TRUE(calls_are(calls, R"(
        identity UPLINKD
        log 0 uplinkd_init: uplinkd_init start!
        register 24
        log 0 uplinkd_init: init_sockmsg() error
        sleep 3
        sleep 3
        sleep 3
        sleep 3
        flag UPLINKD_DETECT_WAN_NET_SEG_INVALID=0
        send 0x7005 -> 19
        log 0 uplinkd_send_msg2pfilterd: send msg (0x7005) to pfilterd failed!
        set 201114 '0' 1
        send 0x5305 -> 19
        log 0 uplinkd_send_msg2pfilterd: send msg (0x5305) to pfilterd failed!
        flag UPLINKD_DETECT_WAN_NET_SEG_INVALID=0
        log 0 uplinkd_init: uplinkd_init finish!)"));
}

TEST(outgoing, builds_one_record_a_message) {
    const uplinkd_msg_t empty = {};
    const std::string payload(4097, 'x');
    EXPECT_EQ(uplinkd_send_msg(24, 0x5202, "abc", 0), 0);
    EXPECT_EQ(memcmp(&memory::carried.bcast_marker, &empty.bcast_marker, 4112), 0);
    EXPECT_EQ(uplinkd_send_msg2pfilterd(0x7005, "abc", 2), 0);
    EXPECT_STREQ(reinterpret_cast<const char *>(memory::carried.payload), "ab");
    EXPECT_EQ(uplinkd_send_async_msg(23, 1, payload.data(), 4096), 0);
    EXPECT_EQ(memory::carried.payload[4095], 'x');
    EXPECT_EQ(memory::carried.src_app_id, 0);
    EXPECT_EQ(uplinkd_send_broadcast_msg(0x5304), 0);
    EXPECT_EQ(memory::carried.bcast_marker, 1);
    EXPECT_EQ(memcmp(&memory::carried.reserved0, &empty.reserved0, 4108), 0);
    memory::bus_result = -7;
    EXPECT_EQ(uplinkd_send_prio_changed_msg(), -7);
    EXPECT_EQ(uplinkd_send_async_msg(24, 0x5aBc, nullptr, 3), -1);
    EXPECT_CALLS(4, R"(
        send 0x5202 -> 24
        log 0 uplinkd_send_msg: send msg (0x5202) to uplinkd successfully
        send 0x7005 -> 19
        log 0 uplinkd_send_msg2pfilterd: send msg (0x7005) to pfilterd successfully
        send 0x0001 -> 23
        log 0 uplinkd_send_async_msg: send msg (0x1) to linkprobe successfully
        broadcast 0x5304 from 24
        send 0x5305 -> 22
        log 0 uplinkd_send_msg: send msg (0x5305) to prio_listener failed!
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

// A console stopped with Ctrl-S has room for a part of a text at most, and holds a handler up once.
TEST(log_forms, a_console_that_nobody_reads_costs_its_patience_once) {
    const int console = posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_EQ(unlockpt(console) + grantpt(console), 0) << strerror(errno);
    const int terminal = open(ptsname(console), O_RDWR | O_NOCTTY);
    ASSERT_GE(terminal, 0) << strerror(errno);
    const int real_output = dup(STDOUT_FILENO);
    dup2(terminal, STDOUT_FILENO);
    uplinkd_debug_mode = 1;
    alarm(10); // ends who blocks
    const std::string text(200, 'x');
    for (int i = 0; i < 3000; ++i)
        UPLINKD_DEBUG("%.*s\n", i % 200, text.c_str());
    const int waited = waited_ms;
    std::string shown(65536, '\0');
    fcntl(console, F_SETFL, O_NONBLOCK);
    while (read(console, shown.data(), shown.size()) > 0)
        ;
    UPLINKD_DEBUG("a\x1b.b");
    dup2(real_output, STDOUT_FILENO);
    uplinkd_debug_mode = 0;
    const ssize_t length = read(console, shown.data(), shown.size());
    shown.resize(static_cast<size_t>(length > 0 ? length : 0));
    EXPECT_LE(waited, 100);
    EXPECT_NE(shown.find("[uplinkd] uplinkd--TestBody--"), shown.npos) << shown;
    EXPECT_TRUE(shown.ends_with(": a?.b\r\n")) << shown;
}

// Messages that arrive at the same time, on as many threads, build their batches one by one.
TEST(dispatch, runs_one_handler_at_a_time) {
    std::atomic<int> batches = 0, handlers = 0, overlaps = 0;
    memory::on_call = [&](const std::string &line) {
        if (line.starts_with("log 3 uplinkd_handler_msg"))
            overlaps += handlers++ != 0;
        handlers -= line.starts_with("log 0 wan_wired_status_change_handler: wired port linkdown");
        batches += line.starts_with("root");
    };
    given("USR_WAN_MODE=2 201111=eth1 SYS_WIRED_WAN_SUB_PORT_NUM=0 200001=5,5,5,5");
    std::vector<std::thread> buses;
    for (int i = 0; i < 4; ++i)
        buses.emplace_back([] {
            uplinkd_msg_t message = {};
            message.msg_id = 0x5303;
            for (int n = 0; n < 25; ++n)
                uplinkd_handler_msg(&message);
        });
    for (std::thread &bus : buses)
        bus.join();
    EXPECT_EQ(batches, 100);
    EXPECT_EQ(overlaps, 0);
}

// From everything well, one field a step downwards; every rung has a rule of its own.
TEST(arbitration, every_rung_of_both_ladders) {
    using enum arbitration_rule;
    const arbitration_inputs well = {WAN_MODE_MIX, 0, true, true, true, true};
    arbitration_inputs in = well;
    const auto expect = [&in](int priority, arbitration_rule rule) {
        EXPECT_EQ(arbitrate(in).priority, priority) << arbitration_rule_text(rule);
        EXPECT_EQ(arbitrate(in).rule, rule) << arbitration_rule_text(arbitrate(in).rule);
    };
    expect(NETWORK_PRIORITY_MOBILE, mobile_first_mobile_connected);
    in.mobile_connected = false;
    expect(NETWORK_PRIORITY_WAN, mobile_first_wan_instead);
    in.wan_up = false;
    expect(NETWORK_PRIORITY_MOBILE, mobile_first_wan_down);
    in.mobile_up = false;
    expect(NETWORK_PRIORITY_WAN, mobile_first_mobile_down);
    in = well;
    in.strategy = PRIORITY_STRATEGY_WAN_FIRST;
    expect(NETWORK_PRIORITY_WAN, wan_first_wan_connected);
    in.wan_connected = false;
    expect(NETWORK_PRIORITY_MOBILE, wan_first_mobile_instead);
    in.mobile_up = false;
    expect(NETWORK_PRIORITY_WAN, wan_first_mobile_down);
    in.wan_up = false;
    expect(NETWORK_PRIORITY_MOBILE, wan_first_wan_down);
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

TEST(notice_timer, survives_a_thread_that_cannot_be_created) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, size_t{1} << 50); // more than any address space
    ASSERT_EQ(pthread_setattr_default_np(&attributes), 0);
    uplinkd_notice_timer_arm();
    uplinkd_notice_timer_arm();
    EXPECT_CALLS(4, R"(
        log 3 uplinkd_notice_timer_arm: pthread_create() error
        log 3 uplinkd_notice_timer_arm: pthread_create() error)");
    const mutex_guard guard(uplinkd_notice_mutex);
    EXPECT_EQ(uplinkd_notice_countdown, 0);
}
