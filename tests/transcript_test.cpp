// Transcripts: what is given, the message that arrives, and all that the daemon does then. Each
// file is the life of one process. Its lines:
//
//   NAME=VALUE ...                     settings, items and interfaces from here on
//   ... > WAN_STATUS_CHANGE            a message arrives from the application linkprobe
//       set WIRED_WAN_NETSTATUS '1' 1  indented, one a line, in order: the calls that follow
//   show LEVEL REGEX                   which log lines, and which calls at all, are compared
//   script yes                         the external WAN mode script exists (no: it does not)
//   bus -7                             the result of every send
//   file PATH GOLDEN A>B ...           a file is a golden one, to the byte, but for the first A,
//                                      which is B; names of items stand for their numbers
//   start 2 4                          starts the daemon; the settings are there after two sleeps,
//                                      the LAN manager after four
//   arm                                arms the notice timer (arm REGEX: within the next such call)
//   pass 60, threads 1                 lets seconds pass for its threads; how many there are
//
// A line that ends in a backslash goes on in the next, whose indentation does not count. Names and
// calls are those of memory_platform.h, but three calls have short ones: "script set" and "script
// reset" for the external script, "batch" for the run of the temporary script, whose lines follow
// it, each after a $.
#include <cctype>
#include <condition_variable>
#include <mutex>
#include <sstream>
#include <unistd.h>
#include <utility>

#include "arbitration/notice_timer.h"
#include "daemon/dispatch.h"
#include "daemon/startup.h"
#include "expect.h"

#define SETTINGSD_FILE "/tmp/.flag_settingsd_init_finished"

namespace {

// The clock of the timer's threads: each waits in its sleep until the test lets a second pass, and
// the test goes on when every thread sleeps again or has ended. So the two never run together.
struct timer_clock {
    std::mutex mutex;
    std::condition_variable changed;
    int sleeping = 0, ended = 0, seconds = 0;

    void sleep_once() {
        thread_local const std::shared_ptr<void> end(nullptr, [this](void *) {
            const std::lock_guard lock(mutex);
            ++ended;
            changed.notify_all();
        });
        std::unique_lock lock(mutex);
        ++sleeping;
        changed.notify_all();
        changed.wait(lock, [this, since = seconds] { return seconds != since; });
    }
    void arm() {
        std::unique_lock lock(mutex);
        uplinkd_notice_timer_arm();
        if (memory::last_log.find("turn the timer on") !=
            std::string::npos) // there is a new thread
            changed.wait(lock, [this, before = sleeping] { return sleeping > before; });
    }
    void pass(int n) {
        for (std::unique_lock lock(mutex); n > 0 && sleeping > 0; --n) {
            const int woken = std::exchange(sleeping, 0);
            ended = 0;
            ++seconds;
            changed.notify_all();
            changed.wait(lock, [this, woken] { return sleeping + ended >= woken; });
        }
    }
};

// Never destroyed: a thread may still wait in it when the program ends.
timer_clock &ticker = *new timer_clock;

std::string replaced(std::string text, const std::string &from, const std::string &to) {
    for (size_t at = 0; (at = text.find(from, at)) != text.npos; at += to.size())
        text.replace(at, from.size(), to);
    return text;
}

// The number of an item in digits; any other text as it is.
std::string digits(const std::string &word) {
    return isupper(word[0]) ? std::to_string(memory::number_of(word)) : word;
}

class transcript : public testing::TestWithParam<const char *> {
protected:
    void SetUp() override {
        memory::on_sleep = [this](unsigned seconds) {
            if (seconds == 1)
                ticker.sleep_once();
            else
                memory::note("sleep " + std::to_string(seconds));
            if (--waits_for_settingsd == 0)
                put_file(SETTINGSD_FILE, "");
            memory::flags["downlinkd_init_completed"] = --waits_for_downlinkd <= 0 ? "10" : "0";
        };
        memory::on_call = [this](const std::string &line) {
            std::ifstream batch(BATCH_FILE);
            if (line.starts_with("root"))
                for (std::string command; std::getline(batch, command);)
                    memory::note("$ " + command);
            if (!arming_call.empty() && std::regex_search(line, std::regex(arming_call))) {
                arming_call.clear();
                uplinkd_notice_timer_arm();
            }
        };
    }

