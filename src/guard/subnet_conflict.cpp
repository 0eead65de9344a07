#include "guard/subnet_conflict.h"

#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include "base/log_forms.h"
#include "base/text.h"
#include "platform/network.h"
#include "wan/setting_keys.h"
#include "wan/setting_ranges.h"

static constexpr size_t GROUP_DIGITS = 8; // one 32-bit word

namespace {

struct subnet {
    text<2> server_switch;
    text<32> address, netmask;
};

// What differs between the two sides, log texts included.
// By their texts, because a pointer would cost a relocation.
struct side {
    int first_bit;
    bool has_index_0; // in its keys: only a VLAN's
    text<28> switch_key, address_key, netmask_key;
    char progress_prefix[4], conflict_prefix[4];
};

constexpr side LAN = {.first_bit = 0,
                      .has_index_0 = false,
                      .switch_key = to_text<28>(USR_DHCP_SERVER_SW),
                      .address_key = to_text<28>(USR_DHCP_LAN_IP),
                      .netmask_key = to_text<28>(USR_DHCP_SUBNET_MASK),
                      .progress_prefix = "",
                      .conflict_prefix = ""};
constexpr side VLAN = {.first_bit = 16,
                       .has_index_0 = true,
                       .switch_key = to_text<28>(SYS_VLAN_DHCP_SERVER_SW),
                       .address_key = to_text<28>(SYS_VLAN_DHCP_IP),
                       .netmask_key = to_text<28>(SYS_VLAN_DHCP_SUBNET_MASK),
                       .progress_prefix = "v ",
                       .conflict_prefix = "v"};

} // namespace

// The bits of SYS_BRIDGE_VLAN_MASK: the lower half enables LAN indexes, the upper VLAN indexes.
static uint32_t enabled_subnets() {
    const text<BRIDGE_MASK_SIZE> mask = setting_text<BRIDGE_MASK_SIZE>(SYS_BRIDGE_VLAN_MASK);
    uint32_t lowest = 0;
    uplinkd_parse_hex_words(mask.c_str(), mask.size(), &lowest, nullptr, nullptr);
    return lowest;
}

static setting_key key_of(const side &side, const text<28> &key, int idx) {
    return side.has_index_0 ? always_indexed_key(key.c_str(), idx) : key_of_index(key.c_str(), idx);
}

static subnet read_subnet(const side &side, int idx) {
    return {setting_text<2>(key_of(side, side.switch_key, idx).c_str()),
            setting_text<32>(key_of(side, side.address_key, idx).c_str()),
            setting_text<32>(key_of(side, side.netmask_key, idx).c_str())};
}

// The search both checks share; logs in their name. FOUND, if given, receives the index.
static int find_conflict(const side &side, const char *wan_addr, const char *wan_mask, int *found,
                         log_site site = caller_site()) {
    if (wan_addr == nullptr || wan_mask == nullptr)
        return -1;
    const uint32_t enabled = enabled_subnets() >> side.first_bit;
    for (int idx = 0; idx < SUBNETS_PER_SIDE; idx++) {
        if (((enabled >> idx) & 1) == 0)
            continue;
        const subnet lan = read_subnet(side, idx);
        if (lan.address.empty() || lan.netmask.empty()) {
            UPLINKD_TRACE_AT(site, LOG_EVENT, "got invalid lan addr or lan mask");
            continue;
        }
        UPLINKD_TRACE_AT(site, LOG_ROUTINE, "%slan idx:(%d), got addr:(%s), mask:(%s)",
                         side.progress_prefix, idx, lan.address.c_str(), lan.netmask.c_str());
        if (!is_one(lan.server_switch))
            continue;
        if (util_get_2_network_segment_relations4(lan.address.c_str(), lan.netmask.c_str(),
                                                  wan_addr, wan_mask) != SEGMENT_DISJOINT) {
            UPLINKD_TRACE_AT(site, LOG_EVENT,
                             "detect net segment v4 conflict!!!\n"
                             "%slan idx:(%d), addrv4:(%s), lan_netmask:(%s)\n"
                             "wan_addrv4:(%s), wan_maskv4:(%s)",
                             side.conflict_prefix, idx, lan.address.c_str(), lan.netmask.c_str(),
                             wan_addr, wan_mask);
            if (found != nullptr)
                *found = idx;
            return 1;
        }
    }
    return 0;
}

int uplinkd_process_is_addrv4_conflict_with_lan(const char *wan_addr, const char *wan_mask,
                                                int *found) {
    return find_conflict(LAN, wan_addr, wan_mask, found);
}

int uplinkd_process_is_addrv4_conflict_with_v_lan(const char *wan_addr, const char *wan_mask,
                                                  int *found) {
    return find_conflict(VLAN, wan_addr, wan_mask, found);
}

// One group of up to eight digits, as strtoul reads it.
static uint32_t parse_group(const char *digits, size_t count) {
    text<GROUP_DIGITS + 1> group;
    memcpy(group.data(), digits, count);
    const char *start = uplinkd_skip_leading_zeros(group.c_str(), group.size());
    return start == nullptr ? 0 : static_cast<uint32_t>(strtoul(start, nullptr, 16));
}

void uplinkd_parse_hex_words(const char *text, int max_len, uint32_t *lowest, uint32_t *middle,
                             uint32_t *highest) {
    if (text == nullptr || max_len < 1)
        return;
    size_t left = strnlen(text, static_cast<size_t>(max_len));
    for (uint32_t *word : {lowest, middle, highest}) {
        const size_t count = left < GROUP_DIGITS ? left : GROUP_DIGITS;
        left -= count;
        if (word != nullptr)
            *word = parse_group(text + left, count);
    }
}

const char *uplinkd_skip_leading_zeros(const char *text, int n) {
    if (text == nullptr)
        return nullptr;
    for (int i = 0; i < n; i++) {
        if (text[i] != '0')
            return text + i;
    }
    return nullptr;
}
