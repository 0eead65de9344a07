// IPv6 on one WAN interface: DHCPv6 stateful or stateless with its lease script; SLAAC and static
// addresses need nothing from the daemon.
#pragma once

#include "wan/modes.h"
#include "wan/wan_record.h"

// Starts IPv6 on the interface in mode IPMODE_STATIC, IPMODE_STATEFUL, IPMODE_STATELESS or
// IPMODE_SLAAC. Returns 0; -1 for an absent argument or any other mode.
int uplinkd_dhcpcv6_start_on_iface(const char *ifname, int idx, uplinkd_ipmode ipmode,
                                   const wan_ipv6_ids *ids);

// How patiently a lease script waits for the router advertisement's default route: so many
// retries, so many seconds apart.
inline constexpr int RA_RETRY_COUNT = 30;
inline constexpr int RA_WAIT_PERIOD = 2;

// Write the lease script at once and queue the command that makes it executable. Return 0.
int uplinkd_dhcpcv6_write_stateless_script(const char *path, const char *writer,
                                           const wan_ipv6_ids *ids, int retry_count,
                                           int wait_period, int app_id, int msg_id);
int uplinkd_dhcpcv6_write_stateful_script(const char *path, const char *writer,
                                          const wan_ipv6_ids *ids, int retry_count, int wait_period,
                                          int app_id, int msg_id);

// Write the lease script and queue the interface's settings and the client's start. Return 0.
int uplinkd_dhcpcv6_start_stateful(const char *ifname, int idx, const wan_ipv6_ids *ids);
int uplinkd_dhcpcv6_start_stateless(const char *ifname, int idx, const wan_ipv6_ids *ids);

// Only log. Return 0.
int uplinkd_dhcpcv6_start_slaac();
int uplinkd_dhcpcv6_start_static();