    // Compares what the step before has led to, and forgets it.
    void settle() {
        const std::string run = "root chmod 777 " BATCH_FILE " && " BATCH_FILE " >/dev/null 2>&1";
        const std::string calls = replaced(memory::take(level), run, "batch");
        std::istringstream lines(replaced(calls, "shell " SCRIPT_FILE " ", "script "));
        std::string shown;
        for (std::string line; std::getline(lines >> std::ws, line);)
            if (std::regex_search(line, filter))
                shown += "\n" + line;
        EXPECT_EQ(shown, expected) << GetParam() << ":" << step_line;
        expected.clear();
        step_line = line_number;
    }

    void deliver(const std::string &message_name) {
        settle();
        uplinkd_msg_t message = {};
        message.msg_id = memory::number_of(message_name);
        message.src_app_id = memory::number_of("linkprobe");
        EXPECT_EQ(uplinkd_handler_msg(&message), 0);
    }

    void start(int waits, std::istream &words) {
        std::filesystem::remove(SETTINGSD_FILE);
        waits_for_settingsd = waits;
        words >> waits_for_downlinkd;
        alarm(20); // for a wait without an end
        EXPECT_EQ(uplinkd_init(), 0);
        alarm(0);
    }

    void expect_file(std::istream &words, const std::string &path) {
        std::string golden, change;
        words >> golden;
        golden = file_text(golden);
        while (words >> change) {
            const size_t divider = change.find('>');
            const std::string from = digits(change.substr(0, divider));
            const size_t at = golden.find(from);
            ASSERT_NE(at, golden.npos) << change;
            golden.replace(at, from.size(), digits(change.substr(divider + 1)));
        }
        EXPECT_EQ(file_text(path), golden) << GetParam() << ":" << line_number;
    }

    void replay(const std::string &line) {
        const size_t arrow = line.find("> ");
        std::istringstream words(line);
        std::string word, value;
        words >> word >> value;
        if (line.empty() || line[0] == '#')
            return;
        if (line.starts_with("    "))
            expected += "\n" + line.substr(4);
        else if (arrow != line.npos)
            given(line.substr(0, arrow)), deliver(line.substr(arrow + 2));
        else if (word == "show")
            settle(), level = std::stoi(value), filter = line.substr(6 + value.size());
        else if (word == "script")
            external_script(value == "yes");
        else if (word == "bus")
            memory::bus_result = std::stoi(value);
        else if (word == "file")
            expect_file(words, value);
        else if (word == "start")
            settle(), start(std::stoi(value), words);
        else if (word == "arm" && !value.empty())
            arming_call = value;
        else if (word == "arm")
            settle(), ticker.arm();
        else if (word == "pass")
            settle(), ticker.pass(std::stoi(value));
        else if (word == "threads")
            EXPECT_EQ(ticker.sleeping, std::stoi(value)) << line_number;
        else
            given(line);
    }

    int level = 4, line_number = 0, step_line = 0;
    int waits_for_settingsd = 0, waits_for_downlinkd = 0;
    std::regex filter{""};
    std::string expected, arming_call;
};

} // namespace

TEST_P(transcript, replays) {
    std::ifstream file(GetParam() + std::string(".transcript"));
    for (std::string line, more; ++line_number, std::getline(file, line); replay(line))
        for (; line.ends_with('\\') && std::getline(file >> std::ws, more); ++line_number)
            line.replace(line.size() - 1, 1, more);
    settle();
    EXPECT_GT(line_number, 1);
}

INSTANTIATE_TEST_SUITE_P(all, transcript,
                         testing::Values("arbitration", "clients", "connection_status", "dispatch",
                                         "notice_timer", "pppoe_change", "settings",
                                         "setup_completed", "startup", "wan_mode_change",
                                         "wired_port", "wired_wan", "wireless"),
                         [](const auto &one) { return std::string(one.param); });
