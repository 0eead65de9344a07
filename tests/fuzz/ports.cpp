// The list of the switch's ports, the WAN port's index, and the mask of LANs and VLANs, read from
// any text, against models that go through the characters by themselves.
#include <algorithm>
#include <arpa/inet.h>
#include <climits>

#include "fuzz.h"
#include "guard/subnet_conflict.h"
#include "memory_platform.h"
#include "wan/items.h"
#include "wan/setting_keys.h"
#include "wan/wan_port.h"

static std::string cut(const std::string &text, size_t limit) {
    return text.substr(0, limit);
}

static void skip_blanks(std::string &text) {
    text.erase(0, std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size()));
}

// Takes '+' or '-' off; whether it was a '-'.
static bool take_sign(std::string &text) {
    const bool minus = text.starts_with('-');
    if (minus || text.starts_with('+'))
        text.erase(0, 1);
    return minus;
}

static port_states model_of_list(std::string text) {
    port_states states{};
    if (text.empty())
        states.fill(-1);
    for (int &state : states) {
        skip_blanks(text);
        const bool minus = take_sign(text);
        const size_t digits = std::min(text.find_first_not_of("0123456789"), text.size());
        if (digits == 0)
            break;
        long long number = 0;
        for (const char digit : text.substr(0, digits))
            number = std::min(number * 10 + (digit - '0'), 1LL << 40);
        state = static_cast<int>(std::clamp<long long>(minus ? -number : number, INT_MIN, INT_MAX));
        if (text[digits] != ',')
            break;
        text.erase(0, digits + 1);
    }
    return states;
}

static uint32_t model_of_group(std::string digits) {
    digits.erase(0, std::min(digits.find_first_not_of('0'), digits.size()));
    skip_blanks(digits);
    const bool minus = take_sign(digits);
    if (digits.size() > 2 && digits[0] == '0' && (digits[1] | 32) == 'x' && isxdigit(digits[2]))
        digits.erase(0, 2);
    uint32_t word = 0;
    for (const char digit : digits.substr(0, digits.find_first_not_of("0123456789abcdefABCDEF")))
        word = word << 4 | static_cast<uint32_t>(digit <= '9' ? digit - '0' : (digit & 7) + 9);
    return minus ? 0 - word : word;
}

static bool overlaps(const std::string &address, const std::string &mask, uint32_t wan) {
    in_addr bytes, mask_bytes;
    if (inet_aton(address.c_str(), &bytes) == 0 || inet_aton(mask.c_str(), &mask_bytes) == 0)
        return true;
    return ((bytes.s_addr ^ htonl(wan)) & mask_bytes.s_addr & htonl(0xffff0000)) == 0;
}

static void find_conflict(FuzzedDataProvider &input, const std::string &mask) {
    memory::settings = {{"SYS_BRIDGE_VLAN_MASK", mask}};
    const std::string seen = cut(mask, 31);
    const size_t lowest = seen.size() > 8 ? seen.size() - 8 : 0;
    const uint32_t enabled = model_of_group(seen.substr(lowest));
    const uint32_t wan = 0x0a000001u | input.ConsumeIntegralInRange<uint32_t>(0, 3) << 16;
    const std::string wan_address = "10." + std::to_string(wan >> 16 & 255) + ".0.1";
    const bool vlan = input.ConsumeBool();
    int expected = -1;
    for (int idx = 0; idx < 16; idx++) {
        const std::string end = idx > 0 || vlan ? "_" + std::to_string(idx) : "";
        const std::string address =
            input.ConsumeBool() ? "10." + std::to_string(input.ConsumeIntegral<uint8_t>()) + ".9.9"
                                : input.PickValueInArray({"", "?", "10.0.0.0", "192.168.1.1"});
        const std::string netmask = input.PickValueInArray({"255.255.0.0", "255.0.0.0", "", "0"});
        const std::string served = input.PickValueInArray({"1", "0", "", "10"});
        memory::settings[(vlan ? SYS_VLAN_DHCP_SERVER_SW : USR_DHCP_SERVER_SW) + end] = served;
        memory::settings[(vlan ? SYS_VLAN_DHCP_IP : USR_DHCP_LAN_IP) + end] = address;
        memory::settings[(vlan ? SYS_VLAN_DHCP_SUBNET_MASK : USR_DHCP_SUBNET_MASK) + end] = netmask;
        if (expected < 0 && (enabled >> (vlan ? 16 + idx : idx) & 1) != 0 && !address.empty() &&
            !netmask.empty() && served.starts_with('1') &&
            overlaps(address, netmask == "0" ? "?" : netmask, wan))
            expected = idx;
    }
    int found = -1;
    const auto find = vlan ? uplinkd_process_is_addrv4_conflict_with_v_lan
                           : uplinkd_process_is_addrv4_conflict_with_lan;
    const int result = find(wan_address.c_str(), "255.255.0.0", &found);
    DEMAND(result == (expected >= 0) && found == expected, mask, wan_address,
           std::to_string(expected), std::to_string(found));
}

static void parse_words(const std::string &text, int max_len) {
    const std::vector<char> exact(text.c_str(), text.c_str() + text.size() + 1);
    uint32_t words[3] = {1, 2, 3};
    uplinkd_parse_hex_words(exact.data(), max_len, &words[0], &words[1], &words[2]);
    std::string rest = cut(text, static_cast<size_t>(std::max(max_len, 0)));
    for (uint32_t i = 0; i < 3; i++) {
        const size_t start = rest.size() > 8 ? rest.size() - 8 : 0;
        DEMAND(words[i] == (max_len < 1 ? i + 1 : model_of_group(rest.substr(start))), text, rest);
        rest.resize(start);
    }
}

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    FuzzedDataProvider input(data, size);
    const std::string list = take_text(input, 60), index = take_text(input, 4);
    memory::items[std::to_string(DI_PORT_STATUS_LIST)] = list;
    memory::items[std::to_string(DI_WAN_PORT_INDEX)] = index;
    DEMAND(read_port_states() == model_of_list(cut(list, 31)), list);
    const bool valid = !index.empty() && index[0] >= '0' && index[0] <= '7';
    DEMAND(wan_port() == (valid ? static_cast<size_t>(index[0] - '0') : 3), index);
    const std::string mask = take_text(input, 40);
    parse_words(mask, input.ConsumeIntegralInRange(-1, 40));
    find_conflict(input, mask);
    memory::take(-1);
    return 0;
}
