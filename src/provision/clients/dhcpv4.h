// IPv4 on one WAN interface: the DHCP client with its lease script, or a static address.
#pragma once

#include "wan/modes.h"
#include "wan/wan_record.h"

// Starts IPv4 on the interface in mode IPMODE_STATIC or IPMODE_DHCP. Returns 0; -1 for an absent
// argument or any other mode.
int uplinkd_dhcpcv4_start_on_iface(const char *ifname, int idx, uplinkd_ipmode ipmode,
                                   const wan_ipv4_ids *ids);

// Writes the lease script at once and queues the command that makes it executable. Returns 0.
int uplinkd_dhcpcv4_write_script(const char *path, const char *writer, const wan_ipv4_ids *ids,
                                 int app_id, int msg_id);

// Writes the lease script and queues the client's start.
void uplinkd_dhcpcv4_run_client(const char *ifname, int idx, const wan_ipv4_ids *ids);

// Copies the configured address into the items and queues the address command. Returns 0, or -1
// for an absent argument.
int uplinkd_dhcpcv4_setup_static(const char *ifname, int idx, const wan_ipv4_ids *ids);
