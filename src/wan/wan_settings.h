// The user's settings of one WAN index, read from the configuration store at every call.
// Index 0 reads the bare key, index n the key with "_n" appended.
#pragma once

#include "wan/modes.h"

// IPVER_NONE for any unknown text.
uplinkd_ip_version uplinkd_cfg_get_wired_ipversion_by_idx(int idx);

// IPMODE_NONE for any unknown text or number.
uplinkd_ipmode uplinkd_cfg_get_wired_ipmode_v4_by_idx(int idx);
uplinkd_ipmode uplinkd_cfg_get_wired_ipmode_v6_by_idx(int idx);

// The highest wired WAN index to process, 0 to 8; 3 where the setting is missing or out of range.
int uplinkd_cfg_get_wired_sub_port_num();

// The multi-WAN switch and the VLAN ID as stored; 0 for an index outside 0 to 8. Their keys carry
// the index for every index, 0 included.
int uplinkd_cfg_get_wired_sw_by_idx(int idx);
int uplinkd_cfg_get_wired_vlan_id_by_idx(int idx);

// User name and password into two buffers. Returns 0; -1 for a null buffer or an index outside
// 0 to 8, with the buffers untouched.
int uplinkd_cfg_get_ppp_user_and_pwd_by_idx(char *user, int user_size, char *pwd, int pwd_size,
                                            int idx);

// The PPP MTU in bytes, 1500 where it is not set to a positive number.
int uplinkd_cfg_get_ppp_mtu_by_idx(int idx);

// The PPP MRU in bytes, 0 where it is not set to a positive number.
int uplinkd_cfg_get_ppp_mru_by_idx(int idx);

// Lower-cases the ASCII letters among the first MAX_LEN bytes of TEXT.
void uplinkd_util_str_tolower(char *text, int max_len);
