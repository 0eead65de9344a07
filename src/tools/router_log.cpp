// What the log tells of the daemon, and whether it runs: the second half of router_state.h.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include "base/messages.h"
#include "platform/flag_store.h"
#include "platform/host/files.h"
#include "platform/host/places.h"
#include "tools/last_batch.h"
#include "tools/log_lines.h"
#include "tools/router_state.h"
#include "wan/flags.h"
#include "wan/markers.h"

namespace router {

bool is_bound(int app_id) {
    const host::descriptor probe(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    snprintf(address.sun_path, sizeof address.sun_path, "%s/%d", host::BUS_FOLDER, app_id);
    return probe >= 0 &&
           connect(probe, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0;
}

static void visit_log_file(const char *log, void (*visit)(std::string_view line, void *context),
                           void *context) {
    const host::descriptor file(host::open_regular(log, O_RDONLY));
    struct stat status;
    if (file < 0 || fstat(file, &status) != 0 || status.st_size <= 0)
        return;
    const auto size = static_cast<size_t>(status.st_size);
    void *const bytes = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, file, 0);
    if (bytes == MAP_FAILED)
        return;
    std::string_view rest{static_cast<const char *>(bytes), size};
    while (!rest.empty())
        visit(take_line(rest), context);
    munmap(bytes, size);
}

void visit_log(void (*visit)(std::string_view line, void *context), void *context) {
    visit_log_file(host::OLD_LOG_FILE, visit, context);
    visit_log_file(host::LOG_FILE, visit, context);
}

// What stands in LINE between BEFORE and the next AFTER; empty where it does not.
template <int N>
static text<N> between(std::string_view line, std::string_view before, char after) {
    text<N> found;
    const size_t start = line.find(before);
    if (start == line.npos)
        return found;
    line.remove_prefix(start + before.size());
    const std::string_view value = line.substr(0, line.find(after));
    snprintf(found.data(), sizeof found.chars, "%.*s", static_cast<int>(value.size()),
             value.data());
    return found;
}

namespace {

struct logged_overlap {
    overlap found;
    text<24> time;
    bool exists = false;
};

struct start_up {
    int pid; // of the process that is followed
    bool is_complete = false;
};

} // namespace

static void look_for_overlap(std::string_view line, void *context) {
    auto &last = *static_cast<logged_overlap *>(context);
    // Behind the daemon's own beginning, so that no value that it quotes is taken for it.
    const std::string_view said = log_lines::split(line).said;
    const bool built_in = said.starts_with("detect net segment v4 conflict!!!");
    constexpr size_t BEGINNING = 24; // a line's end, a tab, and the name
    if (!built_in && said.substr(0, BEGINNING).find("lan_ipv4 ->") == said.npos)
        return;
    overlap seen{};
    seen.wan_index = -1;
    if (built_in) {
        seen.is_vlan = line.find("\\nvlan idx:(") != line.npos;
        seen.lan_index = to_int(between<16>(line, "lan idx:(", ')').c_str());
        seen.lan_address = between<32>(line, ", addrv4:(", ')');
        seen.lan_netmask = between<32>(line, "lan_netmask:(", ')');
        seen.wan_address = between<32>(line, "wan_addrv4:(", ')');
        seen.wan_netmask = between<32>(line, "wan_maskv4:(", ')');
    } else {
        if (to_int(between<16>(line, "relations4 ->", '\0').c_str()) == SEGMENT_DISJOINT)
            return;
        seen.lan_index = -1;
        seen.lan_address = between<32>(line, "lan_ipv4 ->", ',');
        seen.lan_netmask = between<32>(line, "lan_netmask ->", ',');
        seen.wan_address = between<32>(line, "wan_ipv4_addr ->", ',');
        seen.wan_netmask = between<32>(line, "wan_netmask ->", '\\');
    }
    last.found = seen;
    last.exists = true;
    snprintf(last.time.data(), sizeof last.time.chars, "%.*s",
             static_cast<int>(std::min<size_t>(line.size(), 23)), line.data());
}

bool find_logged_overlap(overlap &found, text<24> &time) {
    logged_overlap last{};
    visit_log(look_for_overlap, &last);
    found = last.found;
    time = last.time;
    return last.exists;
}

// Whether the process has begun its start-up, and ended it.
static void follow_start_up(std::string_view line, void *context) {
    auto &start = *static_cast<start_up *>(context);
    const log_lines::log_parts log = log_lines::split(line);
    if (log.pid != start.pid)
        return;
    if (log.said == "uplinkd_init start!")
        start.is_complete = false;
    else if (log.said == "uplinkd_init finish!")
        start.is_complete = true;
}

daemon_state read_daemon() {
    daemon_state daemon{};
    daemon.pid = find_process("uplinkd");
    daemon.is_registered = is_bound(APP_ID_UPLINKD);
    start_up start{.pid = daemon.pid};
    visit_log(follow_start_up, &start);
    if (daemon.pid == 0 || start.is_complete)
        return daemon;
    text<2> lan;
    flag_get_item(DOWNLINKD_FLAG, lan.data(), lan.size());
    daemon.waits_for_settings = access(SETTINGSD_MARKER, F_OK) != 0;
    daemon.waits_for_lan = !is_one(lan);
    return daemon;
}

} // namespace router
