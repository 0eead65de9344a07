# The internet provider: one network at the far end of each of the router's uplinks.

# uplink INTERFACE FAR_END: gives the router an interface, with its far end here. It has no carrier
# until the far end is set up, as `plug` does with those named wan...
uplink() {
    ip link add "$2" type veth peer name "$1"
    ip link set "$1" netns "$ROUTER"
    rt ip link set "$1" up
}

# isp_network FAR_END A.B.C.D/24 [DNSMASQ_OPTION...]: serves leases from .100 to .199 of this network
# instead of what was served there before.
isp_network() {
    local link=$1 address=${2%/*} net=${2%.*}
    stop_serving "$link"
    ip address add "$2" dev "$link"
    serve "$link" --dhcp-range="$net.100,$net.199,255.255.255.0,120" \
        --dhcp-option=option:router,"$address" \
        --dhcp-option=option:dns-server,198.51.100.53,198.51.100.54 "${@:3}"
}

# serve FAR_END DNSMASQ_OPTION...: until it says that it has started. (--no-daemon, since anything
# else wants to change its user, and there is but one in here.)
serve() {
    local link=$1 log=/run/isp/$1.log starts
    starts=$(count_starts "$log")
    dnsmasq --no-daemon --conf-file=/dev/null --port=0 --interface="$link" --bind-interfaces \
        --dhcp-authoritative --no-ping --log-dhcp --dhcp-leasefile="/run/isp/$link.leases" "${@:2}" \
        2> >(stamp_lines >>"$log") &
    echo $! >"/run/isp/$link.pid"
    expect_value "starts of dnsmasq on $link" $((starts + 1)) count_starts "$log"
}

count_starts() { grep -c ' started, ' "$1" 2>/dev/null || :; }

stop_serving() {
    local pid_file=/run/isp/$1.pid
    if [ -e "$pid_file" ]; then
        kill "$(<"$pid_file")"
        wait "$(<"$pid_file")" || :
        rm -f "$pid_file" "/run/isp/$1.leases"
    fi
    ip address flush dev "$1"
}

# isp_network6 FAR_END stateful|stateless: 2001:db8:1::/64, announced by a router of the provider.
# (dhclient is what asks for it on the router, see lab/router/udhcpc6.)
isp_network6() {
    command -v dhclient >/dev/null || skip "no dhclient here (scripts/setup installs it)"
    local range='2001:db8:1::100,2001:db8:1::1ff,64,120'
    [ "$2" = stateful ] || range='2001:db8:1::,ra-stateless,64,1800'
    stop_serving "$1"
    ip link set "$1" up
    ip address add 2001:db8:1::1/64 dev "$1" nodad
    serve "$1" --enable-ra --ra-param="$1,4,1800" --dhcp-range="$range" \
        --dhcp-option='option6:dns-server,[2001:db8::53],[2001:db8::54]'
}

# What follows needs a kernel with VLANs and PPP.

# vlan ID: the interface eth1.ID on the router, and at its far end wan0.ID, another machine's.
vlan() {
    ip link add link wan0 name "wan0.$1" address "02:00:00:00:00:$1" type vlan id "$1"
    rt ip link add link eth1 name "eth1.$1" type vlan id "$1"
    rt ip link set "eth1.$1" up
}

# pppoe_accounts USER PASSWORD [USER PASSWORD...]: who may dial in.
pppoe_accounts() {
    printf '"%s" * "%s" *\n' "$@" >/etc/ppp/chap-secrets
    cp /etc/ppp/chap-secrets /etc/ppp/pap-secrets
}

# pppoe_server FAR_END NET [+ipv6]: accepts calls as NET.1, and gives the first caller NET.100; with +ipv6 it
# also announces 2001:db8:2::/64. (A program that listens on eth1 sees the frames of its VLANs too,
# so sessions are numbered by network.)
pppoe_server() {
    local link=$1 options=/run/isp/$1.options
    printf '%s\n' require-chap 'name isp' 'ms-dns 198.51.100.53' 'ms-dns 198.51.100.54' \
        "logfile /run/isp/$link.log" "${3:-noipv6}" >"$options"
    [ -z "${3:-}" ] || write_announcer
    ip link set "$link" up
    pppoe-server -F -I "$link" -C lab -L "$2.1" -R "$2.100" -N 4 -o "${2##*.}0" \
        -O "$options" >>"/run/isp/$link.server.log" 2>&1 &
    echo $! >"/run/isp/$link.pid"
}

# stop_pppoe_server FAR_END: it hangs up on everybody.
stop_pppoe_server() {
    kill "$(<"/run/isp/$1.pid")"
    wait "$(<"/run/isp/$1.pid")" || :
}

# write_announcer: what pppd runs for each link, on the ISP's side.
write_announcer() {
    cat >/etc/ppp/ipv6-up <<'HOOK'
#!/bin/sh
PATH=/usr/sbin:/usr/bin:/sbin:/bin
ip -6 address add 2001:db8:2::1/64 dev "$1" nodad
exec dnsmasq --conf-file=/dev/null --port=0 --interface="$1" --bind-interfaces --enable-ra \
    --ra-param="$1,4,1800" --dhcp-range=2001:db8:2::,ra-stateless,64,1800 \
    --dhcp-option='option6:dns-server,[2001:db8::53],[2001:db8::54]' \
    --dhcp-leasefile="/run/isp/$1.leases"
HOOK
    chmod 755 /etc/ppp/ipv6-up
}
