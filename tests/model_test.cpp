// Random but reproducible histories: the lines of model.steps in any order, and after every message
// what must hold whatever happened before. The number of a test is its seed; a failure prints the
// steps, too.
#include <atomic>
#include <random>
#include <set>
#include <unistd.h>

#include "daemon/dispatch.h"
#include "expect.h"

static constexpr int STEPS = 500;

// After these, the priority is what the rules say.
static const std::set<std::string> DECIDING = {"> WAN_MODE_CHANGE", "> INIT_COMPLETED",
                                               "> WAN_STATUS_CHANGE", "> PEER_WAN_STATUS_CHANGE",
                                               "> WAN_PPPOE_CHANGED"};

// Every call that the daemon may ever make.
static const std::regex ALLOWED(
    R"(set [A-Z]\w+ '.*' \d+|flag UPLINKD_DETECT_WAN_NET_SEG_INVALID=[01]|log [0134] \w\w.*|)"
    R"(send (WAN_PRIO_CHANGED -> (pfilterd|prio_listener)|WAN_LINK_BROKEN -> linkprobe|)"
    R"(WAN_CHANGED -> pfilterd)|broadcast WAN_SETUP_COMPLETED from uplinkd|)"
    R"(shell )" SCRIPT_FILE R"( (set|reset)|backup uplinkd.*|reboot uplinkd.*|mac of \w+|)"
    R"(root chmod 777 )" BATCH_FILE R"( && )" BATCH_FILE R"( >/dev/null 2>&1)");

static const std::regex WHOLE_BATCH(R"(# rewrite by (\w+)\n([^#].*\n)*# executed by \1\n)");

static bool is_up(const char *item) {
    return memory::items[item].starts_with('1');
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
    std::vector<std::string> changes, messages;
    std::ifstream steps("model.steps");
    for (std::string step; std::getline(steps, step);)
        (step[0] == '>' ? messages : changes).push_back(step);
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
        const std::string line = any_of(random() % 3 != 0 ? changes : messages);
        history += line + "\n";
        if (line[0] != '>') {
            given(line);
            continue;
        }
        external_script(random() % 2 == 0);
        history += std::filesystem::exists(SCRIPT_FILE) ? "(with the script)\n" : "";
        uplinkd_msg_t message = {};
        message.msg_id = memory::number_of(line.substr(2));
        uplinkd_handler_msg(&message);
        const bool announced = memory::take(-1).find("\nbroadcast") != std::string::npos;
        if ((announced || DECIDING.contains(line)) &&
            memory::items["WAN_PRIORITY"] != priority_by_the_rules())
            fault += "another priority; ";
        if (timers > 1)
            fault += "a second timer; ";
    }
    EXPECT_EQ(fault, "") << "seed " << GetParam() << ", steps:\n" << history;
}

INSTANTIATE_TEST_SUITE_P(seeds, model, testing::Range(0U, 8U));
