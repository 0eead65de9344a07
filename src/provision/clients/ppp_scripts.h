// The scripts that pppd runs when a link goes up or down, and its start line, as printf formats
// that read as the files do.
#pragma once

// Filled with: the writer; the items of DNS 1, DNS 2, address, gateway, interface name and netmask;
// the application and the message to report to.
inline constexpr char PPP_IP_UP_SCRIPT[] = R"script(#! /bin/sh

# genarated by uplinkd(%s)

DI_IFA_WIRED_WAN_DNS=%d
DI_IFA_WIRED_WAN_DNS2=%d
DI_IFA_WIRED_WAN_IP=%d
DI_IFA_WIRED_WAN_GATEWAY=%d
DI_IFA_WIRED_WAN_REAL_IFACE=%d
DI_IFA_WIRED_WAN_NETMASK=%d
msg_app_id=%d
msg_id=%d
if [ "$DNS1" = "$DNS2" ]; then
	devinfo $DI_IFA_WIRED_WAN_DNS $DNS1
else
	devinfo $DI_IFA_WIRED_WAN_DNS $DNS1
	devinfo $DI_IFA_WIRED_WAN_DNS2 $DNS2
fi
devinfo $DI_IFA_WIRED_WAN_IP $IPLOCAL
devinfo $DI_IFA_WIRED_WAN_GATEWAY $IPREMOTE
devinfo $DI_IFA_WIRED_WAN_REAL_IFACE ${IFNAME}
devinfo $DI_IFA_WIRED_WAN_NETMASK "255.255.255.255"
sockmsg_send -d ${msg_app_id} -m ${msg_id}
)script";

// Filled with: the writer; the same six items; the interface name to put back; the application and
// the message to report to.
inline constexpr char PPP_IP_DOWN_SCRIPT[] = R"script(#! /bin/sh

# genarated by uplinkd(%s)

DI_IFA_WIRED_WAN_DNS=%d
DI_IFA_WIRED_WAN_DNS2=%d
DI_IFA_WIRED_WAN_IP=%d
DI_IFA_WIRED_WAN_GATEWAY=%d
DI_IFA_WIRED_WAN_REAL_IFACE=%d
DI_IFA_WIRED_WAN_NETMASK=%d
orignal_ifname=%s  # 用于恢复被ppp修改的网卡名
msg_app_id=%d
msg_id=%d
devinfo ${DI_IFA_WIRED_WAN_REAL_IFACE} ${orignal_ifname}
devinfo $DI_IFA_WIRED_WAN_DNS ""
devinfo $DI_IFA_WIRED_WAN_DNS2 ""
devinfo $DI_IFA_WIRED_WAN_IP ""
devinfo $DI_IFA_WIRED_WAN_GATEWAY ""
devinfo $DI_IFA_WIRED_WAN_NETMASK ""
sockmsg_send -d ${msg_app_id} -m ${msg_id}
)script";

// Filled with: the writer; the DHCPv6 client, its lease script and its pid file.
inline constexpr char PPP_IPV6_UP_SCRIPT[] = R"script(#! /bin/sh

# genarated by uplinkd(%s)

dhcpc6_app=%s
dhcpc6_script=%s
dhcpc6_pid_file=%s
echo "2" > /proc/sys/net/ipv6/conf/${IFNAME}/accept_ra
${dhcpc6_app} -i ${IFNAME} -s ${dhcpc6_script} -p ${dhcpc6_pid_file} -r no -O 23 &>/dev/null &  # 获取dns
)script";

// Filled with: the writer; the items of interface name, address, DNS 1 and DNS 2; the interface
// name to put back; the pid file of the DHCPv6 client; the application and the message to report
// to.
inline constexpr char PPP_IPV6_DOWN_SCRIPT[] = R"script(#! /bin/sh

# genarated by uplinkd(%s)

DI_IFA_WIRED_WAN_REAL_IFACE=%d
DI_IFA_WIRED_WAN_IPV6_IP=%d
DI_IFA_WIRED_WAN_IPV6_DNS=%d
DI_IFA_WIRED_WAN_IPV6_DNS2=%d
orignal_ifname=%s  # 用于恢复被ppp修改的网卡名
dhcpc6_pid_file=%s
msg_app_id=%d
msg_id=%d
dhcpc6_pid=$(cat ${dhcpc6_pid_file} 2>/dev/null)
[ -n "${dhcpc6_pid}" ] && kill ${dhcpc6_pid}
rm ${dhcpc6_pid_file} &>/dev/null
devinfo ${DI_IFA_WIRED_WAN_REAL_IFACE} ${orignal_ifname}
devinfo ${DI_IFA_WIRED_WAN_IPV6_IP} ""
devinfo ${DI_IFA_WIRED_WAN_IPV6_DNS} ""
devinfo ${DI_IFA_WIRED_WAN_IPV6_DNS2} ""
sockmsg_send -d ${msg_app_id} -m ${msg_id}
)script";

// Two lines of a batch. Filled with: pppd; pppoe and the interface (inside double quotes); the
// unit; MTU; MRU; user; the scripts for IPv4 up and down, IPv6 up and down; the pid file.
inline constexpr char PPPD_START[] =
    R"script(%s pty "%s -I %s -T 80 -U  -m 1412" unit %d noipdefault noauth default-asyncmap hide-password nodetach usepeerdns holdoff 5 maxfail 0 persist mtu %d mru %d noaccomp nodeflate nopcomp novj novjccomp user %s lcp-echo-interval 20 lcp-echo-failure 3 +ipv6 ip-up-script %s ip-down-script %s ipv6-up-script %s ipv6-down-script %s &
echo "$!" > %s  # get pid)script";
