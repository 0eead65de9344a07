// Whether a WAN's IPv4 network overlaps one that the router serves on its LAN side.
#pragma once

#include <cstdint>

// 1 when the network overlaps a LAN (VLAN) subnet that is enabled and served, or an address is
// malformed; 0 when none; -1 for a null argument. FOUND, if given, receives the index of that LAN.
int uplinkd_process_is_addrv4_conflict_with_lan(const char *wan_addr, const char *wan_mask,
                                                int *found = nullptr);
int uplinkd_process_is_addrv4_conflict_with_v_lan(const char *wan_addr, const char *wan_mask,
                                                  int *found = nullptr);

// Reads up to MAX_LEN characters of hexadecimal TEXT as three 32-bit words, counted from its end.
// Null results are passed over; a null text or a length below 1 leaves all results untouched.
void uplinkd_parse_hex_words(const char *text, int max_len, uint32_t *lowest, uint32_t *middle,
                             uint32_t *highest);

// The first of the first N characters of TEXT that is not '0'; null if there is none.
const char *uplinkd_skip_leading_zeros(const char *text, int n);
