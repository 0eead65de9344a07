// Random but reproducible histories: settings, items and messages in any order, and after every
// message what must hold whatever happened before. The number of a test is its seed; a failure
// prints the steps, too.
#include <atomic>
#include <random>
#include <regex>
#include <set>
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
SYS_WIRED_WAN_SUB_PORT_NUM=8 | USR_WIRED_WAN_SW_1=1 USR_WIRED_WAN_VLAN_ID_1=10 261011=eth1.10 |
USR_WIRED_WAN_SW_8=1 |
USR_DHCP_LAN_IP=10.0.0.1 USR_DHCP_SUBNET_MASK=255.0.0.0 USR_DHCP_SERVER_SW=1 |
SYS_BRIDGE_VLAN_MASK=1 | SYS_BRIDGE_VLAN_MASK=0 | SYS_REBOOT_WHEN_MODEM_UNORMAL=1 |
200001=0,0,0,1 | 200001=0,0,0,0 | 200001= | 230002=3 | 230002=0 | 201217=4 | 201217=2 | 201218=4 |
201218= | 201111=eth1 | 201111=/ | 201212=apcli0 | 201213=apclii0 |
201102=10.0.0.2 201103=255.0.0.0 201104=10.0.0.1 201106=10.0.0.1 | 201102= | 201001=1 | 201001=0 |
201004=10.8.0.2 201007=1.1.1.1 | 201004= | 201101=1 | 201101= | 201113=1 | 201036=1 | 101011=1 |
101011=0)";

static const int MESSAGES[] = {0x5300, 0x5301, 0x5302, 0x5303, 0x5304, 0x5305,
                               0x5306, 0x5307, 0x103D, 0x510E, 0x8205, 0x42};
static const std::set<int> ARBITRATING = {0x5300, 0x510E, 0x5301, 0x103D, 0x5306};

// Every call that the daemon may ever make.
static const std::regex ALLOWED(
    R"(set 2\d{5} '.*' \d+|flag UPLINKD_DETECT_WAN_NET_SEG_INVALID=[01]|log [0134] \w\w.*|)"
    R"(send 0x5305 -> (19|22)|send 0x5202 -> 23|send 0x7005 -> 19|broadcast 0x5304 from 24|)"
    R"(shell )" SCRIPT_FILE R"( (set|reset)|backup uplinkd.*|reboot uplinkd.*|mac of \w+|)"
    R"(root chmod 777 )" BATCH_FILE R"( && )" BATCH_FILE R"( >/dev/null 2>&1)");

static std::string fault_of_batch() {
    static const std::regex batch(R"(# rewrite by (\w+)\n([^#].*\n)*# executed by \1\n)");
    return std::regex_match(file_text(BATCH_FILE), batch) ? "" : "a mixed batch; ";
}

static bool up(int item) {
    return memory::items[item].starts_with('1');
}

class model : public testing::TestWithParam<unsigned> {};

TEST_P(model, holds_after_every_message) {
    std::mt19937 random(GetParam());
    std::istringstream list(CHANGES);
    std::vector<std::string> changes;
    for (std::string change; std::getline(list, change, '|');)
        changes.push_back(change);
    std::string history, fault;
    std::atomic<int> timers = 0;
    int last_ports[2] = {-1, -1}; // the first port and the fourth
    std::string last_link[2];
    memory::on_sleep = [&timers](unsigned seconds) {
        if (seconds == 1 && ++timers > 0)
            pause();
    };
    memory::on_call = [&fault](const std::string &line) {
        if (line.starts_with("root"))
            fault += fault_of_batch();
        if (!std::regex_match(line, ALLOWED))
            fault += line + "; ";
    };
    for (int step = 0; step < STEPS && fault.empty(); ++step) {
        if (random() % 3 != 0) {
            const std::string &change = changes[random() % changes.size()];
            history += change;
            given(change);
            continue;
        }
        external_script(random() % 2 == 0);
        uplinkd_msg_t message = {};
        message.msg_id = MESSAGES[random() % std::size(MESSAGES)];
        history += "> " + std::to_string(message.msg_id) +
                   (std::filesystem::exists(SCRIPT_FILE) ? " script\n" : "\n");

        const std::string states = memory::items[200001];
        const int ports[2] = {states.empty() ? -1 : 0, states.empty() ? -1 : states == "0,0,0,1"};
        const int port = memory::items[230002] != "0";
        const bool same_port =
            ports[port] == last_ports[port] && atoi(memory::items[201101].c_str()) == ports[port];
        const std::string link[2] = {memory::items[201217], memory::items[201218]};
        const bool same_links = link[0] == last_link[0] && link[1] == last_link[1];

        uplinkd_handler_msg(&message);
        bool announced = false, acts = false;
        for (const std::string &line : memory::take(0)) {
            announced |= line.starts_with("broadcast");
            acts |= !line.starts_with("log");
            if (line.starts_with("log 0 wan_wired_status_change_handler: detect"))
                std::copy(ports, ports + 2, last_ports);
            if (line.starts_with("log 0 wan_wireless_status_change_handler: detect"))
                std::copy(link, link + 2, last_link);
        }
        if ((message.msg_id == 0x5303 && same_port && acts) ||
            (message.msg_id == 0x5302 && same_links && acts))
            fault += "acts on nothing new; ";
        if (message.msg_id == 0x5303 && !same_port && !std::equal(ports, ports + 2, last_ports))
            fault += "passes a change over; ";
        const int mode = atoi(memory::settings["USR_WAN_MODE"].c_str());
        const int strategy =
            atoi(memory::settings["USR_WAN_COMMUNICATION_PRIORITY_STRATEGY"].c_str());
        const int priority =
            expected_priority(mode, strategy, {up(201001), up(201101)}, {up(201036), up(201113)});
        if ((ARBITRATING.count(message.msg_id) != 0 || announced) &&
            memory::items[201114] != std::to_string(priority))
            fault += "another priority; ";
        if (timers > 1)
            fault += "a second timer; ";
    }
    EXPECT_EQ(fault, "") << "seed " << GetParam() << ", steps:\n" << history;
}

INSTANTIATE_TEST_SUITE_P(seeds, model, testing::Range(0U, 8U));
