// uplinkctl metrics: what stores and log say about the daemon, for Prometheus.
//
// Every label value is one of the project's own names: no text of a store or the log becomes one.
// A series whose value is not known is left out.
#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <span>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

#include "base/text.h"
#include "batch/script_runner.h"
#include "platform/bus.h"
#include "platform/config_store.h"
#include "platform/flag_store.h"
#include "platform/host/setting_number.h"
#include "tools/cli.h"
#include "tools/log_totals.h"
#include "tools/names.h"
#include "tools/router_state.h"
#include "tools/uplinkctl.h"
#include "wan/flags.h"
#include "wan/items.h"
#include "wan/setting_keys.h"

namespace {

constexpr char CGI_HEADING[] =
    "Content-Type: application/openmetrics-text; version=1.0.0; charset=utf-8\r\n\r\n";

using count = unsigned long long;

// Gathers lines, and writes them some dozens at a time.
struct page {
    // The text is one line, or two short ones.
    [[gnu::format(printf, 2, 3)]] void line(const char *format, ...) {
        constexpr size_t LONGEST_LINE = 256;
        if (length > bytes.size() - LONGEST_LINE)
            flush();
        va_list arguments;
        va_start(arguments, format);
        const int needed = vsnprintf(bytes.data() + length, LONGEST_LINE, format, arguments);
        va_end(arguments);
        length += std::min(static_cast<size_t>(needed), LONGEST_LINE - 1);
    }
    int flush() {
        if (status == cli::DONE)
            status = cli::print({bytes.data(), length});
        length = 0;
        return status;
    }

    // The text format that was there before OpenMetrics has a counter's suffix in these lines, too.
    void begin_counter(const char *name, const char *help) {
        const char *suffix = classic ? "_total" : "";
        line("# HELP uplinkd_%s%s %s\n", name, suffix, help);
        line("# TYPE uplinkd_%s%s counter\n", name, suffix);
    }
    void begin_gauge(const char *name, const char *help) {
        line("# HELP uplinkd_%s %s\n# TYPE uplinkd_%s gauge\n", name, help, name);
    }
    void gauge(const char *name, const char *help, long long value) {
        begin_gauge(name, help);
        line("uplinkd_%s %lld\n", name, value);
    }
    void counter(const char *name, const char *help, count value) {
        begin_counter(name, help);
        line("uplinkd_%s_total %llu\n", name, value);
    }

