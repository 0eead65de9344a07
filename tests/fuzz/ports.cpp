// The list of the switch's ports, the WAN port's index, and the mask of LANs and VLANs, read from
// any text, against models that go through the characters by themselves.
#include <climits>

#include "fuzz.h"
#include "guard/subnet_conflict.h"
#include "memory_platform.h"
#include "wan/items.h"
#include "wan/setting_keys.h"
#include "wan/wan_port.h"

// Takes a number off TEXT as C reads one; false where there is none.
static bool take_c_number(std::string &text, int base, long long &number) {
    const size_t start = std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size());
    const bool minus = text[start] == '-';
    size_t at = start + (minus || text[start] == '+');
    if (base == 16 && text[at] == '0' && (text[at + 1] | 32) == 'x' && isxdigit(text[at + 2]))
        at += 2;
    const size_t digits = at;
    number = 0;
    for (; base == 10 ? isdigit(text[at]) : isxdigit(text[at]); at++)
        number = std::min(number * base + (isdigit(text[at]) ? text[at] - '0' : (text[at] & 7) + 9),
                          1LL << 40);
    number = minus ? -number : number;
    text.erase(0, at);
    return at > digits;
}

static port_states model_of_list(std::string text) {
    port_states states{};
    if (text.empty())
        states.fill(-1);
    long long number;
    for (int &state : states) {
        if (!take_c_number(text, 10, number))
            break;
        state = static_cast<int>(std::clamp<long long>(number, INT_MIN, INT_MAX));
        if (text[0] != ',')
            break;
        text.erase(0, 1);
    }
    return states;
}

// The last up to eight characters of TEXT, which are taken off it.
static uint32_t take_group(std::string &text) {
    const size_t start = text.size() > 8 ? text.size() - 8 : 0;
    std::string digits = text.substr(start);
    text.resize(start);
    digits.erase(0, std::min(digits.find_first_not_of('0'), digits.size()));
    long long number;
    take_c_number(digits, 16, number);
    return static_cast<uint32_t>(number);
}

static void parse_words(std::string text, int max_len) {
    const std::vector<char> exact(text.c_str(), text.c_str() + text.size() + 1);
    uint32_t words[3] = {1, 2, 3};
    uplinkd_parse_hex_words(exact.data(), max_len, &words[0], &words[1], &words[2]);
    text.resize(std::min(text.size(), static_cast<size_t>(std::max(max_len, 0))));
    for (uint32_t i = 0; i < 3; i++)
        DEMAND(words[i] == (max_len < 1 ? i + 1 : take_group(text)), exact.data(), text);
}

// Networks of which 10.1.0.0/16 overlaps some.
static void find_conflict(FuzzedDataProvider &input, std::string mask) {
    memory::settings = {{SYS_BRIDGE_VLAN_MASK, mask}};
    mask.resize(std::min<size_t>(mask.size(), 31));
    const bool vlan = input.ConsumeBool();
    const uint32_t enabled = take_group(mask) >> (vlan ? 16 : 0);
    int expected = -1, found = -1;
    for (int idx = 0; idx < 16; idx++) {
        const int network = take_number(input, 0, 5), served = take_number(input, 0, 2);
        const std::string end = idx > 0 || vlan ? "_" + std::to_string(idx) : "";
        constexpr const char *ADDRESSES[] = {"10.1.9.9", "?",        "10.9.0.1",
                                             "10.2.0.1", "10.1.0.1", ""};
        constexpr const char *MASKS[] = {"255.255.0.0", "0.0.0.0", "255.0.0.0",
                                         "255.255.0.0", "",        "?"};
        constexpr const char *SERVED[] = {"1", "10", "0"};
        memory::settings[(vlan ? SYS_VLAN_DHCP_SERVER_SW : USR_DHCP_SERVER_SW) + end] =
            SERVED[served];
        memory::settings[(vlan ? SYS_VLAN_DHCP_IP : USR_DHCP_LAN_IP) + end] = ADDRESSES[network];
        memory::settings[(vlan ? SYS_VLAN_DHCP_SUBNET_MASK : USR_DHCP_SUBNET_MASK) + end] =
            MASKS[network];
        if (expected < 0 && (enabled >> idx & 1) != 0 && served < 2 && network < 3)
            expected = idx;
    }
    const auto find = vlan ? uplinkd_process_is_addrv4_conflict_with_v_lan
                           : uplinkd_process_is_addrv4_conflict_with_lan;
    const int result = find("10.1.0.1", "255.255.0.0", &found);
    DEMAND(result == (expected >= 0) && found == expected, memory::settings[SYS_BRIDGE_VLAN_MASK],
           std::to_string(expected), std::to_string(found));
}

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    FuzzedDataProvider input(data, size);
    const std::string list = take_text(input, 60), index = take_text(input, 4);
    memory::items[std::to_string(DI_PORT_STATUS_LIST)] = list;
    memory::items[std::to_string(DI_WAN_PORT_INDEX)] = index;
    DEMAND(read_port_states() == model_of_list(list.substr(0, 31)), list);
    const bool valid = !index.empty() && index[0] >= '0' && index[0] <= '7';
    DEMAND(wan_port() == (valid ? static_cast<size_t>(index[0] - '0') : 3), index);
    const std::string mask = take_text(input, 40);
    parse_words(mask, take_number(input, -1, 40));
    find_conflict(input, mask);
    memory::take(-1);
    return 0;
}
