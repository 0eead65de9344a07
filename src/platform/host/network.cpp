// Interface questions go to the kernel by ioctl on a socket of the moment; nothing is kept.
#include "platform/network.h"

#include <arpa/inet.h>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include "platform/host/files.h"

namespace {

struct network {
    uint32_t address;
    uint32_t mask;
};

// Four decimal numbers without leading zeros, nothing around them; inet_pton is that strict.
bool parse_ipv4(const char *text, uint32_t &address) {
    in_addr parsed{};
    if (inet_pton(AF_INET, text, &parsed) != 1)
        return false;
    address = ntohl(parsed.s_addr);
    return true;
}

// A network is the set of addresses that agree with its own in every bit of its mask.
int relation(const network &a, const network &b) {
    if (((a.address ^ b.address) & a.mask & b.mask) != 0)
        return SEGMENT_DISJOINT;
    if (a.mask == b.mask)
        return SEGMENT_SAME;
    const uint32_t common = a.mask & b.mask;
    if (common == a.mask)
        return SEGMENT_A_HOLDS_B;
    if (common == b.mask)
        return SEGMENT_B_HOLDS_A;
    return SEGMENT_PARTIAL;
}

bool is_empty(const char *text) {
    return text == nullptr || text[0] == '\0';
}

bool ask_interface(const char *ifname, unsigned question, ifreq &answer) {
    answer = {};
    const size_t length = ifname == nullptr ? 0 : strnlen(ifname, IFNAMSIZ);
    if (length == 0 || length >= IFNAMSIZ)
        return false;
    memcpy(answer.ifr_name, ifname, length);
    const host::descriptor asker{socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)};
    return asker >= 0 && ioctl(asker, question, &answer) == 0;
}

int ask_for_ipv4(const char *ifname, unsigned question, char *buffer) {
    if (buffer == nullptr)
        return -1;
    memset(buffer, 0, IPV4_TEXT_SIZE);
    ifreq answer;
    if (!ask_interface(ifname, question, answer))
        return -1;
    sockaddr_in address;
    memcpy(&address, &answer.ifr_addr, sizeof address);
    return inet_ntop(AF_INET, &address.sin_addr, buffer, IPV4_TEXT_SIZE) != nullptr ? 0 : -1;
}

} // namespace

int util_get_2_network_segment_relations4(const char *addr_a, const char *mask_a,
                                          const char *addr_b, const char *mask_b) {
    if (is_empty(addr_a) || is_empty(mask_a) || is_empty(addr_b) || is_empty(mask_b))
        return SEGMENT_DISJOINT;
    network a{}, b{};
    if (!parse_ipv4(addr_a, a.address) || !parse_ipv4(mask_a, a.mask) ||
        !parse_ipv4(addr_b, b.address) || !parse_ipv4(mask_b, b.mask))
        return SEGMENT_MALFORMED;
    return relation(a, b);
}

int cmd_get_ipv4_address(const char *ifname, char *buffer) {
    return ask_for_ipv4(ifname, SIOCGIFADDR, buffer);
}

int cmd_get_netmask(const char *ifname, char *buffer) {
    return ask_for_ipv4(ifname, SIOCGIFNETMASK, buffer);
}

int cmd_netdev_get_mac_addr(const char *ifname, unsigned char *buffer) {
    ifreq answer;
    if (buffer == nullptr || !ask_interface(ifname, SIOCGIFHWADDR, answer))
        return -1;
    memcpy(buffer, answer.ifr_hwaddr.sa_data, 6);
    return 0;
}

int util_network_get_mac_string(const unsigned char *mac, char *buffer, int size) {
    constexpr int TEXT_SIZE = sizeof "00:11:22:aa:bb:cc";
    if (buffer == nullptr || size <= 0)
        return -1;
    buffer[0] = '\0';
    if (mac == nullptr || size < TEXT_SIZE)
        return -1;
    snprintf(buffer, TEXT_SIZE, "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2], mac[3],
             mac[4], mac[5]);
    return 0;
}