    const bool classic;
    int status = cli::DONE;
    size_t length = 0;
    std::array<char, 4096> bytes{};
};

// ---- what the stores hold

using sample = int (*)(const router::uplink_state &uplink); // negative: not known

int verdict_of(const router::uplink_state &uplink) {
    return uplink.stored_verdict.empty() ? -1 : is_one(uplink.stored_verdict);
}
int network_of(const router::uplink_state &uplink) {
    return uplink.is_up;
}
int link_of(const router::uplink_state &uplink) {
    return uplink.link == router::link_state::unknown ? -1 : uplink.link == router::link_state::up;
}

// Of the uplinks that the WAN mode uses: what the stores say of others is as old as their mode.
void print_uplinks(page &out, int wan_mode) {
    static std::array<router::uplink_state, router::MAX_UPLINKS> uplinks;
    const std::span all{uplinks.data(), router::list_uplinks(wan_mode, uplinks)};
    const auto print = [&](const char *name, const char *help, sample value_of) {
        out.begin_gauge(name, help);
        for (const router::uplink_state &uplink : all)
            if (const int value = value_of(uplink); value >= 0)
                out.line("uplinkd_%s{uplink=\"%s\",index=\"%d\"} %d\n", name,
                         router::kind_name(uplink.kind), uplink.index, value);
    };
    print("uplink_connected", "The recorded verdict on each uplink in use: 1 connected.",
          verdict_of);
    print("network_up", "Network status of each uplink in use: 1 up.", network_of);
    print("link_up", "Link of the WAN port or Wi-Fi band of each uplink in use: 1 up.", link_of);
}

void print_modem(page &out) {
    out.begin_gauge("modem_abnormal", "The modem's two indicators: 1 abnormal.");
    const auto print_indicator = [&out](int number, int item) {
        if (const text<2> status = item_text<2>(item); !status.empty())
            out.line("uplinkd_modem_abnormal{indicator=\"%d\"} %d\n", number, is_one(status));
    };
    print_indicator(1, DI_MODEM_ABNORMAL_1);
    print_indicator(2, DI_MODEM_ABNORMAL_2);
}

void print_stores(page &out) {
    const int wan_mode = get_CFG_int(USR_WAN_MODE);
    out.gauge("up", "1 while the daemon is registered on the bus.",
              router::is_bound(APP_ID_UPLINKD));
    out.gauge("wan_mode",
              "The setting: 1 mobile, 2 wired, 3 and 4 Wi-Fi, 5 mix, 6 bridge, 7 bridged mix.",
              wan_mode);
    if (is_mix_mode(wan_mode))
        out.gauge("strategy", "What a mix mode prefers: 0 the mobile network, 1 the WAN.",
                  get_CFG_int(USR_WAN_COMMUNICATION_PRIORITY_STRATEGY));
    if (const text<2> priority = item_text<2>(DI_IFA_WAN_PRIORITY); !priority.empty())
        out.gauge("priority", "Who has priority, as recorded: 0 the mobile network, 1 the WAN.",
                  is_one(priority));
    print_uplinks(out, wan_mode);
    text<2> conflict;
    flag_get_item(SUBNET_CONFLICT_FLAG, conflict.data(), conflict.size());
    if (!conflict.empty())
        out.gauge("subnet_conflict", "1 while a network of a WAN overlaps one of the LAN.",
                  is_one(conflict));
    print_modem(out);

    struct stat batch = {};
    if (lstat(generated_path(TMP_SCRIPT).c_str(), &batch) == 0)
        out.gauge("last_batch_timestamp_seconds", "When the last batch was written.",
                  batch.st_mtime);
    out.gauge("metrics_timestamp_seconds", "When this was written.", time(nullptr));
}

// ---- what the log tells

void print_messages(page &out, message_fate fate, size_t message, const log_totals &totals) {
    const bool known = message != OTHER_MESSAGE;
    const names::name_text name =
        known ? names::of_message(KNOWN_MESSAGES[message].id) : names::name_text{"other"};
    const bool handled = known && KNOWN_MESSAGES[message].direction != message_direction::sent;
    const bool accepted = fate == RECEIVED ? handled : fate == SENT;
    for (size_t peer = 0; peer <= UNKNOWN_PEER; peer++) {
        const count number = totals.messages[fate][message][peer];
        if (number > 0)
            out.line("uplinkd_messages_total{direction=\"%s\",message=\"%s\",peer=\"%s\","
                     "result=\"%s\"} %llu\n",
                     fate == RECEIVED ? "received" : "sent", name.c_str(),
                     peer == UNKNOWN_PEER ? "unknown" : get_app_name_by_id(KNOWN_PEERS[peer]),
                     accepted ? "accepted" : "refused", number);
    }
}

void print_log(page &out, const log_totals &totals) {
    out.counter("starts", "Starts of the daemon.", totals.starts);
    out.begin_counter("failovers", "Changes of priority, but for the first after a start.");
    out.line("uplinkd_failovers_total{to=\"mobile\"} %llu\n", count{totals.failovers[0]});
    out.line("uplinkd_failovers_total{to=\"wan\"} %llu\n", count{totals.failovers[1]});
    out.counter("subnet_conflicts", "Subnet conflicts that reset a WAN.", totals.conflicts);
    out.begin_counter("messages", "Messages received, and sent to one application.");
    for (size_t fate = 0; fate < MESSAGE_FATES; fate++)
        for (size_t message = 0; message <= OTHER_MESSAGE; message++)
            print_messages(out, static_cast<message_fate>(fate), message, totals);
    out.counter("dropped_datagrams", "Datagrams on the bus that were no message.",
                totals.dropped_datagrams);
    // Below that level they are not logged.
    int level = 0;
    if (!host::read_setting_number("SYS_LOG_LEVEL", level) || level != 0)
        out.counter("rejected_values", "Values that were refused, or replaced by a default.",
                    totals.rejected_values);
    out.counter("log_gaps", "Times when the log had lost lines before they were counted.",
                totals.gaps);
}

} // namespace

int print_metrics(operands given) {
    const std::string_view option{given.empty() ? "" : given[0]};
    if (!option.empty() && option != "--cgi" && option != "--textfile")
        return wrong_operands();

    // All that can fail comes before the first line.
    char mode[8];
    errno = 0;
    if (cfg_get_item(USR_WAN_MODE, mode, sizeof mode) != 0 && errno != 0 && errno != ENOENT)
        return cli::failure("cannot read the settings: %s", strerror(errno));
    static log_totals totals;
    if (const char *failed = update_log_totals(totals))
        return cli::failure("cannot use %s: %s", failed, strerror(errno));

    page out{.classic = option == "--textfile"};
    if (option == "--cgi")
        out.line(CGI_HEADING);
    print_stores(out);
    print_log(out, totals);
    out.line("# EOF\n");
    return out.flush();
}
