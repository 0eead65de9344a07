// Questions about the router's network interfaces and networks. Addresses are dotted-quad text.
#pragma once

// Buffer of an address or netmask: "255.255.255.255" and its NUL fit with room to spare.
enum { IPV4_TEXT_SIZE = 20 };
// Buffer of a hardware address as the interface reports it; six bytes are used.
enum { MAC_ADDR_SIZE = 8 };

// What util_get_2_network_segment_relations4 may answer.
enum {
    SEGMENT_MALFORMED = -1,
    SEGMENT_SAME = 0,
    SEGMENT_A_HOLDS_B = 1,
    SEGMENT_B_HOLDS_A = 2,
    SEGMENT_DISJOINT = 3, // also when any of the four texts is empty
    SEGMENT_PARTIAL = 4   // only with non-contiguous netmasks
};

#ifdef __cplusplus
extern "C" {
#endif

// How network A (address, netmask) and network B share addresses: one of SEGMENT_*.
int util_get_2_network_segment_relations4(const char *addr_a, const char *mask_a,
                                          const char *addr_b, const char *mask_b);

// The interface's present IPv4 address or netmask, into a buffer of IPV4_TEXT_SIZE bytes; an
// interface without one leaves the buffer empty. Returns 0 or -1.
int cmd_get_ipv4_address(const char *ifname, char *buffer);
int cmd_get_netmask(const char *ifname, char *buffer);

// The interface's hardware address, into the first six of MAC_ADDR_SIZE bytes. Returns 0 or -1.
int cmd_netdev_get_mac_addr(const char *ifname, unsigned char *buffer);

// Six bytes as text, "00:11:22:aa:bb:cc". Returns 0, or -1 if SIZE bytes cannot hold it.
int util_network_get_mac_string(const unsigned char *mac, char *buffer, int size);

#ifdef __cplusplus
}
#endif
