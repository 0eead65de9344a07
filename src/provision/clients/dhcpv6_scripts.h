// The lease scripts of the DHCPv6 client, as printf formats that read as the files do. Both are
// filled with: the writer; the items of address, DNS 1, DNS 2 and gateway; how often and with how
// many seconds between to look for the router advertisement; the application and the message to
// report to.
#pragma once

// The address comes from router advertisements, only the DNS servers from DHCPv6.
inline constexpr char DHCPV6_STATELESS_SCRIPT[] = R"script(#! /bin/sh

# genarated by uplinkd(%s)

di_ipaddr=%d
di_dns1=%d
di_dns2=%d
di_gateway=%d
ra_retry_cnt=%d
ra_wait_period=%d
msg_app_id=%d
msg_id=%d
function get_ra_addr()
{
	local iface=$1
	local ra_addr=$(ip -6 address show ${iface} scope global 2>/dev/null | grep inet6 | awk -F ' ' '{print $2}')
	echo ${ra_addr%%/*}
}
g_dns1=
g_dns2=
g_addrv6=
g_gateway=
function format_addr()
{
	g_addrv6=$(addr_format -6 -s perfer -d compact -a ${g_addrv6} 2>/dev/null)
	g_gateway=$(addr_format -6 -s no_separator -d compact -a ${g_gateway} 2>/dev/null)
	g_dns1=$(addr_format -6 -s perfer -d compact -a ${g_dns1} 2>/dev/null)
	g_dns2=$(addr_format -6 -s perfer -d compact -a ${g_dns2} 2>/dev/null)
}
function is_need_renew()
{
	local old_addr=$(devinfo ${di_ipaddr} 2>/dev/null)
	[ -n "${g_addrv6}" -a "${g_addrv6}" != "${old_addr}" ] && return 1
	local old_gw=$(devinfo ${di_gateway} 2>/dev/null)
	[ -n "${g_gateway}" -a "${g_gateway}" != "${old_gw}" ] && return 1
	local old_dns1=$(devinfo ${di_dns1} 2>/dev/null)
	[ -n "${g_dns1}" -a "${g_dns1}" != "${old_dns1}" ] && return 1
	local old_dns2=$(devinfo ${di_dns2} 2>/dev/null)
	[ -n "${g_dns2}" -a "${g_dns2}" != "${old_dns2}" ] && return 1
	return 0
}
function process_renew()
{
	devinfo ${di_ipaddr} ${g_addrv6}
	devinfo ${di_gateway} ${g_gateway}
	devinfo ${di_dns1} ${g_dns1}
	devinfo ${di_dns2} ${g_dns2}
	ip6tables -t nat -C POSTROUTING -o ${interface} -j MASQUERADE  # 检查是否已经存在相同条目
	[ "${?}" -eq "1" ] && ip6tables -t nat -A POSTROUTING -o ${interface} -j MASQUERADE  #  临时解决同网段多层级联场景上网的问题
	sockmsg_send -d ${msg_app_id} -m ${msg_id}
}
case "$1" in
	deconfig)
		# 使用ra由内核配置地址的场景, 不应该在udhcpc6脚本的deconfig做清理地址动作。因为udhcpc6启动时会无条件运行一次deconfig, 如果此时已经完成了ra配置, 那么地址就会被删除, 需要等到下一次ra周期才能再一次配置上地址
		ip6tables -t nat -D POSTROUTING -o ${interface} -j MASQUERADE  #  临时解决同网段多层级联场景上网的问题
		;;
	renew | bound)
		dns_cnt=0
		for i in ${dns} ; do
			let "dns_cnt = dns_cnt + 1"
			[ "${dns_cnt}" -eq "1" ] && g_dns1=${i}
			[ "${dns_cnt}" -eq "2" ] && g_dns2=${i}
		done
		retry_cnt=${ra_retry_cnt}
		while [ "${retry_cnt}" -ge "0" ] ; do
			let "retry_cnt = retry_cnt - 1"
			g_addrv6=$(get_ra_addr ${interface})
			g_gateway=$(cat /proc/net/ipv6_route 2>/dev/null | grep "\b00450003\b" | grep "\b${interface}$" | awk -F ' ' '{print $5}')  # 00450003是ra router的flag
			if [ -z "${g_addrv6}" -o -z "${g_gateway}" ] ; then
				sleep ${ra_wait_period}
			else
				format_addr
				is_need_renew
				[ "${?}" -eq "1" ] && process_renew
				break
			fi
		done
		;;
esac
exit 0
)script";

// The address comes from the lease.
inline constexpr char DHCPV6_STATEFUL_SCRIPT[] = R"script(#! /bin/sh

# genarated by uplinkd(%s)

di_ipaddr=%d
di_dns1=%d
di_dns2=%d
di_gateway=%d
ra_retry_cnt=%d
ra_wait_period=%d
msg_app_id=%d
msg_id=%d
g_dns1=
g_dns2=
g_addrv6=
g_gateway=
function format_addr()
{
	g_addrv6=$(addr_format -6 -s perfer -d compact -a ${g_addrv6} 2>/dev/null)
	g_gateway=$(addr_format -6 -s no_separator -d compact -a ${g_gateway} 2>/dev/null)
	g_dns1=$(addr_format -6 -s perfer -d compact -a ${g_dns1} 2>/dev/null)
	g_dns2=$(addr_format -6 -s perfer -d compact -a ${g_dns2} 2>/dev/null)
}
function is_need_renew()
{
	local old_addr=$(devinfo ${di_ipaddr} 2>/dev/null)
	[ -n "${g_addrv6}" -a "${g_addrv6}" != "${old_addr}" ] && return 1
	local old_gw=$(devinfo ${di_gateway} 2>/dev/null)
	[ -n "${g_gateway}" -a "${g_gateway}" != "${old_gw}" ] && return 1
	local old_dns1=$(devinfo ${di_dns1} 2>/dev/null)
	[ -n "${g_dns1}" -a "${g_dns1}" != "${old_dns1}" ] && return 1
	local old_dns2=$(devinfo ${di_dns2} 2>/dev/null)
	[ -n "${g_dns2}" -a "${g_dns2}" != "${old_dns2}" ] && return 1
	return 0
}
function process_renew()
{
	ip -6 address add ${ipv6}/64 dev ${interface}  # 为网卡设置固定pd长度为64
	devinfo ${di_ipaddr} ${g_addrv6}
	devinfo ${di_gateway} ${g_gateway}
	devinfo ${di_dns1} ${g_dns1}
	devinfo ${di_dns2} ${g_dns2}
	ip6tables -t nat -C POSTROUTING -o ${interface} -j MASQUERADE  # 检查是否已经存在相同条目
	[ "${?}" -eq "1" ] && ip6tables -t nat -A POSTROUTING -o ${interface} -j MASQUERADE  #  临时解决同网段多层级联场景上网的问题
	sockmsg_send -d ${msg_app_id} -m ${msg_id}
}
case "$1" in
	deconfig)
		ip -6 address flush scope global dev ${interface} 2>/dev/null
		ip6tables -t nat -D POSTROUTING -o ${interface} -j MASQUERADE  #  临时解决同网段多层级联场景上网的问题
		;;
	renew | bound)
		g_addrv6=${ipv6}
		dns_cnt=0
		for i in ${dns} ; do
			let "dns_cnt = dns_cnt + 1"
			[ "${dns_cnt}" -eq "1" ] && g_dns1=${i}
			[ "${dns_cnt}" -eq "2" ] && g_dns2=${i}
		done
		retry_cnt=${ra_retry_cnt}
		while [ "${retry_cnt}" -ge "0" ] ; do
			let "retry_cnt = retry_cnt - 1"
			g_gateway=$(cat /proc/net/ipv6_route 2>/dev/null | grep "\b00450003\b" | grep "\b${interface}$" | awk -F ' ' '{print $5}')  # 00450003是ra router的flag
			if [ -z "${g_gateway}" ] ; then
				sleep ${ra_wait_period}
			else
				format_addr
				is_need_renew
				[ "${?}" -eq "1" ] && process_renew
				break
			fi
		done
		;;
esac
exit 0
)script";
