// The lease script of the DHCPv4 client, as a printf format that reads as the file does.
#pragma once

// Filled with: the writer; the items of netmask, address, gateway, DNS 1 and DNS 2; the application
// and the message to report to.
inline constexpr char DHCPV4_LEASE_SCRIPT[] = R"script(#! /bin/sh

# genarated by uplinkd(%s)

[ -n "$subnet" ] && NETMASK="netmask $subnet"
# return 0 if root is mounted on a network filesystem
have_bin_ip=0
if [ -x /sbin/ip ]; then
	have_bin_ip=1
	BROADCAST="broadcast +"
fi
[ -n "$broadcast" ] && BROADCAST="broadcast $broadcast"
di_subnet=%d
di_ipaddr=%d
di_gateway=%d
di_dns1=%d
di_dns2=%d
msg_app_id=%d
msg_id=%d
case "$1" in
	deconfig)
		if ! root_is_nfs ; then
			if [ $have_bin_ip -eq 1 ]; then
					/sbin/ip -4 addr flush dev $interface
					/sbin/ip link set dev $interface up
			else
					/sbin/ifconfig $interface 0.0.0.0
			fi
		fi
		;;
	renew|bound)
		if [ $have_bin_ip -eq 1 ]; then
				/sbin/ip -4 addr flush dev $interface
				/sbin/ip addr add dev $interface local $ip/$mask $BROADCAST
		else
				/sbin/ifconfig $interface 0.0.0.0
				/sbin/ifconfig $interface $ip $BROADCAST $NETMASK
		fi
		[ -n "$subnet" ] && devinfo ${di_subnet} $subnet
		[ -n "$ip" ] && devinfo ${di_ipaddr} $ip
		if [ -n "$router" ] ; then
			router_count=0
			for i in $router ; do
				let router_count+=1
				[ "${router_count}" = "1" ] && devinfo ${di_gateway} $i
			done
		fi
		# Update resolver configuration file
		dnscount=0
		for i in $dns; do
			let dnscount+=1
			[ "$dnscount" = "1" ] && devinfo ${di_dns1} $i
			[ "$dnscount" = "2" ] && devinfo ${di_dns2} $i
		done
		sockmsg_send -d ${msg_app_id} -m ${msg_id}
		;;
esac
exit 0
)script";
