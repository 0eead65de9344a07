#include "tools/router_state.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include "base/messages.h"
#include "guard/subnet_conflict.h"
#include "platform/flag_store.h"
#include "platform/host/files.h"
#include "platform/host/places.h"
#include "provision/clients/client_files.h"
#include "tools/last_batch.h"
#include "tools/what_if.h"
#include "wan/flags.h"
#include "wan/markers.h"
#include "wan/setting_keys.h"
#include "wan/wan_port.h"
#include "wan/wan_settings.h"

namespace router {

// ---- words

const char *mode_text(int wan_mode) {
    switch (wan_mode) {
    case WAN_MODE_MOBILE: return "mobile network only";
    case WAN_MODE_WIRED: return "wired WAN only";
    case WAN_MODE_WLAN24: return "wireless WAN on 2.4 GHz only";
    case WAN_MODE_WLAN58: return "wireless WAN on 5.8 GHz only";
    case WAN_MODE_MIX: return "mobile network and wired WAN, by strategy";
    case WAN_MODE_BRIDGE: return "mobile network and wired WAN, bridged";
    case WAN_MODE_BRIDGE_MIX: return "mobile network and wired WAN, bridged, by strategy";
    default: return "invalid";
    }
}

const char *strategy_text(int strategy) {
    switch (strategy) {
    case PRIORITY_STRATEGY_MOBILE_FIRST: return "mobile first";
    case PRIORITY_STRATEGY_WAN_FIRST: return "WAN first";
    default: return "invalid";
    }
}

const char *priority_text(int priority) {
    return priority == NETWORK_PRIORITY_WAN ? "the WAN" : "the mobile network";
}

const char *missing_text(missing_piece missing) {
    switch (missing) {
    case missing_piece::none: return "nothing";
    case missing_piece::network: return "the network state is down";
    case missing_piece::address: return "no address";
    case missing_piece::netmask: return "no netmask";
    case missing_piece::gateway: return "no gateway";
    case missing_piece::dns: return "no DNS server";
    }
    return "";
}

const char *missing_name(missing_piece missing) {
    switch (missing) {
    case missing_piece::none: return "none";
    case missing_piece::network: return "network";
    case missing_piece::address: return "address";
    case missing_piece::netmask: return "netmask";
    case missing_piece::gateway: return "gateway";
    case missing_piece::dns: return "dns";
    }
    return "";
}

const char *link_text(link_state link) {
    switch (link) {
    case link_state::unknown: return "unknown";
    case link_state::down: return "down";
    case link_state::up: return "up";
    }
    return "";
}

const char *kind_name(uplink_kind kind) {
    switch (kind) {
    case uplink_kind::mobile: return "mobile";
    case uplink_kind::wired: return "wired";
    case uplink_kind::wlan24: return "wlan24";
    case uplink_kind::wlan58: return "wlan58";
    }
    return "";
}

text<24> title(const uplink_state &uplink) {
    text<24> words;
    switch (uplink.kind) {
    case uplink_kind::mobile: return to_text<24>("mobile network");
    case uplink_kind::wlan24: return to_text<24>("Wi-Fi 2.4 GHz");
    case uplink_kind::wlan58: return to_text<24>("Wi-Fi 5.8 GHz");
    case uplink_kind::wired: break;
    }
    snprintf(words.data(), sizeof words.chars, "wired WAN %d", uplink.index);
    return words;
}

// ---- processes

bool is_process(int pid, const char *name) {
    char path[40];
    snprintf(path, sizeof path, "/proc/%d/comm", pid);
    const host::descriptor file(host::open_file(path, O_RDONLY));
    char comm[20] = {};
    if (file < 0 || read(file, comm, sizeof comm - 1) <= 0)
        return false;
    comm[strcspn(comm, "\n")] = '\0';
    return strcmp(comm, name) == 0;
}

int find_process(const char *name) {
    const host::descriptor folder(host::open_folder("/proc"));
    if (folder < 0)
        return 0;
    host::name_reader reader(folder);
    while (const char *entry = host::next_name(reader)) {
        const int pid = to_int(entry);
        if (pid > 0 && is_process(pid, name))
            return pid;
    }
    return 0;
}

int read_pid_file(const char *path) {
    const host::descriptor file(host::open_regular(path, O_RDONLY | O_NOFOLLOW));
    char digits[16] = {};
    if (file < 0 || read(file, digits, sizeof digits - 1) <= 0)
        return 0;
    const int pid = to_int(digits);
    return pid > 0 ? pid : 0;
}

static void add_client(client_list &list, const char *program, const char *pid_file) {
    const int pid = read_pid_file(pid_file);
    if (pid != 0)
        list.clients[list.count++] = {program, pid, is_process(pid, program)};
}

text<64> pid_file_of(const char *program, int wan) {
    text<64> path;
    if (program == PPPD)
        uplinkd_ppp_get_pid_fname_by_idx(path.data(), path.size(), wan, program);
    else
        uplinkd_dhcpc_get_pid_fname_by_idx(path.data(), path.size(), program, wan,
                                           program == UDHCPC ? IPVER_V4 : IPVER_V6);
    return path;
}

static client_list list_clients(int wan) {
    client_list list;
    for (const char *program : {UDHCPC, UDHCPC6, PPPD})
        add_client(list, program, pid_file_of(program, wan).c_str());
    return list;
}

// ---- uplinks

static int id(uint32_t item) {
    return static_cast<int>(item);
}

static uplink_state read_mobile(missing_piece missing) {
    uplink_state mobile{};
    mobile.kind = uplink_kind::mobile;
    mobile.ifname = item_ifname_or<IFNAMSIZ>(DI_IFA_MOBILE_REAL_IFACE, DEFAULT_IFNAME.mobile);
    mobile.is_up = is_one(item_text<2>(DI_IFA_MOBILE_NETSTATUS));
    mobile.has_verdict = true;
    mobile.stored_verdict = plain_item<2>(DI_IFA_MOBILE_CONNSTATUS);
    mobile.missing = missing;
    mobile.ipv4 = plain_item<IPV4_TEXT_SIZE>(DI_IFA_MOBILE_IP);
    mobile.dns[0] = plain_item<64>(DI_IFA_MOBILE_DNS);
    mobile.dns[1] = plain_item<64>(DI_IFA_MOBILE_DNS2);
    mobile.ipv6 = plain_item<64>(DI_IFA_MOBILE_IPV6_IP);
    return mobile;
}

static void read_record(const wan_di_set &items, const char *default_ifname, uplink_state &wan) {
    wan.ifname = item_ifname_or<IFNAMSIZ>(id(items.ifname_id), default_ifname);
    wan.is_up = is_one(item_text<2>(id(items.netstatus_id)));
    wan.ipv4 = plain_item<IPV4_TEXT_SIZE>(id(items.ipv4_addr_id));
    wan.netmask = plain_item<IPV4_TEXT_SIZE>(id(items.ipv4_netmask_id));
    wan.gateway = plain_item<IPV4_TEXT_SIZE>(id(items.ipv4_gateway_id));
    wan.dns[0] = plain_item<64>(id(items.ipv4_dns1_id));
    wan.dns[1] = plain_item<64>(id(items.ipv4_dns2_id));
    wan.ipv6 = plain_item<64>(id(items.ipv6_addr_id));
    wan.ipv6_dns[0] = plain_item<64>(id(items.ipv6_dns1_id));
    wan.ipv6_dns[1] = plain_item<64>(id(items.ipv6_dns2_id));
    if (items.ipv6_gateway_id != 0)
        wan.ipv6_gateway = plain_item<64>(id(items.ipv6_gateway_id));
}

static link_state wired_link() {
    const int state = read_port_states()[wan_port()];
    return state == PORT_LINKED ? link_state::up
           : state < 0          ? link_state::unknown
                                : link_state::down;
}

static link_state wireless_link(int item) {
    const text<4> status = item_text<4>(item);
    return status.empty()                          ? link_state::unknown
           : to_int(status.c_str()) == WLAN_LINKED ? link_state::up
                                                   : link_state::down;
}

static uplink_state read_wan_of_mode(int wan_mode, missing_piece missing) {
    const uplink &wan = *uplink_of_mode(wan_mode);
    uplink_state state{};
    state.kind = wan_mode == WAN_MODE_WLAN24   ? uplink_kind::wlan24
                 : wan_mode == WAN_MODE_WLAN58 ? uplink_kind::wlan58
                                               : uplink_kind::wired;
    state.link = state.kind == uplink_kind::wired    ? wired_link()
                 : state.kind == uplink_kind::wlan24 ? wireless_link(DI_IFA_WLAN24_LINK_STATUS)
                                                     : wireless_link(DI_IFA_WLAN58_LINK_STATUS);
    read_record(wan.items, wan.default_ifname, state);
    state.has_verdict = true;
    state.stored_verdict = item_text<2>(wan.connstatus_id);
    state.missing = missing;
    state.clients = list_clients(0);
    return state;
}

static uplink_state read_sub_port(int idx) {
    uplink_state state{};
    state.kind = uplink_kind::wired;
    state.index = idx;
    state.link = wired_link();
    read_record(wired_record(idx), "", state);
    state.clients = list_clients(idx);
    return state;
}

size_t list_uplinks(int wan_mode, std::array<uplink_state, MAX_UPLINKS> &uplinks) {
    what_if::begin(); // the daemon's functions log what they read
    const connection_verdicts verdicts = judge_connections(wan_mode);
    size_t count = 0;
    if (uses_mobile(wan_mode))
        uplinks[count++] = read_mobile(verdicts.mobile);
    if (uplink_of_mode(wan_mode) != nullptr)
        uplinks[count++] = read_wan_of_mode(wan_mode, verdicts.wan);
    if (is_wired_mode(wan_mode)) {
        const int last = std::min(uplinkd_cfg_get_wired_sub_port_num(), MAX_RECORD_INDEX);
        for (int idx = 1; idx <= last; idx++)
            if (uplinkd_cfg_get_wired_sw_by_idx(idx) != 0)
                uplinks[count++] = read_sub_port(idx);
    }
    what_if::end();
    return count;
}

bool find_overlap(const uplink_state &wan, overlap &found) {
    if (wan.kind != uplink_kind::wired || wan.ipv4.empty() || wan.netmask.empty())
        return false;
    found.wan_index = wan.index;
    found.wan_address = to_text<32>(wan.ipv4.c_str());
    found.wan_netmask = to_text<32>(wan.netmask.c_str());
    const char *const address = found.wan_address.c_str(), *const mask = found.wan_netmask.c_str();
    what_if::begin();
    const bool overlaps_lan =
        uplinkd_process_is_addrv4_conflict_with_lan(address, mask, &found.lan_index) == 1;
    found.is_vlan = !overlaps_lan && uplinkd_process_is_addrv4_conflict_with_v_lan(
                                         address, mask, &found.lan_index) == 1;
    what_if::end();
    if (!overlaps_lan && !found.is_vlan)
        return false;
    setting_key (*const key_of)(const char *, int) =
        found.is_vlan ? always_indexed_key : key_of_index;
    const int idx = found.lan_index;
    found.lan_address =
        setting_text<32>(key_of(found.is_vlan ? SYS_VLAN_DHCP_IP : USR_DHCP_LAN_IP, idx).c_str());
    found.lan_netmask = setting_text<32>(
        key_of(found.is_vlan ? SYS_VLAN_DHCP_SUBNET_MASK : USR_DHCP_SUBNET_MASK, idx).c_str());
    return true;
}

// ---- the daemon

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
    text<32> identity; // of the process that is followed
    bool is_complete = false;
};

} // namespace

static void look_for_overlap(std::string_view line, void *context) {
    auto &last = *static_cast<logged_overlap *>(context);
    const bool built_in = line.find("detect net segment v4 conflict!!!") != line.npos;
    if (!built_in && line.find("relations4 ->") == line.npos)
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
    if (line.find(start.identity.c_str()) == line.npos)
        return;
    if (line.find("uplinkd_init start!") != line.npos)
        start.is_complete = false;
    else if (line.find("uplinkd_init finish!") != line.npos)
        start.is_complete = true;
}

daemon_state read_daemon() {
    daemon_state daemon{};
    daemon.pid = find_process("uplinkd");
    daemon.is_registered = is_bound(APP_ID_UPLINKD);
    start_up start;
    snprintf(start.identity.data(), sizeof start.identity.chars, " UPLINKD[%d] ", daemon.pid);
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
