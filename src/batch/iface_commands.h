// Address commands for one interface, queued into the batch that is being built. Each returns 0,
// or -1 for an absent argument.
#pragma once

int uplinkd_iface_set_addrv4(const char *ifname, const char *address, const char *netmask);

// An empty interface name queues nothing.
int uplinkd_iface_clean_addrv4(const char *ifname);
int uplinkd_iface_clean_global_addrv6(const char *ifname);
