#include "tools/router_state.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "guard/subnet_conflict.h"
#include "platform/host/files.h"
#include "provision/clients/client_files.h"
#include "tools/what_if.h"
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
    struct stat status;
    char comm[20] = {};
    // Anybody may give a process any name; the daemon and its clients are root's.
    if (file < 0 || fstat(file, &status) != 0 || status.st_uid != 0 ||
        read(file, comm, sizeof comm - 1) <= 0)
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
    // A client that starts while the one before it ends may find its name gone, and makes a file of
    // its own there. Somebody else's says nothing.
    const host::descriptor file(host::open_regular(path, O_RDONLY));
    struct stat status;
    char digits[16] = {};
    if (file < 0 || fstat(file, &status) != 0 || status.st_uid != geteuid() ||
        read(file, digits, sizeof digits - 1) <= 0)
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
    if (strcmp(program, PPPD) == 0)
        uplinkd_ppp_get_pid_fname_by_idx(path.data(), path.size(), wan, program);
    else
        uplinkd_dhcpc_get_pid_fname_by_idx(path.data(), path.size(), program, wan,
                                           strcmp(program, UDHCPC) == 0 ? IPVER_V4 : IPVER_V6);
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
    mobile.ifname = item_ifname_or<IFNAMSIZ>(DI_IFA_MOBILE_REAL_IFACE, DEFAULT_MOBILE_IFNAME);
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

} // namespace router
