// Random but reproducible histories: settings, items and messages in any order, and after every
// message what must hold whatever happened before. The number of a test is its seed; a failure
// prints the steps, too.
#include <atomic>
#include <random>
#include <regex>
#include <unistd.h>

#include "daemon/dispatch.h"
#include "expect.h"

static constexpr int STEPS = 500;

static constexpr const char *CHANGES = R"(
USR_WAN_MODE=1 | USR_WAN_MODE=2 | USR_WAN_MODE=3 | USR_WAN_MODE=4 | USR_WAN_MODE=5 |
USR_WAN_MODE=6 | USR_WAN_MODE=7 | USR_WAN_MODE=x | USR_WAN_COMMUNICATION_PRIORITY_STRATEGY=0 |
USR_WAN_COMMUNICATION_PRIORITY_STRATEGY=1 | USR_WAN_COMMUNICATION_PRIORITY_STRATEGY=7 |
USR_WAN_LINK_DETECT_SW=1 | USR_WAN_LINK_DETECT_SW=0 |
USR_WAN_IPMODE=dhcp USR_WAN_IPVERSION=ipv4v6 | USR_WAN_IPMODE=linkPPP | USR_WAN_IPMODE=static |
USR_WAN_V6_IPMODE=1 | USR_WAN_V6_IPMODE=2 | SYS_WIRED_WAN_SUB_PORT_NUM=0 |
SYS_WIRED_WAN_SUB_PORT_NUM=8 |
USR_WIRED_WAN_SW_1=1 USR_WIRED_WAN_VLAN_ID_1=10 WIRED_WAN_REAL_IFACE_1=eth1.10 |
USR_WIRED_WAN_SW_8=1 |
USR_DHCP_LAN_IP=10.0.0.1 USR_DHCP_SUBNET_MASK=255.0.0.0 USR_DHCP_SERVER_SW=1 |
SYS_BRIDGE_VLAN_MASK=1 | SYS_BRIDGE_VLAN_MASK=0 | SYS_REBOOT_WHEN_MODEM_UNORMAL=1 |
PORT_STATUS_LIST=0,0,0,1 | PORT_STATUS_LIST=0,0,0,0 | PORT_STATUS_LIST= |
WAN_PORT_INDEX=3 | WAN_PORT_INDEX=0 |
WLAN24_LINK_STATUS=4 | WLAN24_LINK_STATUS=2 | WLAN58_LINK_STATUS=4 | WLAN58_LINK_STATUS= |
WIRED_WAN_REAL_IFACE=eth1 | WIRED_WAN_REAL_IFACE=/ |
WLAN24_WAN_REAL_IFACE=apcli0 | WLAN58_WAN_REAL_IFACE=apclii0 |
WIRED_WAN_IP=10.0.0.2 WIRED_WAN_NETMASK=255.0.0.0 WIRED_WAN_GATEWAY=10.0.0.1
WIRED_WAN_DNS=10.0.0.1 | WIRED_WAN_IP= |
MOBILE_NETSTATUS=1 | MOBILE_NETSTATUS=0 | MOBILE_IP=10.8.0.2 MOBILE_DNS=1.1.1.1 | MOBILE_IP= |
WIRED_WAN_NETSTATUS=1 | WIRED_WAN_NETSTATUS= | WIRED_WAN_CONNSTATUS=1 | MOBILE_CONNSTATUS=1 |
MODEM_ABNORMAL_1=1 | MODEM_ABNORMAL_1=0)";

static const std::vector<const char *> ARBITRATING = {"WAN_MODE_CHANGE", "INIT_COMPLETED",
                                                      "WAN_STATUS_CHANGE", "PEER_WAN_STATUS_CHANGE",
                                                      "WAN_PPPOE_CHANGED"};
static const std::vector<const char *> OTHERS = {
    "WAN_WIRELESS_MODE_CHANGE", "WAN_WIRELESS_MODE_REFRESH", "WAN_WIRED_MODE_CHANGE",
    "WAN_SETUP_COMPLETED",      "WAN_PRIO_CHANGED",          "PPPD_STATUS_CHANGE_EVENT"};

// Every call that the daemon may ever make.
static const std::regex ALLOWED(
    R"(set [A-Z]\w+ '.*' \d+|flag UPLINKD_DETECT_WAN_NET_SEG_INVALID=[01]|log [0134] \w\w.*|)"
    R"(send (WAN_PRIO_CHANGED -> (pfilterd|prio_listener)|WAN_LINK_BROKEN -> linkprobe|)"
    R"(WAN_CHANGED -> pfilterd)|broadcast WAN_SETUP_COMPLETED from uplinkd|)"
    R"(shell )" SCRIPT_FILE R"( (set|reset)|backup uplinkd.*|reboot uplinkd.*|mac of \w+|)"
    R"(root chmod 777 )" BATCH_FILE R"( && )" BATCH_FILE R"( >/dev/null 2>&1)");

static const std::regex WHOLE_BATCH(R"(# rewrite by (\w+)\n([^#].*\n)*# executed by \1\n)");

static bool is_up(const char *item) {
    return memory::items[memory::number_of(item)].starts_with('1');
}

static std::string priority_by_the_rules() {
    const int mode = atoi(memory::settings["USR_WAN_MODE"].c_str());
    const int strategy = atoi(memory::settings["USR_WAN_COMMUNICATION_PRIORITY_STRATEGY"].c_str());
    return std::to_string(
        expected_priority(mode, strategy, {is_up("MOBILE_NETSTATUS"), is_up("WIRED_WAN_NETSTATUS")},
                          {is_up("MOBILE_CONNSTATUS"), is_up("WIRED_WAN_CONNSTATUS")}));
}

class model : public testing::TestWithParam<unsigned> {};

TEST_P(model, holds_after_every_message) {
    std::mt19937 random(GetParam());
    const auto any_of = [&random](const auto &list) { return list[random() % list.size()]; };
    std::istringstream list(CHANGES);
    std::vector<std::string> changes;
    for (std::string change; std::getline(list, change, '|');)
        changes.push_back(change);
    std::string history, fault;
    std::atomic<int> timers = 0;
    memory::on_sleep = [&timers](unsigned seconds) {
        if (seconds == 1 && ++timers > 0)
            pause();
    };
    memory::on_call = [&fault](const std::string &line) {
        if (line.starts_with("root") && !std::regex_match(file_text(BATCH_FILE), WHOLE_BATCH))
            fault += "a mixed batch; ";
        if (!std::regex_match(line, ALLOWED))
            fault += line + "; ";
    };
    for (int step = 0; step < STEPS && fault.empty(); ++step) {
        if (random() % 3 != 0) {
            const std::string change = any_of(changes);
            history += change;
            given(change);
            continue;
        }
        external_script(random() % 2 == 0);
        bool decides = random() % 2 == 0;
        const std::string name = any_of(decides ? ARBITRATING : OTHERS);
        history += (std::filesystem::exists(SCRIPT_FILE) ? "script > " : "> ") + name + "\n";
        uplinkd_msg_t message = {};
        message.msg_id = memory::number_of(name);
        uplinkd_handler_msg(&message);
        for (const std::string &line : memory::take(0))
            decides |= line.starts_with("broadcast");
        if (decides && memory::items[memory::number_of("WAN_PRIORITY")] != priority_by_the_rules())
            fault += "another priority; ";
        if (timers > 1)
            fault += "a second timer; ";
    }
    EXPECT_EQ(fault, "") << "seed " << GetParam() << ", steps:\n" << history;
}

INSTANTIATE_TEST_SUITE_P(seeds, model, testing::Range(0U, 8U));
